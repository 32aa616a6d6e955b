#include "VelmoraCommon/detect/system/internal/CpuId.h"

#include <cstring>

#include <intrin.h>

namespace Velmora
{

namespace
{

constexpr unsigned int firstExtendedLeaf = 0x80000000;

std::array<unsigned int, 4> Ask(unsigned int leaf)
{
    int registers[4] = {};
    __cpuid(registers, static_cast<int>(leaf));
    std::array<unsigned int, 4> answer;
    std::memcpy(answer.data(), registers, sizeof(registers));
    return answer;
}

} // namespace

std::array<unsigned int, 4> ReadCpuId(unsigned int leaf)
{
    unsigned int const highest = Ask(leaf & firstExtendedLeaf)[0];
    return highest >= leaf ? Ask(leaf) : std::array<unsigned int, 4>();
}

} // namespace Velmora
