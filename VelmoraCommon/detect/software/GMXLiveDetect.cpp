#include "VelmoraCommon/detect/software/GMXLiveDetect.h"

#include "VelmoraCommon/detect/software/internal/LibraryLoad.h"

namespace Velmora
{

GMXLiveDetect::GMXLiveDetect() : m_isLoadable(false) {}

void GMXLiveDetect::Detect() { DetectLibrary(L"Xlive.dll", m_version, m_isLoadable); }

bool GMXLiveDetect::IsInstalled() const { return m_isLoadable && m_version.major >= 1; }

} // namespace Velmora
