#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/threads/GMThread.h"

namespace Velmora
{

/// Base of objects that run a thread of their own, one after the other.
///
/// A derived class puts the work into DoWork and calls Join in its destructor: when the one of this
/// class runs, the derived part with its DoWork is gone already. Start and the joins belong to one
/// thread at a time. A copy would own the same thread, so pass the object by reference.
class VELMORA_API GMThreadEnable
{
public:
    GMThreadEnable();

    /// Joins without limit.
    virtual ~GMThreadEnable();

    /// Runs DoWork on a new thread.
    /// \return false if the thread still runs, which goes on undisturbed, or if the system gives
    ///     no thread
    /// \throws std::bad_alloc
    bool Start();

    /// Whether the work has begun and not ended.
    bool IsRunning() const;

    /// Waits without limit for the end of the work. Returns at once if nothing runs.
    void Join();

    /// Waits at most that long; IsRunning then tells whether the work has ended.
    void TimeJoin(unsigned int milliseconds);

protected:
    /// The work. Called on the thread; an exception ends the thread alone.
    virtual void DoWork() = 0;

    /// The thread's function; \p self is the object, and null does nothing.
    static void WorkFunc(void * self);

private:
    GMThread * m_thread; // owned; null before the first Start
};

} // namespace Velmora
