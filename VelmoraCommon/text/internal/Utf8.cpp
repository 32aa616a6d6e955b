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
constexpr std::ptrdiff_t blockRoom = 3 * blockUnits + 1; // in bytes, for as many units

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
/// \p from on, and what it makes has room. What of it is known already is made again.
template <class From, class To>
bool HasLastBlock(From const * begin, From const * from, From const * end, To const * to,
                  To const * room) noexcept
{
    return end - from < blockSize && end - begin >= blockSize && end - from <= room - to;
}

/// Sixteen units as bytes; all above FF become 00 or FF.
__m128i Pack(wchar_t const * units) noexcept
{
    return _mm_packus_epi16(LoadBlock(units), LoadBlock(units + blockUnits));
}

constexpr std::ptrdiff_t groupSize = 8 * blockSize;

/// Sums up the numbers that \p count makes of the bytes of each block. The last block is filled up with
/// \p filler. A group without any of the bits of \p special comes to \p plain, uncounted.
template <class Count>
std::size_t SumOfBlocks(void const * bytes, std::size_t length, int filler, short special,
                        std::size_t plain, Count count) noexcept
{
    auto const * from = static_cast<char const *>(bytes);
    auto const * const end = from + length;
    __m128i sums = _mm_setzero_si128();
    auto const add = [&sums, count](void const * block)
    { sums = _mm_add_epi64(sums, _mm_sad_epu8(count(LoadBlock(block)), _mm_setzero_si128())); };
    std::size_t total = 0;
    for (; end - from >= groupSize; from += groupSize)
    {
        __m128i all = LoadBlock(from);
        for (std::ptrdiff_t i = blockSize; i != groupSize; i += blockSize)
            all = _mm_or_si128(all, LoadBlock(from + i));
        __m128i const found = _mm_and_si128(all, _mm_set1_epi16(special));
        if (IsAllTrue(_mm_cmpeq_epi8(found, _mm_setzero_si128())))
        {
            total += plain;
            continue;
        }
        for (std::ptrdiff_t i = 0; i != groupSize; i += blockSize)
            add(from + i);
    }
    for (; end - from >= blockSize; from += blockSize)
        add(from);
    char rest[blockSize];
    std::memset(rest, filler, sizeof rest);
    std::memcpy(rest, from, static_cast<std::size_t>(end - from));
    add(rest);
    std::uint64_t halves[2];
    StoreBlock(halves, sums);
    return total + static_cast<std::size_t>(halves[0] + halves[1]);
}

template <class Unit, class IsNul>
std::size_t FindNul(Unit const * text, std::size_t length, IsNul isNul) noexcept
{
    Unit const * const end = text + length;
    Unit const * at = text;
    constexpr std::ptrdiff_t step = blockSize / sizeof(Unit);
    while (end - at >= step && _mm_movemask_epi8(isNul(LoadBlock(at))) == 0)
        at += step;
    return static_cast<std::size_t>(std::find(at, end, Unit()) - text);
}

bool IsContinuation(unsigned int byte) noexcept { return (byte & 0xC0) == 0x80; }

bool IsSurrogate(unsigned int unit) noexcept { return (unit & 0xF800) == 0xD800; }

bool IsHighSurrogate(unsigned int unit) noexcept { return (unit & 0xFC00) == 0xD800; }

bool IsLowSurrogate(unsigned int unit) noexcept { return (unit & 0xFC00) == 0xDC00; }

} // namespace

Utf8Progress DecodeUtf8(char const * bytes, std::size_t length, wchar_t * units,
                        std::size_t room) noexcept
{
    auto const * const begin = reinterpret_cast<unsigned char const *>(bytes);
    auto const * const end = begin + length;
    wchar_t * const unitsEnd = units + room;
    auto const * from = begin;
    wchar_t * to = units;
    auto const progress = [&](bool isWhole)
    {
        return Utf8Progress{static_cast<std::size_t>(from - begin),
                            static_cast<std::size_t>(to - units), isWhole};
    };

    while (from != end)
    {
        if (*from < 0x80)
        {
            // A block is written whole, and what isn't ASCII in it doesn't count. A blank alone isn't
            // worth one.
            while (end - from >= blockSize && from[1] < 0x80 && unitsEnd - to >= blockSize)
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
            if (HasLastBlock(begin, from, end, to, unitsEnd) &&
                IsAllTrue(IsAscii(LoadBlock(end - blockSize))))
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
                return progress(true);
            *to++ = static_cast<wchar_t>(*from++);
            continue;
        }
        if (*from - 0xC2u < 0xE0 - 0xC2) // C0 and C1 would only lengthen ASCII
        {
            if (end - from < 2 || !IsContinuation(from[1]))
                return progress(false);
            *to++ = static_cast<wchar_t>((*from & 0x1F) << 6 | (from[1] & 0x3F));
            from += 2;
            continue;
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
        if (lead < 0x80 || lead - 0xC2 < 0xE0 - 0xC2)
            continue; // the run has ended
        int const more = lead < 0xF0 ? 2 : 3;
        if (lead < 0xE0 || lead > 0xF4 || end - from <= more) // or 80 to BF, which can't come first
            return progress(false);
        c = lead & 0x3Fu >> more;
        for (int i = 1; i <= more; ++i)
        {
            if (!IsContinuation(from[i]))
                return progress(false);
            c = c << 6 | (from[i] & 0x3Fu);
        }
        std::uint32_t const least = more == 2 ? 0x800 : 0x10000;
        if (c < least || c > 0x10FFFF || c >> 11 == 0xD800 >> 11)
            return progress(false);
        from += more + 1;
        if (more == 3)
        {
            *to++ = static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10));
            c = 0xDC00 + (c & 0x3FF);
        }
        *to++ = static_cast<wchar_t>(c);
    }
    return progress(true);
}

Utf8Progress EncodeUtf8(wchar_t const * units, std::size_t length, char * bytes,
                        std::size_t room) noexcept
{
    wchar_t const * const end = units + length;
    char * const bytesEnd = bytes + room;
    wchar_t const * from = units;
    char * to = bytes;
    auto const progress = [&](bool isWhole)
    {
        return Utf8Progress{static_cast<std::size_t>(from - units),
                            static_cast<std::size_t>(to - bytes), isWhole};
    };

    auto const goOnInAscii = [&]
    {
        for (auto pairs = std::min(end - from, bytesEnd - to) / (2 * blockSize); pairs != 0;
             --pairs)
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
        if (HasLastBlock(units, from, end, to, bytesEnd) &&
            IsAllTrue(IsAscii(Pack(end - blockSize))))
        {
            to += end - from;
            StoreBlock(to - blockSize, Pack(end - blockSize));
            from = end;
        }
    };

    goOnInAscii();
    while (from != end)
    {
        if (end - from >= blockUnits && bytesEnd - to >= blockRoom)
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
            return progress(true);
        std::uint32_t c = unit;
        if (IsSurrogate(unit))
        {
            if (!IsHighSurrogate(unit) || end - from < 2 || !IsLowSurrogate(from[1]))
                return progress(false);
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
    return progress(true);
}

std::size_t LengthToNul(char const * bytes, std::size_t length) noexcept
{
    return FindNul(bytes, length,
                   [](__m128i block) { return _mm_cmpeq_epi8(block, _mm_setzero_si128()); });
}

std::size_t LengthToNul(wchar_t const * units, std::size_t length) noexcept
{
    return FindNul(units, length,
                   [](__m128i block) { return _mm_cmpeq_epi16(block, _mm_setzero_si128()); });
}

std::size_t CountUtf16Units(char const * bytes, std::size_t length) noexcept
{
    // Each byte but 80 to BF, which lie up to -65 as signed ones, begins a character; those of F0 and
    // above need two units. A true comparison is -1.
    return SumOfBlocks(bytes, length, 0x80, static_cast<short>(0x8080), groupSize,
                       [](__m128i block)
                       {
                           __m128i const begins = _mm_cmpgt_epi8(block, _mm_set1_epi8(-65));
                           __m128i const isLong =
                               _mm_cmpeq_epi8(_mm_max_epu8(block, _mm_set1_epi8(-16)), block);
                           return _mm_sub_epi8(_mm_setzero_si128(), _mm_add_epi8(begins, isLong));
                       });
}

std::size_t CountUtf8Bytes(wchar_t const * units, std::size_t length) noexcept
{
    // One for each, one more above 7F and above 7FF, but two for each half of a pair. What is true is -1.
    return length + SumOfBlocks(units, length * sizeof(wchar_t), 0, static_cast<short>(0xFF80), 0,
                                [](__m128i block)
                                {
                                    return _mm_sub_epi16(
                                        AreSurrogates(block),
                                        _mm_add_epi16(IsAbove(block, 0x7F), IsAbove(block, 0x7FF)));
                                });
}

} // namespace Velmora
