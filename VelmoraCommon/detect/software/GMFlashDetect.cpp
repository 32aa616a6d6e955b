#include "VelmoraCommon/detect/software/GMFlashDetect.h"

#include "VelmoraCommon/detect/software/internal/Components.h"

namespace Velmora
{

namespace
{

constexpr PlugIn flash = {
    L"ShockwaveFlash.ShockwaveFlash",
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Adobe Flash Player ActiveX",
    L"CLSID\\{D27CDB6E-AE6D-11cf-96B8-444553540000}\\InprocServer32",
    L"Adobe Flash Player %d ActiveX",
};

} // namespace

GMFlashDetect::GMFlashDetect() : m_installed(false) {}

void GMFlashDetect::Detect() { DetectPlugIn(flash, m_installed, m_versionName, m_version); }

bool GMFlashDetect::IsInstalled() const { return m_installed; }

GMSoftVersion const & GMFlashDetect::GetVersion() const { return m_version; }

GMString GMFlashDetect::GetVersionName() const { return m_versionName; }

} // namespace Velmora
