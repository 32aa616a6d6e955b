#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// The shell and the desktop: special folders and the environment in paths.
class VELMORA_API GMShellUtils
{
public:
    /// \p path with its references to environment variables (`%NAME%`) expanded; \p path itself
    /// when it holds no "%" or the system fails.
    static GMString GetEnvironmentRealPath(GMString const & path);

    /// Path of a special folder by its `CSIDL_` number; it isn't made if it is missing.
    /// \return at most 259 units; empty on failure
    static GMString GetSpecialFolderPath(int folder);
};

} // namespace Velmora
