#include "VelmoraCommon/threads/GMSemaphore.h"

#include <utility>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

GMSemaphore::GMSemaphore() : m_handle(nullptr) {}

GMSemaphore::~GMSemaphore() { Close(); }

bool GMSemaphore::Create(unsigned int initial, unsigned int maximum)
{
    // Counts above LONG_MAX turn negative here, which the system refuses.
    HANDLE const created =
        CreateSemaphoreW(nullptr, static_cast<LONG>(initial), static_cast<LONG>(maximum), nullptr);
    if (created == nullptr)
        return false;
    Close();
    m_handle = created;
    return true;
}

bool GMSemaphore::Lock() { return WaitForSingleObject(m_handle, INFINITE) == WAIT_OBJECT_0; }

bool GMSemaphore::Release() { return Release(1); }

bool GMSemaphore::Release(unsigned int count)
{
    return ReleaseSemaphore(m_handle, static_cast<LONG>(count), nullptr) != FALSE;
}

bool GMSemaphore::Close()
{
    LastErrorKeeper const keeper;
    if (m_handle != nullptr)
        CloseHandle(std::exchange(m_handle, nullptr));
    return true;
}

GMSemaphore::operator void *() const { return m_handle; }

} // namespace Velmora
