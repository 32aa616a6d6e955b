#include "VelmoraCommon/threads/GMTaskList.h"

#include <memory>
#include <new>
#include <utility>

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{
namespace
{

constexpr unsigned int mostAnnounced = 64;

} // namespace

GMTaskList::GMTaskList(unsigned int threadCount)
    : m_running(false),
      m_firstThread(nullptr),
      m_threadCount(threadCount),
      m_opening(false)
{
    m_exitEvent.Create(true, false, nullptr, nullptr);
    m_workSemaphore.Create(0, mostAnnounced);
}

GMTaskList::~GMTaskList() { CloseTaskThread(INFINITE); }

bool GMTaskList::OpenTaskThread()
{
    // One caller opens; the others, who may be the workers that it waits for, leave it to that one.
    if (m_running || m_opening.Exchange(true))
        return true;
    bool const isOpen = m_running || StartWorkers();
    m_opening = false;
    return isOpen;
}

/// Without the memory for a worker it is as if the system gave none.
bool GMTaskList::StartWorkers()
{
    // The calling worker can't wait for itself; it is in the middle of a piece and stays.
    auto kept = m_threads.begin();
    for (GMThread * const each : m_threads)
    {
        std::unique_ptr<GMThread> worker(each);
        if (worker == nullptr)
            continue;
        if (worker->GetThreadID() == GMThread::GetCurrentThreadID())
            *kept++ = worker.release();
        else
            worker->Join();
    }
    m_threads.erase(kept, m_threads.end());
    m_exitEvent.Reset();

    m_running = true; // first, since a worker may serve or end before the next one is started
    try
    {
        m_threads.reserve(m_threadCount);
        for (std::size_t i = m_threads.size(); i < m_threadCount; ++i)
        {
            auto worker = std::make_unique<GMThread>(&ThreadFunc, this);
            if (worker->Start())
                m_threads.push_back(worker.release());
        }
    }
    catch (std::bad_alloc const &)
    {
    }
    m_firstThread = m_threads.empty() ? nullptr : m_threads.front();
    if (m_threads.empty())
        m_running = false;
    return !m_threads.empty();
}

void GMTaskList::AddOneWork()
{
    OpenTaskThread();
    m_workSemaphore.Release();
}

void GMTaskList::ExitTaskThread()
{
    if (m_running)
        m_exitEvent.Set();
}

bool GMTaskList::CloseTaskThread(unsigned int timeoutMs)
{
    if (m_firstThread == nullptr)
        return true;

    m_exitEvent.Set();
    bool allEnded = true;
    for (GMThread *& worker : m_threads)
    {
        std::unique_ptr<GMThread> const closing(std::exchange(worker, nullptr));
        closing->TimeJoin(timeoutMs);
        allEnded = allEnded && !closing->IsRunning();
    }
    m_firstThread = nullptr;
    if (allEnded)
        m_running = false; // a worker that an exception ended hasn't said so
    return true;
}

void GMTaskList::ThreadFunc(void * self)
{
    auto & list = *static_cast<GMTaskList *>(self);
    unsigned int code = 1;
    try
    {
        code = list.Work();
    }
    catch (...)
    {
        // The worker is gone without a word, unless a close may have gone on without waiting for it.
        if (list.m_exitEvent.TimeLock(0) == WAIT_OBJECT_0)
            list.m_running = false;
    }
    // Not back to the thread's entry: after a close that didn't wait, its GMThread is gone.
    GMThread::Exit(code);
}

/// Serves until the list is closed; answers the thread's exit code.
unsigned int GMTaskList::Work()
{
    constexpr DWORD closing = WAIT_OBJECT_0; // the event stands first, so it wins over the work
    constexpr DWORD work = WAIT_OBJECT_0 + 1;
    HANDLE const signals[] = {m_exitEvent, m_workSemaphore};

    DWORD signal;
    while ((signal = WaitForMultipleObjects(2, signals, FALSE, INFINITE)) == work)
        DoOneWork();
    m_running = false;
    return signal == closing ? 0 : 1;
}

} // namespace Velmora
