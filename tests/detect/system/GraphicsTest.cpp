#include <filesystem>

#include <gmock/gmock.h>

#include "VelmoraCommon/detect/system/GMHardwareDetect.h"
#include "VelmoraCommon/frame/GMSharedLibrary.h"
#include "tests/detect/system/FakeGpus.h"
#include "tests/detect/system/FakeSystem.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

FakeGpus s_gpus;
std::wstring s_systemFolder;

UINT WINAPI TellSystemFolder(wchar_t * buffer, UINT size)
{
    auto const length = static_cast<UINT>(s_systemFolder.size());
    if (size <= length)
        return length + 1;
    std::wmemcpy(buffer, s_systemFolder.c_str(), length + 1);
    return length;
}

/// Drivers' libraries of both vendors, which the system's loader finds.
class FakeDrivers
{
public:
    explicit FakeDrivers(std::initializer_list<wchar_t const *> names)
        : m_systemFolder("GetSystemDirectoryW", &TellSystemFolder)
    {
        auto const library = std::filesystem::path(GMSharedLibrary::GetModuleFullName(nullptr))
                                 .replace_filename("fake_gpu_library.dll");
        for (auto const * name : names)
            std::filesystem::copy_file(library, m_folder.File(name));
        s_systemFolder = m_folder.Path();
        SetDllDirectoryW(m_folder.Path().c_str());
    }
    ~FakeDrivers()
    {
        SetDllDirectoryW(nullptr);
        for (auto const * name : {L"nvapi.dll", L"atiadlxx.dll", L"atiadlxy.dll"})
        {
            while (HMODULE const module = GetModuleHandleW(name))
                FreeLibrary(module);
        }
    }

private:
    TemporaryFolder m_folder;
    ImportHook m_systemFolder;
};

std::vector<GMVideoCardInfo> Cards(std::initializer_list<wchar_t const *> pnpDeviceIds)
{
    std::vector<GMVideoCardInfo> cards;
    for (auto const * id : pnpDeviceIds)
    {
        GMVideoCardInfo card;
        card.m_pnpDeviceId = id;
        card.m_memoryClock = card.m_coreClock = 7;
        cards.push_back(card);
    }
    return cards;
}

} // namespace

extern "C" __declspec(dllexport) FakeGpus & __cdecl VelmoraFakeGpus() { return s_gpus; }

TEST(GMHardwareDetect, ReadsClocksOfNvidia)
{
    FakeDrivers const drivers{L"nvapi.dll"};
    s_gpus = {};
    s_gpus.nvidiaCount = 4;
    // The vendor stands in the low half of the first number, the device in the fourth.
    s_gpus.nvidia[0] = {{0x268410DE, 0x0889103C, 0xA, 0x684}, {1, 210000, 1, 405000}, {}};
    s_gpus.nvidia[1] = {{0x268410DE, 0x88E10DE, 0xA1, 0x2684}, {1, 1, 1, 1}, FakeGpus::tellName};
    s_gpus.nvidia[2] = {{0x111110DE, 0, 0, 0x1111}, {1, 1, 1, 1}, {}}; // no such adapter
    s_gpus.nvidia[3] = {{0x222210DE, 1, 2, 0x2222}, {2, 1, 3, 800}, {}};
    GMHardwareDetect machine;
    machine.m_videoCards = Cards({L"PCI\\VEN_10DE&DEV_0684&SUBSYS_0889103C&REV_0A\\4&1",
                                  L"pci\\ven_10de&dev_0684&subsys_0889103c&rev_0a\\4&2",
                                  L"PCI\\VEN_10DE&DEV_2684&SUBSYS_088E10DE&REV_A1\\4&3",
                                  L"PCI\\VEN_10DE&DEV_2222&SUBSYS_00000001&REV_02"});
    EXPECT_TRUE(machine.DetectNVIDIAGpuFrequency());
    auto const clocks = [&machine](std::size_t card)
    {
        return std::pair(machine.m_videoCards[card].m_coreClock,
                         machine.m_videoCards[card].m_memoryClock);
    };
    EXPECT_EQ(std::pair(7ull, 7ull), clocks(0)); // the last of two like ones gets them
    EXPECT_EQ(std::pair(210000ull, 405000ull), clocks(1));
    EXPECT_EQ(std::pair(7ull, 7ull), clocks(2)); // has no name
    EXPECT_EQ(std::pair(0ull, 800ull), clocks(3));
    EXPECT_EQ(1, s_gpus.messages);

    s_gpus.nvidia[0].failing = FakeGpus::tellClocks;
    s_gpus.nvidia[0].clocks[1] = 1;
    s_gpus.nvidia[3].clocks[3] = 900;
    s_gpus.nvidiaCount = 0xFFFFFFFF; // more than there can be
    EXPECT_TRUE(machine.DetectNVIDIAGpuFrequency());
    EXPECT_EQ(std::pair(210000ull, 405000ull), clocks(1));
    EXPECT_EQ(900u, clocks(3).second);
    for (auto const step : {FakeGpus::initialize, FakeGpus::version, FakeGpus::enumerate})
    {
        s_gpus.failing = step;
        s_gpus.messages = 0;
        EXPECT_FALSE(machine.DetectNVIDIAGpuFrequency());
        EXPECT_EQ(1, s_gpus.messages);
    }
    s_gpus.failing = FakeGpus::nothing;
    s_gpus.nvidiaCount = 0;
    EXPECT_TRUE(machine.DetectNVIDIAGpuFrequency());
}

TEST(GMHardwareDetect, ReadsClocksOfAmd)
{
    struct Case
    {
        char const * what;
        FakeGpus::Step failing;
        int count, index, active, core; // of the third adapter of the driver
        int result;
        unsigned __int64 added; // to the second adapter of WMI
    };
    constexpr auto no = FakeGpus::nothing;
    Case const cases[] = {
        {"in units of 10 kHz", no, 3, 1, 1, 80000, 0, 800000},
        {"32 bits with sign", no, 3, 1, 1, 0x7FFFFFFF, 0, 0ull - 10},
        {"beyond the list", no, 3, 2, 1, 1, 0, 0},
        {"before the list", no, 3, int(0x80000000), 1, 1, 0, 0},
        {"not active", no, 3, 1, 0, 1, 0, 0},
        {"none", no, 0, 1, 1, 1, 2, 0},
        {"fewer than none", no, -1, 1, 1, 1, 0, 0},
        {"more than memory", no, 0x7FFFFFFF, 1, 1, 1, 2, 0},
        {"can't be started", FakeGpus::create, 3, 1, 1, 1, 2, 0},
        {"can't be counted", FakeGpus::countAdapters, 3, 1, 1, 1, 2, 0},
        {"can't be read", FakeGpus::readAdapters, 3, 1, 1, 1, 2, 0},
        {"has no clocks", FakeGpus::readClocks, 3, 1, 1, 1, 0, 0},
    };
    GMHardwareDetect machine;
    for (auto const * library : {L"atiadlxx.dll", L"atiadlxy.dll"})
    {
        FakeDrivers const drivers{library};
        for (Case const & each : cases)
        {
            SCOPED_TRACE(each.what);
            s_gpus = {};
            s_gpus.failing = each.failing;
            s_gpus.amdCount = each.count;
            s_gpus.amd[0] = {0, 0x1002, 1}; // of another vendor
            s_gpus.amd[1] = {-1, 1002, 1};
            s_gpus.amd[2] = {each.index, 1002, each.active};
            s_gpus.core = each.core;
            machine.m_videoCards = Cards({L"", L""});
            EXPECT_EQ(each.result, machine.DetectATIGpuFrequency());
            EXPECT_EQ(7 + each.added, machine.m_videoCards[1].m_coreClock);
            EXPECT_EQ(7u, machine.m_videoCards[0].m_coreClock);
            bool const isAsked = each.result == 0 && each.count > 0 && each.active != 0;
            EXPECT_EQ(isAsked ? each.index : -1, s_gpus.clocksOf);
        }
    }
    for (auto const * missing :
         {"ADL_Main_Control_Create", "ADL_Main_Control_Destroy", "ADL_Adapter_NumberOfAdapters_Get",
          "ADL_Adapter_AdapterInfo_Get", "ADL_Adapter_Active_Get", "ADL_Overdrive_Caps",
          "ADL_Display_ODClockInfo_Get"})
    {
        FakeDrivers const drivers{L"atiadlxx.dll"};
        FakeSystem system;
        system.missing = missing;
        EXPECT_EQ(2, machine.DetectATIGpuFrequency()) << missing;
    }
    FakeDrivers const none{};
    EXPECT_EQ(1, machine.DetectATIGpuFrequency());
    EXPECT_FALSE(machine.DetectNVIDIAGpuFrequency());
    EXPECT_FALSE(machine.DetectGPUFrequency());
}

TEST(GMHardwareDetect, ScoresGraphics)
{
    GMHardwareDetect machine;
    auto const score = [&machine](std::map<GMString, unsigned int> const & table)
    {
        unsigned int result = 1;
        machine.Detect(table, false);
        machine.MakeGPUScore(result);
        return result;
    };
    // Halves of 800 * 350 / 8000 + 500 * 300 / 1500 + memory * 350 / 4096: 35 + 100 + 87 for 1024.
    constexpr unsigned int formula = 111;
    EXPECT_EQ(formula, score({}));
    EXPECT_EQ(0u, machine.GetVideoCardRAW(0xFFFFFFFF));
    machine.m_videoCards = Cards({L"", L""});
    machine.m_videoCards[1].m_adapterRam = 0xFFFFFFFFull;
    EXPECT_EQ(4095u, machine.GetVideoCardRAW(0xFFFFFFFF));
    EXPECT_EQ(0u, machine.GetVideoCardRAW(2));
    using Table = std::map<GMString, unsigned int>;
    struct Case
    {
        wchar_t const * name;
        Table table;
        unsigned int score;
    };
    wchar_t const nvidia[] = L"NVIDIA  GeForce   RTX 4090";
    wchar_t const long8[] = L"AMD Radeon (TM) R9 200 Series 4GB OC";
    Case const cases[] = {
        {nvidia, {{L"nvidia geforce rtx 4090", 40}, {L"A RTX 4090 NVIDIA GeForce", 3}}, 400},
        {nvidia, {{L"NVIDIA GEFORCE RTX 4090", 0}, {L"x NVIDIA GeForce RTX", 3}}, 0},
        {nvidia, {{L"NVIDIA GeForce RTX 3060", 7}}, 70},
        {nvidia, {{L"NVIDIA GeForce RTX", 0}}, formula},     // a row of 0 that isn't the name's own
        {nvidia, {{L"NVIDIA GeForce GTX 960", 7}}, formula}, // two words
        // By the order of the names as they are: capitals first; the first of the best counts.
        {nvidia, {{L"a NVIDIA GeForce RTX", 1}, {L"B NVIDIA GeForce RTX", 2}}, 20},
        {nvidia, {{L"A NVIDIA GeForce RTX", 1}, {L"b NVIDIA 4090 GeForce RTX", 2}}, 20},
        {L"Radeon Radeon Radeon Pro", {{L"Radeon", 9}}, 90}, // the name's words count, each time
        {long8, {{L"Radeon R9 Series", 5}}, formula},        // five words too many
        {long8, {{L"AMD Radeon R9 200 Series", 5}}, 50},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.table.begin()->first));
        machine.m_videoCards[0].m_name = each.name;
        EXPECT_EQ(each.score, score(each.table));
    }
    machine.m_videoCards[0].m_adapterRam = 24ull << 30; // 4096 at most
    EXPECT_EQ((35u + 100 + 350) / 2, score({}));
    machine.m_gpuSummary.m_coreClock = 9000000; // the limits of both, in kHz
    EXPECT_EQ(500u, score({}));
    machine.m_gpuSummary.m_coreClock = 1860000;
    machine.m_gpuSummary.m_memoryClock = 1000000; // 81 + 200 + 350
    EXPECT_EQ(315u, score({}));
}

} // namespace Velmora::Testing
