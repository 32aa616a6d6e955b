#pragma once

#include <atomic>
#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/threads/GMBaseEvent.h"
#include "VelmoraCommon/threads/GMSemaphore.h"
#include "VelmoraCommon/threads/GMThread.h"

namespace Velmora
{

/// Engine of a work queue: worker threads that sleep until there is work and do one piece a time.
///
/// A derived class keeps the queue, calls AddOneWork for each piece that it has queued, and takes
/// and does a piece in DoOneWork. The workers start with the first piece, end with a close, and
/// start again with the first piece after it. A close leaves queued pieces alone: they are done
/// after the next start.
///
/// At most 64 pieces can be announced and not yet begun. Pieces beyond that stay in the queue
/// without an announcement of their own and move up as later ones are announced.
///
/// An exception that leaves DoOneWork ends its worker, and the others go on. If it was the last
/// one, nothing is done until the list has been closed and gets work again.
///
/// Any threads, the workers too, may open and announce at the same time, but not while the list is
/// being closed. The list must outlive its workers, also those that a close with a short time limit
/// didn't wait for. With several workers let a close wait: one that is left behind may go on as a
/// further worker once the list is open again, and no close waits for that one. A derived class
/// closes the list in its destructor, before its queue is gone. A copy would share the workers and
/// close them twice, so pass the list by reference.
class VELMORA_API GMTaskList
{
public:
    /// Starts no thread yet. With a \p threadCount of 0 no work is ever done.
    explicit GMTaskList(unsigned int threadCount = 1);

    /// Closes without limit of time.
    virtual ~GMTaskList();

    /// Tells the workers to end and waits for each in turn, at most \p timeoutMs milliseconds for
    /// each. A piece of work that has begun is never interrupted; a worker that is still busy when
    /// its time runs out ends by itself after that piece. Until then the list counts as open, and
    /// work that is added finds no worker and waits for the next piece after the worker's end.
    ///
    /// Not from a worker, and not from code that a module runs while it is unloaded: there a thread
    /// can't end, and a wait for it hangs.
    /// \return always true
    bool CloseTaskThread(unsigned int timeoutMs);

protected:
    /// Takes and does one piece of work. Called on a worker, with several workers at the same time.
    virtual void DoOneWork() = 0;

    /// Starts the workers, unless they run or another thread is about to start them. Workers on their
    /// way out are waited for without limit first, so don't hold what their work needs. A worker that
    /// calls this on its own way out stays instead, as one of the new ones.
    /// \return false if not one could be started, also for want of memory
    bool OpenTaskThread();

    /// Announces one piece of work, and starts the workers if need be.
    void AddOneWork();

    /// Tells the workers to end and doesn't wait. The next piece of work starts new ones.
    void ExitTaskThread();

private:
    /// Workers write it while callers read it. Unlike the standard's it can be copied, as lists can.
    class Flag
    {
    public:
        Flag(bool value) : m_value(value) {}
        Flag(Flag const & other) : m_value(other) {}
        Flag & operator=(Flag const & other)
        {
            m_value = static_cast<bool>(other);
            return *this;
        }
        operator bool() const { return m_value; }
        bool Exchange(bool value) { return m_value.exchange(value); }

    private:
        std::atomic<bool> m_value;
    };

    bool StartWorkers();
    static void ThreadFunc(void * self);
    unsigned int Work();

    Flag m_running; // there are workers, and none has begun to end
    GMBaseEvent m_exitEvent;
    GMSemaphore m_workSemaphore;
    GMThread * m_firstThread;          // null when the list is closed
    std::vector<GMThread *> m_threads; // owned; null for a worker that has been closed
    unsigned int m_threadCount;
    Flag m_opening; // a caller is about to start the workers
};

} // namespace Velmora
