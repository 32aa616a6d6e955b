#include "VelmoraCommon/shell/GMShellUtils.h"

#include "VelmoraCommon/frame/internal/EnvironmentText.h"
#include "VelmoraCommon/frame/internal/SpecialFolder.h"

namespace Velmora
{

GMString GMShellUtils::GetEnvironmentRealPath(GMString const & path)
{
    return ExpandEnvironmentText(path);
}

GMString GMShellUtils::GetSpecialFolderPath(int folder) { return SpecialFolderPath(folder); }

} // namespace Velmora
