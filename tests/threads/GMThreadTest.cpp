#include "VelmoraCommon/threads/GMThread.h"

#include <cstdlib>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/threads/Signal.h"

namespace Velmora::Testing
{

TEST(GMThread, TellsHowItEnds)
{
    std::tuple<void (*)(void *), DWORD, bool> const cases[] = {
        {[](void *) {}, 0, false},
        {[](void *) { throw 7; }, 1, false},
        {[](void *) { GMThread::Exit(77); }, 77, true},
    };
    for (auto const & [function, code, runningUntilJoined] : cases)
    {
        SCOPED_TRACE(code);
        GMThread thread(function, nullptr);
        thread.Join(); // none yet; the empty handle would mean this process
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
        EXPECT_EQ(0u, thread.GetThreadID());
        EXPECT_EQ(INVALID_HANDLE_VALUE, static_cast<void *>(thread));
    }
}

TEST(GMThread, SeedsItsOwnRandomNumbersByTheTimeIfItStarts)
{
    ImportHook const noon(
        "_time64", +[](__time64_t *) -> __time64_t { return 43200; });
    int number = 0;
    GMThread thread([](void * drawn) { *static_cast<int *>(drawn) = std::rand(); }, &number);
    ASSERT_TRUE(thread.Start());
    thread.Join();
    std::srand(43200);
    EXPECT_EQ(std::rand(), number);

    EXPECT_FALSE(GMThread(nullptr, nullptr).Start());
    auto const noThread = [](void *, unsigned, unsigned(__stdcall *)(void *), void *, unsigned,
                             unsigned *) { return std::uintptr_t(0); };
    ImportHook const hook("_beginthreadex", +noThread);
    EXPECT_FALSE(thread.Start());
}

TEST(GMThreadEnable, RunsOneThreadAfterTheOther)
{
    struct Worker : GMThreadEnable
    {
        void DoWork() override { done += mayEnd.Comes() ? 1 : 0; }
        Signal mayEnd;
        int done = 0;
    } worker;
    ASSERT_TRUE(worker.Start());
    EXPECT_FALSE(worker.Start());
    worker.TimeJoin(0);
    EXPECT_TRUE(worker.IsRunning());
    worker.mayEnd.Give();
    worker.TimeJoin(60000);
    EXPECT_FALSE(worker.IsRunning());
    EXPECT_TRUE(worker.Start());
    worker.Join();
    EXPECT_EQ(2, worker.done);
}

} // namespace Velmora::Testing
