#include "VelmoraCommon/threads/GMFuncTaskList.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <new>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/threads/GMFuncTaskListSingleton.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ChildTask.h"
#include "tests/support/HandleCount.h"
#include "tests/support/ImportHook.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"
#include "tests/threads/Signal.h"
#include "tests/threads/WaitWatch.h"

namespace Velmora::Testing
{

namespace
{

/// A call that keeps its worker busy until the test lets go.
struct Blocker
{
    Signal runs, mayEnd;
    ScopedKernelObject worker; // to wait for the worker's end

    static void Run(void * self)
    {
        auto & blocker = *static_cast<Blocker *>(self);
        blocker.worker = ScopedKernelObject(OpenThread(SYNCHRONIZE, FALSE, GetCurrentThreadId()));
        blocker.runs.Give();
        blocker.mayEnd.Comes();
    }
    static void RunAndThrow(void * self)
    {
        Run(self);
        throw 1;
    }
    bool WorkerEnds() { return WaitForSingleObject(worker.Get(), 60000) == WAIT_OBJECT_0; }
};

unsigned int ThreadHandles() { return HandlesByKind()["Thread"]; }

/// A list of one worker, and calls that note their numbers.
class GMFuncTaskListTest : public ::testing::Test
{
protected:
    GMFuncTaskListTest()
    {
        s_noted.clear();
        s_one.Create(0, 1000);
    }
    ~GMFuncTaskListTest() override
    {
        m_list.reset();
        s_one.Close();
    }

    void Block(void (*call)(void *) = &Blocker::Run)
    {
        m_list->AddFunc(call, &m_blocker);
        ASSERT_TRUE(m_blocker.runs.Comes());
    }

    void Add(int count)
    {
        for (int i = 0; i < count; ++i)
            m_list->AddFunc(&Note, reinterpret_cast<void *>(m_added++));
    }

    /// Waits for \p count calls in all; they ran in the order added, and no other ran.
    void ExpectNoted(std::size_t count)
    {
        for (; m_reached < count; ++m_reached)
            ASSERT_EQ(0u, WaitForSingleObject(s_one, 60000));
        EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(s_one, 30));
        std::vector<std::uintptr_t> inOrder(count);
        std::iota(inOrder.begin(), inOrder.end(), std::uintptr_t(0));
        EXPECT_EQ(inOrder, s_noted);
    }

    /// A call finds the busy worker, which then ends; so it waits for the call after it.
    void ExpectNextButOneOpens()
    {
        Add(1);
        m_blocker.mayEnd.Give();
        EXPECT_TRUE(m_blocker.WorkerEnds());
        ExpectNoted(0);
        Add(1);
        ExpectNoted(2);
    }

    Blocker m_blocker;
    std::unique_ptr<GMFuncTaskList> m_list = std::make_unique<GMFuncTaskList>();

private:
    static void Note(void * number)
    {
        s_noted.push_back(reinterpret_cast<std::uintptr_t>(number));
        s_one.Release();
    }

    static inline std::vector<std::uintptr_t> s_noted;
    static inline GMSemaphore s_one; // released by each call
    std::uintptr_t m_added = 0;
    std::size_t m_reached = 0;
};

} // namespace

TEST_F(GMFuncTaskListTest, KeepsTheQueueOverAClose)
{
    WaitWatch watch;
    Block();
    Add(10);
    Background closer(
        [&]
        {
            watch.Begin();
            EXPECT_TRUE(m_list->CloseTaskThread(INFINITE));
        });
    EXPECT_TRUE(watch.Comes());
    EXPECT_TRUE(closer.IsStuck()); // the call under way isn't interrupted
    m_blocker.mayEnd.Give();
    EXPECT_TRUE(closer.Ends());
    ExpectNoted(0);
    Add(1);
    ExpectNoted(11);
}

TEST_F(GMFuncTaskListTest, GoesOnAfterACloseThatDidntWait)
{
    Block();
    EXPECT_TRUE(m_list->CloseTaskThread(1));
    ExpectNextButOneOpens();
}

// The worker's GMThread is gone when the exception comes.
TEST_F(GMFuncTaskListTest, GoesOnAfterACloseThatDidntWaitForAThrow)
{
    Block(&Blocker::RunAndThrow);
    EXPECT_TRUE(m_list->CloseTaskThread(0));
    ExpectNextButOneOpens();
}

TEST_F(GMFuncTaskListTest, StandsStillAfterAThrowUntilItIsClosed)
{
    Block(&Blocker::RunAndThrow);
    m_blocker.mayEnd.Give();
    EXPECT_TRUE(m_blocker.WorkerEnds());
    Add(1);
    ExpectNoted(0);
    EXPECT_TRUE(m_list->CloseTaskThread(INFINITE));
    Add(1);
    ExpectNoted(2);
}

TEST_F(GMFuncTaskListTest, AnnouncesNoMoreThan64Calls)
{
    Block();
    Add(100);
    m_blocker.mayEnd.Give();
    ExpectNoted(64);
    for (std::size_t i = 1; i <= 3; ++i)
    {
        Add(1); // moves up the first that waits
        ExpectNoted(64 + i);
    }
}

TEST_F(GMFuncTaskListTest, KeepsCallsUntilTheSystemGivesAThread)
{
    unsigned int const before = ThreadHandles();
    m_list->AddFunc(nullptr, nullptr); // ignored
    {
        ImportHook const hook("_beginthreadex", &NoThread);
        Add(3);
    }
    EXPECT_EQ(before, ThreadHandles());
    Add(1);
    ExpectNoted(4);
    EXPECT_EQ(before + 1, ThreadHandles());
}

TEST_F(GMFuncTaskListTest, IsDestroyedAfterTheCallUnderWayAndDropsTheRest)
{
    WaitWatch watch;
    Block();
    Add(5);
    Background owner(
        [&]
        {
            watch.Begin();
            m_list.reset();
        });
    EXPECT_TRUE(watch.Comes());
    EXPECT_TRUE(owner.IsStuck());
    m_blocker.mayEnd.Give();
    EXPECT_TRUE(owner.Ends());
    ExpectNoted(0);
}

TEST(GMFuncTaskList, TakesCallsFromItsOwnCalls)
{
    struct Chain
    {
        static void Run(void * self)
        {
            auto & chain = *static_cast<Chain *>(self);
            if (--chain.left != 0)
                chain.list.AddFunc(&Run, self);
            else
                chain.done.Give();
        }
        Signal done;
        int left = 200;
        GMFuncTaskList list;
    } chain;
    chain.list.AddFunc(&Chain::Run, &chain);
    EXPECT_TRUE(chain.done.Comes());
}

TEST(GMFuncTaskList, RunsCallsSideBySideOnSeveralWorkers)
{
    Blocker first, second, third;
    GMFuncTaskList list(2);
    list.AddFunc(&Blocker::Run, &first);
    list.AddFunc(&Blocker::RunAndThrow, &second);
    list.AddFunc(&Blocker::Run, &third);
    EXPECT_TRUE(first.runs.Comes());
    EXPECT_TRUE(second.runs.Comes());
    second.mayEnd.Give();
    EXPECT_TRUE(second.WorkerEnds());
    EXPECT_TRUE(third.runs.StaysOut()); // one worker is left, and busy
    first.mayEnd.Give();
    EXPECT_TRUE(third.runs.Comes());
    third.mayEnd.Give();
}

namespace
{

/// A list that its calls can tell to exit.
class ExitingList : public GMFuncTaskList
{
public:
    using GMFuncTaskList::GMFuncTaskList;
    using GMTaskList::ExitTaskThread;
};

/// A call that adds another one to its list as soon as the test lets it.
struct Adder
{
    GMFuncTaskList & list;
    Signal runs{}, mayAdd{}, added{}, done{};

    static void Run(void * self)
    {
        auto & adder = *static_cast<Adder *>(self);
        adder.runs.Give();
        adder.mayAdd.Comes();
        adder.list.AddFunc([](void * each) { static_cast<Adder *>(each)->done.Give(); }, self);
        adder.added.Give();
    }
};

int g_mallocs;
int g_mallocToFail; // 0 for none
void * (*g_malloc)(std::size_t);
void * FailingMalloc(std::size_t size)
{
    return ++g_mallocs == g_mallocToFail ? nullptr : g_malloc(size);
}

std::atomic<int> g_ends;
void (*g_endThread)(unsigned int);
void CountedEnd(unsigned int code)
{
    ++g_ends;
    g_endThread(code);
}

} // namespace

// The worker on its way out opens the list anew itself, or while another caller waits for its end.
TEST(GMFuncTaskList, TakesCallsFromAWorkerOnItsWayOut)
{
    for (bool const otherOpens : {false, true})
    {
        SCOPED_TRACE(otherOpens);
        WaitWatch watch;
        ExitingList list(2);
        Blocker leaves;
        Adder stays{list};
        list.AddFunc(&Blocker::Run, &leaves);
        list.AddFunc(&Adder::Run, &stays);
        ASSERT_TRUE(leaves.runs.Comes() && stays.runs.Comes());
        list.ExitTaskThread();
        leaves.mayEnd.Give();
        ASSERT_TRUE(leaves.WorkerEnds());
        Background const opener(
            [&]
            {
                watch.Begin();
                if (otherOpens)
                    list.AddFunc([](void *) {}, nullptr);
            });
        ASSERT_TRUE(!otherOpens || watch.Comes());
        stays.mayAdd.Give();
        EXPECT_TRUE(stays.added.Comes());
        EXPECT_TRUE(stays.done.Comes());
    }
}

TEST(GMFuncTaskList, LosesNoCallForWantOfMemory)
{
    for (int call = 1; call == 1 || g_mallocs >= g_mallocToFail; ++call)
    {
        SCOPED_TRACE(call);
        Signal first, second;
        auto const give = [](void * signal) { static_cast<Signal *>(signal)->Give(); };
        bool isAdded = true;
        GMFuncTaskList list(2);
        {
            ImportHook const hook("malloc", &FailingMalloc, g_malloc, L"libstdc++-6.dll");
            g_mallocs = 0;
            g_mallocToFail = call;
            try
            {
                list.AddFunc(give, &first);
            }
            catch (std::bad_alloc const &)
            {
                isAdded = false;
            }
        }
        list.AddFunc(give, &second);
        EXPECT_TRUE(second.Comes());
        EXPECT_EQ(isAdded, isAdded ? first.Comes() : !first.StaysOut());
    }
}

TEST(GMTaskList, OpensAnewAfterAnExitThatDidntWait)
{
    // The run time has to know of a thread's end.
    ImportHook const hook("_endthreadex", &CountedEnd, g_endThread);
    g_ends = 0;
    class List : public GMTaskList
    {
    public:
        using GMTaskList::GMTaskList;
        ~List() override { CloseTaskThread(INFINITE); }
        using GMTaskList::AddOneWork;
        using GMTaskList::ExitTaskThread;
        using GMTaskList::OpenTaskThread;
        Signal m_works;

    private:
        void DoOneWork() override { m_works.Give(); }
    };
    unsigned int const before = ThreadHandles();
    List none(0u);
    EXPECT_FALSE(none.OpenTaskThread());
    List list(3u);
    EXPECT_TRUE(list.CloseTaskThread(INFINITE));
    EXPECT_TRUE(list.OpenTaskThread());
    EXPECT_TRUE(list.OpenTaskThread());
    EXPECT_EQ(before + 3, ThreadHandles());
    list.ExitTaskThread();
    while (list.m_works.StaysOut()) // a piece may still find the workers on their way out
        list.AddOneWork();
    EXPECT_EQ(3, g_ends);
}

namespace
{

std::atomic<unsigned int> g_left; // calls of the batch that haven't run
Signal * volatile g_batchDone;

void Count(void * runs)
{
    ++*static_cast<std::atomic<unsigned int> *>(runs);
    if (--g_left == 0)
        g_batchDone->Give();
}

} // namespace

TEST(GMFuncTaskList, LosesNoCallAndDoublesNoneOverManyCloses)
{
    constexpr unsigned int batch = 50; // below the number that can be announced
    unsigned int const batches = Rounds(100, 10000);
    Random random(20);
    for (unsigned int const workers : {1u, 3u})
    {
        SCOPED_TRACE(workers);
        auto const before = HandlesByKind();
        std::vector<std::atomic<unsigned int>> runs(batches * batch);
        {
            GMFuncTaskList list(workers);
            for (auto call = runs.begin(); call != runs.end();)
            {
                Signal done;
                g_batchDone = &done;
                g_left = batch;
                std::size_t const closeAt = random.Below(2 * batch); // in half of the batches
                // With several workers a close has to wait: one of them could miss it otherwise.
                unsigned int const patience = workers == 1 && random.OneIn(2) ? 0 : INFINITE;
                for (unsigned int i = 0; i < batch; ++i, ++call)
                {
                    if (i == closeAt)
                        list.CloseTaskThread(patience);
                    list.AddFunc(&Count, &*call);
                }
                // Calls added before the worker's end wait for the first one after it.
                while (patience == 0 && done.StaysOut())
                    list.AddFunc([](void *) {}, nullptr);
                ASSERT_TRUE(done.Comes());
            }
        }
        for (auto const & each : runs)
            ASSERT_EQ(1u, each);
        EXPECT_EQ(before, HandlesByKind());
    }
}

namespace
{

// Ends with the list's worker asleep, or in the middle of a call and with another in the queue.
int EndWithSingleton(std::wstring const & argument)
{
    auto & blocker = *new Blocker; // never deleted: the worker uses it while the process ends
    GMFuncTaskList & list = GMFuncTaskListSingleton::Instance();
    list.AddFunc(&Blocker::Run, &blocker);
    if (argument == L"busy")
        list.AddFunc([](void *) { TerminateProcess(GetCurrentProcess(), 3); }, nullptr);
    else
        blocker.mayEnd.Give();
    bool const same = &list == &GMFuncTaskListSingleton::Instance();
    return blocker.runs.Comes() && same ? 42 : 1;
}

ChildTask const endWithSingleton(L"EndWithSingleton", &EndWithSingleton);

} // namespace

TEST(GMFuncTaskListSingleton, LetsTheProcessEnd)
{
    EXPECT_EQ(42u, RunProgram(endWithSingleton.CommandLine(L"idle")));
    EXPECT_EQ(42u, RunProgram(endWithSingleton.CommandLine(L"busy")));
}

} // namespace Velmora::Testing
