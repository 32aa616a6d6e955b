#pragma once

#include <utility>

#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// The units that separate the levels of a path.
constexpr wchar_t pathDelimiters[] = L"\\/";

/// \p path without the quotes around it.
inline GMString Unquoted(GMString const & path)
{
    bool const isQuoted = path.size() >= 2 && path.front() == L'"' && path.back() == L'"';
    return isQuoted ? path.substr(1, path.size() - 2) : path;
}

/// \p path without any delimiters at its end.
inline GMString WithoutEndDelimiter(GMString path)
{
    path.erase(path.find_last_not_of(pathDelimiters) + 1); // none found: npos + 1 is 0
    return path;
}

/// \p path with one `\` at its end, so that names can be put behind it; an empty one stays empty
/// and stands for the current directory.
inline GMString WithEndDelimiter(GMString path)
{
    path = WithoutEndDelimiter(std::move(path));
    if (!path.empty())
        path += L'\\';
    return path;
}

} // namespace Velmora
