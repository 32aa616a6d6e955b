#include <algorithm>
#include <atomic>
#include <deque>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include "VelmoraCommon/threads/GMFuncTaskList.h"
#include "VelmoraCommon/threads/GMMutex.h"
#include "VelmoraCommon/threads/GMRWLock.h"
#include "benchmarks/CallCounter.h"
#include "benchmarks/Families.h"

namespace Velmora::Benchmarks
{

namespace
{

constexpr int mostOpen = 64;
constexpr int callsOfARun = 30 * mostOpen;

/// The floor of a task list: the same objects of the system, and nothing around them.
class BareList
{
public:
    explicit BareList(unsigned int workers)
        : m_exit(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
          m_work(CreateSemaphoreW(nullptr, 0, mostOpen, nullptr))
    {
        InitializeCriticalSection(&m_section);
        for (unsigned int i = 0; i < workers; ++i)
            m_workers.emplace_back([this] { Work(); });
    }
    ~BareList()
    {
        SetEvent(m_exit);
        for (std::thread & worker : m_workers)
            worker.join();
        DeleteCriticalSection(&m_section);
        CloseHandle(m_work);
        CloseHandle(m_exit);
    }
    void AddFunc(void (*func)(void *), void * param)
    {
        EnterCriticalSection(&m_section);
        m_calls.emplace_back(func, param);
        LeaveCriticalSection(&m_section);
        ReleaseSemaphore(m_work, 1, nullptr);
    }

private:
    void Work()
    {
        HANDLE const signals[] = {m_exit, m_work};
        while (WaitForMultipleObjects(2, signals, FALSE, INFINITE) == WAIT_OBJECT_0 + 1)
        {
            EnterCriticalSection(&m_section);
            auto const [func, param] = m_calls.front();
            m_calls.pop_front();
            LeaveCriticalSection(&m_section);
            func(param);
        }
    }

    HANDLE m_exit;
    HANDLE m_work;
    CRITICAL_SECTION m_section;
    std::deque<std::pair<void (*)(void *), void *>> m_calls;
    std::vector<std::thread> m_workers;
};

class AsioList
{
public:
    explicit AsioList(unsigned int workers) : m_pool(workers) {}
    ~AsioList() { m_pool.join(); }
    void AddFunc(void (*func)(void *), void * param)
    {
        boost::asio::post(m_pool, [func, param] { func(param); });
    }

private:
    boost::asio::thread_pool m_pool;
};

/// Empty calls, in batches that are waited for: so many are open at most.
template <class List>
void RunBatches(List & list, int calls)
{
    struct Batch
    {
        std::atomic<int> left;
        HANDLE done;
    };
    Batch batch{{0}, CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    for (int begun = 0; begun < calls; begun += mostOpen)
    {
        batch.left = mostOpen;
        for (int i = 0; i < mostOpen; ++i)
        {
            list.AddFunc(
                [](void * param)
                {
                    auto & own = *static_cast<Batch *>(param);
                    if (--own.left == 0)
                        SetEvent(own.done);
                },
                &batch);
        }
        WaitForSingleObject(batch.done, INFINITE);
    }
    CloseHandle(batch.done);
}

/// Ticks from adding a call to a list whose worker sleeps until the call starts.
template <class List>
long long AddToStart(List & list, HANDLE done)
{
    struct Call
    {
        LARGE_INTEGER started;
        HANDLE done;
    } call{{}, done};
    LARGE_INTEGER added;
    QueryPerformanceCounter(&added);
    list.AddFunc(
        [](void * param)
        {
            auto & own = *static_cast<Call *>(param);
            QueryPerformanceCounter(&own.started);
            SetEvent(own.done);
        },
        &call);
    WaitForSingleObject(done, INFINITE);
    return call.started.QuadPart - added.QuadPart;
}

double Median(std::vector<long long> values)
{
    std::sort(values.begin(), values.end());
    return static_cast<double>(values[values.size() / 2]);
}

void MeasureStarts(Report & report)
{
    std::string const name = "task list: from adding to start, p50 over the bare one's";
    if (!report.IsWanted(name))
        return;
    GMFuncTaskList ours(1);
    BareList bare(1);
    HANDLE const done = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::vector<long long> oursTicks, bareTicks;
    for (int i = 0; i < 3000; ++i)
    {
        oursTicks.push_back(AddToStart(ours, done));
        bareTicks.push_back(AddToStart(bare, done));
    }
    CloseHandle(done);
    report.Figure(name, Median(oursTicks) / Median(bareTicks), "times", 1.1);
}

void CountCalls(Report & report)
{
    std::string const name = "task list: calls into the system for a call";
    if (!report.IsWanted(name))
        return;
    CallCounter<0, decltype(&ReleaseSemaphore)> const release("ReleaseSemaphore");
    CallCounter<1, decltype(&WaitForMultipleObjects)> const waits("WaitForMultipleObjects");
    CallCounter<2, decltype(&WaitForSingleObject)> const wait("WaitForSingleObject");
    CallCounter<3, decltype(&SetEvent)> const set("SetEvent");
    CallCounter<4, decltype(&ResetEvent)> const reset("ResetEvent");
    g_calls = 0;
    {
        GMFuncTaskList list(1);
        RunBatches(list, callsOfARun);
    }
    // One to announce, one to wait; opening and closing add a few.
    report.Figure(name, static_cast<double>(g_calls) / callsOfARun, "calls", 2.01);
}

void MeasureLists(Report & report)
{
    for (unsigned int const workers : {1u, 2u, 4u})
    {
        std::string const name =
            "task list: empty calls, " + std::to_string(workers) + " worker(s)";
        if (!report.IsWanted(name))
            continue;
        GMFuncTaskList ours(workers);
        BareList bare(workers);
        AsioList asio(workers);
        // The bar against asio is set at two workers, where both of this machine's cores have one.
        report.Measure(
            {name,
             callsOfARun,
             "calls",
             [&] { RunBatches(ours, callsOfARun); },
             {{"bare", [&] { RunBatches(bare, callsOfARun); }, Bar::RateAtLeast(0.95)},
              {"boost::asio::thread_pool", [&] { RunBatches(asio, callsOfARun); }, Bar::None()}}});
    }
}

constexpr int locksOfARun = 1000;
constexpr unsigned int shortWorkTurns = 41; // a few nanoseconds more or less decide here

template <class Steps>
auto Repeat(Steps steps)
{
    return [steps]
    {
        for (int i = 0; i < locksOfARun; ++i)
            steps();
    };
}

void MeasureMutex(Report & report)
{
    GMMutex const mutex;
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    report.Measure({"mutex: lock and unlock",
                    locksOfARun,
                    "locks",
                    Repeat(
                        [&]
                        {
                            mutex.Lock();
                            mutex.UnLock();
                        }),
                    {{"critical section",
                      Repeat(
                          [&]
                          {
                              EnterCriticalSection(&section);
                              LeaveCriticalSection(&section);
                          }),
                      Bar::TimeAtMost(1.1)}},
                    shortWorkTurns});
    DeleteCriticalSection(&section);
}

/// The steps of a readers-writer lock of two sections and an event, written out.
struct BareRWLock
{
    HANDLE noReaders = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    int readers = 0;
    CRITICAL_SECTION count;
    CRITICAL_SECTION gate;

    BareRWLock()
    {
        InitializeCriticalSection(&count);
        InitializeCriticalSection(&gate);
    }
    ~BareRWLock()
    {
        CloseHandle(noReaders);
        DeleteCriticalSection(&count);
        DeleteCriticalSection(&gate);
    }
    void ReadLock()
    {
        EnterCriticalSection(&gate);
        EnterCriticalSection(&count);
        if (++readers == 1)
            ResetEvent(noReaders);
        LeaveCriticalSection(&count);
        LeaveCriticalSection(&gate);
    }
    void ReadUnLock()
    {
        EnterCriticalSection(&count);
        if (--readers == 0)
            SetEvent(noReaders);
        LeaveCriticalSection(&count);
    }
    void WriteLock()
    {
        EnterCriticalSection(&gate);
        WaitForSingleObject(noReaders, INFINITE);
    }
    void WriteUnLock() { LeaveCriticalSection(&gate); }
};

template <class Lock>
auto Reading(Lock & lock)
{
    return Repeat(
        [&lock]
        {
            lock.ReadLock();
            lock.ReadUnLock();
        });
}

template <class Lock>
auto Writing(Lock & lock)
{
    return Repeat(
        [&lock]
        {
            lock.WriteLock();
            lock.WriteUnLock();
        });
}

void MeasureRWLock(Report & report)
{
    GMRWLock ours;
    BareRWLock bare;
    Bar const bar = Bar::TimeAtMost(1.05);
    auto const measure = [&](char const * name, auto const & run, auto const & floor)
    {
        report.Measure(
            {name, locksOfARun, "locks", run, {{"bare steps", floor, bar}}, shortWorkTurns});
    };
    measure("readers-writer lock: one reader", Reading(ours), Reading(bare));
    measure("readers-writer lock: one writer", Writing(ours), Writing(bare));
    ours.ReadLock();
    bare.ReadLock();
    measure("readers-writer lock: beside a reader", Reading(ours), Reading(bare));
    ours.ReadUnLock();
    bare.ReadUnLock();
}

} // namespace

void MeasureThreads(Report & report)
{
    MeasureLists(report);
    MeasureStarts(report);
    CountCalls(report);
    MeasureMutex(report);
    MeasureRWLock(report);
}

} // namespace Velmora::Benchmarks
