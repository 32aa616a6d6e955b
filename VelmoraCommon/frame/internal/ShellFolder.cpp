#include "VelmoraCommon/frame/internal/ShellFolder.h"

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/frame/internal/SystemText.h"

#include <shlobj.h>

namespace Velmora
{

GMString SpecialFolderPath(int folder)
{
    return ReadFixedSystemText<MAX_PATH>(
        [folder](wchar_t * buffer)
        { return SHGetSpecialFolderPathW(nullptr, buffer, folder, FALSE) != FALSE; });
}

} // namespace Velmora
