#include "tests/support/GuardHeap.h"

#ifdef VELMORA_GUARD_HEAP

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/support/ImportHook.h"

namespace Velmora::Testing
{

namespace
{

constexpr std::size_t pageSize = 4096;
constexpr std::size_t arenaPages = std::size_t(16) << 20; // 64 GiB, reserved and never used twice
constexpr std::size_t alignment = 16;
constexpr unsigned char tailPattern = 0xE5;

SRWLOCK g_lock = SRWLOCK_INIT;
unsigned char * g_arena;
std::size_t g_nextPage;
unsigned int * g_sizes; // by the block's first page
void (*g_free)(void *);
void * (*g_malloc)(std::size_t);

bool IsInArena(void const * block)
{
    auto const * const byte = static_cast<unsigned char const *>(block);
    return g_arena != nullptr && byte >= g_arena && byte < g_arena + arenaPages * pageSize;
}

std::size_t PageOf(void const * block)
{
    return static_cast<std::size_t>(static_cast<unsigned char const *>(block) - g_arena) / pageSize;
}

std::size_t PagesFor(std::size_t size) { return (size + pageSize - 1) / pageSize; }

void * GuardedMalloc(std::size_t size)
{
    std::size_t const rounded = (size + alignment - 1) & ~(alignment - 1);
    std::size_t const room = rounded == 0 ? alignment : rounded;
    std::size_t const pages = PagesFor(room);
    if (size > 0xFFFFFFFF)
        return g_malloc(size);

    AcquireSRWLockExclusive(&g_lock);
    std::size_t const first = g_nextPage;
    bool const fits = pages + 1 <= arenaPages - first;
    if (fits)
        g_nextPage += pages + 1;
    ReleaseSRWLockExclusive(&g_lock);
    if (!fits)
        return g_malloc(size);

    unsigned char * const start = g_arena + first * pageSize;
    if (VirtualAlloc(start, pages * pageSize, MEM_COMMIT, PAGE_READWRITE) == nullptr)
        return nullptr;
    unsigned char * const block = start + pages * pageSize - room;
    std::memset(block + size, tailPattern, room - size);
    g_sizes[PageOf(block)] = static_cast<unsigned int>(size);
    return block;
}

void GuardedFree(void * block)
{
    if (!IsInArena(block))
    {
        g_free(block);
        return;
    }

    auto * const bytes = static_cast<unsigned char *>(block);
    std::size_t const size = GuardHeapBlockSize(block);
    std::size_t const pages = PagesFor(size == 0 ? alignment : size);
    unsigned char * const end = g_arena + (PageOf(block) + pages) * pageSize;
    for (unsigned char const * tail = bytes + size; tail < end; ++tail)
    {
        if (*tail != tailPattern) // a block released twice faults here
        {
            std::fprintf(stderr, "guard heap: a block of %u bytes was written behind its end\n",
                         static_cast<unsigned int>(size));
            std::abort();
        }
    }
    VirtualFree(g_arena + PageOf(block) * pageSize, pages * pageSize, MEM_DECOMMIT);
}

} // namespace

void InstallGuardHeap()
{
    wchar_t const runTime[] = L"libstdc++-6.dll";
    g_sizes = static_cast<unsigned int *>(VirtualAlloc(nullptr, arenaPages * sizeof(unsigned int),
                                                       MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    g_arena = static_cast<unsigned char *>(
        VirtualAlloc(nullptr, arenaPages * pageSize, MEM_RESERVE, PAGE_NOACCESS));
    if (g_sizes == nullptr || g_arena == nullptr)
    {
        std::fprintf(stderr, "guard heap: no address space\n");
        std::abort();
    }
    // Never taken off: blocks of the guard heap live as long as the process.
    static ImportHook const release("free", &GuardedFree, g_free, runTime);
    static ImportHook const allocate("malloc", &GuardedMalloc, g_malloc, runTime);
}

bool IsGuardHeapInstalled() { return g_arena != nullptr; }

std::size_t GuardHeapBlockSize(void const * block)
{
    return IsInArena(block) ? g_sizes[PageOf(block)] : 0;
}

} // namespace Velmora::Testing

#else

namespace Velmora::Testing
{

void InstallGuardHeap() {}

bool IsGuardHeapInstalled() { return false; }

std::size_t GuardHeapBlockSize(void const *) { return 0; }

} // namespace Velmora::Testing

#endif
