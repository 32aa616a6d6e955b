#include "VelmoraCommon/detect/system/GMSystemInfo.h"

#include <ctime>

#include <gtest/gtest.h>

#include "VelmoraCommon/registry/GMRegFile.h"
#include "tests/support/ImportHook.h"
#include "tests/support/RegistrySandbox.h"

namespace Velmora::Testing
{

namespace
{

OSVERSIONINFOEXW s_version;
BOOL s_answers = TRUE;
WORD s_architecture;
int s_r2;

BOOL WINAPI TellVersion(OSVERSIONINFOW * version)
{
    if (version->dwOSVersionInfoSize != sizeof(s_version))
        return FALSE;
    s_version.dwOSVersionInfoSize = sizeof(s_version);
    *reinterpret_cast<OSVERSIONINFOEXW *>(version) = s_version;
    return s_answers;
}

void WINAPI TellArchitecture(SYSTEM_INFO * info) { info->wProcessorArchitecture = s_architecture; }

int WINAPI TellR2(int number) { return number == 89 ? s_r2 : 0; }

} // namespace

TEST(GMSystemInfo, NamesTheSystem)
{
    ImportHook const version("GetVersionExW", &TellVersion);
    ImportHook const architecture("GetSystemInfo", &TellArchitecture);
    ImportHook const metrics("GetSystemMetrics", &TellR2);
    struct Case
    {
        DWORD major;
        DWORD minor;
        DWORD platform;
        BYTE product; // 1 is a workstation
        WORD architecture;
        int r2;
        wchar_t const * name; // null for none
    };
    Case const cases[] = {
        {4, 0, 2, 1, 0, 0, L"Microsoft Windows NT 4.0"},
        {4, 0, 1, 0, 0, 0, L"Microsoft Windows 95"},
        {4, 10, 1, 0, 0, 0, L"Microsoft Windows 98"},
        {4, 11, 1, 0, 0, 0, nullptr},
        {4, 90, 1, 0, 0, 0, L"Microsoft Windows Me"},
        {5, 0, 2, 3, 0, 0, L"Microsoft Windows 2000"},
        {5, 1, 2, 1, 0, 0, L"Microsoft Windows XP"},
        {5, 2, 2, 1, 9, 1, L"Microsoft Windows XP Professional x64 Edition"},
        {5, 2, 2, 3, 9, 0, L"Microsoft Windows Server 2003"},
        {5, 2, 2, 1, 0, 1, L"Microsoft Windows Server 2003 R2"},
        {5, 3, 2, 1, 0, 0, nullptr},
        {6, 0, 2, 1, 9, 0, L"Microsoft Windows Vista"},
        {6, 0, 2, 2, 9, 0, L"Microsoft Windows Server 2008"},
        {6, 1, 2, 1, 9, 0, L"Microsoft Windows 7"},
        {6, 1, 2, 3, 9, 0, L"Microsoft Windows Server 2008 R2"},
        {6, 4, 2, 1, 9, 0, L"Microsoft Windows 8"},
        {6, 2, 2, 3, 9, 0, L"Windows Server 2012"},
        {10, 0, 2, 1, 9, 0, L"Microsoft Windows 10"},
        {10, 0, 2, 3, 9, 0, L"Microsoft Windows Server 2016"},
        {10, 1, 2, 1, 9, 0, L"Windows 10.1"},
        {11, 0, 2, 1, 9, 0, L"Windows 11.0"},
    };
    for (Case const & each : cases)
    {
        s_version = {};
        s_version.dwMajorVersion = each.major;
        s_version.dwMinorVersion = each.minor;
        s_version.dwPlatformId = each.platform;
        s_version.wProductType = each.product;
        s_architecture = each.architecture;
        s_r2 = each.r2;
        SCOPED_TRACE(std::to_string(each.major) + "." + std::to_string(each.minor));
        GMString name;
        unsigned int major = 0;
        EXPECT_EQ(each.name != nullptr, GMSystemInfo::GetWindowsVersion(name, major));
        EXPECT_EQ(each.name == nullptr ? L"" : each.name, name);
        EXPECT_EQ(each.major, major);
        EXPECT_TRUE(GMSystemInfo::GetWindowsVersion(&major, nullptr));
    }
    s_answers = FALSE;
    GMString name = L"old";
    unsigned int major = 7;
    EXPECT_FALSE(GMSystemInfo::GetWindowsVersion(name, major));
    EXPECT_EQ(7u, major);
    s_answers = TRUE;
}

TEST(GMSystemInfo, TellsTimes)
{
    RegistrySandbox const machine(HKEY_LOCAL_MACHINE);
    EXPECT_EQ(L"19700101000000", GMSystemInfo::GetSystemInstallTime()); // the tests run in UTC
    GMRegFile key;
    key.CreateKey(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", false);
    key.SetValue(L"InstallDate", 0xFFFFFFFFul);
    EXPECT_EQ(L"21060207062815", GMSystemInfo::GetSystemInstallTime());
    EXPECT_EQ(14u, GMSystemInfo::GetSystemCurrentTime().size());
    EXPECT_EQ(0u, GMSystemInfo::GetSystemEnvironment()); // by WMI; Wine's model is "Wine"
}

} // namespace Velmora::Testing
