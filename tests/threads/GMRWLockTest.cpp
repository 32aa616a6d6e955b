#include "VelmoraCommon/threads/GMRWLock.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/LongRun.h"
#include "tests/threads/Signal.h"
#include "tests/threads/WaitWatch.h"

namespace Velmora::Testing
{

namespace
{

/// A thread that takes a lock, stays until the test lets it go, and gives the lock back.
class Holder
{
public:
    Holder(std::function<void()> const & enter, std::function<void()> const & leave)
        : m_thread(
              [=]
              {
                  enter();
                  m_in.Give();
                  m_mayLeave.Comes();
                  leave();
              })
    {
    }
    bool IsIn() { return m_in.Comes(); }
    bool IsOut() { return m_in.StaysOut(); }
    void Leave() { m_mayLeave.Give(); }

private:
    Signal m_in, m_mayLeave;
    Background m_thread;
};

} // namespace

TEST(GMRWLock, LetsReadersInTogetherAndWritersFirst)
{
    GMRWLock lock;
    WaitWatch watch;
    auto const read = [&] { lock.ReadLock(); };
    auto const endRead = [&] { lock.ReadUnLock(); };
    auto const write = [&]
    {
        watch.Begin();
        lock.WriteLock(); // has the gate when it waits
        lock.ReadLock();  // it comes in again, both ways
        lock.ReadUnLock();
        lock.WriteLock();
        lock.WriteUnLock();
    };
    auto const endWrite = [&] { lock.WriteUnLock(); };

    Holder first(read, endRead);
    Holder second(read, endRead);
    EXPECT_TRUE(first.IsIn() && second.IsIn());
    Holder writer(write, endWrite);
    ASSERT_TRUE(watch.Comes());
    Holder late(read, endRead);
    EXPECT_TRUE(late.IsOut()); // although there are only readers inside
    first.Leave();
    EXPECT_TRUE(writer.IsOut()); // one reader is left
    second.Leave();
    EXPECT_TRUE(writer.IsIn());
    EXPECT_TRUE(late.IsOut());
    writer.Leave();
    EXPECT_TRUE(late.IsIn());
    late.Leave();
}

TEST(GMRWLock, IsDestroyedAfterTheLastReaderHasLeft)
{
    auto lock = std::make_unique<GMRWLock>();
    GMRWLock & inside = *lock;
    inside.ReadLock();
    Background owner([&] { lock.reset(); });
    EXPECT_TRUE(owner.IsStuck());
    inside.ReadUnLock();
    EXPECT_TRUE(owner.Ends());
}

TEST(GMRWLock, NeverShowsAHalfWrittenRecord)
{
    unsigned int const rounds = Rounds(1500, 100000);
    GMRWLock lock;
    std::vector<unsigned int> record(64);
    std::atomic<unsigned int> torn(0);
    auto const read = [&]
    {
        for (unsigned int round = 0; round < rounds; ++round)
        {
            lock.ReadLock();
            if (std::adjacent_find(record.begin(), record.end(), std::not_equal_to<>()) !=
                record.end())
            {
                ++torn;
            }
            lock.ReadUnLock();
        }
    };
    auto const write = [&]
    {
        for (unsigned int round = 0; round < rounds; ++round)
        {
            lock.WriteLock();
            for (unsigned int & each : record)
                ++each;
            lock.WriteUnLock();
        }
    };
    {
        Background const readers[] = {Background(read), Background(read)};
        Background const writers[] = {Background(write), Background(write)};
    }
    EXPECT_EQ(0u, torn);
    EXPECT_EQ(std::vector<unsigned int>(64, 2 * rounds), record);
}

} // namespace Velmora::Testing
