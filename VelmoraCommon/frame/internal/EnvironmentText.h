#pragma once

#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// \p text with its references to environment variables (`%NAME%`) expanded; \p text itself when it
/// holds no "%" or the system fails.
GMString ExpandEnvironmentText(GMString const & text);

} // namespace Velmora
