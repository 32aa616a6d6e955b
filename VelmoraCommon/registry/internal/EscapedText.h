#pragma once

#include <string_view>

#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

// The two escapes inside the quotes of `.reg` text. The library writes a quote as `\\"` and a
// backslash as `\\`; the system's own editor writes `\"` and `\\`. Reading takes both forms.

/// Appends \p plain with its quotes and backslashes escaped.
void AppendEscaped(GMString & text, std::wstring_view plain);

/// Turns every `\\` into one backslash, and in what that gives every `\"` into a quote.
void Unescape(GMString & text);

} // namespace Velmora
