#pragma once

#include "VelmoraCommon/detect/software/GMSoftVersion.h"

namespace Velmora
{

/// Whether the library \p path can be loaded here and exports \p procName; null asks for no export.
/// Meanwhile no dialog tells of a missing disk; the error mode of the process is 0 afterwards.
bool CanLoadLibrary(wchar_t const * path, char const * procName);

/// How the runtimes that are one library are found: the product version of \p library, which the
/// system looks for. \p isLoadable stays as it was if there is none.
void DetectLibrary(wchar_t const * library, GMSoftVersion & version, bool & isLoadable);

} // namespace Velmora
