#include "VelmoraCommon/threads/GMMutex.h"

namespace Velmora
{

GMMutex::GMMutex() : m_section(new CRITICAL_SECTION) { InitializeCriticalSection(m_section); }

GMMutex::~GMMutex()
{
    DeleteCriticalSection(m_section);
    delete m_section;
}

void GMMutex::Lock() const { EnterCriticalSection(m_section); }

bool GMMutex::TryLock() const { return TryEnterCriticalSection(m_section) != FALSE; }

void GMMutex::UnLock() const { LeaveCriticalSection(m_section); }

} // namespace Velmora
