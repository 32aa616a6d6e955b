#pragma once

namespace Velmora::Testing
{

/// What the libraries of both graphics drivers tell. The test program exports a function of the name
/// below that gives the one in force; the fake library asks for it at each call.
struct FakeGpus
{
    struct Nvidia
    {
        unsigned int identifiers[4];
        int nameStatus;
        int clocksStatus;
        unsigned int coreFlags, core, memoryFlags, memory;
    };
    int initialize = 0;
    int version = 0;
    int enumerate = 0;
    unsigned int nvidiaCount = 0;
    Nvidia nvidia[4] = {};
    int messages = 0; // texts of errors that were asked for

    struct Amd
    {
        int index, vendor, activeStatus, active;
    };
    int create = 0;
    int count = 0;
    int countStatus = 0;
    int readStatus = 0;
    Amd amd[3] = {};
    int clocksStatus = 0;
    int clocksOf = -1; // the adapter whose clocks were asked for
    int core = 0, memory = 0;
};

constexpr char fakeGpusName[] = "VelmoraFakeGpus";
using GetFakeGpus = FakeGpus & __cdecl();

} // namespace Velmora::Testing
