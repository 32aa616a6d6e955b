#include "VelmoraCommon/threads/GMMutex.h"

namespace Velmora
{

GMMutex::GMMutex() : m_section(new CRITICAL_SECTION) { InitializeCriticalSection(m_section); }

GMMutex::~GMMutex()
{
    DeleteCriticalSection(m_section);
    delete m_section;
}

} // namespace Velmora
