#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// A fast lock between the threads of one process, for short sections of code.
///
/// It stays out of the system as long as no two threads meet. The thread that holds it may lock it
/// again and then unlocks as often, on that same thread. A copy would share the lock and release it
/// twice, so pass it by pointer or reference.
class VELMORA_API GMMutex
{
public:
    /// \throws std::bad_alloc
    GMMutex();

    /// Nobody may hold the lock or wait for it any more.
    ~GMMutex();

    /// Waits without limit.
    void Lock() const { EnterCriticalSection(m_section); }

    /// Doesn't wait. \return false if another thread holds the lock
    bool TryLock() const { return TryEnterCriticalSection(m_section) != FALSE; }

    /// Gives it up once; only the thread that holds it may.
    void UnLock() const { LeaveCriticalSection(m_section); }

private:
    CRITICAL_SECTION * m_section; // owned
};

} // namespace Velmora
