#pragma once

namespace Velmora::Testing
{

/// What the libraries of both graphics drivers tell. The test program exports a function of the name
/// below that gives the one in force; the fake library asks for it at each call.
struct FakeGpus
{
    enum Step
    {
        nothing,
        initialize,
        version,
        enumerate,
        create,
        countAdapters,
        readAdapters,
        readClocks,
        tellName,
        tellClocks
    };
    struct Nvidia
    {
        unsigned int identifiers[4];
        unsigned int clocks[4]; // flags and clock of the core, and of the memory
        Step failing;
    };
    struct Amd
    {
        int index, vendor, active;
    };
    Step failing = nothing;
    unsigned int nvidiaCount = 0;
    Nvidia nvidia[4] = {};
    int messages = 0; // texts of errors that were asked for
    int amdCount = 0;
    Amd amd[3] = {};
    int clocksOf = -1; // the adapter whose clocks were asked for
    int core = 0, memory = 0;
};

constexpr char fakeGpusName[] = "VelmoraFakeGpus";
using GetFakeGpus = FakeGpus & __cdecl();

} // namespace Velmora::Testing
