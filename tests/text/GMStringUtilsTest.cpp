#include "VelmoraCommon/text/GMStringUtils.h"

#include <algorithm>
#include <cwctype>
#include <gtest/gtest.h>
#include <limits>
#include <tuple>
#include <vector>

#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"

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

GMString Lowered(GMString text)
{
    std::transform(text.begin(), text.end(), text.begin(), towlower);
    return text;
}

/// \p text after `edit(text, arguments...)`.
template <class Edit, class... Arguments>
GMString Edited(GMString text, Edit edit, Arguments... arguments)
{
    edit(text, arguments...);
    return text;
}

} // namespace

TEST(GMStringUtils, ReadsDecimalNumbers)
{
    std::tuple<GMString, __int64, int> const cases[] = {
        {L"12ab", 12, 2},
        {L"-12ab", -12, 3},
        {L"-", 0, 1},
        {L"", 0, 0},
        {L"+12", 0, 0},
        {L"/:", 0, 0}, // the neighbours of the digits
        {L"\uFF11", 0, 0},
        {L"9223372036854775807", std::numeric_limits<__int64>::max(), 19},
        {L"-9223372036854775808", std::numeric_limits<__int64>::min(), 20},
        {L"18446744073709551615", -1, 20},
        {L"18446744073709551617", 1, 20}, // wraps
    };
    for (auto const & [text, number, length] : cases)
    {
        SCOPED_TRACE(PrintToString(text));
        wchar_t const * const begin = text.c_str();
        wchar_t const * end = nullptr;
        EXPECT_EQ(number, Utils::ConvertStringToInt64(begin, &end));
        EXPECT_EQ(length, end - begin);
        EXPECT_EQ(static_cast<int>(number), Utils::ConvertStringToInt32(begin, &end));
        EXPECT_EQ(length, end - begin);
        EXPECT_EQ(number, Utils::ToInt64(text));
        EXPECT_EQ(static_cast<int>(number), Utils::ToInt32(text));
        EXPECT_EQ(static_cast<short>(number), Utils::ToInt16(text));

        bool const isRead = *begin != L'-'; // there is no sign
        auto const positive = isRead ? static_cast<unsigned __int64>(number) : 0;
        EXPECT_EQ(positive, Utils::ConvertStringToUInt64(begin, &end));
        EXPECT_EQ(isRead ? length : 0, end - begin);
        EXPECT_EQ(static_cast<unsigned int>(positive), Utils::ConvertStringToUInt32(begin, &end));
        EXPECT_EQ(isRead ? length : 0, end - begin);
        EXPECT_EQ(positive, Utils::ToUInt64(text));
        EXPECT_EQ(static_cast<unsigned int>(positive), Utils::ToUInt32(text));
        EXPECT_EQ(static_cast<unsigned short>(positive), Utils::ToUInt16(text));
    }
    char const bytes[] = "65536 bytes";
    char const * end = nullptr;
    EXPECT_EQ(65536u, Utils::ConvertStringToUInt64(bytes, &end));
    EXPECT_EQ(bytes + 5, end);
    EXPECT_EQ(-2.5, Utils::ConvertStringToDouble(L" -2.5e0 m"));
}

TEST(GMStringUtils, ReadsHexadecimalNumbers)
{
    std::tuple<wchar_t const *, unsigned int> const cases[] = {
        {L"0x1G", 1},    {L"123456789", 0x12345678},
        {L"0X", 0},      {L"0XAbCdEf09", 0xABCDEF09},
        {L"0", 0},       {L" 1", 0},
        {L"0xaF", 0xAF}, {L"@G`g", 0},
        {L"/", 0},       {L":", 0},
        {L"", 0},        {L"0x0x1", 0},
    };
    for (auto const & [text, value] : cases)
        EXPECT_EQ(value, Utils::ConvertHexToUInt32(text)) << PrintToString(text);
}

TEST(GMStringUtils, PrintsDecimalNumbersAsTheStandardLibrary)
{
    auto const check = [](auto value, GMString (*convert)(decltype(value)))
    {
        EXPECT_EQ(std::to_wstring(value), convert(value));
        EXPECT_EQ(std::to_wstring(value), Utils::ToString(value));
    };
    std::vector<unsigned __int64> values{0, 1u << 31, 0xFFFFFFFF, 1ull << 63, ~0ull};
    for (unsigned __int64 power = 1; power <= 1000000000000000000; power *= 10)
        values.insert(values.end(), {power - 1, power, power * 9, 0 - power});
    for (unsigned __int64 const value : values)
    {
        auto const asSigned = static_cast<__int64>(value);
        check(value, Utils::ConvertUInt64ToString);
        check(asSigned, Utils::ConvertInt64ToString);
        check(static_cast<int>(value), Utils::ConvertInt32ToString);
        check(static_cast<unsigned int>(value), Utils::ConvertUInt32ToString);

        wchar_t buffer[21]; // what callers provide
        Utils::ConvertUInt64ToString(value, buffer);
        EXPECT_EQ(std::to_wstring(value), buffer);
        Utils::ConvertInt64ToString(asSigned, buffer);
        EXPECT_EQ(std::to_wstring(asSigned), buffer);
    }
}

TEST(GMStringUtils, PrintsHexadecimalDigits)
{
    EXPECT_EQ(L"000000FF", Utils::ConvertUInt32ToHex(255));
    EXPECT_EQ(L"9ABCDEF0", Utils::ConvertUInt32ToHex(0x9ABCDEF0));
    unsigned char const bytes[] = {0x00, 0x9A, 0xFF};
    EXPECT_EQ("009aff", Utils::ConvertBinaryToHex(bytes, 3, true));
    EXPECT_EQ("009A", Utils::ConvertBinaryToHex(bytes, 2, false));
    EXPECT_EQ("", Utils::ConvertBinaryToHex(nullptr, 0, false));
}

TEST(GMStringUtils, PrintsFileSizes)
{
    std::tuple<unsigned __int64, bool, wchar_t const *> const cases[] = {
        {0, true, L"0B"},
        {1023, true, L"1023B"},
        {1023, true, L"1023B"},
        {1024, true, L"1KB"},
        {(1 << 20) - 1, true, L"1024KB"},
        {1 << 20, true, L"1.0MB"},
        {3 << 19, false, L"1.5MB"},
        {(1 << 30) - 1, true, L"1024.0MB"},
        {1 << 30, true, L"1.00GB"},
        {~0ull, true, L"17179869184.00GB"},
    };
    for (auto const & [size, showBytes, text] : cases)
        EXPECT_EQ(text, Utils::GetFormatSize(size, showBytes)) << size;
}

TEST(GMStringUtils, ClassifiesDigits)
{
    EXPECT_TRUE(Utils::IsDigits(L"0123456789"));
    for (wchar_t const * text : {L"", L"1/", L"1:", L"\uFF11"})
        EXPECT_FALSE(Utils::IsDigits(text)) << PrintToString(text);
    EXPECT_TRUE(Utils::IsMobilePhone(L"13912345678"));
    for (wchar_t const * text : {L"1234567890", L"123456789012", L"23456789012", L"1391234567x"})
        EXPECT_FALSE(Utils::IsMobilePhone(text)) << PrintToString(text);
}

TEST(GMStringUtils, FoldsEachUnitAsTheCLibrary)
{
    for (unsigned int i = 0; i <= 0xFFFF; ++i)
    {
        auto const unit = static_cast<wchar_t>(i);
        ASSERT_EQ(static_cast<wchar_t>(towlower(unit)), Utils::CharToLower(unit)) << i;
        ASSERT_EQ(static_cast<wchar_t>(towupper(unit)), Utils::CharToUpper(unit)) << i;
    }
    EXPECT_EQ(L"az\u0410@[1", Edited(L"aZ\u0410@[1", Utils::MakeLower));
    EXPECT_EQ(L"AZ\u0430`{1", Edited(L"aZ\u0430`{1", Utils::MakeUpper));
}

TEST(GMStringUtils, OrdersTexts)
{
    std::tuple<GMString, GMString, int, int> const cases[] = {
        {L"", L"", 0, 0},
        {L"", L"a", -1, -'A'},
        {L"abc", L"ab", 1, 'C'},
        {L"aB", L"Ab", 1, 0},
        {L"a_", L"aB", 1, '_' - 'B'}, // folding down would turn it round
        {L"\x8000", L"\x7FFF", 1, 1},
        {{L"a\0b", 3}, {L"a\0c", 3}, -1, 0}, // a common NUL ends the second one
        {{L"a\0", 2}, L"a", 1, 0},
    };
    for (auto const & [a, b, order, orderNoCase] : cases)
    {
        SCOPED_TRACE(PrintToString(a));
        EXPECT_EQ(order, Utils::Compare(a, b));
        EXPECT_EQ(-order, Utils::Compare(b, a));
        EXPECT_EQ(orderNoCase, Utils::CompareNoCase(a, b));
        EXPECT_EQ(-orderNoCase, Utils::CompareNoCase(b, a));
    }
    EXPECT_EQ(0, Utils::CompareNoCase(L"abX", L"ABY", 2));
    EXPECT_EQ(-1, Utils::CompareNoCase(L"abX", L"ABY", 3));
}

TEST(GMStringUtils, ComparesBothEnds)
{
    std::tuple<wchar_t const *, bool, bool, bool, bool> const cases[] = {
        {L"ABCAB", false, false, true, true},
        {L"abcAbc", false, false, false, false},
        {L"xabcAb", false, false, false, false},
    };
    for (auto const & [x, begins, ends, beginsNoCase, endsNoCase] : cases)
    {
        SCOPED_TRACE(PrintToString(x));
        EXPECT_EQ(begins, Utils::BeginWith(L"abcAb", x));
        EXPECT_EQ(ends, Utils::EndWith(L"abcAb", x));
        EXPECT_EQ(beginsNoCase, Utils::BeginWithNoCase(L"abcAb", x));
        EXPECT_EQ(endsNoCase, Utils::EndWithNoCase(L"abcAb", x));
    }
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
    EXPECT_FALSE(Utils::WildcardCompare(nullptr, L"", false));
    EXPECT_FALSE(Utils::WildcardCompare(L"*", nullptr, false));
}

TEST(GMStringUtils, FitsWildcardsToLongTextsInTime)
{
    // A star begins anew at every unit in the worst case; it must not do so once more for every
    // other star, and needs no depth.
    GMString const text(100000, L'a');
    GMString manyStars;
    while (manyStars.length() < 100000)
        manyStars += L"*a";
    EXPECT_FALSE(Utils::WildcardCompare((manyStars + L"*b").c_str(), text.c_str(), true));
    EXPECT_TRUE(Utils::WildcardCompare(manyStars.c_str(), text.c_str(), false));
}

TEST(GMStringUtils, FindsWithoutCase)
{
    Random random(32);
    GMString const alphabet = L"aAbB\u0430\u0410\u212A";
    for (unsigned int round = Rounds(20000, 500000); round != 0; --round)
    {
        GMString const text = random.TextOf(alphabet, 40);
        GMString const x = random.TextOf(alphabet, 5);
        auto const start = static_cast<unsigned int>(random.Below(text.length() + 2));
        ASSERT_EQ(static_cast<unsigned int>(Lowered(text).find(Lowered(x), start)),
                  Utils::FindNoCase(text, x, start))
            << PrintToString(text) << " " << PrintToString(x) << start;
    }
    EXPECT_EQ(notFound, Utils::FindNoCase(L"ab", L"ab", notFound)); // the sum would wrap
}

TEST(GMStringUtils, CutsPieces)
{
    std::tuple<int, wchar_t const *, wchar_t const *> const ends[] = {
        {2, L"ab", L"bc"}, {5, L"abc", L"abc"}, {0, L"", L""}, {-1, L"", L""}};
    for (auto const & [count, left, right] : ends)
    {
        EXPECT_EQ(left, Utils::Left(L"abc", count));
        EXPECT_EQ(right, Utils::Right(L"abc", count));
    }
    std::tuple<int, unsigned int, wchar_t const *> const middles[] = {
        {1, 1, L"b"}, {1, 9, L"bc"}, {1, notFound, L"bc"}, {3, 1, L""}, {-1, 2, L""}};
    for (auto const & [start, count, middle] : middles)
        EXPECT_EQ(middle, Utils::Mid(L"abc", start, count)) << start;
}

TEST(GMStringUtils, TakesLinesOff)
{
    wchar_t const * const cases[][4] = {
        {L"a;b;", L";", L"a", L"b;"},     {L";a", L";", L"", L"a"},
        {L"abc", L"", L"", L"abc"},       {L"a\r\n\r\nb", L"\r\n", L"a", L"\r\nb"},
        {L"a\rb", L"\r\n", L"a\rb", L""},
    };
    for (auto const & [whole, delimiter, line, rest] : cases)
    {
        SCOPED_TRACE(PrintToString(whole));
        GMString text = whole;
        EXPECT_EQ(line, Utils::GetLine(text, delimiter));
        EXPECT_EQ(rest, text);
    }
}

TEST(GMStringUtils, TakesMarkedTextsOff)
{
    wchar_t const * const cases[][5] = {
        {L"x[ab]y", L"[", L"]", L"ab", L"y"},     {L"x[ab]y", L"[", L"}", L"ab]y", L""},
        {L"x[ab]y", L"[", L"", L"ab]y", L""},     {L"x[ab]y", L"", L"]", L"x[ab", L"y"},
        {L"x]ab[c]y", L"[", L"]", L"c", L"y"},    {L"[]y", L"[", L"]", L"", L"y"},
        {L"#a#b", L"#", L"#", L"a#b", L"a#b"}, // the same mark is found twice
        {L"<<a>b", L"<<", L"<", L"a>b", L"<a>b"}, {L"abc", L"[", L"]", L"", L""},
    };
    for (auto const & [whole, before, after, result, rest] : cases)
    {
        SCOPED_TRACE(PrintToString(whole) + PrintToString(before));
        GMString text = whole;
        EXPECT_EQ(result, Utils::GetSubStr(text, before, after));
        EXPECT_EQ(rest, text);
    }
}

TEST(GMStringUtils, HelpsWithPlainTexts)
{
    EXPECT_EQ(0u, Utils::StringLen(nullptr));
    EXPECT_EQ(3u, Utils::StringLen(L"abc"));
    wchar_t buffer[4] = L"old";
    EXPECT_EQ(nullptr, Utils::StringCopy(buffer, nullptr));
    EXPECT_EQ(nullptr, Utils::StringCopy(nullptr, L"new"));
    EXPECT_STREQ(L"new", Utils::StringCopy(buffer, L"new"));
    EXPECT_EQ(buffer + 1, Utils::StringChr(buffer, L'e'));
    EXPECT_EQ(nullptr, Utils::StringChr(nullptr, L'x'));
    EXPECT_EQ(2u, Utils::StringChrNum(L"banana", L'n'));
    EXPECT_EQ(0u, Utils::StringChrNum(nullptr, L'n'));
}

TEST(GMStringUtils, Trims)
{
    wchar_t const * const cases[][5] = {
        {L" \ta b \t", L" \t", L"a b \t", L" \ta b", L"a b"},
        {L"  ", L" ", L"", L"", L""},
        {L" a", nullptr, L" a", L" a", L" a"},
    };
    for (auto const & [text, set, left, right, both] : cases)
    {
        SCOPED_TRACE(PrintToString(text));
        EXPECT_EQ(left, Edited(text, Utils::TrimLeft, set));
        EXPECT_EQ(right, Edited(text, Utils::TrimRight, set));
        EXPECT_EQ(both, Edited(text, Utils::Trim, set));
    }
}

TEST(GMStringUtils, RemovesUnits)
{
    EXPECT_EQ(L"abbc", Edited(L"  a bb   c ", Utils::RemoveChar, L' '));
    EXPECT_EQ(L" a bb c ", Edited(L"  a bb   c ", Utils::TrimDupChar, L' '));
    wchar_t const * const quoted[][2] = {
        {L"\"a\"b\"", L"a\"b"}, {L"\"\"", L""}, {L"\"", L""}, {L"\"ab", L"\"ab"}, {L"", L""}};
    for (auto const & [text, inner] : quoted)
        EXPECT_EQ(inner, Edited(text, Utils::RemoveQuote));
}

TEST(GMStringUtils, Replaces)
{
    wchar_t const * const cases[][5] = {
        {L"aaa", L"a", L"aa", L"aaaaaa", L"aaaaaa"},
        {L"aaa", L"aa", L"x", L"xa", L"xa"},
        {L"abAB", L"ab", L"", L"AB", L""},
        {L"abAB", L"AB", L"xyz", L"abxyz", L"xyzxyz"},
        {L"-a-", L"a", L"\u4E2D\u6587", L"-\u4E2D\u6587-", L"-\u4E2D\u6587-"},
        {L"ab", L"abc", L"x", L"ab", L"ab"},
        {L"abc", L"", L"x", L"abc", L"abc"},
        {L"abc", nullptr, L"x", L"abc", L"abc"},
        {L"abc", L"a", nullptr, L"abc", L"abc"},
    };
    using Replace = void (*)(GMString &, wchar_t const *, wchar_t const *);
    for (auto const & [text, from, to, result, resultNoCase] : cases)
    {
        SCOPED_TRACE(PrintToString(text));
        EXPECT_EQ(result, Edited(text, Replace(Utils::Replace), from, to));
        EXPECT_EQ(resultNoCase, Edited(text, Utils::ReplaceNoCase, from, to));
    }
    GMString units = L"a-a";
    Utils::Replace(units, L'a', L'b');
    EXPECT_EQ(L"b-b", units);
}

TEST(GMStringUtils, EscapesForXml)
{
    EXPECT_EQ(L"a&amp;&quot;b<'", Edited(L"a&\"b<'", Utils::SimapleXmlEscape));
    for (wchar_t const * text : {L"a&\"b", L"&quot;", L"&amp;quot;"})
        EXPECT_EQ(text, Edited(Edited(text, Utils::SimapleXmlEscape), Utils::SimapleXmlUnEscape));
}

TEST(GMStringUtils, FormatsTextsOfAnyLength)
{
    for (std::size_t const length : {1, 1022, 1023, 1024, 2047, 2048, 100000})
    {
        SCOPED_TRACE(length);
        GMString const filler(length - 1, L'x');
        GMString text = L"old";
        Utils::Format(text, L"%s%d", filler.c_str(), 7);
        EXPECT_EQ(filler + L"7", text);
        EXPECT_EQ(text, Utils::FormatResult(L"%s%d", filler.c_str(), 7));
        GMStringA const narrow(length - 1, 'x');
        EXPECT_EQ(narrow + "7", Utils::FormatResultA("%s%d", narrow.c_str(), 7));
    }
    GMString text = L"itself";
    Utils::Format(text, L"%s %S %08x", text.c_str(), "narrow", 0xBEEFu);
    EXPECT_EQ(L"itself narrow 0000beef", text);
    EXPECT_EQ("", Utils::FormatResultA("%lc", 0xD800)) << "no buffer is large enough for that";

    wchar_t const * volatile const noFormat = nullptr;
    char const * volatile const noFormatA = nullptr;
    Utils::Format(text, noFormat);
    Utils::Format(text, L"");
    EXPECT_EQ(L"itself narrow 0000beef", text);
    EXPECT_EQ(L"", Utils::FormatResult(noFormat));
    EXPECT_EQ("", Utils::FormatResultA(noFormatA));
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
    std::tuple<int, bool, int> const cases[] = {
        {5, true, 0}, {4, true, 0}, {3, true, 1}, {1, true, 1}, {4, false, -1}};
    for (auto const & [size, hasFormat, result] : cases)
    {
        SCOPED_TRACE(size);
        wchar_t wide[7] = L"??????";
        char narrow[7] = "??????";
        EXPECT_EQ(result,
                  format(Utils::FormatToBuffer, wide, size, hasFormat ? L"%d" : nullptr, 123));
        EXPECT_EQ(result,
                  format(Utils::FormatToBufferA, narrow, size, hasFormat ? "%d" : nullptr, 123));
        EXPECT_EQ(result == 0, wcscmp(L"123", wide) == 0);
        EXPECT_EQ(result == 0, std::string("123") == narrow);
        EXPECT_EQ(L'?', wide[size]);
        EXPECT_EQ('?', narrow[size]);
    }
}

} // namespace Velmora::Testing
