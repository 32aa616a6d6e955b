// A library that tests copy under the names of the graphics drivers' own ones. It writes records byte
// by byte, by the vendors' offsets, and fills texts to the last of their bytes.
#include <cstring>
#include <utility>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "tests/detect/system/FakeGpus.h"

using Velmora::Testing::FakeGpus;

namespace
{

FakeGpus & Gpus()
{
    return reinterpret_cast<Velmora::Testing::GetFakeGpus *>(reinterpret_cast<void *>(
        GetProcAddress(GetModuleHandleW(nullptr), Velmora::Testing::fakeGpusName)))();
}

unsigned int WordAt(void const * record, int offset)
{
    unsigned int word;
    std::memcpy(&word, static_cast<char const *>(record) + offset, sizeof(word));
    return word;
}

void Put(void * record, int offset, int word)
{
    std::memcpy(static_cast<char *>(record) + offset, &word, sizeof(word));
}

/// What the driver answers in \p step.
int Answer(FakeGpus::Step step) { return Gpus().failing == step ? -1 : 0; }
int Answer(FakeGpus::Nvidia const * gpu, FakeGpus::Step step)
{
    return gpu->failing == step ? -1 : 0;
}

int __cdecl Initialize() { return Answer(FakeGpus::initialize); }

int __cdecl TellVersion(char * text)
{
    std::memset(text, 'x', 64);
    return Answer(FakeGpus::version);
}

int __cdecl Enumerate(FakeGpus::Nvidia ** gpus, unsigned int * count)
{
    for (int i = 0; i < 64; ++i)
        gpus[i] = &Gpus().nvidia[i & 3];
    *count = Gpus().nvidiaCount;
    return Answer(FakeGpus::enumerate);
}

int __cdecl GetName(FakeGpus::Nvidia const * gpu, char * text)
{
    std::memset(text, 'x', 64);
    return Answer(gpu, FakeGpus::tellName);
}

int __cdecl GetIdentifiers(FakeGpus::Nvidia const * gpu, unsigned int * device,
                           unsigned int * subSystem, unsigned int * revision,
                           unsigned int * extDevice)
{
    unsigned int * const targets[] = {device, subSystem, revision, extDevice};
    for (int i = 0; i < 4; ++i)
        *targets[i] = gpu->identifiers[i];
    return 0;
}

int __cdecl GetClocks(FakeGpus::Nvidia const * gpu, char * clocks)
{
    if (WordAt(clocks, 0) != 0x20108 || WordAt(clocks, 4) != 0)
        return -9;
    std::memcpy(clocks + 8, gpu->clocks, 8);
    std::memcpy(clocks + 8 + 4 * 8, gpu->clocks + 2, 8);
    Put(clocks, 260, -1);
    return Answer(gpu, FakeGpus::tellClocks);
}

int __cdecl GetMessageText(int, char * text)
{
    std::memset(text, 'x', 64);
    ++Gpus().messages;
    return 0;
}

template <class Function>
void * Pointer(Function * function)
{
    return reinterpret_cast<void *>(function);
}

} // namespace

extern "C"
{

    __declspec(dllexport) void * __cdecl nvapi_QueryInterface(unsigned int id)
    {
        std::pair<unsigned int, void *> const functions[] = {
            {0x0150E828, Pointer(&Initialize)},     {0x01053FA5, Pointer(&TellVersion)},
            {0xE5AC921F, Pointer(&Enumerate)},      {0xCEEE8E9F, Pointer(&GetName)},
            {0x2DDFB66E, Pointer(&GetIdentifiers)}, {0xDCB616C3, Pointer(&GetClocks)},
            {0x6C2D048C, Pointer(&GetMessageText)},
        };
        for (auto const & function : functions)
        {
            if (function.first == id)
                return function.second;
        }
        return nullptr;
    }

    __declspec(dllexport) int __cdecl ADL_Main_Control_Create(void *(__stdcall * allocate)(int),
                                                              int)
    {
        std::memset(allocate(100), 0, 100);
        return Answer(FakeGpus::create);
    }

    __declspec(dllexport) int __cdecl ADL_Main_Control_Destroy() { return 0; }

    __declspec(dllexport) int __cdecl ADL_Adapter_NumberOfAdapters_Get(int * count)
    {
        *count = Gpus().amdCount;
        return Answer(FakeGpus::countAdapters);
    }

    __declspec(dllexport) int __cdecl ADL_Adapter_AdapterInfo_Get(void * adapters, int size)
    {
        if (WordAt(adapters, 0) != 4)
            return -3;
        for (int i = 0; i < size / 1572; ++i)
        {
            Put(adapters, i * 1572 + 4, Gpus().amd[i].index);
            Put(adapters, i * 1572 + 276, Gpus().amd[i].vendor);
        }
        return Answer(FakeGpus::readAdapters);
    }

    __declspec(dllexport) int __cdecl ADL_Adapter_Active_Get(int index, int * active)
    {
        for (auto const & adapter : Gpus().amd)
        {
            if (adapter.index == index)
                *active = adapter.active;
        }
        return 0;
    }

    __declspec(dllexport) int __cdecl ADL_Overdrive_Caps(int, int *, int *, int *) { return -1; }

    __declspec(dllexport) int __cdecl ADL_Display_ODClockInfo_Get(int index, void * info)
    {
        Gpus().clocksOf = index;
        if (WordAt(info, 0) != 56)
            return -3;
        Put(info, 16, Gpus().memory);
        Put(info, 40, Gpus().core);
        return Answer(FakeGpus::readClocks);
    }

} // extern "C"
