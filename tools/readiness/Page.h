#pragma once

#include "tools/readiness/Readiness.h"

namespace Tools
{

/// What was found as one page for a player: Chinese and English, for light and dark, wide and narrow
/// screens, without outside parts.
Velmora::GMString MakePage(Readiness const & readiness);

} // namespace Tools
