#include "VelmoraCommon/shell/GMShellUtils.h"

#include "VelmoraCommon/frame/internal/SpecialFolder.h"

namespace Velmora
{

GMString GMShellUtils::GetSpecialFolderPath(int folder) { return SpecialFolderPath(folder); }

} // namespace Velmora
