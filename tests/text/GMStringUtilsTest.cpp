#include "VelmoraCommon/text/GMStringUtils.h"

#include <algorithm>
#include <cwctype>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

namespace Velmora::Testing
{

namespace
{

using testing::PrintToString;
using Utils = GMStringUtils;

constexpr unsigned int notFound = 0xFFFFFFFF;

/// All texts over \p alphabet of at most \p length units.
std::vector<GMString> AllTexts(GMString const & alphabet, std::size_t length)
{
    std::vector<GMString> texts{L""};
    for (std::size_t i = 0; i < texts.size() && texts[i].length() < length; ++i)
    {
        for (wchar_t const unit : alphabet)
            texts.push_back(texts[i] + unit);
    }
    return texts;
}

/// The meaning of a pattern, star by star.
bool Fits(wchar_t const * pattern, wchar_t const * text)
{
    if (*pattern == L'*')
        return Fits(pattern + 1, text) || (*text != L'\0' && Fits(pattern, text + 1));
    if (*pattern == L'\0' || *text == L'\0')
        return *pattern == *text;
    return (*pattern == L'?' || *pattern == *text) && Fits(pattern + 1, text + 1);
}

} // namespace

TEST(GMStringUtils, ReadsNumbers)
{
    auto const read = [](auto convert, GMString const & text)
    {
        wchar_t const * end = nullptr;
        auto const number = static_cast<__int64>(convert(text.c_str(), &end));
        return std::pair(number, end - text.c_str());
    };
    using Pair = std::pair<__int64, std::ptrdiff_t>;
    using ToUInt64 = unsigned __int64 (*)(wchar_t const *, wchar_t const **);
    EXPECT_EQ(Pair(12, 2), read(Utils::ConvertStringToInt64, L"12ab"));
    EXPECT_EQ(Pair(-12, 3), read(Utils::ConvertStringToInt64, L"-12"));
    EXPECT_EQ(Pair(0, 1), read(Utils::ConvertStringToInt64, L"-"));
    EXPECT_EQ(Pair(0, 0), read(Utils::ConvertStringToInt64, L"+12"));
    EXPECT_EQ(Pair(0, 0), read(ToUInt64(Utils::ConvertStringToUInt64), L"-12"));
    EXPECT_EQ(Pair(9, 1), read(ToUInt64(Utils::ConvertStringToUInt64), L"9:"));
    EXPECT_EQ(Pair(0, 1), read(ToUInt64(Utils::ConvertStringToUInt64), L"0/"));
    EXPECT_EQ(Pair(65537, 20), read(Utils::ConvertStringToInt64, L"18446744073709617153")); // wraps
    EXPECT_EQ(1, Utils::ToInt16(L"18446744073709617153"));
    EXPECT_EQ(0xFFFFFFFF, Utils::ToUInt32(L"18446744073709551615"));
    char const bytes[] = "65536 bytes";
    char const * end = nullptr;
    EXPECT_EQ(65536u, Utils::ConvertStringToUInt64(bytes, &end));
    EXPECT_EQ(bytes + 5, end);
    EXPECT_EQ(-2.5, Utils::ConvertStringToDouble(L" -2.5e0 m"));

    EXPECT_EQ(0xABCDEF09, Utils::ConvertHexToUInt32(L"0XAbCdEf099"));
    EXPECT_EQ(0xAFu, Utils::ConvertHexToUInt32(L"0xaFg"));
    for (wchar_t const * text : {L"0X", L" 1", L"", L"@", L"`", L"/", L":", L"G", L"g"})
        EXPECT_EQ(0u, Utils::ConvertHexToUInt32(text)) << text;

    EXPECT_TRUE(Utils::IsDigits(L"0123456789") && Utils::IsMobilePhone(L"13912345678"));
    for (wchar_t const * text : {L"", L"1/", L"1:", L"\uFF11"})
        EXPECT_FALSE(Utils::IsDigits(text)) << text;
    for (wchar_t const * text : {L"1234567890", L"123456789012", L"23456789012", L"1391234567x"})
        EXPECT_FALSE(Utils::IsMobilePhone(text)) << text;
}

TEST(GMStringUtils, PrintsNumbers)
{
    for (unsigned __int64 power = 1, i = 0; i < 20; ++i, power *= 10)
    {
        for (unsigned __int64 const value : {power - 1, power, 0 - power, i << 63})
        {
            auto const asSigned = static_cast<__int64>(value);
            EXPECT_EQ(std::to_wstring(value), Utils::ToString(value));
            wchar_t buffer[21]; // what callers provide
            Utils::ConvertInt64ToString(asSigned, buffer);
            EXPECT_EQ(std::to_wstring(asSigned), buffer);
            EXPECT_EQ(std::to_wstring(static_cast<int>(value)),
                      Utils::ToString(static_cast<int>(value)));
        }
    }

    EXPECT_EQ(L"0ABCDEF0", Utils::ConvertUInt32ToHex(0x0ABCDEF0));
    unsigned char const bytes[] = {0x00, 0x9A, 0xFF};
    EXPECT_EQ("009aff", Utils::ConvertBinaryToHex(bytes, 3, true));
    EXPECT_EQ("009A", Utils::ConvertBinaryToHex(bytes, 2, false));

    auto const print = &Utils::GetFormatSize;
    EXPECT_EQ(L"1023B", print(1023, true));
    EXPECT_EQ(L"1KB", print(1023, false));
    EXPECT_EQ(L"1024KB", print(0xFFFFF, true));
    EXPECT_EQ(L"1.0MB", print(0x100000, true));
    EXPECT_EQ(L"1.00GB", print(0x40000000, true));
    EXPECT_EQ(L"17179869184.00GB", print(~0ull, true));
}

TEST(GMStringUtils, FoldsEachUnitAsTheCLibrary)
{
    for (unsigned int i = 0; i <= 0xFFFF; ++i)
    {
        auto const unit = static_cast<wchar_t>(i);
        ASSERT_EQ(static_cast<wchar_t>(towlower(unit)), Utils::CharToLower(unit)) << i;
        ASSERT_EQ(static_cast<wchar_t>(towupper(unit)), Utils::CharToUpper(unit)) << i;
    }
}

TEST(GMStringUtils, ComparesTextsAndTheirEnds)
{
    GMString const withNul(L"a\0b", 3);
    EXPECT_EQ(1, Utils::Compare(L"abc", L"ab"));
    EXPECT_EQ(-1, Utils::Compare(L"\x7FFF", L"\x8000"));
    EXPECT_EQ(1, Utils::Compare(withNul, L"a"));
    EXPECT_EQ('C', Utils::CompareNoCase(L"abc", L"ab"));
    EXPECT_EQ(0, Utils::CompareNoCase(L"aB", L"Ab"));
    EXPECT_EQ('_' - 'B', Utils::CompareNoCase(L"a_", L"aB")); // folding down would turn it round
    EXPECT_EQ(0, Utils::CompareNoCase(withNul, L"a"));        // the common NUL ends it
    EXPECT_EQ(0, Utils::CompareNoCase(L"abX", L"ABY", 2));
    EXPECT_EQ(-1, Utils::CompareNoCase(L"abX", L"ABY", 3));

    GMString const text = L"abcAb";
    EXPECT_TRUE(Utils::BeginWith(text, L"ab") && Utils::BeginWithNoCase(text, L"ABCAB"));
    EXPECT_TRUE(Utils::EndWith(text, L"Ab") && Utils::EndWithNoCase(text, L"ABCAB"));
    EXPECT_FALSE(Utils::BeginWith(text, L"AB") || Utils::BeginWithNoCase(text, L"abcAbc"));
    EXPECT_FALSE(Utils::EndWith(text, L"ab") || Utils::EndWith(text, L"xabcAb"));
    EXPECT_FALSE(Utils::EndWithNoCase(text, L"xabcAb"));
}

TEST(GMStringUtils, FitsWildcardsLikeTheirMeaning)
{
    for (GMString const & pattern : AllTexts(L"ab?*", 5))
    {
        for (GMString const & text : AllTexts(L"ab", 5))
        {
            ASSERT_EQ(Fits(pattern.c_str(), text.c_str()),
                      Utils::WildcardCompare(pattern.c_str(), text.c_str(), false))
                << PrintToString(pattern) << " " << PrintToString(text);
        }
    }
    EXPECT_FALSE(Utils::WildcardCompare(L"A*C", L"abc", false));
    EXPECT_TRUE(Utils::WildcardCompare(L"A*cD", L"abCd", true));
    EXPECT_TRUE(Utils::WildcardCompare(L"*B*", L"abc", true));
    GMString manyStars; // each begins anew at every unit, but not once more for every other star
    for (int i = 0; i < 50000; ++i)
        manyStars += L"*a";
    GMString const text(100000, L'a');
    EXPECT_FALSE(Utils::WildcardCompare((manyStars + L"*b").c_str(), text.c_str(), true));
    EXPECT_FALSE(Utils::WildcardCompare(nullptr, L"", 0) ||
                 Utils::WildcardCompare(L"*", nullptr, 0));
}

TEST(GMStringUtils, FindsWithoutCase)
{
    EXPECT_EQ(1u, Utils::FindNoCase(L"aAB\u212Aab", L"ab", 0));
    EXPECT_EQ(4u, Utils::FindNoCase(L"aAB\u212Aab", L"AB", 2));
    EXPECT_EQ(2u, Utils::FindNoCase(L"ab", L"", 2));
    EXPECT_EQ(notFound, Utils::FindNoCase(L"ab", L"", 3));
    EXPECT_EQ(notFound, Utils::FindNoCase(L"ab", L"ab", notFound)); // the sum would wrap
}

TEST(GMStringUtils, CutsPiecesAndTakesThemOff)
{
    EXPECT_EQ(L"ab|bc", Utils::Left(L"abc", 2) + L'|' + Utils::Right(L"abc", 2));
    EXPECT_EQ(L"abc|abc", Utils::Left(L"abc", 5) + L'|' + Utils::Right(L"abc", 5));
    EXPECT_EQ(L"", Utils::Left(L"abc", -1) + Utils::Right(L"abc", -1));
    std::tuple<int, unsigned int, wchar_t const *> const middles[] = {
        {1, 1, L"b"}, {1, 9, L"bc"}, {1, notFound, L"bc"}, {4, 1, L""}, {-1, 2, L""}};
    for (auto const & [start, count, middle] : middles)
        EXPECT_EQ(middle, Utils::Mid(L"abc", start, count)) << start;
    EXPECT_TRUE(!Utils::StringLen(nullptr) && !Utils::StringChrNum(nullptr, L'n'));
    EXPECT_TRUE(!Utils::StringChr(nullptr, L'x') && !Utils::StringCopy(nullptr, L"x"));

    GMString text = L"a;b;";
    EXPECT_EQ(L"a", Utils::GetLine(text, L";"));
    EXPECT_EQ(L"", Utils::GetLine(text, L""));
    EXPECT_EQ(L"b", Utils::GetLine(text, L";"));
    EXPECT_EQ(L"", text);
    text = L"a\r\r\n\r\nb";
    EXPECT_EQ(L"a\r", Utils::GetLine(text, L"\r\n"));
    EXPECT_EQ(L"", Utils::GetLine(text, L"\r\n"));
    EXPECT_EQ(L"b", Utils::GetLine(text, L"\r\n"));
    EXPECT_EQ(L"", text);

    wchar_t const * const cases[][5] = {
        {L"x[ab]y", L"[", L"]", L"ab", L"y"},  {L"x[ab]y", L"[", L"}", L"ab]y", L""},
        {L"x[ab]y", L"[", L"", L"ab]y", L""},  {L"x[ab]y", L"", L"]", L"x[ab", L"y"},
        {L"x]ab[c]y", L"[", L"]", L"c", L"y"}, {L"[]y", L"[", L"]", L"", L"y"},
        {L"#a#b", L"#", L"#", L"a#b", L"a#b"}, {L"<<a>b", L"<<", L"<", L"a>b", L"<a>b"},
        {L"abc", L"[", L"]", L"", L""},
    };
    for (auto const & [whole, before, after, result, rest] : cases)
    {
        text = whole;
        EXPECT_EQ(result, Utils::GetSubStr(text, before, after)) << whole;
        EXPECT_EQ(rest, text) << whole;
    }
}

TEST(GMStringUtils, Edits)
{
    std::tuple<GMString, void (*)(GMString &), wchar_t const *> const cases[] = {
        {L" \ta b \t", [](GMString & s) { Utils::TrimLeft(s, L" \t"); }, L"a b \t"},
        {L" \ta b \t", [](GMString & s) { Utils::TrimRight(s, L" \t"); }, L" \ta b"},
        {L" a", [](GMString & s) { Utils::Trim(s, nullptr); }, L" a"},
        {L"  a bb   c ", [](GMString & s) { Utils::RemoveChar(s, L' '); }, L"abbc"},
        {L"  a bb   c ", [](GMString & s) { Utils::TrimDupChar(s, L' '); }, L" a bb c "},
        {L"\"a\"b\"", Utils::RemoveQuote, L"a\"b"},
        {L"\"", Utils::RemoveQuote, L""},
        {L"\"ab", Utils::RemoveQuote, L"\"ab"},
        {L"", Utils::RemoveQuote, L""},
        {L"a&\"b<'", Utils::SimapleXmlEscape, L"a&amp;&quot;b<'"},
        {L"&amp;quot;&quot;", Utils::SimapleXmlUnEscape, L"&quot;\""},
        {L"a-a", [](GMString & s) { Utils::Replace(s, L'a', L'b'); }, L"b-b"}};
    for (auto [text, edit, result] : cases)
    {
        edit(text);
        EXPECT_EQ(result, text);
    }
}

TEST(GMStringUtils, Replaces)
{
    wchar_t const * const cases[][5] = {
        {L"aaa", L"a", L"aa", L"aaaaaa", L"aaaaaa"}, {L"aaa", L"aa", L"x", L"xa", L"xa"},
        {L"abAB", L"ab", L"", L"AB", L""},           {L"abAB", L"AB", L"xyz", L"abxyz", L"xyzxyz"},
        {L"ab", L"abc", L"x", L"ab", L"ab"},         {L"abc", L"", L"x", L"abc", L"abc"},
        {L"abc", nullptr, L"x", L"abc", L"abc"},     {L"abc", L"a", nullptr, L"abc", L"abc"}};
    for (auto const & [text, from, to, result, resultNoCase] : cases)
    {
        GMString edited = text, editedNoCase = text;
        Utils::Replace(edited, from, to);
        EXPECT_EQ(result, edited);
        Utils::ReplaceNoCase(editedNoCase, from, to);
        EXPECT_EQ(resultNoCase, editedNoCase);
    }
}

TEST(GMStringUtils, FormatsTextsOfAnyLength)
{
    for (std::size_t const length : {1, 1023, 1024, 2047, 2048, 100000})
    {
        GMString const filler(length - 1, L'x');
        EXPECT_EQ(filler + L"7", Utils::FormatResult(L"%s%d", filler.c_str(), 7));
        GMStringA const narrow(length - 1, 'x');
        EXPECT_EQ(narrow + "7", Utils::FormatResultA("%s%d", narrow.c_str(), 7));
    }
    GMString text = L"itself";
    Utils::Format(text, L"%s %S %08x", text.c_str(), "narrow", 0xBEEFu);
    EXPECT_EQ(L"itself narrow 0000beef", text);
    EXPECT_EQ("", Utils::FormatResultA("%lc", 0xD800)) << "no buffer is large enough for that";

    wchar_t const * volatile const noFormat = nullptr;
    Utils::Format(text, noFormat);
    Utils::Format(text, L"");
    EXPECT_EQ(L"itself narrow 0000beef", text);
    EXPECT_EQ(L"", Utils::FormatResult(noFormat));
}

TEST(GMStringUtils, FormatsIntoBuffers)
{
    auto const format = [](auto operation, auto * dst, int size, auto * pattern, ...)
    {
        va_list args;
        va_start(args, pattern);
        int const result = operation(dst, size, pattern, args);
        va_end(args);
        return result;
    };
    // The text has three units.
    for (auto const & [size, result] : {std::pair(4, 0), std::pair(3, 1), std::pair(1, 1)})
    {
        wchar_t wide[] = L"?????";
        char narrow[] = "?????";
        EXPECT_EQ(result, format(Utils::FormatToBuffer, wide, size, L"%d", 123));
        EXPECT_EQ(result, format(Utils::FormatToBufferA, narrow, size, "%d", 123));
        EXPECT_TRUE(wide[size] == L'?' && narrow[size] == '?');
    }
    wchar_t const * const noFormat = nullptr;
    wchar_t buffer[4];
    EXPECT_EQ(-1, format(Utils::FormatToBuffer, buffer, 4, noFormat));
}

} // namespace Velmora::Testing
