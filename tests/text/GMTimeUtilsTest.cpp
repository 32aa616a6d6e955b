#include "VelmoraCommon/text/GMTimeUtils.h"

#include <algorithm>
#include <cstring>
#include <iostream>
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

/// The local time of the process, as the C library names it: "EST5EDT" has the rules of New York.
void SetTimeZone(std::string const & name)
{
    _putenv(("TZ=" + name).c_str());
    _tzset();
}

constexpr __int64 hour = 3600, day = 24 * hour;
constexpr __int64 wrap = 4294967296;     // of 32 bits
constexpr __int64 year2024 = 1704067200; // its begin in UTC

/// The fields of \p read that aren't -7, in order.
std::string Stored(tm const & read)
{
    std::string stored;
    for (int const each : {read.tm_year, read.tm_mon, read.tm_mday, read.tm_hour, read.tm_min,
                           read.tm_sec, read.tm_wday, read.tm_yday, read.tm_isdst})
        stored += each == -7 ? "." : std::to_string(each) + '/';
    return stored;
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
        {"2024-02-03 04:05:06", "%Y-%m-%d %H:%M:%S", "", "124/1/3/4/5/6/..."},
        {"a%b 366 61 53 6", "a%%b %j %S %U %OEd", "", "..6/..61/.365/."},
        {" \t\n\v\f\r1  2", " %d%n%m%t", "", ".1/1/......"},
        {"202402031", "%Y%m%d", "1", "124/1/3/......"},
        {"366 367", "%j %j", nullptr, ".......365/."},
        {"61 62", "%S %S", nullptr, ".....61/..."},
        {"12 13", "%I%n%l", nullptr, "...0/....."},
        {"23 24", "%k %H", nullptr, "...23/....."},
        {"68", "%y", "", "168/........"},
        {"20 24", "%C %y", "", "2024/........"},
        {"24 20", "%y %C", "", "2024/........"},
        {"JANUARY1 Janu", "%b1 %B", "u", ".0/......."},
        {"Ja", "%b", nullptr, "........."},
        {"sunday, SAT", "%a, %A", "", "......6/.."},
        {"02/03/24 04:05:06", "%c", "", "124/1/3/4/5/6/..."},
        {"04:05:06 PM", "%r", nullptr, "...4/5/6/..."},
        {"1", "%", nullptr, "........."},
        {"\xFF", "%\xFF", nullptr, "........."}};
    for (auto const & [text, format, rest, stored] : cases)
    {
        SCOPED_TRACE(testing::Message() << '"' << text << "\" by " << format);
        tm read;
        std::fill_n(reinterpret_cast<int *>(&read), sizeof(read) / sizeof(int), -7);
        EXPECT_STREQ(rest, GMTimeUtils::strptime(text, format, &read));
        EXPECT_EQ(stored, Stored(read));
    }
}

TEST(GMTimeUtils, ParsesAndFormatsLocalTimes)
{
    wchar_t const * const format = L"%Y-%m-%d %H:%M:%S";
    std::tuple<char const *, char const *, __int64> const cases[] = {
        {"CST-8", "2024-01-01 08:00:00", year2024},
        {"UTC0", "2999-12-31 23:59:59", 32503679999},
        // The clocks of New York skip from 2 to 3 on March 10.
        {"EST5EDT", "2024-03-10 01:59:59", 1710053999},
        {"EST5EDT", "2024-03-10 03:00:00", 1710054000}};
    for (auto const & [zone, bytes, time] : cases)
    {
        SCOPED_TRACE(testing::Message() << bytes << ' ' << zone);
        SetTimeZone(zone);
        GMString const text(bytes, bytes + std::strlen(bytes));
        EXPECT_EQ(static_cast<unsigned __int64>(time), GMTimeUtils::ParserTime(text, format));
        EXPECT_EQ(text, GMTimeUtils::GetFormatTime(format, time));
    }

    SetTimeZone("UTC0");
    EXPECT_EQ(-1, GMTimeUtils::ParserTime("1969-12-31", "%Y-%m-%d"));
    EXPECT_EQ(year2024, GMTimeUtils::ParserTime("2024 rest", "%Y %m"));
    EXPECT_EQ(L"", GMTimeUtils::GetFormatTime(format, -1));
    EXPECT_EQ(GMString(127, L'x'), GMTimeUtils::GetFormatTime(GMString(127, L'x').c_str(), 1));
    EXPECT_EQ(L"", GMTimeUtils::GetFormatTime(GMString(128, L'x').c_str(), 1));

    ImportHook const hook("_time64", &FakeTime);
    systemTime = year2024;
    EXPECT_EQ(L"2024", GMTimeUtils::GetFormatTime(L"%Y", 0));
}

TEST(GMTimeUtils, ComparesLocalDaysAndConvertsFileTimes)
{
    __int64 const noon = year2024 + 12 * hour;
    __int64 const skip = 1710054000;     // clocks show 3 for 2
    __int64 const fallBack = 1730613600; // clocks show 1 once more
    std::tuple<char const *, __int64, __int64, bool, int, int> const cases[] = {
        {"UTC0", year2024 + day, year2024, false, 1, 0},
        {"UTC0", noon + 25 * hour, noon, false, 2, 46800},
        {"UTC0", noon, noon + 3 * day, false, -2, 43200},
        {"UTC0", noon + wrap, noon, false, 0, 66496},
        {"EST5EDT", skip, skip - 1, true, 1, 3 * hour},
        {"EST5EDT", fallBack - 1, fallBack - hour, true, 1, 2 * hour - 1},
        {"UTC0", -1, -1, false, 0, 0},
    };
    for (auto const & [zone, later, earlier, isSameDay, distance, laterSecond] : cases)
    {
        SCOPED_TRACE(testing::Message() << later << " and " << earlier);
        SetTimeZone(zone);
        EXPECT_EQ(isSameDay, GMTimeUtils::IsSameDay(later, earlier));
        EXPECT_EQ(distance, GMTimeUtils::DayDistance(later, earlier));
        EXPECT_EQ(laterSecond, GMTimeUtils::GetSecondOfDay(later));
    }
    SetTimeZone("UTC0");

    auto const convert = [](unsigned __int64 ticks)
    {
        return GMTimeUtils::FileTimeToTime(
            {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)});
    };
    EXPECT_EQ(0, convert(0));
    EXPECT_EQ(1, convert(116444736010000000));
    EXPECT_EQ(0, convert(116444735990000001));
    EXPECT_EQ(-1, convert(116444735990000000));
    EXPECT_EQ(910692730085, convert(0x8000000000000000));
}

TEST(GMTimeUtils, KeepsTheServersTimeAndWaitsByTheSystems)
{
    ImportHook const ticks("GetTickCount", &FakeTickCount);
    ImportHook const time("_time64", &FakeTime);
    systemTime = 1000;
    tickCount = 0xFFFFFFFF - 1000;
    GMTimeUtils::SetServerTime(5000000);
    GMTimeUtils::SetServerTime(0);
    tickCount += 1000;
    EXPECT_EQ(5000001u, GMTimeUtils::GetServerTime());
    tickCount += 1; // wraps: back by 49.7 days
    EXPECT_EQ(5000000u - 4294966, GMTimeUtils::GetServerTime());

    tickCount = 100000; // more uptime than time: the offset is negative
    GMTimeUtils::SetServerTime(7);
    EXPECT_EQ(7u, GMTimeUtils::GetServerTime());
    GMTimeUtils::SetServerTime(tickCount / 1000); // an offset of 0 is none
    EXPECT_EQ(1000u, GMTimeUtils::GetServerTime());

    systemTime = wrap + 5;
    auto const wait = &GMTimeUtils::CalcNextStartTime;
    EXPECT_EQ(5u, wait(0, 60, 5));
    EXPECT_EQ(50u, wait(systemTime - 10, 60, 5));
    EXPECT_EQ(55u, wait(systemTime - 10, 60, 55));
    EXPECT_EQ(5u, wait(systemTime - 60, 60, 5));
    EXPECT_EQ(5u, wait(systemTime + 10, 60, 5));
    EXPECT_EQ(5u, wait(1, 0xFFFFFFFF, 5)); // longer ago than 32 bits count
}

TEST(GMCalTime, ReportsByLevel)
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    ImportHook const clock("QueryPerformanceCounter", &FakeCounter);
    ImportHook const debugger("OutputDebugStringW", &FakeDebugOutput);
    std::wostringstream console;
    auto * const before = std::wcout.rdbuf(console.rdbuf());
    auto const measure = [&](GMString const & name, unsigned char level)
    {
        counter = frequency.QuadPart;
        debugText.clear();
        debugText.reserve(1000);
        std::optional<GMCalTime> time(name);
        time->SetLevel(level);
        counter = frequency.QuadPart * 7 / 2;
        AllocationMeter const meter;
        time.reset();
        EXPECT_TRUE(level == 2 || meter.Peak() == 0); // no memory, no failure
    };

    counter = frequency.QuadPart * 3 / 2;
    EXPECT_EQ(1500u, GMTimeUtils::GetHighPrecisionTickCount());
    counter = -1; // fails
    EXPECT_EQ(0u, GMTimeUtils::GetHighPrecisionTickCount());

    measure(L"work", 0);
    EXPECT_EQ(L"work used 2.500000 s.\n", debugText);
    measure(GMString(990, L'x'), 0);
    EXPECT_EQ(GMString(990, L'x') + L" used 2.5", debugText);
    measure(L"work", 1);
    measure(L"work", 2);
    EXPECT_EQ(L"", debugText);
    EXPECT_EQ(L"work used 2.500000 s.\n\n", console.str());
    std::wcout.rdbuf(before);
}

} // namespace Velmora::Testing
