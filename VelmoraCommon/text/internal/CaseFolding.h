#pragma once

#include <algorithm>
#include <cwctype>

#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

// Ways to fold one unit. The C library's answer depends on the locale above U+007F only, as the
// system maps ASCII letters alike in all of them; so those are done here, without a call.

struct ToLower
{
    wchar_t operator()(wchar_t c) const noexcept
    {
        if (c > 0x7F)
            return static_cast<wchar_t>(std::towlower(c));
        return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + (L'a' - L'A')) : c;
    }
};

struct ToUpper
{
    wchar_t operator()(wchar_t c) const noexcept
    {
        if (c > 0x7F)
            return static_cast<wchar_t>(std::towupper(c));
        return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - (L'a' - L'A')) : c;
    }
};

inline GMString Lowered(GMString text)
{
    std::transform(text.begin(), text.end(), text.begin(), ToLower());
    return text;
}

/// Whether the units from \p text on, which are enough, fold to \p lowered.
inline bool FoldsTo(wchar_t const * text, GMString const & lowered)
{
    return std::equal(lowered.begin(), lowered.end(), text,
                      [](wchar_t a, wchar_t b) { return a == ToLower()(b); });
}

} // namespace Velmora
