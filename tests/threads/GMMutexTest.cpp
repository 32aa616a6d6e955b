#include "VelmoraCommon/threads/GMMutex.h"

#include <gtest/gtest.h>

#include "VelmoraCommon/threads/GMMutexLock.h"
#include "tests/threads/Signal.h"

namespace Velmora::Testing
{

TEST(GMMutex, IsFreeOnceItsThreadHasUnlockedAsOftenAsLocked)
{
    GMMutex const mutex;
    mutex.Lock();
    EXPECT_TRUE(mutex.TryLock());
    mutex.UnLock();
    EXPECT_FALSE(IsFree(mutex));
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

} // namespace Velmora::Testing
