#pragma once

#include <cstddef>
#include <cstring>
#include <string>

namespace Velmora
{

// Looking at several elements of a text at once, in a machine word.

using Word = std::size_t;

/// The elements of type \p Unit in a word.
template <class Unit>
constexpr std::size_t wordUnits = sizeof(Word) / sizeof(Unit);

/// The number 1 in each element of a word.
template <class Unit>
constexpr Word eachUnit = ~Word(0) / ((Word(1) << 8 * sizeof(Unit)) - 1);

inline Word LoadWord(void const * from) noexcept
{
    Word word;
    std::memcpy(&word, from, sizeof(word));
    return word;
}

/// The units of \p text in front of its first NUL; \p length if it has none.
template <class Unit>
std::size_t LengthToNul(Unit const * text, std::size_t length) noexcept
{
    Unit const * const nul = std::char_traits<Unit>::find(text, length, Unit());
    return nul == nullptr ? length : static_cast<std::size_t>(nul - text);
}

} // namespace Velmora
