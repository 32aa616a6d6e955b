#include "VelmoraCommon/threads/GMThread.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>

#include <process.h>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{
namespace
{

/// What a new thread gets from its starter. It is the thread's own, because a GMThread that nobody
/// joins may be gone before the thread is on its feet.
struct Launch
{
    void (*func)(void *);
    void * param;
    std::atomic<bool> * running;
};

unsigned int __stdcall Run(void * argument)
{
    Launch const launch = *std::unique_ptr<Launch>(static_cast<Launch *>(argument));
    std::srand(static_cast<unsigned int>(_time64(nullptr)));
    unsigned int code = 0;
    try
    {
        launch.func(launch.param);
    }
    catch (...)
    {
        code = 1;
    }
    *launch.running = false;
    return code;
}

} // namespace

struct GMThread::Record
{
    void * m_param;
    void (*m_func)(void *);
    std::atomic<bool> m_running; // the thread itself clears it
    unsigned long m_threadId;    // 0 for none
    HANDLE m_handle;             // INVALID_HANDLE_VALUE for none
};

GMThread::GMThread(void (*func)(void *), void * param)
    : m_record(new Record{param, func, false, 0, INVALID_HANDLE_VALUE})
{
}

GMThread::~GMThread()
{
    Forget();
    delete m_record;
}

bool GMThread::Start()
{
    if (m_record->m_func == nullptr)
        return false;

    std::unique_ptr<Launch> launch(
        new Launch{m_record->m_func, m_record->m_param, &m_record->m_running});
    unsigned int id = 0;
    std::uintptr_t const thread =
        _beginthreadex(nullptr, 0, &Run, launch.get(), CREATE_SUSPENDED, &id);
    Forget(); // the handle of an earlier run
    if (thread == 0)
        return false;

    static_cast<void>(launch.release()); // now the thread's
    m_record->m_handle = reinterpret_cast<HANDLE>(thread);
    m_record->m_threadId = id;
    m_record->m_running = true;
    if (ResumeThread(m_record->m_handle) != static_cast<DWORD>(-1))
        return true;
    Forget();
    return false;
}

void GMThread::Forget()
{
    LastErrorKeeper const keeper;
    if (m_record->m_handle != INVALID_HANDLE_VALUE)
        CloseHandle(m_record->m_handle);
    m_record->m_handle = INVALID_HANDLE_VALUE;
    m_record->m_threadId = 0;
    m_record->m_running = false;
}

bool GMThread::IsRunning() const { return m_record->m_running; }

unsigned long GMThread::GetThreadID() { return IsRunning() ? m_record->m_threadId : 0; }

GMThread::operator void *() const { return m_record->m_handle; }

void GMThread::Join() { TimeJoin(INFINITE); }

void GMThread::TimeJoin(unsigned int milliseconds)
{
    if (m_record->m_handle == INVALID_HANDLE_VALUE) // as a handle it would mean this process
        return;
    if (WaitForSingleObject(m_record->m_handle, milliseconds) != WAIT_TIMEOUT)
        Forget();
}

unsigned long GMThread::GetCurrentThreadID() { return GetCurrentThreadId(); }

void GMThread::Sleep(unsigned int milliseconds) { ::Sleep(milliseconds); }

void GMThread::yield() { ::Sleep(0); }

void GMThread::Exit(unsigned int code) { _endthreadex(code); }

} // namespace Velmora
