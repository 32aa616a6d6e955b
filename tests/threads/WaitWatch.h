#pragma once

#include <atomic>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "tests/support/ImportHook.h"
#include "tests/threads/Signal.h"

namespace Velmora::Testing
{

/// Tells when a thread is about to wait inside the library. One at a time, and made before the
/// threads of the test.
class WaitWatch
{
public:
    WaitWatch() { s_reached = &m_reached; }

    /// On the thread to watch: the next wait is the one.
    void Begin() { s_thread = GetCurrentThreadId(); }

    bool Comes() { return m_reached.Comes(); }

private:
    static DWORD WINAPI Wait(HANDLE object, DWORD milliseconds)
    {
        if (GetCurrentThreadId() == s_thread)
        {
            s_thread = 0;
            s_reached->Give();
        }
        return s_wait(object, milliseconds);
    }

    static inline decltype(&WaitForSingleObject) s_wait;
    static inline std::atomic<DWORD> s_thread = 0;
    static inline Signal * s_reached;

    Signal m_reached;
    ImportHook m_hook{"WaitForSingleObject", &Wait, s_wait};
};

} // namespace Velmora::Testing
