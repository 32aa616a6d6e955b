#include "VelmoraCommon/threads/GMThread.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "tests/support/HandleCount.h"
#include "tests/support/ImportHook.h"
#include "tests/threads/Signal.h"

namespace Velmora::Testing
{

namespace
{

__time64_t __cdecl AlwaysNoon(__time64_t *) { return 43200; }

void DrawNumber(void * number) { *static_cast<int *>(number) = std::rand(); }

void ExpectNoThread(GMThread & thread)
{
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_EQ(0u, thread.GetThreadID());
    EXPECT_EQ(INVALID_HANDLE_VALUE, static_cast<void *>(thread));
}

} // namespace

TEST(GMThread, TellsHowItEnds)
{
    using Work = void (*)(void *);
    std::tuple<char const *, Work, DWORD, bool> const cases[] = {
        {"returns", [](void *) {}, 0, false},
        {"throws", [](void *) { throw std::runtime_error("lost"); }, 1, false},
        {"throws no exception class", [](void *) { throw 7; }, 1, false},
        {"exits", [](void *) { GMThread::Exit(77); }, 77, true},
    };
    unsigned int const before = HandleCount();
    for (auto const & [what, function, code, runningUntilJoined] : cases)
    {
        SCOPED_TRACE(what);
        GMThread thread(function, nullptr);
        for (int run = 0; run < 2; ++run)
        {
            ASSERT_TRUE(thread.Start()); // the second time without a join before
            ASSERT_EQ(0u, WaitForSingleObject(thread, 60000));
            EXPECT_EQ(runningUntilJoined, thread.IsRunning());
            DWORD ended = STILL_ACTIVE;
            GetExitCodeThread(thread, &ended);
            EXPECT_EQ(code, ended);
        }
        thread.Join();
        ExpectNoThread(thread);
    }
    EXPECT_EQ(before, HandleCount());
}

TEST(GMThread, DoesntStartWithoutAFunctionOrAThread)
{
    GMThread empty(nullptr, nullptr);
    EXPECT_FALSE(empty.Start());
    ImportHook const hook("_beginthreadex", &NoThread);
    GMThread thread(&DrawNumber, nullptr);
    EXPECT_FALSE(thread.Start());
    ExpectNoThread(thread);
}

TEST(GMThread, SeedsItsOwnRandomNumbersByTheTime)
{
    ImportHook const hook("_time64", &AlwaysNoon);
    int number = 0;
    GMThread thread(&DrawNumber, &number);
    thread.Join(); // none yet; the empty handle would mean this process
    ASSERT_TRUE(thread.Start());
    thread.Join();
    std::srand(43200);
    EXPECT_EQ(std::rand(), number);
}

TEST(GMThreadEnable, RunsOneThreadAfterTheOther)
{
    class Worker : public GMThreadEnable
    {
    public:
        ~Worker() override { Join(); }
        using GMThreadEnable::WorkFunc;
        Signal m_mayEnd;
        int m_done = 0;

    private:
        void DoWork() override { m_done += m_mayEnd.Comes() ? 1 : 0; }
    };
    Worker::WorkFunc(nullptr);
    Worker worker;
    worker.Join();
    ASSERT_TRUE(worker.Start());
    EXPECT_FALSE(worker.Start());
    worker.TimeJoin(0);
    EXPECT_TRUE(worker.IsRunning());
    worker.m_mayEnd.Give();
    worker.TimeJoin(60000);
    EXPECT_FALSE(worker.IsRunning());
    EXPECT_TRUE(worker.Start());
    worker.Join();
    EXPECT_EQ(2, worker.m_done);
}

} // namespace Velmora::Testing
