#include "VelmoraCommon/text/GMTimeUtils.h"

#include <algorithm>
#include <climits>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/internal/PerformanceCounter.h"

namespace Velmora
{

namespace
{

constexpr int secondsOfDay = 24 * 60 * 60;

/// The C library's 64-bit calls are named outright: those without a number are limited to 2038 in a
/// 32-bit build.
bool ToLocalTime(__int64 time, tm & local) { return _localtime64_s(&local, &time) == 0; }

bool IsSameDate(tm const & a, tm const & b)
{
    return a.tm_year == b.tm_year && a.tm_mon == b.tm_mon && a.tm_mday == b.tm_mday;
}

} // namespace

unsigned __int64 GMTimeUtils::s_serverTimeOffset = 0;

unsigned __int64 GMTimeUtils::GetTimestamp()
{
    return static_cast<unsigned __int64>(_time64(nullptr));
}

unsigned __int64 GMTimeUtils::GetHighPrecisionTickCount()
{
    static double const frequency = CounterFrequency();

    double const ticks = CounterTicks();
    if (frequency <= 0 || ticks < 0)
        return 0;
    return static_cast<unsigned __int64>(ticks / frequency * 1000);
}

void GMTimeUtils::SetServerTime(unsigned int now)
{
    if (now != 0)
        s_serverTimeOffset = static_cast<unsigned int>(now - GetTickCount() / 1000);
}

unsigned int GMTimeUtils::GetServerTime()
{
    if (s_serverTimeOffset == 0)
        return static_cast<unsigned int>(GetTimestamp());
    return static_cast<unsigned int>(s_serverTimeOffset + GetTickCount() / 1000);
}

__int64 GMTimeUtils::FileTimeToTime(_FILETIME const & fileTime)
{
    constexpr unsigned __int64 epoch = 116444736000000000; // 1970 in ticks since 1601
    constexpr __int64 ticksPerSecond = 10000000;

    unsigned __int64 const ticks =
        (static_cast<unsigned __int64>(fileTime.dwHighDateTime) << 32) | fileTime.dwLowDateTime;
    return ticks == 0 ? 0 : static_cast<__int64>(ticks - epoch) / ticksPerSecond;
}

int GMTimeUtils::GetSecondOfDay(__int64 time)
{
    tm local;
    if (!ToLocalTime(time, local))
        return 0;
    local.tm_hour = 0;
    local.tm_min = 0;
    local.tm_sec = 0;
    return static_cast<int>(time - _mktime64(&local));
}

bool GMTimeUtils::IsSameDay(__int64 a, __int64 b)
{
    tm left;
    tm right;
    return ToLocalTime(a, left) && ToLocalTime(b, right) && IsSameDate(left, right);
}

int GMTimeUtils::DayDistance(__int64 a, __int64 b)
{
    tm local;
    if (!ToLocalTime(a, local))
        return 0;
    if (IsSameDay(a, b))
        return 1;
    // Only the low 32 bits count; as unsigned numbers they may wrap.
    auto const seconds = static_cast<int>(static_cast<unsigned int>(a) -
                                          static_cast<unsigned int>(b) + (secondsOfDay - 1));
    return seconds / secondsOfDay;
}

GMString GMTimeUtils::GetFormatTime(wchar_t const * format, __int64 time)
{
    tm local;
    if (!ToLocalTime(time != 0 ? time : _time64(nullptr), local))
        return GMString();
    char text[128] = {};
    GMStringA const narrowFormat = GMStringConvert::UnicodeStringToMultiByte(format, 0);
    std::size_t const length = std::strftime(text, sizeof(text), narrowFormat.c_str(), &local);
    return GMStringConvert::MultiByteToUnicodeString(GMStringA(text, length), 0);
}

__int64 GMTimeUtils::ParserTime(char const * text, char const * format)
{
    tm local = {};
    local.tm_year = 70;
    local.tm_mday = 1;
    local.tm_isdst = -1; // to be found out by mktime
    strptime(text, format, &local);
    return _mktime64(&local);
}

unsigned __int64 GMTimeUtils::ParserTime(GMString const & text, wchar_t const * format)
{
    return static_cast<unsigned __int64>(
        ParserTime(GMStringConvert::UnicodeStringToMultiByte(text, 0).c_str(),
                   GMStringConvert::UnicodeStringToMultiByte(format, 0).c_str()));
}

unsigned int GMTimeUtils::CalcNextStartTime(__int64 last, unsigned int interval,
                                            unsigned int minimum)
{
    __int64 const now = _time64(nullptr);
    if (last <= 0 || last >= now || now - last >= interval)
        return minimum;
    return std::max(interval - static_cast<unsigned int>(now - last), minimum);
}

} // namespace Velmora
