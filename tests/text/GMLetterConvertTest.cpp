#include "VelmoraCommon/text/GMLetterConvert.h"

#include <array>
#include <tuple>

#include <gtest/gtest.h>

namespace Velmora::Testing
{

TEST(GMLetterConvert, FindsSyllablesByPosition)
{
    std::tuple<int, int, char const *> const cases[] = {
        {-1, 1600, "?"},      {1601, 1602, "A"},   {1788, 1794, "BING"}, {1695, 1700, "?"},
        {1801, 1802, "BING"}, {3432, 3432, "LV"},  {5580, 5581, "ZUN"},  {5582, 5589, "ZUO"},
        {5590, 5600, "?"},    {5601, 5601, "CHU"}, {5602, 5602, "?"},    {7847, 7847, "N\xA8\xB5"},
        {8794, 8794, "HAN"},  {8795, 9000, "?"}};
    GMLetterConvert convert(true, false, false, true); // no say here
    for (auto const & [first, last, syllable] : cases)
    {
        for (int code = first; code <= last; ++code)
            EXPECT_EQ(syllable, convert.FindLetter(code)) << code;
    }
}

TEST(GMLetterConvert, ShapesSyllablesAndGivesPieces)
{
    // Separator, upper first letter, upper rest, first letter only.
    std::tuple<std::array<bool, 4>, char const *, char const *> const cases[] = {
        {{true, true, true, false}, "\xB0\xA1x", "A'x'"},
        {{false, false, false, true}, "\xD8\xA1", "c"},
        {{false, true, false, false}, "\xD8\xA1", "Chu"},
        {{false, false, true, false}, "\xD8\xA1", "cHU"},
        {{false, true, true, false}, "\xA1\xA1", "?"},
        {{}, "\xA1\xA1\xD8\xA2\xF7\xFE\xF7\xFF\xFF\xFF", "__han__"},
        {{}, "\xEE\xCF", "n\xC8\xD5"}, // the addition doesn't look at the byte
        // bytes that begin no character
        {{true, false, false, false}, "\x80\xA0\x61\xB0", "a'"},
        {{true, false, false, false}, "\xB0\x61\xB0\xA0\xB0\xA1", "a'a'"},
    };
    for (auto const & [flags, text, letters] : cases)
    {
        GMLetterConvert convert(flags[0], flags[1], flags[2], flags[3]);
        EXPECT_EQ(letters, convert.ConvertChineseToLetter(text)) << testing::PrintToString(text);
    }

    GMLetterConvert convert(true, true);
    std::vector<std::pair<GMStringA, GMStringA>> pieces(1);
    EXPECT_FALSE(convert.ConvertChineseToLetter("a\x80", pieces));
    EXPECT_TRUE(convert.ConvertChineseToLetter("\xA1\xA1\xD8\xA1\xB0", pieces));
    GMStringA shown;
    for (auto const & [piece, reading] : pieces)
        shown += piece + '=' + reading + '|';
    EXPECT_EQ("=|a=a|\x80=\x80|\xA1\xA1=?|\xD8\xA1=Chu|\xB0=\xB0|", shown);
    for (char const * text : {"", "abc", "\x80\xFE", "\xB0\x61\xA1"})
        EXPECT_FALSE(convert.ContainsChinese(text));
    for (char const * text : {"\xB0\xA1", "a\xA1\xA1", "\x81\xA1\xA1"})
        EXPECT_TRUE(convert.ContainsChinese(text));
}

TEST(GMLetterConvert, ReadsByBounds)
{
    char const * const cases[][2] = {
        {"\xB0\xA1x\xB0\xA2", "axa"},
        {"\xD7\xF1\xD7\xF2\xD7\xF9", "zunzuozuo"},
        {"\xFF\x41\xFF\x80", "\xFF\x41zuo"},
        {"\xB1\x20", "bing"}, // between two rows of the set
        {"a\xB0", "a"},
    };
    GMLetterConvert convert(true, true, true, true); // no say here
    for (auto const & [text, letters] : cases)
        EXPECT_EQ(letters, convert.ConvertChineseToLetterEx(text)) << testing::PrintToString(text);
    EXPECT_EQ("zuo", convert.ConvertChineseToLetterEx(GMStringA("\xFF\0", 2)));
}

} // namespace Velmora::Testing
