#include "VelmoraCommon/threads/GMFuncTaskList.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <new>
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/threads/Signal.h"

namespace Velmora::Testing
{

namespace
{

/// A call that keeps its worker busy until the test lets go, and then does one thing more.
struct Blocker
{
    std::function<void()> then = [] {};
    Signal runs{}, mayEnd{};
    ScopedKernelObject worker{};

    static void Run(void * self)
    {
        auto & blocker = *static_cast<Blocker *>(self);
        blocker.worker = ScopedKernelObject(OpenThread(SYNCHRONIZE, FALSE, GetCurrentThreadId()));
        blocker.runs.Give();
        blocker.mayEnd.Comes();
        blocker.then();
    }
    bool WorkerEnds() { return WaitForSingleObject(worker.Get(), 60000) == WAIT_OBJECT_0; }
};

void Return() {}
void Throw() { throw 1; }
void Give(void * signal) { static_cast<Signal *>(signal)->Give(); }

/// A list with one worker, which is busy at first, and calls that count themselves.
struct BusyList
{
    explicit BusyList(void (*then)())
    {
        s_next = 0;
        s_one.Create(0, 1000);
        blocker.then = then;
        list.AddFunc(&Blocker::Run, &blocker);
        EXPECT_TRUE(blocker.runs.Comes());
        list.AddFunc(nullptr, nullptr); // ignored
    }
    ~BusyList() { s_one.Close(); }

    void Add(unsigned int count)
    {
        for (; count != 0; --count)
            list.AddFunc(&Count, reinterpret_cast<void *>(added++));
    }

    /// Waits for \p count calls in all, in the order added; no other runs.
    void ExpectRun(unsigned int count)
    {
        for (; reached < count; ++reached)
            ASSERT_EQ(0u, WaitForSingleObject(s_one, 60000));
        EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(s_one, 30));
    }

    static void Count(void * number)
    {
        if (reinterpret_cast<std::uintptr_t>(number) == s_next++)
            s_one.Release();
    }

    static inline std::uintptr_t s_next;
    static inline GMSemaphore s_one; // released by each call
    std::uintptr_t added = 0;
    unsigned int reached = 0;
    Blocker blocker;
    GMFuncTaskList list;
};

class ExitingList : public GMFuncTaskList
{
public:
    using GMFuncTaskList::GMFuncTaskList;
    using GMTaskList::ExitTaskThread;
};

std::atomic<int> g_ends;
void (*g_endThread)(unsigned int);
void CountedEnd(unsigned int code) { ++g_ends, g_endThread(code); }

int g_mallocs, g_mallocToFail;
void * (*g_malloc)(std::size_t);
void * FailingMalloc(std::size_t size)
{
    return ++g_mallocs == g_mallocToFail ? nullptr : g_malloc(size);
}

} // namespace

TEST(GMFuncTaskList, KeepsTheQueueOverAClose)
{
    WaitWatch watch;
    BusyList busy(&Return);
    busy.Add(10);
    Background closer([&] { watch.Begin(), busy.list.CloseTaskThread(INFINITE); });
    EXPECT_TRUE(watch.Comes());
    EXPECT_TRUE(closer.IsStuck()); // the call under way isn't interrupted
    busy.blocker.mayEnd.Give();
    EXPECT_TRUE(closer.Ends());
    busy.ExpectRun(0);
    busy.Add(1);
    busy.ExpectRun(11);
}

TEST(GMFuncTaskList, OpensAnewWhenItsWorkerIsGone)
{
    std::tuple<char const *, void (*)(), bool> const cases[] = {
        {"after a close that didn't wait", &Return, false},
        {"by an exception, with its GMThread gone before", &Throw, false},
        {"by an exception, with a close behind it", &Throw, true}};
    for (auto const & [what, then, closesLater] : cases)
    {
        SCOPED_TRACE(what);
        BusyList busy(then);
        EXPECT_TRUE(closesLater || busy.list.CloseTaskThread(0));
        busy.Add(1);
        busy.blocker.mayEnd.Give();
        EXPECT_TRUE(busy.blocker.WorkerEnds());
        busy.ExpectRun(0); // it found the worker, and waits for the next one
        EXPECT_TRUE(!closesLater || busy.list.CloseTaskThread(INFINITE));
        busy.Add(1);
        busy.ExpectRun(2);
    }
}

TEST(GMFuncTaskList, AnnouncesNoMoreThan64Calls)
{
    BusyList busy(&Return);
    busy.Add(100);
    busy.blocker.mayEnd.Give();
    busy.ExpectRun(64);
    busy.Add(1); // moves up the first that waits
    busy.ExpectRun(65);
}

// The worker on its way out opens the list anew itself, or while another caller waits for its end.
TEST(GMFuncTaskList, TakesCallsFromAWorkerOnItsWayOut)
{
    ImportHook const hook("_endthreadex", &CountedEnd, g_endThread);
    for (bool const otherOpens : {false, true})
    {
        SCOPED_TRACE(otherOpens);
        WaitWatch watch;
        Signal added, done;
        ExitingList list(2);
        Blocker leaves, stays{[&] { list.AddFunc(&Give, &done), added.Give(); }};
        list.AddFunc(&Blocker::Run, &leaves);
        list.AddFunc(&Blocker::Run, &stays);
        ASSERT_TRUE(leaves.runs.Comes() && stays.runs.Comes()); // side by side
        g_ends = 0;
        list.ExitTaskThread();
        leaves.mayEnd.Give();
        ASSERT_TRUE(leaves.WorkerEnds());
        EXPECT_EQ(1, g_ends); // the run time knows
        void (*const other)(void *) = [](void *) {};
        Background const opener(
            [&] { watch.Begin(), list.AddFunc(otherOpens ? other : nullptr, nullptr); });
        ASSERT_TRUE(!otherOpens || watch.Comes());
        stays.mayEnd.Give();
        EXPECT_TRUE(added.Comes() && done.Comes());
    }
}

TEST(GMFuncTaskList, LosesNoCallForWantOfMemory)
{
    for (g_mallocToFail = g_mallocs = 1; g_mallocs >= g_mallocToFail; ++g_mallocToFail)
    {
        SCOPED_TRACE(g_mallocToFail);
        Signal first, second;
        GMFuncTaskList list(2);
        try
        {
            ImportHook const hook("malloc", &FailingMalloc, g_malloc, L"libstdc++-6.dll");
            g_mallocs = 0;
            list.AddFunc(&Give, &first);
        }
        catch (std::bad_alloc const &) // nothing was added
        {
            first.Give();
        }
        list.AddFunc(&Give, &second);
        EXPECT_TRUE(first.Comes() && second.Comes());
    }
}

} // namespace Velmora::Testing
