#include "VelmoraCommon/threads/GMRWLock.h"

#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

GMRWLock::GMRWLock() : m_noReaders(CreateEventW(nullptr, TRUE, TRUE, nullptr)), m_readers(0)
{
    InitializeCriticalSection(&m_countSection);
    InitializeCriticalSection(&m_writeSection);
}

GMRWLock::~GMRWLock()
{
    LastErrorKeeper const keeper;
    WaitForSingleObject(m_noReaders, INFINITE);
    EnterCriticalSection(&m_countSection); // the last reader signals before it has left for good
    LeaveCriticalSection(&m_countSection);
    CloseHandle(m_noReaders);
    DeleteCriticalSection(&m_countSection);
    DeleteCriticalSection(&m_writeSection);
}

void GMRWLock::ReadLock()
{
    EnterCriticalSection(&m_writeSection);
    EnterCriticalSection(&m_countSection);
    if (++m_readers == 1)
        ResetEvent(m_noReaders);
    LeaveCriticalSection(&m_countSection);
    LeaveCriticalSection(&m_writeSection);
}

void GMRWLock::ReadUnLock()
{
    EnterCriticalSection(&m_countSection);
    if (--m_readers == 0)
        SetEvent(m_noReaders);
    LeaveCriticalSection(&m_countSection);
}

void GMRWLock::WriteLock()
{
    EnterCriticalSection(&m_writeSection);
    WaitForSingleObject(m_noReaders, INFINITE);
}

void GMRWLock::WriteUnLock() { LeaveCriticalSection(&m_writeSection); }

} // namespace Velmora
