#include "VelmoraCommon/text/GMLetterConvert.h"

#include <array>
#include <iterator>

#include "VelmoraCommon/text/internal/PinyinTables.h"

namespace Velmora
{

namespace
{

// ---- texts of GB2312 ----------------------------------------------------------------------------

constexpr unsigned char firstHighByte = 0xA1; // of both bytes of a character

unsigned char ToByte(char c) { return static_cast<unsigned char>(c); }
bool IsAscii(char c) { return ToByte(c) < 0x80; }
bool IsHigh(char c) { return ToByte(c) >= firstHighByte; }

/// Whether a character begins at \p at. The NUL behind a text is none of its bytes.
bool IsCharacter(char const * at) { return IsHigh(at[0]) && IsHigh(at[1]); }

// ---- tables -------------------------------------------------------------------------------------

struct Syllable
{
    char letters[7];
    unsigned char length;
};

constexpr Syllable MakeSyllable(char const * letters)
{
    Syllable syllable = {};
    for (; letters[syllable.length] != '\0'; ++syllable.length)
        syllable.letters[syllable.length] = letters[syllable.length];
    return syllable;
}

constexpr Syllable unknown = MakeSyllable("?");

constexpr unsigned int rowLength = 94;
constexpr unsigned int firstRow = 16;
constexpr unsigned int endRow = 88;
constexpr int lastOfLevel1 = 5589;
constexpr int firstOfLevel2 = 5601;

constexpr unsigned int IndexOf(int code)
{
    return (static_cast<unsigned int>(code / 100) - firstRow) * rowLength +
           static_cast<unsigned int>(code % 100) - 1;
}

/// The syllables of both levels by row and position.
constexpr auto MakeSyllablesByPosition()
{
    std::array<Syllable, std::size_t{endRow - firstRow} * rowLength> table{};
    for (Syllable & each : table)
        each = unknown;
    for (std::size_t i = 0; i < std::size(pinyinRanges); ++i)
    {
        bool const isLast = i + 1 == std::size(pinyinRanges);
        unsigned int const end =
            isLast ? IndexOf(lastOfLevel1) + 1 : IndexOf(pinyinRanges[i + 1].first);
        Syllable const syllable = MakeSyllable(pinyinRanges[i].syllable);
        for (unsigned int at = IndexOf(pinyinRanges[i].first); at < end; ++at)
            table[at] = syllable;
    }
    for (unsigned int i = 0; i < std::size(pinyinRadicals); ++i)
    {
        if (pinyinRadicals[i][0] != '\0')
            table[IndexOf(firstOfLevel2) + i] = MakeSyllable(pinyinRadicals[i]);
    }
    return table;
}
constexpr auto syllablesByPosition = MakeSyllablesByPosition();

constexpr int firstBound = pinyinBounds[0];
constexpr std::size_t boundCount = std::size(pinyinBounds);
constexpr int lastBound = pinyinBounds[boundCount - 1];

/// For each value from the first bound to the last one, the index of the bound at it or below it.
constexpr auto MakeIndexByValue()
{
    std::array<unsigned short, lastBound - firstBound + 1> table{};
    unsigned short index = 0;
    for (std::size_t i = 0; i < table.size(); ++i)
    {
        if (index + 1u < boundCount && pinyinBounds[index + 1] - firstBound <= static_cast<int>(i))
            ++index;
        table[i] = index;
    }
    return table;
}
constexpr auto indexByValue = MakeIndexByValue();

constexpr auto MakeSyllablesByBound()
{
    std::array<Syllable, boundCount> table{};
    for (std::size_t i = 0; i < boundCount; ++i)
        table[i] = MakeSyllable(pinyinSyllables[i]);
    return table;
}
constexpr auto syllablesByBound = MakeSyllablesByBound();

/// The syllable of the character of two high bytes at \p at.
Syllable const & FindSyllable(char const * at)
{
    unsigned int const row = ToByte(at[0]) - (firstHighByte - 1u);
    unsigned int const position = ToByte(at[1]) - (firstHighByte - 1u);
    // Rows in front of the first one wrap to high numbers.
    return row - firstRow < endRow - firstRow && position <= rowLength
               ? syllablesByPosition[(row - firstRow) * rowLength + position - 1]
               : unknown;
}

/// The syllable of a value in the table of bounds; null below the first one.
Syllable const * FindSyllableOfValue(int value)
{
    if (value < firstBound)
        return nullptr;
    return &syllablesByBound[value < lastBound
                                 ? indexByValue[static_cast<std::size_t>(value - firstBound)]
                                 : boundCount - 1];
}

Syllable Shaped(Syllable syllable, bool upperFirst, bool upperRest, bool firstLetterOnly)
{
    if (firstLetterOnly)
        syllable.length = 1;
    for (std::size_t i = 0; i < std::size(syllable.letters); ++i)
    {
        if (!(i == 0 ? upperFirst : upperRest))
            syllable.letters[i] = static_cast<char>(syllable.letters[i] + ('a' - 'A'));
    }
    return syllable;
}

} // namespace

GMLetterConvert::GMLetterConvert(bool useSeparator, bool upperFirst, bool upperRest,
                                 bool firstLetterOnly)
    : m_useSeparator(useSeparator),
      m_upperFirst(upperFirst),
      m_upperRest(upperRest),
      m_firstLetterOnly(firstLetterOnly)
{
}

GMStringA GMLetterConvert::FindLetter(int code)
{
    int const row = code / 100;
    int const position = code % 100;
    bool const isKnown = row >= static_cast<int>(firstRow) && row < static_cast<int>(endRow) &&
                         position >= 1 && position <= static_cast<int>(rowLength);
    Syllable const & syllable = isKnown ? syllablesByPosition[IndexOf(code)] : unknown;
    return GMStringA(syllable.letters, syllable.length);
}

bool GMLetterConvert::ContainsChinese(GMStringA text) const
{
    char const * const end = text.c_str() + text.size();
    for (char const * at = text.c_str(); at != end; ++at)
    {
        if (IsCharacter(at))
            return true;
    }
    return false;
}

GMStringA GMLetterConvert::ConvertChineseToLetter(GMStringA text)
{
    GMStringA letters;
    letters.reserve(text.size() * 2);
    char const * const end = text.c_str() + text.size();
    for (char const * at = text.c_str(); at != end;)
    {
        if (IsCharacter(at))
        {
            Syllable const syllable =
                Shaped(FindSyllable(at), m_upperFirst, m_upperRest, m_firstLetterOnly);
            letters.append(syllable.letters, syllable.length);
            at += 2;
        }
        else if (char const c = *at++; IsAscii(c))
            letters += c;
        else
            continue;
        if (m_useSeparator)
            letters += '\'';
    }
    return letters;
}

bool GMLetterConvert::ConvertChineseToLetter(GMStringA text,
                                             std::vector<std::pair<GMStringA, GMStringA>> & pieces)
{
    bool hasCharacter = false;
    char const * const end = text.c_str() + text.size();
    for (char const * at = text.c_str(); at != end;)
    {
        if (!IsCharacter(at))
        {
            GMStringA const byte(1, *at++);
            pieces.emplace_back(byte, byte);
            continue;
        }
        Syllable const syllable =
            Shaped(FindSyllable(at), m_upperFirst, m_upperRest, m_firstLetterOnly);
        pieces.emplace_back(GMStringA(at, 2), GMStringA(syllable.letters, syllable.length));
        hasCharacter = true;
        at += 2;
    }
    return hasCharacter;
}

GMStringA GMLetterConvert::ConvertChineseToLetterEx(GMStringA const & text)
{
    // The upper limit of what counts as a byte of its own: 0xFF in front of an ASCII byte comes here.
    constexpr int lastSingle = 159;

    GMStringA letters;
    letters.reserve(text.size() * 2);
    char const * const end = text.c_str() + text.size();
    for (char const * at = text.c_str(); at != end;)
    {
        if (IsAscii(*at))
        {
            letters += *at++;
            continue;
        }
        if (at + 1 == end)
            break;
        int const value =
            (static_cast<signed char>(at[0]) + 1) * 256 + static_cast<signed char>(at[1]);
        if (value >= 1 && value <= lastSingle)
        {
            letters += *at++;
            continue;
        }
        if (Syllable const * const syllable = FindSyllableOfValue(value))
            letters.append(syllable->letters, syllable->length);
        at += 2;
    }
    return letters;
}

} // namespace Velmora
