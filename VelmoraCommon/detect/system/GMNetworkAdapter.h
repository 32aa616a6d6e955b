#pragma once

#include <vector>

#include "VelmoraCommon/detect/system/GMNetworkAdapterInfo.h"
#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// The network adapters of the machine, and the address that stands for it.
///
/// All is read by the constructor and stays so: traffic, too. Any thread may read an object then. A
/// source that fails gives nothing, and nobody hears of it.
class VELMORA_API GMNetworkAdapter
{
public:
    /// One transport of NetBIOS.
    struct GMNetBiosInfo
    {
        GMString m_name;       ///< a GUID in braces; empty if the transport's name has none
        GMString m_macAddress; ///< twelve digits in lower case
        unsigned char m_macData[6] = {}; ///< the same in bytes
    };

    GMNetworkAdapter();

    /// The address of the physical card that is up and has received the most; if none is up, that of
    /// the last one; if no card is there, that of the first transport of one. Empty without any.
    ///
    /// A card is physical if the system lists it as a card, and has a named connection and settings of
    /// TCP/IP for it. A 32-bit process looks for them in its own view of the registry.
    GMString SelectMacAddress() const;

    /// Whether an adapter or transport, physical or not, has the address \p text, in lower case.
    bool FindMacAddress(GMString const & text) const;

    /// The same. \param data gets its six bytes, and stays as it was without one
    bool GetMacAddressData(GMString const & text, unsigned char * const data) const;

private:
    struct GMPhysicalNic
    {
        GMString m_serviceName; // a GUID in braces
        GMString m_description;
        GMString m_connectionName;
    };

    // The sources.
    bool GetMacIdByIPHelp();
    bool GetMacIdByNetBiosEnum();
    bool GetPhysicalNicInfo();

    void AddNetBiosMACAddress(GMString const & transportName, unsigned char * const data);
    unsigned char const * FindAddress(GMString const & text) const;
    void FilterPhysicalNicInfoList(std::vector<GMNetworkAdapterInfo> & adapters,
                                   std::vector<GMNetBiosInfo> & transports) const;
    bool IsPhysicalNic(GMString const & name) const;
    GMString ReadRegString(HKEY key, GMString const & name);

    std::vector<GMNetworkAdapterInfo> m_adapters;
    std::vector<GMNetBiosInfo> m_transports;
    std::vector<GMPhysicalNic> m_physicalNics;
};

} // namespace Velmora
