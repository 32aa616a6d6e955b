#include "VelmoraCommon/threads/GMTaskList.h"

#include <memory>
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
      m_threadCount(threadCount)
{
    m_exitEvent.Create(true, false, nullptr, nullptr);
    m_workSemaphore.Create(0, mostAnnounced);
}

GMTaskList::~GMTaskList() { CloseTaskThread(INFINITE); }

bool GMTaskList::OpenTaskThread()
{
    if (m_running)
        return true;

    for (GMThread *& worker : m_threads)
    {
        std::unique_ptr<GMThread> const ending(std::exchange(worker, nullptr));
        if (ending != nullptr)
            ending->Join();
    }
    m_threads.clear();
    m_firstThread = nullptr;
    m_exitEvent.Reset();

    m_threads.reserve(m_threadCount);
    for (unsigned int i = 0; i < m_threadCount; ++i)
    {
        auto worker = std::make_unique<GMThread>(&ThreadFunc, this);
        if (worker->Start())
            m_threads.push_back(worker.release());
    }
    if (m_threads.empty())
        return false;
    m_firstThread = m_threads.front();
    m_running = true;
    return true;
}

void GMTaskList::AddOneWork()
{
    OpenTaskThread();
    Announce();
}

void GMTaskList::Announce() { m_workSemaphore.Release(); }

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
    unsigned long code = 1;
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
    ExitThread(code);
}

/// Serves until the list is closed; answers the thread's exit code.
unsigned long GMTaskList::Work()
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
