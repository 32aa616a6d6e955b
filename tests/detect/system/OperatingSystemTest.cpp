#include <cwchar>
#include <string>

#include <gmock/gmock.h>

#include "VelmoraCommon/detect/system/GMHardwareDetect.h"
#include "tests/detect/system/FakeSystem.h"

namespace Velmora::Testing
{

TEST(GMHardwareDetect, NamesTheSystem)
{
    constexpr DWORD nt = VER_PLATFORM_WIN32_NT;
    constexpr DWORD dos = VER_PLATFORM_WIN32_WINDOWS;
    constexpr WORD x86 = PROCESSOR_ARCHITECTURE_INTEL;
    constexpr WORD x64 = PROCESSOR_ARCHITECTURE_AMD64;
    constexpr WORD ia64 = PROCESSOR_ARCHITECTURE_IA64;
    struct Case
    {
        DWORD platform, major, minor, build;
        BYTE role; // 1 is a workstation
        WORD architecture, suite;
        int r2;
        DWORD productType;
        wchar_t const * servicePack;
        wchar_t const * name; // between "Microsoft " and the build; null for none
        int version;
        int width;
    };
    Case const cases[] = {
        {dos, 4, 90, 3000, 0, x86, 0, 0, 0, L"A", L"Windows Me ", 1, 1},
        {dos, 4, 10, 1998, 0, x86, 0, 0, 0, L"", L"Windows 98 ", 1, 1},
        {dos, 4, 0, 950, 0, x86, 0, 0, 0, L"", L"Windows 95 ", 1, 1},
        {nt, 4, 0, 1381, 1, x86, 0, 0, 0, L"", nullptr, 0, 1},
        {3, 6, 1, 7601, 1, x86, 0, 0, 0, L"", nullptr, 0, 1},
        {nt, 5, 0, 5, 1, x86, 0x80, 0, 0, L"", L"Windows 2000 Professional", 2, 1},
        {nt, 5, 0, 5, 3, x86, 0x82, 0, 0, L"", L"Windows 2000 Datacenter Server", 2, 1},
        {nt, 5, 0, 5, 3, x86, 0x02, 0, 0, L"", L"Windows 2000 Advanced Server", 2, 1},
        {nt, 5, 0, 5, 2, x86, 0x04, 0, 0, L"", L"Windows 2000 Server", 2, 1},
        {nt, 5, 1, 5, 1, x86, 0x300, 0, 0, L"SP 3", L"Windows XP Home Edition SP 3", 4, 1},
        {nt, 5, 1, 5, 1, x64, 0x100, 0, 0, L"", L"Windows XP Professional", 4, 1},
        {nt, 5, 2, 5, 1, x64, 0x82, 0, 0, L"", L"Windows XP Professional x64 Edition", 8, 2},
        {nt, 5, 2, 5, 3, ia64, 0x82, 0, 0, L"",
         L"Windows Server 2003, Datacenter Edition for Itanium-based Systems", 8, 2},
        {nt, 5, 2, 5, 3, ia64, 0x02, 0, 0, L"",
         L"Windows Server 2003, Enterprise Edition for Itanium-based Systems", 8, 2},
        {nt, 5, 2, 5, 3, ia64, 0x4400, 0, 0, L"", L"Windows Server 2003, ", 8, 2},
        {nt, 5, 2, 5, 3, x64, 0x82, 0, 0, L"", L"Windows Server 2003, Datacenter x64 Edition", 8,
         2},
        {nt, 5, 2, 5, 3, x64, 0x02, 0, 0, L"", L"Windows Server 2003, Enterprise x64 Edition", 8,
         2},
        {nt, 5, 2, 5, 3, x64, 0x2100, 0, 0, L"", L"Windows Server 2003, Standard x64 Edition", 8,
         2},
        {nt, 5, 2, 5, 3, x86, 0x4482, 1, 0, L"", L"Windows Server 2003 R2, Compute Cluster Edition",
         8, 1},
        {nt, 5, 2, 5, 3, x86, 0x2000, 0, 0, L"", L"Windows Storage Server 2003 Standard Edition", 8,
         1},
        {nt, 5, 2, 5, 3, x86, 0x482, 0, 0, L"", L"Windows Server 2003, Datacenter Edition", 8, 1},
        {nt, 5, 2, 5, 3, x86, 0x402, 0, 0, L"", L"Windows Server 2003, Enterprise Edition", 8, 1},
        {nt, 5, 2, 5, 3, x86, 0x400, 0, 0, L"", L"Windows Server 2003, Web Edition", 8, 1},
        {nt, 5, 2, 5, 1, x64, 0x80, 1, 0, L"", L"Windows Server 2003 R2, ", 8, 1},
        {nt, 5, 3, 5, 1, x64, 0, 0, 0, L"", L"", 0, 1},
        {nt, 6, 0, 6, 1, x86, 0, 0, 0x05, L"", L"Windows Vista Home Basic Edition, 32-bit", 0x10,
         1},
        {nt, 6, 0, 6, 3, x64, 0, 0, 0x23, L"SP",
         L"Windows Server 2008 Windows Server 2008 without Hyper-V for Windows Essential Server "
         L"Solutions, 64-bit SP",
         0x10, 2},
        {nt, 6, 1, 7, 3, ia64, 0, 0, 0x00, L"", L"Windows 7 An unknown product", 0x20, 1},
        {nt, 6, 1, 7, 1, x86, 0, 0, 0xB4, L"", L"Windows 7 Unknown, 32-bit", 0x20, 1},
        {nt, 6, 2, 8, 1, x86, 0, 0, 0xABCDABCD, L"", L"Windows 8 , 32-bit", 0x40, 1},
        {nt, 6, 3, 9, 1, x64, 0, 0, 0x65, L"", L"Windows 8.1 Home Edition, 64-bit", 0x40, 2},
        {nt, 6, 4, 9, 1, x86, 0, 0, 0x41, L"", L"Windows 6 Unknown, 32-bit", 0, 1},
        {nt, 10, 0, 21999, 1, x64, 0, 0, 0xB3, L"", L"Windows 10 B3 S N Edition, 64-bit", 0x80, 2},
        {nt, 10, 0, 22000, 3, x64, 0, 0, 0x2F, L"", L"Windows 11 Starter Edition, 64-bit", 0x100,
         2},
        {nt, 11, 0, 1, 1, x64, 0, 0, 0x7A, L"", L"Windows 11 A Education N Edition, 64-bit", 0, 2},
    };
    FakeSystem system;
    auto const state = [&system](Case const & each)
    {
        system.version = {};
        system.version.dwPlatformId = each.platform;
        system.version.dwMajorVersion = each.major;
        system.version.dwMinorVersion = each.minor;
        system.version.dwBuildNumber = each.build;
        system.version.wProductType = each.role;
        system.version.wSuiteMask = each.suite;
        std::wcscpy(system.version.szCSDVersion, each.servicePack);
        system.info.wProcessorArchitecture = each.architecture;
        system.r2 = each.r2;
        system.productType = each.productType;
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.name));
        state(each);
        GMHardwareDetect machine;
        EXPECT_EQ(each.name != nullptr, machine.DetectOS());
        std::wstring const name = each.name == nullptr ? L"" : L"Microsoft " + GMString(each.name);
        std::wstring const build = each.platform == nt && !name.empty()
                                       ? L" (build " + std::to_wstring(each.build) + L")"
                                       : L"";
        EXPECT_EQ(name + build, machine.GetOSName());
        EXPECT_EQ(each.version, machine.GetOSVersion());
        EXPECT_EQ(each.width, machine.GetOSBit());
    }

    // The types that have a text, in their number: none is there twice.
    GMHardwareDetect machine;
    unsigned int named = 0;
    state({nt, 6, 1, 0, 1, ia64, 0, 0, 0, L"", nullptr, 0, 0});
    for (system.productType = 0; system.productType <= 0xB4; ++system.productType)
    {
        machine.DetectOS();
        named += machine.GetOSName() != L"Microsoft Windows 7 Unknown (build 0)";
    }
    EXPECT_EQ(96u, named);

    // What a later system doesn't say stays as an earlier one said it, and with it what depends on it.
    state({nt, 6, 3, 0, 1, x64, 0, 0, 0, L"", nullptr, 0, 0});
    machine.DetectOS();
    state({nt, 6, 4, 0, 1, ia64, 0, 0, 0x41, L"", nullptr, 0, 0});
    EXPECT_TRUE(machine.DetectOS());
    EXPECT_EQ(L"Microsoft Windows 6  (build 0)", machine.GetOSName());
    EXPECT_EQ(0x40, machine.GetOSVersion());
    EXPECT_EQ(2, machine.GetOSBit());
    system.missing = "GetProductInfo";
    machine.DetectOS();
    EXPECT_EQ(L"Microsoft Windows 6 An unknown product (build 0)", machine.GetOSName());
    std::wmemset(system.version.szCSDVersion, L'x', 128); // without a NUL
    machine.DetectOS();
    EXPECT_EQ(38u + 1 + 128 + 10, machine.GetOSName().size());
    system.answers = FALSE;
    EXPECT_FALSE(machine.DetectOS());
}

} // namespace Velmora::Testing
