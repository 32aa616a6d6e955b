#include "VelmoraCommon/detect/software/GMDependSoftLib.h"

#include <cwchar>
#include <string>
#include <vector>

#include "VelmoraCommon/text/GMStringToken.h"

namespace Velmora
{

namespace
{

static_assert(sizeof(GMDependSoftLib::GMLibs) == 8);

/// The bits of the second word that are flags.
constexpr unsigned int secondWordFlags = 0x3F;

constexpr unsigned long lastIdOfFirstWord = 31;
constexpr unsigned long lastId = 35;

struct CompactRow
{
    unsigned long value;
    unsigned long id;
};
// A value without a row (16, and those from 131072 up) stands for nothing.
constexpr CompactRow compactRows[] = {
    {1, 0x1},     {2, 0x3},      {4, 0x4},      {8, 0x5},      {32, 0x17},   {64, 0xB},
    {128, 0x8},   {256, 0x6},    {512, 0x7},    {1024, 0xE},   {2048, 0x18}, {4096, 0x2},
    {8192, 0x11}, {16384, 0x20}, {32768, 0x22}, {65536, 0x23},
};

struct Flag
{
    unsigned int word;
    unsigned int mask;
};

/// Where the flag of an \p id from 1 to lastId lies. Those of the second word begin at bit 1.
constexpr Flag FlagOf(unsigned long id)
{
    return id <= lastIdOfFirstWord ? Flag{0, 1u << (id - 1)}
                                   : Flag{1, 1u << (id - lastIdOfFirstWord)};
}

void Set(GMDependSoftLib::GMLibs & libs, unsigned long id)
{
    libs.m_words[FlagOf(id).word] |= FlagOf(id).mask;
}

} // namespace

GMDependSoftLib::GMLibs & GMDependSoftLib::GMLibs::operator=(GMLibs const & other)
{
    m_words[0] = other.m_words[0];
    m_words[1] = (m_words[1] & ~secondWordFlags) | (other.m_words[1] & secondWordFlags);
    return *this;
}

GMDependSoftLib::GMLibs GMDependSoftLib::GMLibs::operator|(GMLibs & other) const
{
    GMLibs both(*this);
    both.m_words[0] |= other.m_words[0];
    both.m_words[1] |= other.m_words[1];
    return both;
}

GMDependSoftLib::GMLibs GMDependSoftLib::GMLibs::operator&(GMLibs & other) const
{
    GMLibs common(*this);
    common.m_words[0] &= other.m_words[0];
    common.m_words[1] &= other.m_words[1];
    return common;
}

GMDependSoftLib::GMDependSoftLib(wchar_t const * text)
{
    if (*text < L'A')
        ParseV0(text);
    else if (*text == L'A')
        ParseVA(text + 1);
}

void GMDependSoftLib::ParseV0(wchar_t const * text)
{
    unsigned long const number = std::wcstoul(text, nullptr, 10);
    for (CompactRow const & row : compactRows)
    {
        if ((number & row.value) != 0)
            Set(m_libs, row.id);
    }
}

void GMDependSoftLib::ParseVA(wchar_t const * text)
{
    std::vector<GMString> pieces;
    GMStringToken::StringToArray(text, L',', pieces);
    for (GMString const & piece : pieces)
    {
        unsigned long const id = std::wcstoul(piece.c_str(), nullptr, 16);
        if (id >= 1 && id <= lastId)
            Set(m_libs, id);
    }
}

GMString GMDependSoftLib::FormatToString()
{
    unsigned long number = 0;
    for (CompactRow const & row : compactRows)
    {
        Flag const flag = FlagOf(row.id);
        if ((m_libs.m_words[flag.word] & flag.mask) != 0)
            number |= row.value;
    }
    return std::to_wstring(number);
}

} // namespace Velmora
