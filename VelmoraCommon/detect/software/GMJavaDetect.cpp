#include "VelmoraCommon/detect/software/GMJavaDetect.h"

#include "VelmoraCommon/detect/software/internal/FileVersion.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/registry/GMRegFile.h"

namespace Velmora
{

GMJavaDetect::GMJavaDetect() : m_installed(false) {}

void GMJavaDetect::Detect(bool view64)
{
    REGSAM const access = KEY_QUERY_VALUE | (view64 ? KEY_WOW64_64KEY : 0);
    GMString const runtimes = L"SOFTWARE\\JavaSoft\\Java Runtime Environment";
    GMRegFile key;
    GMString current;
    GMString text;
    if (!key.OpenKey(HKEY_LOCAL_MACHINE, runtimes, access, false) ||
        !key.GetValue(L"CurrentVersion", current) || !ParseVersionText(current, m_version) ||
        !key.OpenKey(HKEY_LOCAL_MACHINE, runtimes + L"\\" + current, access, false) ||
        !key.GetValue(L"JavaHome", text))
        return;
    m_home = text;
    if (!m_home.empty() && key.GetValue(L"RuntimeLib", text) && !text.empty())
        m_installed = GMFilePathUtils::IsExistsFile(text);
}

bool GMJavaDetect::IsInstalled() const { return m_installed && m_version.major > 0; }

void GMJavaDetect::GetJavaVersion(GMSoftVersion & version) { version = m_version; }

void GMJavaDetect::GetJavaHome(GMString & home) { home = m_home; }

} // namespace Velmora
