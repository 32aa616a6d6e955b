#include <cstring>

#include <gmock/gmock.h>
#include <intrin.h>

#include "VelmoraCommon/detect/system/GMHardwareDetect.h"
#include "tests/detect/system/FakeSystem.h"
#include "tests/detect/system/FakeWmi.h"

namespace Velmora::Testing
{

namespace
{

char const * s_brand;

/// The brand is all that the processor's detection converts.
int WINAPI ConvertBrand(UINT, DWORD, char const *, int, wchar_t * text, int size)
{
    int const length = static_cast<int>(std::strlen(s_brand));
    for (int i = 0; i < length && size != 0; ++i)
        text[i] = static_cast<wchar_t>(s_brand[i]);
    return length;
}

using Record = SYSTEM_LOGICAL_PROCESSOR_INFORMATION;
std::vector<Record> s_records;
DWORD s_size;       // what the system wants, in bytes
DWORD s_cacheError; // what it fails with once it has that
decltype(&GetProcAddress) s_findExport;

BOOL WINAPI TellCaches(Record * records, DWORD * size)
{
    DWORD const capacity = *size;
    *size = s_size;
    SetLastError(capacity < s_size ? DWORD(ERROR_INSUFFICIENT_BUFFER) : s_cacheError);
    if (capacity < s_size || s_cacheError != 0)
        return FALSE;
    if (s_size != 0)
        std::memcpy(records, s_records.data(), s_size);
    return TRUE;
}

FARPROC WINAPI FindCaches(HMODULE module, char const * name)
{
    return std::strcmp(name, "GetLogicalProcessorInformation") == 0
               ? reinterpret_cast<FARPROC>(reinterpret_cast<void *>(&TellCaches))
               : s_findExport(module, name);
}

HMODULE WINAPI NoModule(wchar_t const *) { return nullptr; }

Record Cache(LOGICAL_PROCESSOR_RELATIONSHIP kind, BYTE level, WORD line, DWORD size)
{
    Record record = {};
    record.Relationship = kind;
    record.Cache.Level = level;
    record.Cache.LineSize = line;
    record.Cache.Size = size;
    return record;
}

} // namespace

TEST(GMHardwareDetect, SumsUpProcessorsAndKnowsTheirBrand)
{
    FakeWmi wmi;
    FakeSystem system;
    ImportHook const brand("MultiByteToWideChar", &ConvertBrand);
    system.info.dwNumberOfProcessors = 12;
    system.info.dwProcessorType = 8664;
    GMHardwareDetect machine;
    s_brand = " Intel(R)  Core(TM) i7-4790\t";
    EXPECT_FALSE(machine.DetectCPU()); // no processor in WMI
    EXPECT_EQ(L"Intel(R) Core(TM) i7-4790", machine.GetCPUName(true));
    EXPECT_EQ(0u, machine.GetCPUNum() + machine.GetCPULevel() + machine.m_cpu.m_type);

    wmi.answers[L"Win32_Processor.DeviceID=\"CPU0\""] = {{{{L"CurrentClockSpeed", {VT_I4, 3000}}}}};
    wmi.answers[L"Win32_Processor.DeviceID=\"CPU1\""] = {{{{L"CurrentClockSpeed", {VT_I4, 0}}}}};
    wmi.answers[L"Win32_Processor.DeviceID=\"CPU2\""] = {
        {{{L"CurrentClockSpeed", {VT_BSTR, 0, L"2999"}}}}};
    wmi.answers[L"Win32_Processor.DeviceID=\"CPU3\""] = {{{}}}; // doesn't tell: the end
    struct Case
    {
        char const * brand;
        unsigned int level;
    };
    Case const cases[] = {
        {"Intel(R) Core(TM) i7", 7},
        {"Core(TM) I5", 6},
        {"i3-2100 Core", 5},
        {"Core2 Duo", 4},
        {"Intel(R) Core(TM)2", 4},
        {"Pentium Dual-Core", 3},
        {"PENTIUM(R) 4", 2},
        {"Celeron", 1},
        {"AMD a10-5800K", 8},
        {"AMD A8", 9},
        {"AMD A6", 10},
        {"AMD A4", 11},
        {"Phenom(tm)", 12},
        {"AMD athlon(tm) 64", 13},
        {"Sempron", 14},
        {"nobody's", 14}, // what no pattern finds stays
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(s_brand = each.brand);
        EXPECT_TRUE(machine.DetectCPU());
        EXPECT_EQ(each.level, machine.GetCPULevel());
        EXPECT_EQ(each.level, machine.m_cpu.m_type);
    }
    EXPECT_EQ((std::vector<unsigned int>{3000, 0, 2999}), machine.m_cpu.m_clocks);
    EXPECT_EQ(5999u, machine.m_cpu.m_clockSum);
    EXPECT_EQ(12u, machine.GetCPUNum());
    EXPECT_FLOAT_EQ(0.499f, machine.GetCPUFrequency());
    EXPECT_EQ(1u + 16, wmi.connections); // one for all processors
    GMHardwareDetect fresh;
    EXPECT_TRUE(fresh.DetectCPU());
    EXPECT_EQ(8664u, fresh.m_cpu.m_type);
}

TEST(GMHardwareDetect, ReadsCaches)
{
    constexpr auto cache = RelationCache;
    s_records = {Cache(RelationProcessorCore, 1, 16, 1), Cache(cache, 2, 32, 256 << 10),
                 Cache(cache, 1, 64, 32 << 10),          Cache(cache, 1, 128, 64 << 10),
                 Cache(cache, 2, 64, 512 << 10),         Cache(cache, 5, 64, 1 << 20),
                 Cache(cache, 0, 64, 1 << 20),           Cache(cache, 3, 64, (8 << 20) + 1023)};
    auto const whole = static_cast<DWORD>(s_records.size() * sizeof(Record));
    struct Case
    {
        char const * what;
        DWORD size;
        DWORD error;
        int result;
        unsigned int levels;
        unsigned __int64 l3;
    };
    Case const cases[] = {
        {"all", whole, 0, 0, 3, 8 << 10},
        {"half a record at the end", whole - 4, 0, 0, 2, 0},
        {"nothing", 0, 0, 0, 0, 0},
        {"a failure", whole, ERROR_CRC, 3, 0, 0},
        {"wants the same size again and again", whole, ERROR_INSUFFICIENT_BUFFER, 3, 0, 0},
    };
    ImportHook const finder("GetProcAddress", &FindCaches, s_findExport);
    GMHardwareDetect machine;
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        s_size = each.size;
        s_cacheError = each.error;
        EXPECT_EQ(each.result, machine.DetectCPUCache());
        EXPECT_EQ(each.levels, machine.m_cpu.m_cacheLevels);
        EXPECT_EQ(each.levels == 0 ? 0u : 64u, machine.m_cpu.m_lineSize);
        EXPECT_EQ(each.levels == 0 ? 0u : 256u, machine.m_cpu.m_l2Size);
        EXPECT_EQ(each.l3, machine.m_cpu.m_l3Size);
    }
    FakeSystem system;
    system.missing = "GetLogicalProcessorInformation";
    EXPECT_EQ(1, machine.DetectCPUCache());
    ImportHook const modules("GetModuleHandleW", &NoModule);
    EXPECT_EQ(4, machine.DetectCPUCache());
}

namespace
{

BOOL WINAPI NoFeature(DWORD) { return FALSE; }
BOOL WINAPI FourFeatures(DWORD number)
{
    return number == 6 || number == 7 || number == 8 || number == 10;
}

unsigned int CountBits(int bits, std::initializer_list<int> wanted)
{
    unsigned int count = 0;
    for (int const bit : wanted)
        count += static_cast<unsigned int>(bits) >> bit & 1;
    return count;
}

} // namespace

TEST(GMHardwareDetect, ScoresProcessors)
{
    int basic[4], extended[4];
    __cpuid(basic, 1);
    __cpuid(extended, static_cast<int>(0x80000001));
    double const features =
        100.0 / 17 *
        (CountBits(basic[3], {23, 25, 26}) + CountBits(basic[2], {0, 9, 12, 19, 20, 28}) +
         CountBits(extended[3], {29}) + CountBits(extended[2], {6, 11, 16}));
    ImportHook const without("IsProcessorFeaturePresent", &NoFeature);
    GMHardwareDetect machine;
    double sum = 1;
    machine.CheckCPUInstruction(sum);
    EXPECT_NEAR(1 + features, sum, 1e-9);

    struct Case
    {
        char const * what;
        unsigned int clockSum, count, type;
        unsigned __int64 line, l2, l3;
        double score; // by hand, without the features
    };
    Case const cases[] = {
        // 9 + log10(1.1) / 3.5 * 300 + 32 * 7.5 / 512 + 150
        {"nothing is known", 0, 0, 0, 0, 0, 0, 9 + 3.547945 + 0.46875 + 150},
        {"one at 3000 MHz", 3000, 1, 8664, 64, 1024, 0, 18 + 3.547945 + 0.9375 + 7.5 + 180},
        // 100 / 3.5 * 300 of log10(4) = 0.60206; 75 of the clock, for whole numbers are divided
        {"an i7", 3001, 4, 7, 64, 256, 8192, 75 + 51.605143 + 0.9375 + 1.875 + 75 + 250},
        {"beyond all limits", 6000, 17, 4000, 64, 0, 0, 500 + 103.210285 + 0.9375 + 0},
        {"an unknown type", 1600, 1, 15, 64, 0, 0, 10 + 3.547945 + 0.9375 + 100},
        {"the last of the others", 1600, 1, 620, 64, 0, 0, 10 + 3.547945 + 0.9375 + 120},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        machine.m_cpu = {};
        machine.m_cpu.m_clockSum = each.clockSum;
        machine.m_cpu.m_count = each.count;
        machine.m_cpu.m_type = each.type;
        machine.m_cpu.m_lineSize = each.line;
        machine.m_cpu.m_l2Size = each.l2;
        machine.m_cpu.m_l3Size = each.l3;
        unsigned int score = 0;
        machine.MakeCPUScore(score);
        EXPECT_EQ(static_cast<unsigned int>(each.score + features), score);
        EXPECT_EQ(1u, machine.m_cpu.m_cacheLevels);
    }
    ImportHook const with("IsProcessorFeaturePresent", &FourFeatures);
    sum = 0;
    machine.CheckCPUInstruction(sum);
    EXPECT_NEAR(features + 400.0 / 17, sum, 1e-9);
}

} // namespace Velmora::Testing
