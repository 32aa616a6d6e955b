#pragma once

#include <string_view>

#include "VelmoraCommon/registry/GMRegValue.h"

namespace Velmora
{

/// GMRegValue::ParseValue for data text that stands inside a larger text, so that no copy of it is
/// made.
bool ParseValueText(GMRegValue & value, std::wstring_view text);

} // namespace Velmora
