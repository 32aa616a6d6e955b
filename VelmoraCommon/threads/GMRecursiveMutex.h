#pragma once

#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// A mutex of the system. With a name it excludes threads of every process that uses the name.
///
/// Each operation is a call into the system; for threads of one process GMMutex is far faster. The
/// thread that holds the mutex may lock it again and then unlocks as often, on that same thread.
/// When the owner's thread ends without unlocking, the mutex is abandoned and the next Lock takes
/// it. A copy would share the handle and close it twice, so pass it by pointer or reference.
///
/// If the mutex couldn't be created, TryLock gives false and the others do nothing.
class VELMORA_API GMRecursiveMutex
{
public:
    /// Creates the mutex, or opens the one that has the name \p name already; null is for a mutex
    /// without a name. The thread's last error tells which, and why it failed.
    /// \throws std::bad_alloc
    explicit GMRecursiveMutex(wchar_t const * name = nullptr);

    /// Leaves the last error as it was.
    ~GMRecursiveMutex();

    /// Whether there is a mutex.
    bool IsOpen() const;

    /// Waits without limit.
    void Lock();

    /// Doesn't wait.
    /// \return true if the thread holds the mutex now. An abandoned mutex gives false, so that the
    ///     caller learns that what it guards may be half done; the attempt after that succeeds.
    bool TryLock();

    /// Gives it up once; only the thread that holds it may.
    void UnLock();

private:
    void ** m_handle; // owned cell with the handle; the handle is null when creation failed
};

} // namespace Velmora
