#pragma once

#include <string>

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora::Testing
{

/// A whole registry tree as text, to compare trees with EXPECT_EQ: a line a key with its path below
/// the start, a line a value with name, type and data in hexadecimal, in the order of the names.
/// "(missing)" for a key that isn't there. Names are shown in UTF-8.
std::string RegistrySnapshot(HKEY root, std::wstring const & path, REGSAM view = 0);

} // namespace Velmora::Testing
