#pragma once

#include "VelmoraCommon/frame/GMString.h"

namespace Tools
{

/// \p path without the prefix that lifts the limit of its length.
Velmora::GMString Shown(Velmora::GMString const & path);

/// The path of an existing directory without links, in the form that has no limit of length, and
/// without `\` at its end. Empty, with the reason as last error, if there is none.
Velmora::GMString FinalPath(Velmora::GMString const & directory);

/// The same for a path of which only the upper directories need exist. \throws Failure
Velmora::GMString RealPath(Velmora::GMString const & path);

/// Whether \p path is \p directory or lies below it; both are real paths.
bool IsWithin(Velmora::GMString const & path, Velmora::GMString const & directory);

/// Whether the real path \p path is a directory. `\\?\Q:` without `\` would be the device.
bool IsRealDirectory(Velmora::GMString const & path);

} // namespace Tools
