#pragma once

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Ticks a second of the system's performance counter; 0 if there is none.
inline double CounterFrequency() noexcept
{
    LARGE_INTEGER frequency;
    return QueryPerformanceFrequency(&frequency) ? static_cast<double>(frequency.QuadPart) : 0;
}

/// What the counter shows; negative if it can't be read.
inline double CounterTicks() noexcept
{
    LARGE_INTEGER ticks;
    return QueryPerformanceCounter(&ticks) ? static_cast<double>(ticks.QuadPart) : -1;
}

} // namespace Velmora
