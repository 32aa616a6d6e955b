#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Measures the time from its construction to its destruction and reports it under a name, as
/// "NAME used SECONDS s.", cut after 999 units. A copy reports for itself, from the same start.
class VELMORA_API GMCalTime
{
public:
    /// Starts the clock. \p name stands in the line that the destructor writes.
    explicit GMCalTime(GMString const & name);
    ~GMCalTime();

    /// Where the report goes: 0, as at first, to the debugger; 2 to `std::wcout`, with a line end
    /// more; nowhere for any other value.
    void SetLevel(unsigned char level);

private:
    unsigned char m_level;
    GMString m_name;
    double m_frequency; // ticks a second
    double m_start;     // in ticks
    double m_end;
};

} // namespace Velmora
