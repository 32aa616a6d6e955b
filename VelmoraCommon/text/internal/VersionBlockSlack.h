#pragma once

#include <cstddef>

namespace Velmora
{

/// Zeros to be kept behind a version block, in bytes. `VerQueryValueW` believes the lengths that stand in
/// the block, each of 16 bits, on its way down three levels to a value of up to 65,535 units.
constexpr std::size_t versionBlockSlack = std::size_t(5) * 0x10000;

} // namespace Velmora
