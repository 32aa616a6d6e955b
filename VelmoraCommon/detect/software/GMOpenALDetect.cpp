#include "VelmoraCommon/detect/software/GMOpenALDetect.h"

#include "VelmoraCommon/detect/software/internal/LibraryLoad.h"

namespace Velmora
{

GMOpenALDetect::GMOpenALDetect() : m_isLoadable(false) {}

void GMOpenALDetect::Detect() { DetectLibrary(L"OpenAL32.dll", m_version, m_isLoadable); }

bool GMOpenALDetect::IsInstalled() const { return m_isLoadable && m_version.major >= 1; }

} // namespace Velmora
