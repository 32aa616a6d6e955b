#pragma once

#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// The products that the Windows Installer knows on this machine, for all users and for the current
/// one. A plain value.
class VELMORA_API GMMSIProductDetect
{
public:
    /// One product, or what is asked for.
    struct GMProductInfo
    {
        /// Sets the fields of these names.
        GMProductInfo(GMString const & name, unsigned long language, unsigned long version)
            : m_name(name),
              m_language(language),
              m_version(version)
        {
        }

        GMString m_name;          ///< for people, as the installer has it
        unsigned long m_language; ///< a language identifier of the system
        unsigned long m_version;  ///< 8 bits major, 8 bits minor, 16 bits build
    };

    GMMSIProductDetect();
    virtual ~GMMSIProductDetect();

    /// Lists all products anew, the machine's first. What can't be read of a product is empty or 0.
    /// If the machine's can't be listed the list stays as it was.
    virtual void LoadProductList();

    /// Whether the list has a product of this name, spelled exactly so, and of this language and
    /// version, of which 0 stands for any.
    virtual bool DetectProduct(GMProductInfo & info);

private:
    std::vector<GMProductInfo> m_products;
};

} // namespace Velmora
