#include "VelmoraCommon/text/internal/Utf8.h"

#include <algorithm>
#include <cstring>

#include "VelmoraCommon/text/internal/Words.h"

namespace Velmora
{

namespace
{

/// Whether all bytes, or all units, lie in 01 to 7F.
template <class Unit>
bool IsAsciiText(Word word) noexcept
{
    // Where no element is above 7F, taking 1 from each turns on the top bit of a 0 alone.
    constexpr Word aboveAscii = ~Word(0) - eachUnit<Unit> * 0x7F;
    return ((word | (word - eachUnit<Unit>)) & aboveAscii) == 0;
}

bool IsContinuation(unsigned char byte) noexcept { return (byte & 0xC0) == 0x80; }

bool IsSurrogate(unsigned int unit) noexcept { return (unit & 0xF800) == 0xD800; }

bool IsHighSurrogate(unsigned int unit) noexcept { return (unit & 0xFC00) == 0xD800; }

bool IsLowSurrogate(unsigned int unit) noexcept { return (unit & 0xFC00) == 0xDC00; }

} // namespace

Utf8Progress DecodeUtf8(char const * bytes, std::size_t length, wchar_t * units) noexcept
{
    auto const * const begin = reinterpret_cast<unsigned char const *>(bytes);
    auto const * const end = begin + length;
    auto const * from = begin;
    wchar_t * to = units;
    auto const progress = [&](bool isWhole)
    {
        return Utf8Progress{static_cast<std::size_t>(from - begin),
                            static_cast<std::size_t>(to - units), isWhole};
    };

    while (from != end)
    {
        unsigned int const lead = *from;
        auto const left = static_cast<std::size_t>(end - from);
        if (lead < 0x80)
        {
            if (left >= sizeof(Word) && IsAsciiText<char>(LoadWord(from)))
            {
                for (std::size_t i = 0; i < sizeof(Word); ++i)
                    to[i] = from[i];
                from += sizeof(Word);
                to += sizeof(Word);
                continue;
            }
            if (lead == 0)
                return progress(true);
            *to++ = static_cast<wchar_t>(lead);
            ++from;
        }
        else if (lead < 0xE0)
        {
            // C0 and C1 would only lengthen ASCII; 80 to BF can't come first.
            if (lead < 0xC2 || left < 2 || !IsContinuation(from[1]))
                return progress(false);
            *to++ = static_cast<wchar_t>((lead & 0x1F) << 6 | (from[1] & 0x3F));
            from += 2;
        }
        else if (lead < 0xF0)
        {
            if (left < 3 || !IsContinuation(from[1]) || !IsContinuation(from[2]))
                return progress(false);
            unsigned int const c = (lead & 0x0F) << 12 | (from[1] & 0x3Fu) << 6 | (from[2] & 0x3Fu);
            if (c < 0x800 || IsSurrogate(c))
                return progress(false);
            *to++ = static_cast<wchar_t>(c);
            from += 3;
        }
        else
        {
            if (lead > 0xF4 || left < 4 || !IsContinuation(from[1]) || !IsContinuation(from[2]) ||
                !IsContinuation(from[3]))
                return progress(false);
            unsigned int const c = (lead & 0x07) << 18 | (from[1] & 0x3Fu) << 12 |
                                   (from[2] & 0x3Fu) << 6 | (from[3] & 0x3Fu);
            if (c < 0x10000 || c > 0x10FFFF)
                return progress(false);
            *to++ = static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
            *to++ = static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
            from += 4;
        }
    }
    return progress(true);
}

Utf8Progress EncodeUtf8(wchar_t const * units, std::size_t length, char * bytes) noexcept
{
    wchar_t const * const end = units + length;
    wchar_t const * from = units;
    char * to = bytes;
    auto const progress = [&](bool isWhole)
    {
        return Utf8Progress{static_cast<std::size_t>(from - units),
                            static_cast<std::size_t>(to - bytes), isWhole};
    };
    auto const continuation = [](unsigned int bits)
    { return static_cast<char>(0x80 | (bits & 0x3F)); };

    while (from != end)
    {
        unsigned int const unit = *from;
        if (unit < 0x80)
        {
            constexpr std::size_t step = 2 * wordUnits<wchar_t>;
            if (static_cast<std::size_t>(end - from) >= step &&
                IsAsciiText<wchar_t>(LoadWord(from)) &&
                IsAsciiText<wchar_t>(LoadWord(from + step / 2)))
            {
                for (std::size_t i = 0; i < step; ++i)
                    to[i] = static_cast<char>(from[i]);
                from += step;
                to += step;
                continue;
            }
            if (unit == 0)
                return progress(true);
            *to++ = static_cast<char>(unit);
            ++from;
        }
        else if (unit < 0x800)
        {
            *to++ = static_cast<char>(0xC0 | unit >> 6);
            *to++ = continuation(unit);
            ++from;
        }
        else if (!IsSurrogate(unit))
        {
            *to++ = static_cast<char>(0xE0 | unit >> 12);
            *to++ = continuation(unit >> 6);
            *to++ = continuation(unit);
            ++from;
        }
        else
        {
            if (!IsHighSurrogate(unit) || end - from < 2 || !IsLowSurrogate(from[1]))
                return progress(false);
            unsigned int const c = 0x10000 + ((unit & 0x3FF) << 10) + (from[1] & 0x3FFu);
            *to++ = static_cast<char>(0xF0 | c >> 18);
            *to++ = continuation(c >> 12);
            *to++ = continuation(c >> 6);
            *to++ = continuation(c);
            from += 2;
        }
    }
    return progress(true);
}

std::size_t CountUtf16Units(char const * bytes, std::size_t length) noexcept
{
    // Each byte but 80 to BF begins a character; those of F0 and above need two units.
    auto const count = [](Word word)
    {
        Word const isAbove7F = word >> 7;
        Word const isAboveBF = isAbove7F & word >> 6;
        Word const isAboveEF = isAboveBF & word >> 5 & word >> 4;
        Word const units = eachUnit<char> -
                           ((isAbove7F ^ isAboveBF) & eachUnit<char>)+(isAboveEF & eachUnit<char>);
        return (units * eachUnit<char>) >> (8 * sizeof(Word) - 8); // the sum of the bytes
    };

    std::size_t total = 0;
    char const * const end = bytes + length;
    for (; static_cast<std::size_t>(end - bytes) >= sizeof(Word); bytes += sizeof(Word))
        total += count(LoadWord(bytes));

    // The rest in a word that is filled up with bytes that don't count.
    Word rest = eachUnit<char> * 0x80;
    std::memcpy(&rest, bytes, static_cast<std::size_t>(end - bytes));
    return total + count(rest);
}

std::size_t CountUtf8Bytes(wchar_t const * units, std::size_t length) noexcept
{
    // In short blocks, since a compiler sums those up in 16 bits, several units at a time.
    constexpr std::size_t blockUnits = std::size_t{16} * 1024;

    std::size_t total = 0;
    wchar_t const * const end = units + length;
    while (units != end)
    {
        wchar_t const * const blockEnd =
            units + std::min(blockUnits, static_cast<std::size_t>(end - units));
        unsigned short block = 0;
        for (; units != blockEnd; ++units)
        {
            // Two for each half of a pair.
            int const bytes = 1 + (*units > 0x7F) + (*units > 0x7FF) - IsSurrogate(*units);
            block = static_cast<unsigned short>(block + bytes);
        }
        total += block;
    }
    return total;
}

} // namespace Velmora
