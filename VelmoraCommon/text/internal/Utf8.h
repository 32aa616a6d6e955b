#pragma once

#include <cstddef>

namespace Velmora
{

// UTF-8 without the system, for the texts that are nearly all of them: valid ones. What isn't valid
// is left to the system, which alone decides what becomes of it.

/// How far a conversion came: to the source's end, to its first NUL, or to what isn't valid.
struct Utf8Progress
{
    std::size_t read;    // elements of the source
    std::size_t written; // elements of the target
};

/// The most that an element of the source makes.
constexpr std::size_t mostUnitsOfByte = 1;
constexpr std::size_t mostBytesOfUnit = 3;

/// Converts up to the first sequence that isn't valid. \p units has room for \p length units, and
/// what is behind those written is of no use.
Utf8Progress ConvertUtf8(char const * bytes, std::size_t length, wchar_t * units) noexcept;

/// Converts up to the first surrogate that stands alone. \p bytes has room for three bytes a unit and
/// one more, and what is behind those written is of no use.
Utf8Progress ConvertUtf8(wchar_t const * units, std::size_t length, char * bytes) noexcept;

/// The elements in front of the first NUL; \p length if there is none.
std::size_t LengthToNul(char const * bytes, std::size_t length) noexcept;
std::size_t LengthToNul(wchar_t const * units, std::size_t length) noexcept;

} // namespace Velmora
