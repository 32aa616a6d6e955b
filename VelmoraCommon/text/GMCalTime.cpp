#include "VelmoraCommon/text/GMCalTime.h"

#include <iostream>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

constexpr unsigned char toDebugger = 0;
constexpr unsigned char toConsole = 2;

constexpr GMString::size_type longestReport = 999;

double CounterFrequency()
{
    LARGE_INTEGER frequency = {};
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(frequency.QuadPart);
}

double CounterTicks()
{
    LARGE_INTEGER ticks = {};
    QueryPerformanceCounter(&ticks);
    return static_cast<double>(ticks.QuadPart);
}

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
    GMString const report = GMStringUtils::Left(
        GMStringUtils::FormatResult(L"%s used %f s.\n", m_name.c_str(), seconds), longestReport);
    if (m_level == toDebugger)
        OutputDebugStringW(report.c_str());
    else if (m_level == toConsole)
        std::wcout << report << std::endl;
}

void GMCalTime::SetLevel(unsigned char level) { m_level = level; }

} // namespace Velmora
