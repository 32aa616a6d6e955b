#include "VelmoraCommon/detect/software/GMVCRedistDetect.h"

#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "VelmoraCommon/registry/GMRegFile.h"

#include <msi.h>

namespace Velmora
{

namespace
{

constexpr wchar_t installerLibrary[] = L"msi.dll";

struct PackageRow
{
    unsigned int bit;
    unsigned int year;
    bool isServicePack;
};
// In the order in which they are asked for.
constexpr PackageRow packages[] = {
    {1, 2005, false}, {2, 2005, true},   {4, 2008, false},
    {8, 2008, true},  {16, 2010, false}, {32, 2010, true},
};

struct ProductRow
{
    unsigned int year;
    GMVCRedistDetect::GMArchitectureType architecture;
    bool isServicePack;
    wchar_t const * code;
};
constexpr auto x86 = GMVCRedistDetect::architectureX86;
constexpr auto amd64 = GMVCRedistDetect::architectureAMD64;
constexpr auto itanium = GMVCRedistDetect::architectureItanium;
// A package was made anew with each security update; any of its codes counts, the first first.
constexpr ProductRow products[] = {
    {2005, x86, false, L"A49F249F-0C91-497F-86DF-B2585E8E76B7"},
    {2005, x86, true, L"7299052B-02A4-4627-81F2-1818DA5D550D"},
    {2005, x86, true, L"837B34E3-7C30-493C-8F6A-2B0F04E2912C"},
    {2005, amd64, false, L"6E8E85E8-CE4B-4FF5-91F7-04999C9FAE6A"},
    {2005, amd64, true, L"071C9B48-7C32-4621-A0AC-3F809523288F"},
    {2005, amd64, true, L"6CE5BAE9-D3CA-4B99-891A-1DC6C118A5FC"},
    {2005, itanium, false, L"03ED71EA-F531-4927-AABD-1C31BCE8E187"},
    {2005, itanium, true, L"0F8FB34E-675E-42ED-850B-29D98C2ECE08"},
    {2005, itanium, true, L"85025851-A784-46D8-950D-05CB3CA43A13"},
    {2008, x86, false, L"FF66E9F6-83E7-3A3E-AF14-8DE9A809A6A4"},
    {2008, x86, false, L"A09D5493-0D9F-3211-B3BF-DD7ABBB318C1"},
    {2008, x86, false, L"E503B4BF-F7BB-3D5F-8BC8-F694B1CFF942"},
    {2008, x86, true, L"86CE1746-9EFF-3C9C-8755-81EA8903AC34"},
    {2008, x86, true, L"9A25302D-30C0-39D9-BD6F-21E6EC160475"},
    {2008, x86, true, L"1F1C2DFC-2D24-3E06-BCB8-725134ADF989"},
    {2008, x86, true, L"9BE518E6-ECC6-35A9-88E4-87755C07200F"},
    {2008, amd64, false, L"350AA351-21FA-3270-8B7A-835434E766AD"},
    {2008, amd64, true, L"8220EEFE-38CD-377E-8595-13398D740ACE"},
    {2008, amd64, true, L"4B6C7001-C7D6-3710-913E-5BC23FCE91E6"},
    {2008, amd64, true, L"5FCE6D76-F5DC-37AB-B2B8-22AB8CEDB1D4"},
    {2008, itanium, false, L"2B547B43-DB50-3139-9EBE-37D419E0F5FA"},
    {2008, itanium, true, L"5827ECE1-AEB0-328E-B813-6FC68622C1F9"},
    {2008, itanium, true, L"977AD349-C2A8-39DD-9273-285C08987C7B"},
    {2008, itanium, true, L"515643D1-4E9E-342F-A75A-D1F16448DC04"},
    {2010, x86, false, L"196BB40D-1578-3D01-B289-BEFC77A11A1E"},
    {2010, x86, true, L"F0C3E5D1-1ADE-321E-8167-68EF0DE699A5"},
    {2010, amd64, false, L"DA5E371C-6333-3D8A-93A4-6FD5B20BCC6E"},
    {2010, amd64, true, L"1D8E6291-B0D5-35EC-8441-6616F567A0F7"},
    {2010, itanium, false, L"C1A35166-4301-38E9-BA67-02823AD72A1B"},
    {2010, itanium, true, L"88C73C1C-2DE5-3B01-AFB8-B46EF4AB41CD"},
};

GMVCRedistDetect::GMArchitectureType MachineArchitecture()
{
    SYSTEM_INFO info = {};
    GetSystemInfo(&info);
    switch (info.wProcessorArchitecture)
    {
    case PROCESSOR_ARCHITECTURE_AMD64:
        return amd64;
    case PROCESSOR_ARCHITECTURE_IA64:
        return itanium;
    default:
        return x86;
    }
}

} // namespace

GMVCRedistDetect::GMVCRedistDetect() : m_versions(0) {}

void GMVCRedistDetect::Detect()
{
    GMArchitectureType const architecture = MachineArchitecture();
    // The installer's library takes long to load: one reference spans the loads of all questions.
    ScopedModule const installer(LoadLibraryW(installerLibrary));
    m_versions = 0;
    for (PackageRow const & package : packages)
    {
        if (CheckYear(package.year, architecture, package.isServicePack))
            m_versions |= package.bit;
    }
}

unsigned int GMVCRedistDetect::GetVCRedistVersion() const { return m_versions; }

bool GMVCRedistDetect::CheckVC2005(GMArchitectureType architecture, unsigned char servicePack)
{
    return CheckYear(2005, architecture, servicePack != 0);
}

bool GMVCRedistDetect::CheckVC2008(GMArchitectureType architecture, unsigned char servicePack)
{
    return CheckYear(2008, architecture, servicePack != 0);
}

bool GMVCRedistDetect::CheckVC2010(GMArchitectureType architecture, unsigned char servicePack)
{
    return CheckYear(2010, architecture, servicePack != 0);
}

bool GMVCRedistDetect::CheckYear(unsigned int year, GMArchitectureType architecture,
                                 bool isServicePack)
{
    for (ProductRow const & row : products)
    {
        if (row.year == year && row.architecture == architecture &&
            row.isServicePack == isServicePack && CheckVC(row.code))
            return true;
    }
    return false;
}

bool GMVCRedistDetect::CheckVC(GMString const & productCode)
{
    GMString const braced = L"{" + productCode + L"}";
    {
        SystemFunction<decltype(::MsiQueryProductStateW)> const queryState(installerLibrary,
                                                                           "MsiQueryProductStateW");
        if (queryState)
            return queryState(braced.c_str()) == INSTALLSTATE_DEFAULT;
    }
    GMRegFile key;
    return key.OpenKey(HKEY_LOCAL_MACHINE,
                       L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\" + braced,
                       KEY_QUERY_VALUE, false);
}

} // namespace Velmora
