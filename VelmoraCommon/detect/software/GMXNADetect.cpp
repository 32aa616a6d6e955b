#include "VelmoraCommon/detect/software/GMXNADetect.h"

#include "VelmoraCommon/detect/software/internal/FileVersion.h"
#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/registry/GMRegFile.h"

namespace Velmora
{

namespace
{

struct FrameworkRow
{
    unsigned int bit;
    wchar_t const * key;
    wchar_t const * library;
};
constexpr FrameworkRow frameworks[] = {
    {1, L"SOFTWARE\\Microsoft\\XNA\\Framework\\v1.0", L"XnaNative1.dll"},
    {2, L"SOFTWARE\\Microsoft\\XNA\\Framework\\v2.0", L"XnaNative2.dll"},
    {4, L"SOFTWARE\\Microsoft\\XNA\\Framework\\v3.0", L"XnaNative.dll"},
    {8, L"SOFTWARE\\Microsoft\\XNA\\Framework\\v3.1", L"XnaNative.dll"},
    {16, L"SOFTWARE\\Microsoft\\XNA\\Framework\\v4.0", L"XnaNative.dll"},
};

} // namespace

GMXNADetect::GMXNADetect() : m_versions(0) {}

void GMXNADetect::Detect()
{
    m_versions = 0;
    for (FrameworkRow const & row : frameworks)
    {
        GMString key = row.key;
        GMString library = row.library;
        GMSoftVersion version;
        if (CheckXNA(key.data(), library.data(), version))
            m_versions |= row.bit;
    }
}

unsigned int GMXNADetect::GetXNAVersion() const { return m_versions; }

bool GMXNADetect::CheckXNA(wchar_t * key, wchar_t * library, GMSoftVersion & version)
{
    GMRegFile file;
    GMString directory;
    if (!file.OpenKey(HKEY_LOCAL_MACHINE, key, KEY_QUERY_VALUE, false) ||
        !file.GetValue(L"NativeLibraryPath", directory))
        return false;
    GMString const path = GMFileName::JoinFileName(directory, library);
    if (!GMFilePathUtils::IsExistsFile(path))
        return false;
    GMString text;
    return (file.GetValue(L"ProductVersion", text) && ParseVersionText(text, version)) ||
           ReadFileProductVersion(path.c_str(), version);
}

} // namespace Velmora
