#pragma once

#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// The devices of the machine, from the system's setup database. Without state.
class VELMORA_API GMDeviceManager
{
public:
    /// One device. What the database doesn't tell is empty.
    struct GMDeviceInfo
    {
        GMString m_description;                ///< for people
        std::vector<GMString> m_hardwareIds;   ///< the closest first
        std::vector<GMString> m_compatibleIds; ///< the closest first
        bool m_installed = false; ///< its driver is installed, or its installation isn't finished
        GMString m_class;         ///< for example "Display"
        /// The class's identifier in the form {XXXXXXXX-XXXX-XXXX--XXXX-XXXXXXXXXXXX}, with two dashes
        /// behind the third group.
        GMString m_classGuid;
    };

    /// All devices that are present.
    /// \param enumerator for example "PCI" or "USB"; null for all
    /// \return empty on failure
    std::vector<GMDeviceInfo> GetDeviceInfos(wchar_t const * enumerator);
};

} // namespace Velmora
