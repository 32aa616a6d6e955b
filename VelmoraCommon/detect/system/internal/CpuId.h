#pragma once

#include <array>

namespace Velmora
{

/// What the processor answers to a leaf of its `cpuid` instruction: `eax`, `ebx`, `ecx`, `edx`. All
/// zero for a leaf beyond its highest one, basic or extended, where it would answer with another.
std::array<unsigned int, 4> ReadCpuId(unsigned int leaf);

} // namespace Velmora
