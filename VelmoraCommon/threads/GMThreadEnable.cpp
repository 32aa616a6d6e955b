#include "VelmoraCommon/threads/GMThreadEnable.h"

#include <memory>

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

GMThreadEnable::GMThreadEnable() : m_thread(nullptr) {}

GMThreadEnable::~GMThreadEnable()
{
    Join();
    delete m_thread;
}

bool GMThreadEnable::Start()
{
    if (IsRunning())
        return false;
    auto thread = std::make_unique<GMThread>(&WorkFunc, this);
    delete m_thread;
    m_thread = thread.release();
    return m_thread->Start();
}

bool GMThreadEnable::IsRunning() const { return m_thread != nullptr && m_thread->IsRunning(); }

void GMThreadEnable::Join() { TimeJoin(INFINITE); }

void GMThreadEnable::TimeJoin(unsigned int milliseconds)
{
    if (m_thread != nullptr)
        m_thread->TimeJoin(milliseconds);
}

void GMThreadEnable::WorkFunc(void * self)
{
    if (self != nullptr)
        static_cast<GMThreadEnable *>(self)->DoWork();
}

} // namespace Velmora
