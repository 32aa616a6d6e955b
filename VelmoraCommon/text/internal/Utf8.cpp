#include "VelmoraCommon/text/internal/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <emmintrin.h>

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

namespace
{

// SSE2 looks at 16 bytes together. Every processor that the supported systems run on has it.
constexpr std::ptrdiff_t blockSize = sizeof(__m128i);

__m128i LoadBlock(void const * from) noexcept
{
    return _mm_loadu_si128(static_cast<__m128i const *>(from));
}

void StoreBlock(void * to, __m128i block) noexcept
{
    _mm_storeu_si128(static_cast<__m128i *>(to), block);
}

/// How many bytes of all ones there are up to the first other one.
std::ptrdiff_t LengthOfTrue(__m128i block) noexcept
{
    unsigned long length;
    BitScanForward(&length, ~static_cast<unsigned long>(_mm_movemask_epi8(block)));
    return static_cast<std::ptrdiff_t>(length); // the bits behind the block's are none of its
}

bool IsAllTrue(__m128i block) noexcept { return _mm_movemask_epi8(block) == 0xFFFF; }

/// Marks the bytes in 01 to 7F.
__m128i IsAscii(__m128i bytes) noexcept { return _mm_cmpgt_epi8(bytes, _mm_setzero_si128()); }

/// Marks the units above \p limit. There are only comparisons of numbers with a sign.
__m128i IsAbove(__m128i units, int limit) noexcept
{
    return _mm_cmpgt_epi16(_mm_xor_si128(units, _mm_set1_epi16(-0x8000)),
                           _mm_set1_epi16(static_cast<short>(limit - 0x8000)));
}

__m128i AreSurrogates(__m128i units) noexcept
{
    return _mm_cmpeq_epi16(_mm_and_si128(units, _mm_set1_epi16(-0x800)), _mm_set1_epi16(-0x2800));
}

__m128i Select(__m128i condition, __m128i yes, __m128i no) noexcept
{
    return _mm_or_si128(_mm_and_si128(condition, yes), _mm_andnot_si128(condition, no));
}

constexpr std::ptrdiff_t blockUnits = blockSize / 2;

/// Encodes eight units, neither 0 nor surrogates, without asking what each is: runs of letters and of
/// Chinese characters change too often to be guessed. \return the end of what counts
char * EncodeBlock(char * to, __m128i units) noexcept
{
    auto const bits = [](int value) { return _mm_set1_epi16(static_cast<short>(value)); };
    __m128i const isTwo = IsAbove(units, 0x7F);
    __m128i const isThree = IsAbove(units, 0x7FF);
    __m128i const low = _mm_and_si128(units, bits(0x3F));
    __m128i const middle = _mm_and_si128(_mm_srli_epi16(units, 6), bits(0x3F));
    __m128i const two = _mm_or_si128(_mm_srli_epi16(units, 6), _mm_slli_epi16(low, 8));
    __m128i const three = _mm_or_si128(_mm_srli_epi16(units, 12), _mm_slli_epi16(middle, 8));
    __m128i const first = Select(isThree, _mm_or_si128(three, bits(0x80E0)),
                                 Select(isTwo, _mm_or_si128(two, bits(0x80C0)), units));
    __m128i const third = _mm_or_si128(low, bits(0x80)); // behind two bytes it doesn't count
    std::uint32_t words[blockUnits];
    std::uint16_t lengths[blockUnits];
    StoreBlock(words, _mm_unpacklo_epi16(first, third));
    StoreBlock(words + blockUnits / 2, _mm_unpackhi_epi16(first, third));
    StoreBlock(lengths, _mm_sub_epi16(bits(1), _mm_add_epi16(isTwo, isThree))); // true is -1
    for (std::ptrdiff_t i = 0; i != blockUnits; ++i)
    {
        std::memcpy(to, &words[i], sizeof words[i]);
        to += lengths[i];
    }
    return to;
}

/// Whether the block that ends with the text at \p end can be looked at in place of the rest from
/// \p from on. What of it is known already is made again.
template <class From>
bool HasLastBlock(From const * begin, From const * from, From const * end) noexcept
{
    return end - from < blockSize && end - begin >= blockSize;
}

/// Sixteen units as bytes; all above FF become 00 or FF.
__m128i Pack(wchar_t const * units) noexcept
{
    return _mm_packus_epi16(LoadBlock(units), LoadBlock(units + blockUnits));
}

template <class Unit>
std::size_t FindNul(Unit const * text, std::size_t length) noexcept
{
    constexpr std::ptrdiff_t step = blockSize / sizeof(Unit);
    __m128i const zero = _mm_setzero_si128();
    Unit const * const end = text + length;
    Unit const * at = text;
    for (; end - at >= step; at += step)
    {
        __m128i const block = LoadBlock(at);
        __m128i const isNul =
            sizeof(Unit) == 1 ? _mm_cmpeq_epi8(block, zero) : _mm_cmpeq_epi16(block, zero);
        if (_mm_movemask_epi8(isNul) != 0)
            break;
    }
    return static_cast<std::size_t>(std::find(at, end, Unit()) - text);
}

bool IsContinuation(unsigned int byte) noexcept { return (byte & 0xC0) == 0x80; }

bool IsSurrogate(unsigned int unit) noexcept { return (unit & 0xF800) == 0xD800; }

bool IsLowSurrogate(unsigned int unit) noexcept { return (unit & 0xFC00) == 0xDC00; }

} // namespace

Utf8Progress ConvertUtf8(char const * bytes, std::size_t length, wchar_t * units) noexcept
{
    auto const * const begin = reinterpret_cast<unsigned char const *>(bytes);
    auto const * const end = begin + length;
    auto const * from = begin;
    wchar_t * to = units;
    auto const progress = [&]
    {
        return Utf8Progress{static_cast<std::size_t>(from - begin),
                            static_cast<std::size_t>(to - units)};
    };

    while (from != end)
    {
        if (*from < 0x80)
        {
            // A block is written whole, and what isn't ASCII in it doesn't count. A blank alone isn't
            // worth one.
            while (end - from >= blockSize && from[1] < 0x80)
            {
                __m128i const block = LoadBlock(from);
                StoreBlock(to, _mm_unpacklo_epi8(block, _mm_setzero_si128()));
                StoreBlock(to + blockUnits, _mm_unpackhi_epi8(block, _mm_setzero_si128()));
                std::ptrdiff_t const ascii = LengthOfTrue(IsAscii(block));
                if (ascii != blockSize)
                {
                    from += ascii;
                    to += ascii;
                    break;
                }
                from += blockSize; // known before the length is
                to += blockSize;
            }
            if (HasLastBlock(begin, from, end) && IsAllTrue(IsAscii(LoadBlock(end - blockSize))))
            {
                __m128i const block = LoadBlock(end - blockSize);
                to += end - from;
                StoreBlock(to - blockSize, _mm_unpacklo_epi8(block, _mm_setzero_si128()));
                StoreBlock(to - blockUnits, _mm_unpackhi_epi8(block, _mm_setzero_si128()));
                from = end;
            }
            if (from == end || *from >= 0x80)
                continue;
            if (*from == 0)
                return progress();
            *to++ = static_cast<wchar_t>(*from++);
            continue;
        }
        auto const isAtTwo = [&] // C0 and C1 would only lengthen ASCII
        { return end - from >= 2 && *from - 0xC2u < 0xE0 - 0xC2 && IsContinuation(from[1]); };
        while (isAtTwo())
        {
            *to++ = static_cast<wchar_t>((*from & 0x1F) << 6 | (from[1] & 0x3F));
            from += 2;
        }
        // Chinese texts are made of runs of three bytes each. Four are read for three.
        std::uint32_t c = 0;
        for (; end - from >= 4; from += 3, *to++ = static_cast<wchar_t>(c))
        {
            std::uint32_t word;
            std::memcpy(&word, from, sizeof word);
            c = (word & 0x0F) << 12 | (word >> 2 & 0xFC0) | (word >> 16 & 0x3F);
            if ((word & 0xC0C0F0) != 0x8080E0 || c - 0x800 >= 0xD800 - 0x800)
                break;
        }
        unsigned int const lead = from == end ? 0 : *from;
        if (lead < 0x80 || isAtTwo())
            continue; // the run has ended
        int const more = lead < 0xF0 ? 2 : 3;
        if (lead < 0xE0 || lead > 0xF4 || end - from <= more) // or 80 to BF, which can't come first
            return progress();
        c = lead & 0x3Fu >> more;
        for (int i = 1; i <= more; ++i)
        {
            if (!IsContinuation(from[i]))
                return progress();
            c = c << 6 | (from[i] & 0x3Fu);
        }
        std::uint32_t const least = more == 2 ? 0x800 : 0x10000;
        if (c < least || c > 0x10FFFF || c >> 11 == 0xD800 >> 11)
            return progress();
        from += more + 1;
        if (more == 3)
        {
            *to++ = static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
            c = 0xDC00 + (c & 0x3FF);
        }
        *to++ = static_cast<wchar_t>(c);
    }
    return progress();
}

Utf8Progress ConvertUtf8(wchar_t const * units, std::size_t length, char * bytes) noexcept
{
    wchar_t const * const end = units + length;
    wchar_t const * from = units;
    char * to = bytes;
    auto const progress = [&]
    {
        return Utf8Progress{static_cast<std::size_t>(from - units),
                            static_cast<std::size_t>(to - bytes)};
    };

    auto const goOnInAscii = [&]
    {
        for (auto pairs = (end - from) / (2 * blockSize); pairs != 0; --pairs)
        {
            __m128i const first = Pack(from);
            __m128i const second = Pack(from + blockSize);
            if (!IsAllTrue(_mm_and_si128(IsAscii(first), IsAscii(second))))
                return;
            StoreBlock(to, first);
            StoreBlock(to + blockSize, second);
            from += 2 * blockSize;
            to += 2 * blockSize;
        }
        if (HasLastBlock(units, from, end) && IsAllTrue(IsAscii(Pack(end - blockSize))))
        {
            to += end - from;
            StoreBlock(to - blockSize, Pack(end - blockSize));
            from = end;
        }
    };

    goOnInAscii();
    while (from != end)
    {
        if (end - from >= blockUnits)
        {
            __m128i const block = LoadBlock(from);
            __m128i const isNul = _mm_cmpeq_epi16(block, _mm_setzero_si128());
            if (_mm_movemask_epi8(_mm_or_si128(isNul, AreSurrogates(block))) == 0)
            {
                char * const behind = EncodeBlock(to, block);
                bool const isAscii = behind - to == blockUnits;
                to = behind;
                from += blockUnits;
                if (isAscii)
                    goOnInAscii();
                continue;
            }
        }
        unsigned int const unit = *from;
        if (unit == 0)
            return progress();
        std::uint32_t c = unit;
        if (IsSurrogate(unit))
        {
            if (IsLowSurrogate(unit) || end - from < 2 || !IsLowSurrogate(from[1]))
                return progress();
            c = 0x10000 + ((unit & 0x3FF) << 10) + (from[1] & 0x3FFu);
            ++from;
        }
        ++from;
        constexpr unsigned int leads[] = {0, 0xC0, 0xE0, 0xF0};
        int const more = (c > 0x7F) + (c > 0x7FF) + (c > 0xFFFF);
        *to++ = static_cast<char>(leads[more] | c >> 6 * more);
        for (int shift = 6 * more; shift != 0;)
            *to++ = static_cast<char>(0x80 | (c >> (shift -= 6) & 0x3F));
    }
    return progress();
}

std::size_t LengthToNul(char const * bytes, std::size_t length) noexcept
{
    return FindNul(bytes, length);
}

std::size_t LengthToNul(wchar_t const * units, std::size_t length) noexcept
{
    return FindNul(units, length);
}

} // namespace Velmora
