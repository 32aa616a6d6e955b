// Locks, events and semaphores.
#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "VelmoraCommon/threads/GMMutexLock.h"
#include "VelmoraCommon/threads/GMRWLock.h"
#include "VelmoraCommon/threads/GMRecursiveMutexLock.h"
#include "VelmoraCommon/threads/GMSemaphore.h"
#include "tests/threads/Signal.h"

namespace Velmora::Testing
{

namespace
{

constexpr unsigned long timedOut = WAIT_TIMEOUT;
constexpr unsigned long badHandle = ERROR_INVALID_HANDLE;

/// Whether another thread can lock \p mutex.
template <class Mutex>
bool IsFree(Mutex & mutex)
{
    bool locked = false;
    Background([&] { locked = mutex.TryLock() && (mutex.UnLock(), true); });
    return locked;
}

/// A thread that takes a lock, stays until the test lets it go, and gives the lock back.
struct Holder
{
    std::function<void()> enter, leave;
    Signal in{}, mayLeave{};
    Background thread{[this] { enter(), in.Give(), mayLeave.Comes(), leave(); }};
};

} // namespace

TEST(GMMutex, IsFreeOnceItsThreadHasUnlockedAsOftenAsLocked)
{
    GMMutex const mutex;
    mutex.Lock();
    EXPECT_TRUE(mutex.TryLock());
    mutex.UnLock();
    {
        GMMutexLock const lock(&mutex);
        GMMutexLock detached(&mutex);
        detached.Detach();
        detached.Detach();
        GMMutexLock const nothing(nullptr);
    }
    EXPECT_FALSE(IsFree(mutex)); // no unlock too many
    mutex.UnLock();
    EXPECT_TRUE(IsFree(mutex));
}

TEST(GMRecursiveMutex, IsSharedByNameAlone)
{
    std::wstring const name = L"VelmoraTest-shared-" + std::to_wstring(GetCurrentProcessId());
    GMRecursiveMutex named(name.c_str()), sameName(name.c_str()), unnamed, otherUnnamed(nullptr);
    named.Lock();
    unnamed.Lock();
    {
        GMRecursiveMutexLock const again(&sameName);
        GMRecursiveMutexLock const nothing(nullptr);
    }
    EXPECT_FALSE(IsFree(sameName));
    EXPECT_TRUE(IsFree(otherUnnamed));
    named.UnLock();
    EXPECT_TRUE(IsFree(sameName));

    Background([&] { named.Lock(); }); // the owner is gone
    EXPECT_FALSE(named.TryLock());     // and this thread isn't the owner either
    EXPECT_TRUE(IsFree(named));
}

TEST(GMRWLock, LetsReadersInTogetherAndWritersFirst)
{
    auto owned = std::make_unique<GMRWLock>();
    GMRWLock & lock = *owned;
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
    Holder first{read, endRead}, second{read, endRead};
    EXPECT_TRUE(first.in.Comes() && second.in.Comes());
    Holder writer{write, [&] { lock.WriteUnLock(); }};
    ASSERT_TRUE(watch.Comes());
    Holder late{read, endRead};
    EXPECT_TRUE(late.in.StaysOut()); // although there are only readers inside
    first.mayLeave.Give();
    EXPECT_TRUE(writer.in.StaysOut()); // one reader is left
    second.mayLeave.Give();
    EXPECT_TRUE(writer.in.Comes());
    EXPECT_TRUE(late.in.StaysOut());
    writer.mayLeave.Give();
    EXPECT_TRUE(late.in.Comes());
    Background owner([&] { owned.reset(); });
    EXPECT_TRUE(owner.IsStuck()); // a reader is inside
    late.mayLeave.Give();
    EXPECT_TRUE(owner.Ends());
}

TEST(GMBaseEvent, TellsTheSystemsError)
{
    GMBaseEvent event;
    EXPECT_EQ(badHandle, event.Set());
    EXPECT_EQ(WAIT_FAILED, event.Lock());
    EXPECT_EQ(0u, event.Close());
    ASSERT_EQ(0u, event.Create(false, true, nullptr, nullptr));
    EXPECT_EQ(0u, event.Lock());
    EXPECT_EQ(timedOut, event.TimeLock(0));
    CloseHandle(event);
    EXPECT_EQ(badHandle, event.Close());
    EXPECT_TRUE(event.IsCreated());
}

TEST(GMBaseEvent, IsFoundByItsName)
{
    std::wstring const name = L"VelmoraTest-event-" + std::to_wstring(GetCurrentProcessId());
    GMBaseEvent event, opened;
    EXPECT_EQ(static_cast<unsigned long>(ERROR_FILE_NOT_FOUND),
              opened.Open(EVENT_ALL_ACCESS, false, name.c_str()));
    ASSERT_EQ(0u, event.Create(true, true, name.c_str(), nullptr));
    ASSERT_EQ(0u, opened.Open(EVENT_ALL_ACCESS, false, name.c_str()));
    EXPECT_EQ(name, opened.Name());
    EXPECT_EQ(0u, event.Lock());
    EXPECT_EQ(0u, opened.Reset());

    // Made anew under its own name it is the same event as before.
    EXPECT_EQ(0u, opened.Create(true, true, nullptr, nullptr));
    EXPECT_STREQ(L"", opened.Name());
    EXPECT_EQ(0u, event.Create(true, true, event.Name(), nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), GetLastError());
    EXPECT_EQ(name, event.Name());
    EXPECT_EQ(timedOut, event.TimeLock(0));
}

TEST(GMSemaphore, CountsUpToItsMaximum)
{
    GMSemaphore semaphore;
    EXPECT_FALSE(semaphore.Lock());
    EXPECT_FALSE(semaphore.Release());
    ASSERT_TRUE(semaphore.Create(0, 1));
    ASSERT_TRUE(semaphore.Create(2, 3));
    EXPECT_FALSE(semaphore.Create(4, 3)); // keeps what it has
    EXPECT_FALSE(semaphore.Release(2));   // adds nothing
    EXPECT_TRUE(semaphore.Release());
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(semaphore.Lock());
    EXPECT_EQ(timedOut, WaitForSingleObject(semaphore, 0));
    EXPECT_TRUE(semaphore.Close());
}

} // namespace Velmora::Testing
