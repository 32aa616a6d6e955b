#pragma once

#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Whether \p link leads to a directory above itself, by whatever name or way. A walk that follows
/// links but these ends: in a path without end some directory would come twice, the second time by
/// a link to what is above it.
///
/// \p link is a path without delimiter at its end. Opens the link and each directory above it, so
/// ask for entries that are known to be links only.
bool LeadsUpward(GMString const & link);

} // namespace Velmora
