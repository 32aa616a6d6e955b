#pragma once

#include <deque>
#include <utility>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/threads/GMMutex.h"
#include "VelmoraCommon/threads/GMTaskList.h"

namespace Velmora
{

/// A queue of function calls that worker threads do.
///
/// The calls start in the order in which they were added; with one worker each ends before the next
/// starts. What GMTaskList says of closing, of more than 64 waiting calls and of exceptions holds
/// here. Destroying the list drops calls that haven't begun, so wait for those that matter: each gives
/// back a place of a GMSemaphore of at most 64, which its AddFunc has taken, and who holds all places
/// again knows that all is done.
class VELMORA_API GMFuncTaskList : public GMTaskList
{
public:
    /// Starts no thread yet.
    explicit GMFuncTaskList(unsigned int threadCount = 1);

    /// Closes without limit of time and drops the calls that wait.
    ~GMFuncTaskList() override;

    /// Has \p func called with \p param on a worker. May be called from any thread, from the
    /// functions that the list calls too, but not while the list is being closed. What \p param
    /// points to stays the caller's; a null \p func is ignored.
    ///
    /// If the system gives no worker thread, the call waits in the queue, and the next AddFunc tries
    /// again. If there is no memory for the call itself, nothing is added.
    /// \throws std::bad_alloc
    void AddFunc(void (*func)(void *), void * param);

protected:
    void DoOneWork() override;

private:
    GMMutex m_mutex;                                         // guards the queue
    std::deque<std::pair<void (*)(void *), void *>> m_funcs; // oldest in front
};

} // namespace Velmora
