#include "VelmoraCommon/text/GMCalTime.h"

#include <cstdio>
#include <iostream>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/internal/PerformanceCounter.h"

namespace Velmora
{

namespace
{

constexpr unsigned char toDebugger = 0;
constexpr unsigned char toConsole = 2;

constexpr std::size_t reportUnits = 1000; // with the NUL; a longer report is cut

} // namespace

GMCalTime::GMCalTime(GMString const & name)
    : m_level(toDebugger),
      m_name(name),
      m_frequency(CounterFrequency()),
      m_start(CounterTicks()),
      m_end(0)
{
}

GMCalTime::~GMCalTime()
{
    m_end = CounterTicks();
    double const seconds = (m_end - m_start) / m_frequency;
    // On the stack: a destructor must not fail for want of memory.
    wchar_t report[reportUnits];
    _snwprintf_s(report, reportUnits, reportUnits - 1, L"%s used %f s.\n", m_name.c_str(), seconds);
    if (m_level == toDebugger)
        OutputDebugStringW(report);
    else if (m_level == toConsole)
        std::wcout << report << std::endl;
}

void GMCalTime::SetLevel(unsigned char level) { m_level = level; }

} // namespace Velmora
