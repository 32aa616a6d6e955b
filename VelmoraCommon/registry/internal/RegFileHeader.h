#pragma once

#include <string_view>

namespace Velmora
{

// The first line of `.reg` text, which tells its version. The system's registry editor checks it
// just as strictly.
constexpr std::wstring_view regedit4Header = L"REGEDIT4";
constexpr std::wstring_view version5Header = L"Windows Registry Editor Version 5.00";

} // namespace Velmora
