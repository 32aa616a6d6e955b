#pragma once

#include <cstddef>

namespace Velmora
{

// UTF-8 without the system, for the texts that are nearly all of them: valid ones. What isn't valid
// is left to the system, which alone decides what becomes of it.

/// How far a conversion came.
struct Utf8Progress
{
    std::size_t read;    // elements of the source
    std::size_t written; // elements of the target
    bool isWhole;        // up to the source's end or its first NUL, which isn't written
};

// Both write \p room elements at most, which are to be as many as the functions below count; what is
// behind those written is of no use.

/// Converts up to the first sequence that isn't valid.
Utf8Progress DecodeUtf8(char const * bytes, std::size_t length, wchar_t * units,
                        std::size_t room) noexcept;

/// Converts up to the first surrogate that stands alone.
Utf8Progress EncodeUtf8(wchar_t const * units, std::size_t length, char * bytes,
                        std::size_t room) noexcept;

/// The elements in front of the first NUL; \p length if there is none.
std::size_t LengthToNul(char const * bytes, std::size_t length) noexcept;
std::size_t LengthToNul(wchar_t const * units, std::size_t length) noexcept;

/// The units of a valid text, NULs included; for others at least those of its valid beginning, and
/// never more than two for each byte.
std::size_t CountUtf16Units(char const * bytes, std::size_t length) noexcept;

/// The bytes of a valid text, NULs included; for others at least those of its valid beginning.
std::size_t CountUtf8Bytes(wchar_t const * units, std::size_t length) noexcept;

} // namespace Velmora
