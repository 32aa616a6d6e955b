#include "VelmoraCommon/detect/software/GMUnityPlayerDetect.h"

#include "VelmoraCommon/detect/software/internal/Components.h"

namespace Velmora
{

namespace
{

constexpr PlugIn unityPlayer = {
    L"UnityWebPlayer.UnityWebPlayer",
    nullptr,
    L"CLSID\\{444785F1-DE89-4295-863A-D46C3A781394}\\InprocServer32",
    L"Unity Player %d",
};

} // namespace

GMUnityPlayerDetect::GMUnityPlayerDetect() : m_installed(false) {}

void GMUnityPlayerDetect::Detect()
{
    DetectPlugIn(unityPlayer, m_installed, m_versionName, m_version);
}

bool GMUnityPlayerDetect::IsInstalled() const { return m_installed; }

GMSoftVersion const & GMUnityPlayerDetect::GetVersion() const { return m_version; }

GMString GMUnityPlayerDetect::GetVersionName() const { return m_versionName; }

} // namespace Velmora
