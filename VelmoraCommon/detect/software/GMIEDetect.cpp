#include "VelmoraCommon/detect/software/GMIEDetect.h"

#include "VelmoraCommon/detect/software/internal/FileVersion.h"
#include "VelmoraCommon/registry/GMRegFile.h"

namespace Velmora
{

GMIEDetect::GMIEDetect() : m_installed(false) {}

void GMIEDetect::Detect()
{
    GMRegFile key;
    if (!key.OpenKey(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Internet Explorer", KEY_QUERY_VALUE,
                     false))
    {
        m_installed = false;
        return;
    }
    // From 10 on `Version` begins with 9, for programs that look no further than the first digit.
    GMString text;
    if (!key.GetValue(L"svcVersion", text) && !key.GetValue(L"Version", text))
        return;
    m_versionName = text;
    m_version.FormatVersion(text);
    m_installed = true;
}

bool GMIEDetect::IsDetected() const { return m_installed; }

GMSoftVersion const & GMIEDetect::GetVersion() const { return m_version; }

GMString GMIEDetect::GetVersionName() const { return m_versionName; }

bool GMIEDetect::GetIEPrimaryVersion(unsigned long & major)
{
    VersionBlock const block(L"mshtml.dll");
    if (!block.IsAllocated())
        return false;
    auto const * const fixed =
        static_cast<VS_FIXEDFILEINFO const *>(block.Query(L"\\", sizeof(VS_FIXEDFILEINFO)));
    major = fixed != nullptr ? HIWORD(fixed->dwFileVersionMS) : 0;
    return fixed != nullptr;
}

} // namespace Velmora
