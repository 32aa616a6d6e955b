#include "VelmoraCommon/threads/GMRecursiveMutex.h"

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

GMRecursiveMutex::GMRecursiveMutex(wchar_t const * name) : m_handle(new HANDLE(nullptr))
{
    *m_handle = CreateMutexW(nullptr, FALSE, name);
}

GMRecursiveMutex::~GMRecursiveMutex()
{
    LastErrorKeeper const keeper;
    if (IsOpen())
        CloseHandle(*m_handle);
    delete m_handle;
}

bool GMRecursiveMutex::IsOpen() const { return *m_handle != nullptr; }

void GMRecursiveMutex::Lock()
{
    if (IsOpen())
        WaitForSingleObject(*m_handle, INFINITE);
}

bool GMRecursiveMutex::TryLock()
{
    if (!IsOpen())
        return false;
    DWORD const result = WaitForSingleObject(*m_handle, 0);
    // The wait has taken the abandoned mutex; a caller who is told false won't give it back.
    if (result == WAIT_ABANDONED)
        ReleaseMutex(*m_handle);
    return result == WAIT_OBJECT_0;
}

void GMRecursiveMutex::UnLock()
{
    if (IsOpen())
        ReleaseMutex(*m_handle);
}

} // namespace Velmora
