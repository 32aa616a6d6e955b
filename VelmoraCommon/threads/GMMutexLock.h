#pragma once

#include <utility>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/threads/GMMutex.h"

namespace Velmora
{

/// Holds a GMMutex for a scope.
///
/// The mutex stays the caller's and outlives this object. Made, detached and destroyed on one
/// thread; a copy would unlock once more.
class VELMORA_API GMMutexLock
{
public:
    /// Waits without limit for \p mutex; null is allowed and locks nothing.
    explicit GMMutexLock(GMMutex const * mutex) : m_mutex(mutex)
    {
        if (m_mutex != nullptr)
            m_mutex->Lock();
    }

    ~GMMutexLock() { Detach(); }

    /// Unlocks before the scope ends. A second call does nothing.
    void Detach()
    {
        if (GMMutex const * const mutex = std::exchange(m_mutex, nullptr))
            mutex->UnLock();
    }

private:
    GMMutex const * m_mutex; // null when nothing is locked
};

} // namespace Velmora
