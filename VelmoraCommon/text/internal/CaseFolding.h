#pragma once

#include <cwctype>

namespace Velmora
{

// Ways to fold one unit. The C library's answer depends on the locale above U+007F only, as the
// system maps ASCII letters alike in all of them; so those are done here, without a call.

struct KeepCase
{
    wchar_t operator()(wchar_t c) const noexcept { return c; }
};

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

} // namespace Velmora
