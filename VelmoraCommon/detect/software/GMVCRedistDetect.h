#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Which packages of the Visual C++ 2005, 2008 and 2010 runtimes the Windows Installer knows.
///
/// That a package is known tells that exactly this one was installed, by its product code; whether
/// its files are there is what the tests of GMSoftwareDetect tell. A plain value: a copy has the
/// answers of the last Detect.
class VELMORA_API GMVCRedistDetect
{
public:
    /// What a package is made for.
    enum GMArchitectureType : unsigned int
    {
        architectureX86 = 1,    ///< 32 bits
        architectureAMD64 = 2,  ///< 64 bits
        architectureItanium = 3 ///< the other 64 bits
    };

    GMVCRedistDetect();

    /// Asks for all packages of the machine's architecture; that is x86 in a 32-bit process.
    void Detect();

    /// One bit a package, from the lowest: 2005, 2005 SP1, 2008, 2008 SP1, 2010, 2010 SP1. 0 before
    /// Detect.
    unsigned int GetVCRedistVersion() const;

    /// Whether one of the packages of the year is installed: the first release for \p servicePack
    /// 0, SP1 for any other. False for an architecture that has no packages.
    bool CheckVC2005(GMArchitectureType architecture, unsigned char servicePack);
    bool CheckVC2008(GMArchitectureType architecture, unsigned char servicePack);
    bool CheckVC2010(GMArchitectureType architecture, unsigned char servicePack);

    /// Whether the installer has the product of a code without braces. Only where it can't be asked
    /// the product's key for uninstalling is looked for.
    bool CheckVC(GMString const & productCode);

private:
    bool CheckYear(unsigned int year, GMArchitectureType architecture, bool isServicePack);

    unsigned int m_versions;
};

} // namespace Velmora
