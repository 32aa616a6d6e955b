#include "VelmoraCommon/detect/system/internal/AdlClocks.h"

#include <climits>
#include <cstdlib>
#include <vector>

#include "VelmoraCommon/frame/internal/SystemFunction.h"

namespace Velmora
{

namespace
{

// The driver's interface, as far as it is needed. Its functions have the C convention; what it calls
// back has that of the system.

constexpr int adlOk = 0;
constexpr int activeAdaptersOnly = 1;
constexpr int amdVendor = 1002; // decimal here, unlike the PCI number
constexpr int noAdapter = -1;

struct AdapterInfo
{
    int size;
    int adapterIndex;
    char udid[256];
    int busNumber;
    int deviceNumber;
    int functionNumber;
    int vendorId;
    char adapterName[256];
    char displayName[256];
    int isPresent;
    int exists;
    char driverPath[256];
    char driverPathExtension[256];
    char pnpString[256];
    int displayIndex;
};
static_assert(sizeof(AdapterInfo) == 1572, "the driver counts in these");

struct ClockSetting
{
    int standard;
    int current;
    int greatest;
    int least;
    int requested;
    int step;
};

struct ClockInfo
{
    int size;
    int flags;
    ClockSetting memory;
    ClockSetting engine;
};
static_assert(sizeof(ClockInfo) == 56, "the driver looks at the size");

using Allocator = void *(__stdcall *)(int);

/// All of the driver's functions have to be there, also those that aren't called.
struct AdlFunctions
{
    explicit AdlFunctions(HMODULE module) noexcept
        : create(FindExport<int __cdecl(Allocator, int)>(module, "ADL_Main_Control_Create")),
          destroy(FindExport<int __cdecl()>(module, "ADL_Main_Control_Destroy")),
          countAdapters(FindExport<int __cdecl(int *)>(module, "ADL_Adapter_NumberOfAdapters_Get")),
          readAdapters(
              FindExport<int __cdecl(AdapterInfo *, int)>(module, "ADL_Adapter_AdapterInfo_Get")),
          readActive(FindExport<int __cdecl(int, int *)>(module, "ADL_Adapter_Active_Get")),
          readCaps(FindExport<int __cdecl(int, int *, int *, int *)>(module, "ADL_Overdrive_Caps")),
          readClocks(
              FindExport<int __cdecl(int, ClockInfo *)>(module, "ADL_Display_ODClockInfo_Get"))
    {
    }
    bool AreComplete() const noexcept
    {
        return create != nullptr && destroy != nullptr && countAdapters != nullptr &&
               readAdapters != nullptr && readActive != nullptr && readCaps != nullptr &&
               readClocks != nullptr;
    }

    int(__cdecl * create)(Allocator, int);
    int(__cdecl * destroy)();
    int(__cdecl * countAdapters)(int *);
    int(__cdecl * readAdapters)(AdapterInfo *, int);
    int(__cdecl * readActive)(int, int *);
    int(__cdecl * readCaps)(int, int *, int *, int *);
    int(__cdecl * readClocks)(int, ClockInfo *);
};

void * __stdcall Allocate(int size) { return std::malloc(static_cast<std::size_t>(size)); }

bool IsActive(AdlFunctions const & adl, AdapterInfo const & adapter)
{
    int active = 0;
    return adl.readActive(adapter.adapterIndex, &active) == adlOk && active != 0 &&
           adapter.vendorId == amdVendor && adapter.adapterIndex != noAdapter;
}

std::optional<AdlClocks> FindClocks(AdlFunctions const & adl,
                                    std::vector<AdapterInfo> const & adapters)
{
    for (AdapterInfo const & adapter : adapters)
    {
        if (!IsActive(adl, adapter))
            continue;
        ClockInfo info = {};
        info.size = sizeof(info);
        if (adl.readClocks(adapter.adapterIndex, &info) != adlOk)
            return std::nullopt;
        return AdlClocks{adapter.adapterIndex, info.memory.greatest, info.engine.greatest};
    }
    return std::nullopt;
}

} // namespace

AdlAnswer ReadAdlClocks(std::optional<AdlClocks> & clocks)
{
    clocks.reset();
    ScopedModule library(LoadLibraryW(L"atiadlxx.dll"));
    if (!library)
        library = ScopedModule(LoadLibraryW(L"atiadlxy.dll"));
    if (!library)
        return AdlAnswer::NoLibrary;
    AdlFunctions const adl(library.Get());
    if (!adl.AreComplete())
        return AdlAnswer::Failed;
    library.Release(); // what has been started must stay
    int count = 0;
    if (adl.create(&Allocate, activeAdaptersOnly) != adlOk || adl.countAdapters(&count) != adlOk ||
        count == 0 || count > INT_MAX / static_cast<int>(sizeof(AdapterInfo)))
    {
        return AdlAnswer::Failed;
    }
    if (count < 0)
        return AdlAnswer::Done;
    std::vector<AdapterInfo> adapters(static_cast<std::size_t>(count));
    adapters.front().size = 4; // what the driver is given, though not the record's size
    if (adl.readAdapters(adapters.data(), count * static_cast<int>(sizeof(AdapterInfo))) != adlOk)
        return AdlAnswer::Failed;
    clocks = FindClocks(adl, adapters);
    return AdlAnswer::Done;
}

} // namespace Velmora
