// Events, and semaphores with them.
#include "VelmoraCommon/threads/GMBaseEvent.h"

#include <string>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/threads/GMSemaphore.h"
#include "tests/support/HandleCount.h"

namespace Velmora::Testing
{

namespace
{

constexpr unsigned long timedOut = WAIT_TIMEOUT;
constexpr unsigned long badHandle = ERROR_INVALID_HANDLE;

} // namespace

TEST(GMBaseEvent, TellsTheSystemsError)
{
    GMBaseEvent event;
    EXPECT_EQ(badHandle, event.Set());
    EXPECT_EQ(badHandle, event.Reset());
    EXPECT_EQ(WAIT_FAILED, event.Lock());
    EXPECT_EQ(WAIT_FAILED, event.TimeLock(0));
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
    unsigned int const before = HandleCount();
    {
        GMBaseEvent event, opened;
        EXPECT_EQ(static_cast<unsigned long>(ERROR_FILE_NOT_FOUND),
                  opened.Open(EVENT_ALL_ACCESS, false, name.c_str()));
        EXPECT_STREQ(L"", opened.Name());
        ASSERT_EQ(0u, event.Create(true, true, name.c_str(), nullptr));
        ASSERT_EQ(0u, opened.Open(EVENT_ALL_ACCESS, false, name.c_str()));
        EXPECT_EQ(name, opened.Name());
        EXPECT_EQ(0u, event.Lock());
        EXPECT_EQ(0u, opened.Reset());
        EXPECT_EQ(timedOut, event.TimeLock(0));

        // Made anew under its own name it is the same event as before.
        EXPECT_EQ(0u, opened.Create(true, true, nullptr, nullptr));
        EXPECT_STREQ(L"", opened.Name());
        EXPECT_EQ(0u, event.Create(true, true, event.Name(), nullptr));
        EXPECT_EQ(static_cast<DWORD>(ERROR_ALREADY_EXISTS), GetLastError());
        EXPECT_EQ(name, event.Name());
        EXPECT_EQ(timedOut, event.TimeLock(0));
        EXPECT_EQ(before + 2, HandleCount());
    }
    EXPECT_EQ(before, HandleCount());
}

TEST(GMSemaphore, CountsUpToItsMaximum)
{
    unsigned int const before = HandleCount();
    GMSemaphore semaphore;
    EXPECT_FALSE(semaphore.Lock());
    EXPECT_FALSE(semaphore.Release());
    EXPECT_TRUE(semaphore.Close());
    ASSERT_TRUE(semaphore.Create(0, 1));
    ASSERT_TRUE(semaphore.Create(2, 3));
    EXPECT_EQ(before + 1, HandleCount());
    EXPECT_FALSE(semaphore.Create(4, 3)); // keeps what it has
    EXPECT_FALSE(semaphore.Release(2));   // adds nothing
    EXPECT_TRUE(semaphore.Release());
    EXPECT_FALSE(semaphore.Release());
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(semaphore.Lock());
    EXPECT_EQ(timedOut, WaitForSingleObject(semaphore, 0));
    EXPECT_TRUE(semaphore.Release(3));
    EXPECT_TRUE(semaphore.Close());
    EXPECT_TRUE(semaphore.Close());
    EXPECT_EQ(before, HandleCount());
}

} // namespace Velmora::Testing
