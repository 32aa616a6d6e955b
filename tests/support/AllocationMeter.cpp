#include "tests/support/AllocationMeter.h"

#include <algorithm>
#include <cstdlib>
#include <malloc.h>

#include "tests/support/GuardHeap.h"

namespace Velmora::Testing
{

namespace
{

// Signed: blocks from before the meter may be released while it runs.
std::ptrdiff_t g_held;
std::ptrdiff_t g_peak;
void * (*g_malloc)(std::size_t);
void (*g_free)(void *);

std::ptrdiff_t SizeOf(void * block)
{
    if (block == nullptr)
        return 0;
    std::size_t const guarded = GuardHeapBlockSize(block);
    return static_cast<std::ptrdiff_t>(guarded != 0 ? guarded : _msize(block));
}

void * CountedMalloc(std::size_t size)
{
    void * const block = g_malloc(size);
    g_held += SizeOf(block);
    g_peak = std::max(g_peak, g_held);
    return block;
}

void CountedFree(void * block)
{
    g_held -= SizeOf(block);
    g_free(block);
}

} // namespace

AllocationMeter::AllocationMeter()
    : m_allocate("malloc", &CountedMalloc, g_malloc, L"libstdc++-6.dll"),
      m_release("free", &CountedFree, g_free, L"libstdc++-6.dll")
{
    Restart();
}

std::size_t AllocationMeter::Peak() const
{
    return static_cast<std::size_t>(std::max<std::ptrdiff_t>(g_peak, 0));
}

void AllocationMeter::Restart()
{
    g_held = 0;
    g_peak = 0;
}

} // namespace Velmora::Testing
