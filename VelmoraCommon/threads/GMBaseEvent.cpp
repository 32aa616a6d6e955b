#include "VelmoraCommon/threads/GMBaseEvent.h"

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

GMBaseEvent::GMBaseEvent() : m_handle(nullptr) {}

GMBaseEvent::~GMBaseEvent()
{
    LastErrorKeeper const keeper;
    Close();
}

unsigned long GMBaseEvent::Create(bool manualReset, bool initialState, wchar_t const * name,
                                  _SECURITY_ATTRIBUTES * security)
{
    return Take(CreateEventW(security, manualReset, initialState, name), name);
}

unsigned long GMBaseEvent::Open(unsigned long access, bool inherit, wchar_t const * name)
{
    return Take(OpenEventW(access, inherit, name), name);
}

unsigned long GMBaseEvent::Take(void * handle, wchar_t const * name)
{
    if (handle == nullptr)
        return GetLastError();

    LastErrorKeeper const keeper; // it tells whether the name existed
    Close(); // after the new one is there: both may be handles of one named event
    m_handle = handle;
    m_name = name == nullptr ? L"" : name;
    return ERROR_SUCCESS;
}

bool GMBaseEvent::IsCreated() { return m_handle != nullptr; }

wchar_t const * GMBaseEvent::Name() { return m_name.c_str(); }

unsigned long GMBaseEvent::Set() { return SetEvent(m_handle) ? ERROR_SUCCESS : GetLastError(); }

unsigned long GMBaseEvent::Reset() { return ResetEvent(m_handle) ? ERROR_SUCCESS : GetLastError(); }

unsigned long GMBaseEvent::Lock() { return TimeLock(INFINITE); }

unsigned long GMBaseEvent::TimeLock(unsigned int milliseconds)
{
    return WaitForSingleObject(m_handle, milliseconds);
}

unsigned long GMBaseEvent::Close()
{
    if (m_handle == nullptr)
        return ERROR_SUCCESS;
    if (!CloseHandle(m_handle))
        return GetLastError();
    m_handle = nullptr;
    return ERROR_SUCCESS;
}

GMBaseEvent::operator void *() const { return m_handle; }

} // namespace Velmora
