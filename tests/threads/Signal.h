#pragma once

#include <cstdint>
#include <functional>

#include "VelmoraCommon/threads/GMBaseEvent.h"
#include "VelmoraCommon/threads/GMThreadEnable.h"

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

/// Stands for _beginthreadex when the system gives no thread.
inline std::uintptr_t __cdecl NoThread(void *, unsigned, unsigned(__stdcall *)(void *), void *,
                                       unsigned, unsigned *)
{
    return 0;
}

/// Whether another thread can lock \p mutex.
template <class Mutex>
bool IsFree(Mutex & mutex)
{
    bool locked = false;
    Background(
        [&]
        {
            locked = mutex.TryLock();
            if (locked)
                mutex.UnLock();
        });
    return locked;
}

} // namespace Velmora::Testing
