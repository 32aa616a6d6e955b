#pragma once

#include <atomic>
#include <functional>
#include <utility>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/threads/GMBaseEvent.h"
#include "VelmoraCommon/threads/GMThreadEnable.h"
#include "tests/support/ImportHook.h"

namespace Velmora::Testing
{

/// Something that a test waits for. Once there it stays.
class Signal
{
public:
    Signal() { m_event.Create(true, false, nullptr, nullptr); }
    void Give() { m_event.Set(); }

    /// Waits; false only when something hangs.
    bool Comes() { return m_event.TimeLock(60000) == 0; }

    /// Gives something that mustn't happen a moment to happen. Never wrong about good code.
    bool StaysOut() { return m_event.TimeLock(30) != 0; }

private:
    GMBaseEvent m_event;
};

/// Runs a function on a thread; joins at the end of the scope.
class Background : private GMThreadEnable
{
public:
    explicit Background(std::function<void()> work) : m_work(std::move(work)) { Start(); }
    ~Background() override { Join(); }

    bool Ends() { return m_ended.Comes(); }
    bool IsStuck() { return m_ended.StaysOut(); }

private:
    void DoWork() override
    {
        m_work();
        m_ended.Give();
    }

    std::function<void()> m_work;
    Signal m_ended;
};

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
