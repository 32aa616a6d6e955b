#include "VelmoraCommon/detect/system/GMSystemInfo.h"

#include <ctime>

#include "VelmoraCommon/detect/system/internal/GMWmiSession.h"
#include "VelmoraCommon/detect/system/internal/SystemVersion.h"
#include "VelmoraCommon/frame/internal/Wow64.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

constexpr DWORD any = 0xFFFFFFFF;

/// The first row that fits counts. The name of a server is null where it is that of the other.
struct NameRow
{
    DWORD major;
    DWORD minor;
    DWORD platform;
    wchar_t const * name;
    wchar_t const * serverName;
};
constexpr NameRow nameRows[] = {
    {4, 0, VER_PLATFORM_WIN32_NT, L"Microsoft Windows NT 4.0", nullptr},
    {4, 0, VER_PLATFORM_WIN32_WINDOWS, L"Microsoft Windows 95", nullptr},
    {4, 10, any, L"Microsoft Windows 98", nullptr},
    {4, 90, any, L"Microsoft Windows Me", nullptr},
    {5, 0, any, L"Microsoft Windows 2000", nullptr},
    {5, 1, any, L"Microsoft Windows XP", nullptr},
    {6, 0, any, L"Microsoft Windows Vista", L"Microsoft Windows Server 2008"},
    {6, 1, any, L"Microsoft Windows 7", L"Microsoft Windows Server 2008 R2"},
    {6, any, any, L"Microsoft Windows 8", L"Windows Server 2012"},
    {10, 0, any, L"Microsoft Windows 10", L"Microsoft Windows Server 2016"},
};

/// Server 2003 and the system for x86-64 that has its version.
GMString NameOf52(OSVERSIONINFOEXW const & version)
{
    SYSTEM_INFO info = {};
    GetSystemInfo(&info);
    if (version.wProductType == VER_NT_WORKSTATION &&
        info.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_AMD64)
    {
        return L"Microsoft Windows XP Professional x64 Edition";
    }
    return IsServer2003R2() ? L"Microsoft Windows Server 2003 R2"
                            : L"Microsoft Windows Server 2003";
}

/// Empty if there is no name for it.
GMString NameOf(OSVERSIONINFOEXW const & version)
{
    DWORD const major = version.dwMajorVersion;
    DWORD const minor = version.dwMinorVersion;
    if (major == 5 && minor == 2)
        return NameOf52(version);
    for (NameRow const & row : nameRows)
    {
        if (row.major != major || (row.minor != any && row.minor != minor) ||
            (row.platform != any && row.platform != version.dwPlatformId))
        {
            continue;
        }
        bool const isServer =
            row.serverName != nullptr && version.wProductType != VER_NT_WORKSTATION;
        return isServer ? row.serverName : row.name;
    }
    if (major == 4 || major == 5) // systems that there never were
        return GMString();
    return GMStringUtils::FormatResult(L"Windows %d.%d", major, minor);
}

struct ModelRow
{
    wchar_t const * model;
    unsigned int environment;
};
constexpr ModelRow modelRows[] = {
    {L"VirtualBox", 1},
    {L"Virtual Machine", 2},
    {L"VMware Virtual Platform", 3},
};

GMString TimeText(__time64_t time)
{
    tm local = {};
    if (_localtime64_s(&local, &time) != 0)
        local = {};
    return GMStringUtils::FormatResult(L"%04d%02d%02d%02d%02d%02d", local.tm_year + 1900,
                                       local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                                       local.tm_sec);
}

} // namespace

bool GMSystemInfo::GetWindowsVersion(GMString & name, unsigned int & major)
{
    OSVERSIONINFOEXW version;
    if (!ReadSystemVersion(version))
        return false;
    GMString const found = NameOf(version);
    if (!found.empty())
        name = found;
    major = version.dwMajorVersion;
    return !name.empty();
}

bool GMSystemInfo::GetWindowsVersion(unsigned int * major, unsigned int * minor)
{
    OSVERSIONINFOEXW version;
    if (!ReadSystemVersion(version))
        return false;
    if (major != nullptr)
        *major = version.dwMajorVersion;
    if (minor != nullptr)
        *minor = version.dwMinorVersion;
    return true;
}

unsigned int GMSystemInfo::GetWindowsMajorVersion()
{
    static unsigned int s_major = 0;
    if (s_major == 0)
        GetWindowsVersion(&s_major, nullptr);
    return s_major;
}

bool GMSystemInfo::IsX64() { return NativeArchitecture() == PROCESSOR_ARCHITECTURE_AMD64; }

unsigned int GMSystemInfo::GetSystemEnvironment()
{
    GMString model;
    GMWmiSession const session(GMWmiSession::strict);
    session.Query(L"SELECT * FROM Win32_ComputerSystem",
                  [&model](IWbemClassObject & row)
                  {
                      model = WmiValue(&row, L"Model").StoredText();
                      return false; // the first row is enough
                  });
    for (ModelRow const & row : modelRows)
    {
        if (GMStringUtils::CompareNoCase(model, row.model) == 0)
            return row.environment;
    }
    return 0;
}

GMString GMSystemInfo::GetSystemCurrentTime() { return TimeText(_time64(nullptr)); }

GMString GMSystemInfo::GetSystemInstallTime()
{
    GMRegFile key;
    DWORD seconds = 0; // since 1970, unsigned, so that it lasts until 2106
    DWORD size = sizeof(seconds);
    REGSAM const access = KEY_READ | (RunsUnderWow64() ? KEY_WOW64_64KEY : 0);
    if (!key.OpenKey(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", access,
                     false) ||
        RegQueryValueExW(key.GetKey(), L"InstallDate", nullptr, nullptr,
                         reinterpret_cast<BYTE *>(&seconds), &size) != ERROR_SUCCESS)
    {
        seconds = 0;
    }
    GMString text = TimeText(seconds);
    text.resize(14, L'0');
    return text;
}

} // namespace Velmora
