#pragma once

#include <string>

namespace Velmora
{

/// The library's text type: UTF-16. Every length, index and count in the library's text operations
/// is in 16-bit units; a character outside the Basic Multilingual Plane counts as two.
using GMString = std::wstring;

/// Bytes in some multi-byte encoding; the operation at hand says which.
using GMStringA = std::string;

/// The same type as GMString.
using GMStringW = std::wstring;

static_assert(sizeof(GMString::value_type) == 2, "texts are made of UTF-16 units");

} // namespace Velmora
