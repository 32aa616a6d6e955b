#include "VelmoraCommon/text/GMTimeUtils.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <limits>
#include <optional>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/text/GMCalTime.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/ImportHook.h"

namespace Velmora::Testing
{

namespace
{

/// The local time of the process for a scope, as the C library names it: "EST5EDT" has the rules of
/// New York.
class TimeZone
{
public:
    explicit TimeZone(std::string const & name)
    {
        if (char const * const before = std::getenv("TZ"))
            m_before = before;
        Set(name);
    }
    ~TimeZone() { Set(m_before); }

private:
    static void Set(std::string const & name)
    {
        _putenv(("TZ=" + name).c_str());
        _tzset();
    }

    std::string m_before;
};

constexpr __int64 hour = 3600;
constexpr __int64 day = 24 * hour;
constexpr __int64 wrap = 4294967296;     // of 32 bits
constexpr __int64 year2024 = 1704067200; // its begin in UTC

/// The fields of \p read that differ from \p before.
std::string Changes(tm const & before, tm const & read)
{
    struct Field
    {
        char const * name;
        int tm::*field;
    };
    Field const fields[] = {{"Y", &tm::tm_year}, {"m", &tm::tm_mon},  {"d", &tm::tm_mday},
                            {"H", &tm::tm_hour}, {"M", &tm::tm_min},  {"S", &tm::tm_sec},
                            {"w", &tm::tm_wday}, {"j", &tm::tm_yday}, {"dst", &tm::tm_isdst}};
    std::ostringstream changes;
    for (Field const & each : fields)
    {
        if (before.*each.field != read.*each.field)
            changes << each.name << read.*each.field << ' ';
    }
    return changes.str();
}

unsigned long tickCount = 0;
unsigned long WINAPI FakeTickCount() { return tickCount; }

__int64 systemTime = 0;
__int64 __cdecl FakeTime(__int64 *) { return systemTime; }

__int64 counter = 0;
BOOL WINAPI FakeCounter(LARGE_INTEGER * value)
{
    value->QuadPart = counter;
    return counter >= 0;
}

GMString debugText;
void WINAPI FakeDebugOutput(wchar_t const * text) { debugText += text; }

} // namespace

TEST(GMTimeUtils, ReadsTimesByFormats)
{
    // Text, format, the rest of the text (null: refused), what is stored, also before a mismatch.
    char const * const cases[][4] = {
        {"2024-02-03 04:05:06", "%Y-%m-%d %H:%M:%S", "", "Y124 m1 d3 H4 M5 S6 "},
        {"a%b", "a%%b", "", ""},
        {"a", "b", nullptr, ""},
        // blanks
        {" \t\n\v\f\r1", " %d", "", "d1 "},
        {"1  2", "%d%n%m%t", "", "m1 d1 "},
        // numbers: digits and limits
        {"123", "%d", "3", "d12 "},
        {"+1", "%d", nullptr, ""},
        {"20240203", "%Y%m%d", "", "Y124 m1 d3 "},
        {"99", "%w", nullptr, ""},
        {"0", "%m", nullptr, ""},
        {"13", "%m", nullptr, ""},
        {"366 367", "%j %j", nullptr, "j365 "},
        {"60 61 62", "%S %S %S", nullptr, "S61 "},
        {"23 24", "%k %H", nullptr, "H23 "},
        {"12 1", "%I", " 1", "H0 "},
        {"11", "%l", "", "H11 "},
        {"53 54", "%U %W", nullptr, ""},
        {"0", "%Y", "", "Y-1900 "},
        {"6", "%OEd", "", "d6 "},
        // years in two parts
        {"69", "%y", "", "Y69 "},
        {"68", "%y", "", "Y168 "},
        {"20", "%C", "", "Y2000 "},
        {"20 24", "%C %y", "", "Y2024 "},
        {"24 20", "%y %C", "", "Y2024 "},
        // names
        {"JANUARY1", "%b", "1", "m0 "},
        {"Marchy", "%h", "y", "m2 "},
        {"Janu", "%B", "u", "m0 "},
        {"Ja", "%b", nullptr, ""},
        {"sunday, SAT", "%a, %A", "", "w6 "},
        // several in one
        {"02/03/24 04:05:06", "%D %T", "", "Y124 m1 d3 H4 M5 S6 "},
        {"02/03/24 04:05:06", "%c", "", "Y124 m1 d3 H4 M5 S6 "},
        {"4:5", "%R", "", "H4 M5 "},
        {"04:05:06 PM", "%r", nullptr, "H4 M5 S6 "},
        {"12 AM", "%I %p", nullptr, "H0 "},
        // no conversions
        {"1", "%", nullptr, ""},
        {"1", "%Q", nullptr, ""},
        {"\xFF", "%\xFF", nullptr, ""},
        {"\xFF.", "\xFF", ".", ""},
    };
    for (auto const & [text, format, rest, changes] : cases)
    {
        SCOPED_TRACE(testing::Message() << '"' << text << "\" by " << format);
        tm before;
        std::fill_n(reinterpret_cast<int *>(&before), sizeof(before) / sizeof(int), 777);
        tm read = before;
        EXPECT_STREQ(rest, GMTimeUtils::strptime(text, format, &read));
        EXPECT_EQ(changes, Changes(before, read));
    }
}

TEST(GMTimeUtils, ParsesAndFormatsLocalTimes)
{
    std::tuple<char const *, char const *, __int64> const cases[] = {
        {"UTC0", "2024-01-01 00:00:00", year2024},
        {"CST-8", "2024-01-01 08:00:00", year2024},
        {"UTC0", "2038-01-19 03:14:08", 2147483648},
        {"UTC0", "2999-12-31 23:59:59", 32503679999},
        // The clocks of New York skip from 2 to 3 on March 10 and fall back to 1 on November 3.
        {"EST5EDT", "2024-03-10 01:59:59", 1710053999},
        {"EST5EDT", "2024-03-10 03:00:00", 1710054000},
        {"EST5EDT", "2024-11-03 00:59:59", 1730609999},
        {"EST5EDT", "2024-11-03 02:00:00", 1730617200},
    };
    wchar_t const * const format = L"%Y-%m-%d %H:%M:%S";
    for (auto const & [zoneName, bytes, time] : cases)
    {
        SCOPED_TRACE(testing::Message() << bytes << ' ' << zoneName);
        TimeZone const zone(zoneName);
        EXPECT_EQ(time, GMTimeUtils::ParserTime(bytes, "%Y-%m-%d %H:%M:%S"));
        GMString const text(bytes, bytes + std::strlen(bytes));
        EXPECT_EQ(static_cast<unsigned __int64>(time), GMTimeUtils::ParserTime(text, format));
        EXPECT_EQ(text, GMTimeUtils::GetFormatTime(format, time));
    }

    TimeZone const zone("UTC0");
    EXPECT_EQ(-1, GMTimeUtils::ParserTime("1969-12-31", "%Y-%m-%d"));
    EXPECT_EQ(year2024, GMTimeUtils::ParserTime("2024 rest", "%Y %m"));
    EXPECT_EQ(L"", GMTimeUtils::GetFormatTime(format, -1));
    EXPECT_EQ(L"", GMTimeUtils::GetFormatTime(format, (std::numeric_limits<__int64>::max)()));
    EXPECT_EQ(L"", GMTimeUtils::GetFormatTime(L"", 1));
    EXPECT_EQ(GMString(127, L'x'), GMTimeUtils::GetFormatTime(GMString(127, L'x').c_str(), 1));
    EXPECT_EQ(L"", GMTimeUtils::GetFormatTime(GMString(128, L'x').c_str(), 1));

    ImportHook const hook("_time64", &FakeTime);
    systemTime = year2024;
    EXPECT_EQ(L"2024-01-01 00:00:00", GMTimeUtils::GetFormatTime(format, 0));
}

TEST(GMTimeUtils, ComparesLocalDays)
{
    __int64 const noon = year2024 + 12 * hour;
    __int64 const skip = 1710054000;     // clocks show 3 for 2
    __int64 const fallBack = 1730613600; // clocks show 1 once more
    std::tuple<char const *, __int64, __int64, bool, int, int> const cases[] = {
        {"UTC0", year2024 + day, year2024, false, 1, 0},
        {"UTC0", noon + 25 * hour, noon, false, 2, 46800},
        {"UTC0", year2024, year2024 - 1, false, 1, 0},
        {"CST-8", noon + 4 * hour, noon + 4 * hour - 1, false, 1, 0},
        {"UTC0", noon, noon + 3 * day, false, -2, 43200},
        {"UTC0", noon + wrap, noon, false, 0, 66496},
        {"EST5EDT", skip, skip - 1, true, 1, 3 * hour},
        {"EST5EDT", fallBack, fallBack - 1, true, 1, hour},
        {"EST5EDT", fallBack - 1, fallBack - hour, true, 1, 2 * hour - 1},
        {"UTC0", -1, -1, false, 0, 0},
        {"UTC0", 0, -1, false, 1, 0},
    };
    for (auto const & [zoneName, later, earlier, isSameDay, distance, laterSecond] : cases)
    {
        SCOPED_TRACE(testing::Message() << later << " and " << earlier);
        TimeZone const zone(zoneName);
        EXPECT_EQ(isSameDay, GMTimeUtils::IsSameDay(later, earlier));
        EXPECT_EQ(distance, GMTimeUtils::DayDistance(later, earlier));
        EXPECT_EQ(laterSecond, GMTimeUtils::GetSecondOfDay(later));
    }
}

TEST(GMTimeUtils, ConvertsFileTimes)
{
    std::tuple<unsigned __int64, __int64> const cases[] = {
        {0, 0},
        {1, -11644473599},
        {116444736000000000, 0},
        {116444736010000000, 1},
        {116444735990000001, 0},
        {116444735990000000, -1},
        {0x8000000000000000, 910692730085},
    };
    for (auto const & [ticks, time] : cases)
    {
        FILETIME const fileTime = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
        EXPECT_EQ(time, GMTimeUtils::FileTimeToTime(fileTime)) << ticks;
    }
}

TEST(GMTimeUtils, KeepsTheServersTime)
{
    ImportHook const ticks("GetTickCount", &FakeTickCount);
    ImportHook const time("_time64", &FakeTime);
    systemTime = 1000;
    GMTimeUtils::SetServerTime(0);
    EXPECT_EQ(1000u, GMTimeUtils::GetServerTime());
    EXPECT_EQ(1000u, GMTimeUtils::GetTimestamp());

    tickCount = 0xFFFFFFFF - 1000;
    GMTimeUtils::SetServerTime(5000000);
    GMTimeUtils::SetServerTime(0);
    systemTime = 2000; // has no say any more
    EXPECT_EQ(5000000u, GMTimeUtils::GetServerTime());
    tickCount += 1000;
    EXPECT_EQ(5000001u, GMTimeUtils::GetServerTime());
    tickCount += 1; // wraps: back by 49.7 days
    EXPECT_EQ(5000000u - 4294966, GMTimeUtils::GetServerTime());

    tickCount = 100000; // more uptime than time: the offset is negative
    GMTimeUtils::SetServerTime(7);
    tickCount += 2000;
    EXPECT_EQ(9u, GMTimeUtils::GetServerTime());

    GMTimeUtils::SetServerTime(tickCount / 1000); // an offset of 0 is none
    EXPECT_EQ(2000u, GMTimeUtils::GetServerTime());
}

TEST(GMTimeUtils, WaitsForTheNextStart)
{
    ImportHook const time("_time64", &FakeTime);
    systemTime = year2024;
    std::tuple<__int64, unsigned int, unsigned int, unsigned int> const cases[] = {
        {0, 60, 5, 5},
        {-1, 0xFFFFFFFF, 5, 5},
        {year2024 - 10, 60, 5, 50},
        {year2024 - 10, 60, 55, 55},
        {year2024 - 59, 60, 0, 1},
        {year2024 - 60, 60, 5, 5},
        {year2024, 60, 5, 5},
        {year2024 + 10, 60, 5, 5},
        {1, 0xFFFFFFFF, 5, 0xFFFFFFFF - (static_cast<unsigned int>(year2024) - 1)},
    };
    for (auto const & [last, interval, minimum, wait] : cases)
        EXPECT_EQ(wait, GMTimeUtils::CalcNextStartTime(last, interval, minimum)) << last;
    systemTime = wrap + 5;
    EXPECT_EQ(5u, GMTimeUtils::CalcNextStartTime(1, 0xFFFFFFFF, 5));
}

TEST(GMTimeUtils, CountsMilliseconds)
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    ImportHook const hook("QueryPerformanceCounter", &FakeCounter);
    counter = frequency.QuadPart * 3 / 2;
    EXPECT_EQ(1500u, GMTimeUtils::GetHighPrecisionTickCount());
    counter = -1; // fails
    EXPECT_EQ(0u, GMTimeUtils::GetHighPrecisionTickCount());
}

TEST(GMCalTime, ReportsByLevel)
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    ImportHook const clock("QueryPerformanceCounter", &FakeCounter);
    ImportHook const debugger("OutputDebugStringW", &FakeDebugOutput);
    std::wostringstream console;
    std::wstreambuf * const before = std::wcout.rdbuf(console.rdbuf());
    auto const measure = [&](GMString const & name, unsigned char level)
    {
        counter = frequency.QuadPart;
        debugText.clear();
        debugText.reserve(1000);
        std::optional<GMCalTime> time(name);
        if (level != 0)
            time->SetLevel(level);
        counter = frequency.QuadPart * 7 / 2;
        AllocationMeter const meter;
        time.reset();
        EXPECT_TRUE(level == 2 || meter.Peak() == 0); // no memory, no failure
    };

    measure(L"work", 0);
    EXPECT_EQ(L"work used 2.500000 s.\n", debugText);
    measure(GMString(990, L'x'), 0);
    EXPECT_EQ(GMString(990, L'x') + L" used 2.5", debugText.substr(0, 999));
    EXPECT_EQ(999u, debugText.size());
    measure(L"work", 1);
    EXPECT_EQ(L"", debugText);
    EXPECT_EQ(L"", console.str());
    measure(L"work", 2);
    EXPECT_EQ(L"", debugText);
    EXPECT_EQ(L"work used 2.500000 s.\n\n", console.str());
    std::wcout.rdbuf(before);
}

} // namespace Velmora::Testing
