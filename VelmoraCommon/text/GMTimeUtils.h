#pragma once

#include <ctime>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

struct _FILETIME;

namespace Velmora
{

/// Time stamps: a clock that a server can set, times in and out of texts, distances of days.
///
/// A time is the number of seconds since 1970-01-01 00:00:00 UTC. Local times are those of the C
/// library, which has none for a time before 1970. Any thread may call these operations once the
/// server's time is set.
class VELMORA_API GMTimeUtils
{
public:
    /// The time of the system.
    static unsigned __int64 GetTimestamp();

    /// Milliseconds of the performance counter; 0 if there is none.
    static unsigned __int64 GetHighPrecisionTickCount();

    /// Sets the clock of GetServerTime; 0 is ignored. Call it before other threads read the clock.
    static void SetServerTime(unsigned int now);

    /// The time that was set, moved on by the machine's uptime since: changes of the system's clock
    /// don't touch it, but it falls back by 49.7 days each time the tick counter wraps. The system's
    /// time as long as none was set.
    static unsigned int GetServerTime();

    /// Rounds toward 1970; a \p fileTime of 0 gives 0.
    static __int64 FileTimeToTime(_FILETIME const & fileTime);

    /// Seconds on the local clock since it showed midnight, as if the clock weren't changed on that
    /// day; 0 if \p time has no local time.
    static int GetSecondOfDay(__int64 time);

    /// Whether both have a local time, and that of the same date.
    static bool IsSameDay(__int64 a, __int64 b);

    /// Days from \p b to the later \p a, begun ones counted whole: 1 for two times of one local
    /// date, also when they are equal.
    /// \return 0 if \p a has no local time
    static int DayDistance(__int64 a, __int64 b);

    /// The local time of \p time by a format of the C library's `strftime`; a \p time of 0 stands
    /// for now. The format's conversions must be such as the C library knows: Microsoft's ends the
    /// process for any other.
    /// \return empty when the text takes 128 bytes or more in the code page 0 of GMStringConvert,
    ///     or when there is no local time
    static GMString GetFormatTime(wchar_t const * format, __int64 time);

    /// Reads a time as the POSIX function of this name does, with English names in any case.
    ///
    /// Numbers have at most as many digits as their greatest value, and blanks stand in front of
    /// them only where the format has some. `%p` isn't known, so `%r` always fails; `%U` and `%W`
    /// are read and dropped. A century (`%C`) is stored without subtracting the 1900 years at which
    /// `tm_year` begins. Fields that the format doesn't name stay as they are.
    /// \return where reading ended in \p text; null at the first mismatch, with the fields in front
    ///     of it stored
    static char * strptime(char const * text, char const * format, tm * out);

    /// The time that \p text gives as local time by the format of strptime. What the format doesn't
    /// name, or what follows a mismatch, is that of 1970-01-01 00:00:00. Whether daylight saving
    /// is in force is the system's answer.
    /// \return -1 if the C library has no such time
    static __int64 ParserTime(char const * text, char const * format);

    /// The same for texts, by way of the code page 0 of GMStringConvert.
    static unsigned __int64 ParserTime(GMString const & text, wchar_t const * format);

    /// Seconds to wait until a job that last ran at \p last may run again: it runs every \p interval
    /// seconds, and never in less than \p minimum from now. A \p last of 0, in the future or longer
    /// ago than \p interval gives \p minimum.
    static unsigned int CalcNextStartTime(__int64 last, unsigned int interval,
                                          unsigned int minimum);

private:
    static unsigned __int64 s_serverTimeOffset; // server time at tick count 0; 0: none was set
};

} // namespace Velmora
