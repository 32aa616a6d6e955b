#include "VelmoraCommon/detect/system/GMSystemInfo.h"

#include <ctime>

#include <gtest/gtest.h>

#include "VelmoraCommon/registry/GMRegFile.h"
#include "tests/detect/system/FakeSystem.h"
#include "tests/support/RegistrySandbox.h"

namespace Velmora::Testing
{

TEST(GMSystemInfo, NamesTheSystem)
{
    FakeSystem system;
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
        system.version = {};
        system.version.dwMajorVersion = each.major;
        system.version.dwMinorVersion = each.minor;
        system.version.dwPlatformId = each.platform;
        system.version.wProductType = each.product;
        system.info.wProcessorArchitecture = each.architecture;
        system.r2 = each.r2;
        SCOPED_TRACE(std::to_string(each.major) + "." + std::to_string(each.minor));
        GMString name;
        unsigned int major = 0;
        EXPECT_EQ(each.name != nullptr, GMSystemInfo::GetWindowsVersion(name, major));
        EXPECT_EQ(each.name == nullptr ? L"" : each.name, name);
        EXPECT_EQ(each.major, major);
        EXPECT_TRUE(GMSystemInfo::GetWindowsVersion(&major, nullptr));
    }
    system.answers = FALSE;
    GMString name = L"old";
    unsigned int major = 7;
    EXPECT_FALSE(GMSystemInfo::GetWindowsVersion(name, major));
    EXPECT_EQ(7u, major);
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
