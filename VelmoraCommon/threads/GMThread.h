#pragma once

#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// One thread of the system that runs a plain function.
///
/// Owns the thread's handle, not its run: the destructor neither waits nor stops it. So join before
/// the object goes, for the thread tells the object when its function has left. Start and the joins
/// belong to one thread at a time; IsRunning may be asked from any. A copy would close the handle
/// twice, so pass the object by reference.
class VELMORA_API GMThread
{
public:
    /// Starts nothing yet. \p param is the argument of \p func and stays the caller's.
    /// \throws std::bad_alloc
    GMThread(void (*func)(void *), void * param);

    /// Leaves the last error as it was.
    ~GMThread();

    /// Runs the function on a new thread, after `srand` with the current time, since `rand` has a
    /// state for each thread. An exception that leaves the function ends the thread with exit code
    /// 1 instead of 0, and nothing else.
    ///
    /// Doesn't ask whether the thread runs already: join between two starts.
    /// \return false without a function, or if the system gives no thread
    /// \throws std::bad_alloc
    bool Start();

    /// True from Start until the function has left. A thread that ends by Exit counts as running
    /// until it is joined.
    bool IsRunning() const;

    /// The system's id of the thread while it runs, 0 otherwise.
    unsigned long GetThreadID();

    /// The thread's handle, -1 when there is none. It stays owned by this object.
    operator void *() const;

    /// Waits without limit for the thread's end and closes its handle. Returns at once if there is
    /// none. A thread mustn't join itself.
    void Join();

    /// Waits at most that long. If the time runs out nothing changes, and IsRunning is still true.
    void TimeJoin(unsigned int milliseconds);

    /// The id of the calling thread.
    static unsigned long GetCurrentThreadID();

    /// Holds the calling thread up.
    static void Sleep(unsigned int milliseconds);

    /// Gives the rest of the calling thread's time slice away.
    static void yield();

    /// Ends the calling thread with \p code. Destructors of its local objects don't run.
    static void Exit(unsigned int code);

private:
    struct Record;

    void Forget();

    Record * m_record; // owned
};

} // namespace Velmora
