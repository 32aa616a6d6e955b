#include "VelmoraCommon/threads/GMRecursiveMutex.h"

#include <gtest/gtest.h>

#include "VelmoraCommon/threads/GMRecursiveMutexLock.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ChildTask.h"
#include "tests/threads/Signal.h"

namespace Velmora::Testing
{

namespace
{

std::wstring UniqueName(wchar_t const * what)
{
    return L"VelmoraTest-" + std::to_wstring(GetCurrentProcessId()) + L"-" + what;
}

// Locks the mutex \p name, says so by the event of that name and "-held", and keeps it to its end.
int HoldMutex(std::wstring const & name)
{
    GMRecursiveMutex mutex(name.c_str());
    mutex.Lock();
    GMBaseEvent held;
    held.Open(EVENT_MODIFY_STATE, false, (name + L"-held").c_str());
    held.Set();
    Sleep(INFINITE);
    return 0;
}
ChildTask const holdMutex(L"HoldMutex", &HoldMutex);

} // namespace

TEST(GMRecursiveMutex, IsSharedByNameAlone)
{
    std::wstring const name = UniqueName(L"shared");
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
}

TEST(GMRecursiveMutex, IsNeverLockedWhenItCouldntBeCreated)
{
    std::wstring const name = UniqueName(L"taken");
    GMBaseEvent event; // events and mutexes share their names
    ASSERT_EQ(0u, event.Create(true, false, name.c_str(), nullptr));
    GMRecursiveMutex mutex(name.c_str());
    EXPECT_FALSE(mutex.IsOpen());
    mutex.Lock();
    EXPECT_FALSE(mutex.TryLock());
    mutex.UnLock();
}

TEST(GMRecursiveMutex, OutlivesAnOwnerThatIsKilled)
{
    std::wstring const name = UniqueName(L"abandoned");
    GMRecursiveMutex mutex(name.c_str());
    GMBaseEvent held;
    ASSERT_EQ(0u, held.Create(false, false, (name + L"-held").c_str(), nullptr));
    {
        ChildProcess child(holdMutex.CommandLine(name));
        ASSERT_TRUE(child.Signals(held));
        EXPECT_FALSE(mutex.TryLock());
        child.Kill();
        EXPECT_FALSE(mutex.TryLock()); // abandoned: false, and not held either
        EXPECT_TRUE(IsFree(mutex));
    }
    ChildProcess child(holdMutex.CommandLine(name));
    ASSERT_TRUE(child.Signals(held));
    Background waiting([&] { GMRecursiveMutexLock const lock(&mutex); });
    EXPECT_TRUE(waiting.IsStuck());
    child.Kill();
    EXPECT_TRUE(waiting.Ends());
}

} // namespace Velmora::Testing
