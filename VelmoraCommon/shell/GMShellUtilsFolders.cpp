#include "VelmoraCommon/shell/GMShellUtils.h"

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/frame/internal/EnvironmentText.h"
#include "VelmoraCommon/frame/internal/SystemText.h"

#include <shlobj.h>

namespace Velmora
{

GMString GMShellUtils::GetEnvironmentRealPath(GMString const & path)
{
    return ExpandEnvironmentText(path);
}

GMString GMShellUtils::GetSpecialFolderPath(int folder)
{
    return ReadFixedSystemText<MAX_PATH>(
        [folder](wchar_t * buffer)
        { return SHGetSpecialFolderPathW(nullptr, buffer, folder, FALSE) != FALSE; });
}

} // namespace Velmora
