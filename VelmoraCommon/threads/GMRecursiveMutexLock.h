#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/threads/GMRecursiveMutex.h"

namespace Velmora
{

/// Holds a GMRecursiveMutex for a scope.
///
/// The mutex stays the caller's and outlives this object. Made and destroyed on one thread; a copy
/// would unlock once more.
class VELMORA_API GMRecursiveMutexLock
{
public:
    /// Waits without limit for \p mutex; null is allowed and locks nothing.
    explicit GMRecursiveMutexLock(GMRecursiveMutex * mutex) : m_mutex(mutex)
    {
        if (m_mutex != nullptr)
            m_mutex->Lock();
    }

    ~GMRecursiveMutexLock()
    {
        if (m_mutex != nullptr)
            m_mutex->UnLock();
    }

private:
    GMRecursiveMutex * m_mutex; // null when nothing is locked
};

} // namespace Velmora
