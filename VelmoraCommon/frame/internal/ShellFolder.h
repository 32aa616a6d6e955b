#pragma once

#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Path of a special folder by its `CSIDL_` number; it isn't made if it is missing.
/// \return at most 259 units; empty on failure
GMString SpecialFolderPath(int folder);

} // namespace Velmora
