#include "VelmoraCommon/detect/system/GMHardwareDetect.h"

#include <algorithm>
#include <cwchar>

#include "VelmoraCommon/detect/system/internal/ProductTypes.h"
#include "VelmoraCommon/detect/system/internal/SystemVersion.h"
#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

constexpr unsigned short windows8 = 0x40;
constexpr DWORD firstBuildOfWindows11 = 22000;

struct SystemFacts
{
    OSVERSIONINFOEXW version;
    WORD architecture;
};
using Condition = bool (*)(SystemFacts const &);

bool Always(SystemFacts const & /*facts*/) { return true; }
bool IsWin9x(SystemFacts const & facts)
{
    return facts.version.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS;
}
bool IsWorkstation(SystemFacts const & facts)
{
    return facts.version.wProductType == VER_NT_WORKSTATION;
}
bool IsWindows11(SystemFacts const & facts)
{
    return facts.version.dwBuildNumber >= firstBuildOfWindows11;
}
bool IsR2(SystemFacts const & /*facts*/) { return IsServer2003R2(); }
bool IsStorageServer(SystemFacts const & facts)
{
    return facts.version.wSuiteMask == VER_SUITE_STORAGE_SERVER;
}
bool IsWorkstationX64(SystemFacts const & facts)
{
    return IsWorkstation(facts) && facts.architecture == PROCESSOR_ARCHITECTURE_AMD64;
}

constexpr DWORD anyNumber = 0xFFFFFFFF;

/// The first row that fits counts.
struct GenerationRow
{
    DWORD major;
    DWORD minor;
    Condition condition;
    wchar_t const * name;
    unsigned short version; // 0 leaves what is known
    bool is64;              // false leaves what is known
};
constexpr GenerationRow generations[] = {
    {anyNumber, 90, IsWin9x, L"Windows Me ", 0x1, false},
    {anyNumber, 10, IsWin9x, L"Windows 98 ", 0x1, false},
    {anyNumber, anyNumber, IsWin9x, L"Windows 95 ", 0x1, false},
    {5, 0, Always, L"Windows 2000 ", 0x2, false},
    {5, 1, Always, L"Windows XP ", 0x4, false},
    {5, 2, IsR2, L"Windows Server 2003 R2, ", 0x8, false},
    {5, 2, IsStorageServer, L"Windows Storage Server 2003 ", 0x8, false},
    {5, 2, IsWorkstationX64, L"Windows XP Professional x64 Edition", 0x8, true},
    {5, 2, Always, L"Windows Server 2003, ", 0x8, false},
    {5, anyNumber, Always, L"", 0, false},
    {6, 0, IsWorkstation, L"Windows Vista ", 0x10, false},
    {6, 0, Always, L"Windows Server 2008 ", 0x10, false},
    {6, 1, Always, L"Windows 7 ", 0x20, false},
    {6, 2, Always, L"Windows 8 ", windows8, false},
    {6, 3, Always, L"Windows 8.1 ", windows8, false},
    {10, anyNumber, IsWindows11, L"Windows 11 ", 0x100, false},
    {10, anyNumber, Always, L"Windows 10 ", 0x80, false},
};

bool IsServer(SystemFacts const & facts) { return !IsWorkstation(facts); }
bool IsServerX64(SystemFacts const & facts)
{
    return IsServer(facts) && facts.architecture == PROCESSOR_ARCHITECTURE_AMD64;
}
bool IsServerItanium(SystemFacts const & facts)
{
    return IsServer(facts) && facts.architecture == PROCESSOR_ARCHITECTURE_IA64;
}

/// Editions of the systems before Vista; the first row that fits counts. No row: no edition is told.
struct SuiteRow
{
    DWORD minor;
    Condition condition;
    WORD suite; // one of these bits, 0 for whatever
    wchar_t const * edition;
    bool is64;
};
constexpr SuiteRow suites[] = {
    {0, IsWorkstation, 0, L"Professional", false},
    {0, Always, VER_SUITE_DATACENTER, L"Datacenter Server", false},
    {0, Always, VER_SUITE_ENTERPRISE, L"Advanced Server", false},
    {0, Always, 0, L"Server", false},
    {1, Always, VER_SUITE_PERSONAL, L"Home Edition", false},
    {1, Always, 0, L"Professional", false},
    {2, IsServerItanium, VER_SUITE_DATACENTER, L"Datacenter Edition for Itanium-based Systems",
     true},
    {2, IsServerItanium, VER_SUITE_ENTERPRISE, L"Enterprise Edition for Itanium-based Systems",
     true},
    {2, IsServerItanium, 0, L"", true},
    {2, IsServerX64, VER_SUITE_DATACENTER, L"Datacenter x64 Edition", true},
    {2, IsServerX64, VER_SUITE_ENTERPRISE, L"Enterprise x64 Edition", true},
    {2, IsServerX64, 0, L"Standard x64 Edition", true},
    {2, IsServer, VER_SUITE_COMPUTE_SERVER, L"Compute Cluster Edition", false},
    {2, IsServer, VER_SUITE_DATACENTER, L"Datacenter Edition", false},
    {2, IsServer, VER_SUITE_ENTERPRISE, L"Enterprise Edition", false},
    {2, IsServer, VER_SUITE_BLADE, L"Web Edition", false},
    {2, IsServer, 0, L"Standard Edition", false},
};

GMString GenerationText(SystemFacts const & facts, GMOSInfo & os)
{
    DWORD const major = facts.version.dwMajorVersion;
    DWORD const minor = facts.version.dwMinorVersion;
    auto const * const row =
        std::find_if(std::begin(generations), std::end(generations),
                     [&](GenerationRow const & each)
                     {
                         return (each.major == anyNumber || each.major == major) &&
                                (each.minor == anyNumber || each.minor == minor) &&
                                each.condition(facts);
                     });
    if (row == std::end(generations))
        return GMStringUtils::FormatResult(L"Windows %u ", static_cast<unsigned int>(major));
    if (row->version != 0)
        os.m_version = row->version;
    os.m_is64 = os.m_is64 || row->is64;
    return row->name;
}

/// Of the systems before Vista.
GMString SuiteText(SystemFacts const & facts, GMOSInfo & os)
{
    auto const * const row =
        std::find_if(std::begin(suites), std::end(suites),
                     [&](SuiteRow const & each)
                     {
                         return each.minor == facts.version.dwMinorVersion &&
                                (each.suite == 0 || (each.suite & facts.version.wSuiteMask) != 0) &&
                                each.condition(facts);
                     });
    if (row == std::end(suites))
        return GMString();
    os.m_is64 = os.m_is64 || row->is64;
    return row->edition;
}

/// Of Vista and later.
GMString EditionText(OSVERSIONINFOEXW const & version, unsigned short generation)
{
    DWORD type = PRODUCT_UNDEFINED;
    auto * const getProductInfo =
        FindExport<decltype(::GetProductInfo)>(GetModuleHandleW(L"kernel32.dll"), "GetProductInfo");
    if (getProductInfo != nullptr)
        getProductInfo(version.dwMajorVersion, version.dwMinorVersion, 0, 0, &type);
    for (ProductTypeRow const & row : productTypes)
    {
        if (row.type == type)
            return row.edition;
    }
    return generation == windows8 ? L"" : L"Unknown";
}

GMString WidthText(WORD architecture, GMOSInfo & os)
{
    if (architecture == PROCESSOR_ARCHITECTURE_INTEL)
        return L", 32-bit";
    if (architecture != PROCESSOR_ARCHITECTURE_AMD64)
        return GMString();
    os.m_is64 = true;
    return L", 64-bit";
}

} // namespace

bool GMHardwareDetect::DetectOS()
{
    SystemFacts facts = {};
    OSVERSIONINFOEXW const & version = facts.version;
    ReadSystemVersion(facts.version); // zeros on failure, which are no platform
    facts.architecture = NativeArchitecture();
    bool const isWin9x = IsWin9x(facts);
    if (!isWin9x && (version.dwPlatformId != VER_PLATFORM_WIN32_NT || version.dwMajorVersion <= 4))
    {
        return false;
    }

    GMString name = L"Microsoft " + GenerationText(facts, m_os);
    if (!isWin9x)
    {
        if (version.dwMajorVersion > 5)
        {
            name += EditionText(version, m_os.m_version);
            name += WidthText(facts.architecture, m_os);
        }
        else
        {
            name += SuiteText(facts, m_os);
        }
        if (version.szCSDVersion[0] != L'\0')
        {
            auto const * const end = std::end(version.szCSDVersion);
            name += L' ';
            name.append(version.szCSDVersion, std::find(version.szCSDVersion, end, L'\0'));
        }
        name += GMStringUtils::FormatResult(L" (build %u)",
                                            static_cast<unsigned int>(version.dwBuildNumber));
    }
    m_os.m_name = name;
    return true;
}

GMString GMHardwareDetect::GetOSName() const { return m_os.m_name; }

unsigned short GMHardwareDetect::GetOSVersion() const { return m_os.m_version; }

unsigned char GMHardwareDetect::GetOSBit() const { return m_os.m_is64 ? 2 : 1; }

} // namespace Velmora
