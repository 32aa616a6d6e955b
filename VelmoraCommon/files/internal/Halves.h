#pragma once

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// The number that a system structure keeps in two halves.
constexpr unsigned __int64 JoinHalves(DWORD high, DWORD low)
{
    return (static_cast<unsigned __int64>(high) << 32) | low;
}

} // namespace Velmora
