#pragma once

#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// The execution level that a manifest asks for: 1 for that of the caller, 2 the highest the user can
/// have, 3 an administrator's; 0 for none.

/// Of the first manifest among the resources of \p module that asks for one. A value that is the begin
/// of a level's name counts as that level, an empty one as 1.
unsigned int ManifestLevel(HMODULE module);

/// Of the text of a manifest, where only a level's whole name counts.
unsigned int ManifestLevel(GMString const & manifest);

constexpr unsigned int administratorLevel = 3;

} // namespace Velmora
