#pragma once

namespace Velmora
{

/// The units that parsers of simple texts trim.
constexpr wchar_t whiteSpace[] = L" \r\t\n";

} // namespace Velmora
