#include "VelmoraCommon/detect/software/internal/SystemFolders.h"

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/frame/internal/SystemText.h"
#include "VelmoraCommon/frame/internal/Wow64.h"

#include <shlobj.h>

namespace Velmora
{

GMString FolderPath(int folder, wchar_t const * below)
{
    GMString path = ReadFixedSystemText<MAX_PATH>(
        [folder](wchar_t * buffer)
        { return SUCCEEDED(SHGetFolderPathW(nullptr, folder, nullptr, 0, buffer)); });
    return path.empty() ? path : path.append(below);
}

GMString LibraryFolder()
{
    return FolderPath(CSIDL_WINDOWS, RunsUnderWow64() ? L"\\SysWOW64" : L"\\system32");
}

} // namespace Velmora
