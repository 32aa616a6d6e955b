#pragma once

#include "VelmoraCommon/files/GMFileName.h"

namespace Velmora
{

/// The units that separate the levels of a path.
constexpr wchar_t pathDelimiters[] = L"\\/";

/// \p path as GMFileName::NormalizePath makes it.
inline GMString Normalized(GMString path, unsigned int flags)
{
    GMFileName::NormalizePath(path, flags);
    return path;
}

} // namespace Velmora
