#include "VelmoraCommon/threads/GMFuncTaskList.h"

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/threads/GMMutexLock.h"

namespace Velmora
{

GMFuncTaskList::GMFuncTaskList(unsigned int threadCount) : GMTaskList(threadCount) {}

GMFuncTaskList::~GMFuncTaskList() { CloseTaskThread(INFINITE); }

void GMFuncTaskList::AddFunc(void (*func)(void *), void * param)
{
    if (func == nullptr)
        return;
    {
        GMMutexLock const lock(&m_mutex);
        m_funcs.emplace_back(func, param);
    }
    AddOneWork(); // without the mutex, which each worker needs, also one that has to end first
}

void GMFuncTaskList::DoOneWork()
{
    GMMutexLock lock(&m_mutex);
    if (m_funcs.empty())
        return;
    auto const [func, param] = m_funcs.front();
    m_funcs.pop_front();
    lock.Detach(); // the function may add calls, and may take long
    func(param);
}

} // namespace Velmora
