#include "VelmoraCommon/text/GMStringUtils.h"

#include <algorithm>
#include <cwctype>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"

namespace Velmora::Testing
{

namespace
{

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

/// \p text with \p edit applied.
template <class Edit>
GMString Edited(GMString text, Edit edit)
{
    edit(text);
    return text;
}

} // namespace

TEST(GMStringUtils, ReadsDecimalNumbers)
{
    struct Case
    {
        wchar_t const * text;
        __int64 asSigned;
        unsigned __int64 asUnsigned;
        std::ptrdiff_t signedEnd;
        std::ptrdiff_t unsignedEnd;
    };
    Case const cases[] = {
        {L"12ab", 12, 12, 2, 2},
        {L"-12ab", -12, 0, 3, 0},
        {L"--1", 0, 0, 1, 0},
        {L"-", 0, 0, 1, 0},
        {L"", 0, 0, 0, 0},
        {L" 12", 0, 0, 0, 0},
        {L"+12", 0, 0, 0, 0},
        {L"0x10", 0, 0, 1, 1},
        {L"/:", 0, 0, 0, 0}, // the neighbours of the digits
        {L"\uFF11", 0, 0, 0, 0},
        {L"4294967297", 4294967297, 4294967297u, 10, 10},
        {L"9223372036854775807", 9223372036854775807, 9223372036854775807u, 19, 19},
        {L"-9223372036854775808", std::numeric_limits<__int64>::min(), 0, 20, 0},
        {L"18446744073709551615", -1, 18446744073709551615u, 20, 20},
        {L"18446744073709551617", 1, 1, 20, 20}, // wraps
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.text));
        wchar_t const * end = nullptr;
        EXPECT_EQ(each.asSigned, Utils::ConvertStringToInt64(each.text, &end));
        EXPECT_EQ(each.signedEnd, end - each.text);
        EXPECT_EQ(each.asUnsigned, Utils::ConvertStringToUInt64(each.text, &end));
        EXPECT_EQ(each.unsignedEnd, end - each.text);
        EXPECT_EQ(static_cast<int>(each.asSigned), Utils::ConvertStringToInt32(each.text, &end));
        EXPECT_EQ(each.signedEnd, end - each.text);
        EXPECT_EQ(static_cast<unsigned int>(each.asUnsigned),
                  Utils::ConvertStringToUInt32(each.text, &end));
        EXPECT_EQ(each.unsignedEnd, end - each.text);

        EXPECT_EQ(each.asSigned, Utils::ToInt64(each.text));
        EXPECT_EQ(each.asUnsigned, Utils::ToUInt64(each.text));
        EXPECT_EQ(static_cast<int>(each.asSigned), Utils::ToInt32(each.text));
        EXPECT_EQ(static_cast<unsigned int>(each.asUnsigned), Utils::ToUInt32(each.text));
        EXPECT_EQ(static_cast<short>(each.asSigned), Utils::ToInt16(each.text));
        EXPECT_EQ(static_cast<unsigned short>(each.asUnsigned), Utils::ToUInt16(each.text));
    }
    char const bytes[] = "65536 bytes";
    char const * end = nullptr;
    EXPECT_EQ(65536u, Utils::ConvertStringToUInt64(bytes, &end));
    EXPECT_EQ(bytes + 5, end);
    EXPECT_EQ(-2.5, Utils::ConvertStringToDouble(L" -2.5e0 m"));
}

TEST(GMStringUtils, ReadsHexadecimalNumbers)
{
    struct Case
    {
        wchar_t const * text;
        unsigned int value;
    };
    Case const cases[] = {
        {L"0x1G", 1},
        {L"123456789", 0x12345678},
        {L"0X", 0},
        {L"", 0},
        {L"0XaBcDeF09", 0xABCDEF09},
        {L"0", 0},
        {L" 1", 0},
        {L"x1", 0},
        {L"@G`g", 0},
        {L"0x0x1", 0},
    };
    for (Case const & each : cases)
        EXPECT_EQ(each.value, Utils::ConvertHexToUInt32(each.text))
            << testing::PrintToString(each.text);
}

TEST(GMStringUtils, PrintsDecimalNumbersAsTheStandardLibrary)
{
    std::vector<unsigned __int64> values{0, 1u << 31, 0xFFFFFFFF, 1ull << 63, ~0ull};
    for (unsigned __int64 power = 1; power <= 1000000000000000000; power *= 10)
        values.insert(values.end(), {power - 1, power, power * 9, 0 - power});
    for (unsigned __int64 const value : values)
    {
        auto const asSigned = static_cast<__int64>(value);
        auto const asInt = static_cast<int>(value);
        auto const asUInt = static_cast<unsigned int>(value);
        EXPECT_EQ(std::to_wstring(value), Utils::ToString(value));
        EXPECT_EQ(std::to_wstring(value), Utils::ConvertUInt64ToString(value));
        EXPECT_EQ(std::to_wstring(asSigned), Utils::ToString(asSigned));
        EXPECT_EQ(std::to_wstring(asSigned), Utils::ConvertInt64ToString(asSigned));
        EXPECT_EQ(std::to_wstring(asInt), Utils::ToString(asInt));
        EXPECT_EQ(std::to_wstring(asInt), Utils::ConvertInt32ToString(asInt));
        EXPECT_EQ(std::to_wstring(asUInt), Utils::ToString(asUInt));
        EXPECT_EQ(std::to_wstring(asUInt), Utils::ConvertUInt32ToString(asUInt));

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
    EXPECT_EQ(L"00000000", Utils::ConvertUInt32ToHex(0));
    EXPECT_EQ(L"9ABCDEF0", Utils::ConvertUInt32ToHex(0x9ABCDEF0));
    unsigned char const bytes[] = {0x00, 0x9A, 0xFF};
    EXPECT_EQ("009aff", Utils::ConvertBinaryToHex(bytes, 3, true));
    EXPECT_EQ("009A", Utils::ConvertBinaryToHex(bytes, 2, false));
    EXPECT_EQ("", Utils::ConvertBinaryToHex(nullptr, 0, false));
}

TEST(GMStringUtils, PrintsFileSizes)
{
    struct Case
    {
        unsigned __int64 size;
        bool showBytes;
        wchar_t const * text;
    };
    Case const cases[] = {
        {0, false, L"0KB"},
        {0, true, L"0B"},
        {100, false, L"0KB"},
        {1023, false, L"1KB"},
        {1023, true, L"1023B"},
        {1024, true, L"1KB"},
        {(1 << 20) - 1, true, L"1024KB"},
        {1 << 20, true, L"1.0MB"},
        {3 << 19, false, L"1.5MB"},
        {(1 << 30) - 1, true, L"1024.0MB"},
        {1 << 30, true, L"1.00GB"},
        {1ull << 40, true, L"1024.00GB"},
        {~0ull, true, L"17179869184.00GB"},
    };
    for (Case const & each : cases)
        EXPECT_EQ(each.text, Utils::GetFormatSize(each.size, each.showBytes)) << each.size;
}

TEST(GMStringUtils, ClassifiesDigits)
{
    EXPECT_TRUE(Utils::IsDigits(L"0123456789"));
    for (wchar_t const * text : {L"", L"1 ", L"-1", L"1/", L"1:", L"\uFF11"})
        EXPECT_FALSE(Utils::IsDigits(text)) << testing::PrintToString(text);
    EXPECT_TRUE(Utils::IsMobilePhone(L"13912345678"));
    for (wchar_t const * text :
         {L"1234567890", L"123456789012", L"23456789012", L"1391234567x", L""})
        EXPECT_FALSE(Utils::IsMobilePhone(text)) << testing::PrintToString(text);
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
    struct Case
    {
        GMString a;
        GMString b;
        int order;
        int orderNoCase;
    };
    Case const cases[] = {
        {L"", L"", 0, 0},
        {L"", L"a", -1, -'A'},
        {L"abc", L"ab", 1, 'C'},
        {L"aB", L"Ab", 1, 0},
        {L"a_", L"aB", 1, '_' - 'B'}, // folding down would turn it round
        {L"\x8000", L"\x7FFF", 1, 1},
        {{L"a\0b", 3}, {L"a\0c", 3}, -1, 0}, // a common NUL ends the second one
        {{L"a\0", 2}, L"a", 1, 0},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.a));
        EXPECT_EQ(each.order, Utils::Compare(each.a, each.b));
        EXPECT_EQ(-each.order, Utils::Compare(each.b, each.a));
        EXPECT_EQ(each.orderNoCase, Utils::CompareNoCase(each.a, each.b));
        EXPECT_EQ(-each.orderNoCase, Utils::CompareNoCase(each.b, each.a));
    }
    EXPECT_EQ(0, Utils::CompareNoCase(L"abX", L"ABY", 2));
    EXPECT_EQ(-1, Utils::CompareNoCase(L"abX", L"ABY", 3));
    EXPECT_EQ(0, Utils::CompareNoCase(L"a", L"b", 0));
}

TEST(GMStringUtils, ComparesBothEnds)
{
    struct Case
    {
        wchar_t const * x;
        bool begins;
        bool ends;
        bool beginsNoCase;
        bool endsNoCase;
    };
    Case const cases[] = {
        {L"", true, true, true, true},           {L"ab", true, false, true, true},
        {L"Ab", false, true, true, true},        {L"abcAb", true, true, true, true},
        {L"ABCAB", false, false, true, true},    {L"abcAbc", false, false, false, false},
        {L"xabcAb", false, false, false, false},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.x));
        EXPECT_EQ(each.begins, Utils::BeginWith(L"abcAb", each.x));
        EXPECT_EQ(each.ends, Utils::EndWith(L"abcAb", each.x));
        EXPECT_EQ(each.beginsNoCase, Utils::BeginWithNoCase(L"abcAb", each.x));
        EXPECT_EQ(each.endsNoCase, Utils::EndWithNoCase(L"abcAb", each.x));
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
                << testing::PrintToString(pattern) << " " << testing::PrintToString(text);
        }
    }
    // Between stars a long part is searched in another way.
    GMString const run(66, L'a');
    for (GMString const & end : AllTexts(L"ab", 3))
    {
        for (GMString const & more : AllTexts(L"ab", 5))
        {
            GMString const part = run + end;
            GMString const text = run + more + run + L"a" + more;
            ASSERT_EQ(text.find(part) != text.npos,
                      Utils::WildcardCompare((L"*" + part + L"*").c_str(), text.c_str(), true));
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
    // Each star begins anew at every unit in the worst case; it must not do so once more for every
    // other star, and needs no depth.
    GMString const text(100000, L'a');
    GMString manyStars;
    while (manyStars.length() < 100000)
        manyStars += L"*a";
    GMString const longTail = L"*" + text + L"b";
    GMString const longMiddle = L"*" + text.substr(text.length() / 2) + L"b*";
    for (GMString const & pattern : {manyStars + L"*b", L"*a*" + longTail, longTail, longMiddle})
        EXPECT_FALSE(Utils::WildcardCompare(pattern.c_str(), text.c_str(), true));
    EXPECT_TRUE(Utils::WildcardCompare(manyStars.c_str(), text.c_str(), false));
}

TEST(GMStringUtils, FindsWithoutCase)
{
    struct Case
    {
        wchar_t const * x;
        unsigned int start;
        unsigned int found;
    };
    Case const cases[] = {
        {L"BAN", 0, 0},
        {L"aNa", 0, 1},
        {L"ana", 2, 3},
        {L"ana", 4, notFound},
        {L"", 0, 0},
        {L"", 6, 6},
        {L"", 7, notFound},
        {L"a", 6, notFound},
        {L"A", 5, 5},
        {L"a", 99, notFound},
        {L"bananas", 0, notFound},
    };
    for (Case const & each : cases)
        EXPECT_EQ(each.found, Utils::FindNoCase(L"baNana", each.x, each.start))
            << testing::PrintToString(each.x) << " from " << each.start;

    Random random(32);
    GMString const alphabet = L"aAbB\u0430\u0410\u212A";
    for (unsigned int round = Rounds(20000, 500000); round != 0; --round)
    {
        GMString text;
        GMString x;
        for (std::size_t length = random.Below(40); length != 0; --length)
            text += random.Pick(alphabet);
        for (std::size_t length = random.Below(5); length != 0; --length)
            x += random.Pick(alphabet);
        auto const start = static_cast<unsigned int>(random.Below(text.length() + 2));
        ASSERT_EQ(static_cast<unsigned int>(Lowered(text).find(Lowered(x), start)),
                  Utils::FindNoCase(text, x, start))
            << testing::PrintToString(text) << " " << testing::PrintToString(x) << start;
    }
}

TEST(GMStringUtils, CutsPieces)
{
    GMString const text = L"abc";
    EXPECT_EQ(L"ab", Utils::Left(text, 2));
    EXPECT_EQ(L"abc", Utils::Left(text, 5));
    EXPECT_EQ(L"", Utils::Left(text, -1));
    EXPECT_EQ(L"bc", Utils::Right(text, 2));
    EXPECT_EQ(L"abc", Utils::Right(text, 5));
    EXPECT_EQ(L"", Utils::Right(text, 0));
    EXPECT_EQ(L"", Utils::Right(text, -1));
    EXPECT_EQ(L"b", Utils::Mid(text, 1, 1));
    EXPECT_EQ(L"bc", Utils::Mid(text, 1, 9));
    EXPECT_EQ(L"bc", Utils::Mid(text, 1, notFound));
    EXPECT_EQ(L"", Utils::Mid(text, 3, 1));
    EXPECT_EQ(L"", Utils::Mid(text, -1, 2));
    EXPECT_EQ(L"", Utils::Mid(L"", 0, 1));
}

TEST(GMStringUtils, TakesLinesOff)
{
    struct Case
    {
        wchar_t const * text;
        wchar_t const * delimiter;
        wchar_t const * line;
        wchar_t const * rest;
    };
    Case const cases[] = {
        {L"a;b;", L";", L"a", L"b;"},
        {L"b;", L";", L"b", L""},
        {L"", L";", L"", L""},
        {L"abc", L";", L"abc", L""},
        {L";a", L";", L"", L"a"},
        {L"abc", L"", L"", L"abc"},
        {L"a\r\n\r\nb", L"\r\n", L"a", L"\r\nb"},
        {L"a\rb", L"\r\n", L"a\rb", L""},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.text));
        GMString text = each.text;
        EXPECT_EQ(each.line, Utils::GetLine(text, each.delimiter));
        EXPECT_EQ(each.rest, text);
    }
}

TEST(GMStringUtils, TakesMarkedTextsOff)
{
    struct Case
    {
        wchar_t const * text;
        wchar_t const * before;
        wchar_t const * after;
        wchar_t const * result;
        wchar_t const * rest;
    };
    Case const cases[] = {
        {L"x[ab]y", L"[", L"]", L"ab", L"y"},
        {L"x[ab]y", L"[", L"}", L"ab]y", L""},
        {L"x[ab]y", L"[", L"", L"ab]y", L""},
        {L"x[ab]y", L"", L"]", L"x[ab", L"y"},
        {L"x[ab]y", L"", L"", L"x[ab]y", L""},
        {L"x]ab[c]y", L"[", L"]", L"c", L"y"},
        {L"[]y", L"[", L"]", L"", L"y"},
        {L"#a#b", L"#", L"#", L"a#b", L"a#b"}, // the same mark is found twice
        {L"<<a>b", L"<<", L"<", L"a>b", L"<a>b"},
        {L"abc", L"[", L"]", L"", L""},
        {L"", L"", L"]", L"", L""},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.text) + testing::PrintToString(each.before));
        GMString text = each.text;
        EXPECT_EQ(each.result, Utils::GetSubStr(text, each.before, each.after));
        EXPECT_EQ(each.rest, text);
    }
}

TEST(GMStringUtils, HelpsWithPlainTexts)
{
    EXPECT_EQ(0u, Utils::StringLen(nullptr));
    EXPECT_EQ(3u, Utils::StringLen(L"abc"));
    wchar_t buffer[4] = L"old";
    EXPECT_EQ(nullptr, Utils::StringCopy(buffer, nullptr));
    EXPECT_EQ(nullptr, Utils::StringCopy(nullptr, L"new"));
    EXPECT_STREQ(L"old", buffer);
    EXPECT_EQ(buffer, Utils::StringCopy(buffer, L"new"));
    EXPECT_STREQ(L"new", buffer);
    EXPECT_EQ(buffer + 1, Utils::StringChr(buffer, L'e'));
    EXPECT_EQ(nullptr, Utils::StringChr(buffer, L'x'));
    EXPECT_EQ(nullptr, Utils::StringChr(nullptr, L'x'));
    EXPECT_EQ(2u, Utils::StringChrNum(L"banana", L'n'));
    EXPECT_EQ(0u, Utils::StringChrNum(nullptr, L'n'));
}

TEST(GMStringUtils, Trims)
{
    struct Case
    {
        wchar_t const * text;
        wchar_t const * set;
        wchar_t const * left;
        wchar_t const * right;
        wchar_t const * both;
    };
    Case const cases[] = {
        {L" \ta b \t", L" \t", L"a b \t", L" \ta b", L"a b"},
        {L"  ", L" ", L"", L"", L""},
        {L"", L" ", L"", L"", L""},
        {L" a", L"", L" a", L" a", L" a"},
        {L" a", nullptr, L" a", L" a", L" a"},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.text));
        auto const with = [&](auto trim) { return [&, trim](GMString & s) { trim(s, each.set); }; };
        EXPECT_EQ(each.left, Edited(each.text, with(Utils::TrimLeft)));
        EXPECT_EQ(each.right, Edited(each.text, with(Utils::TrimRight)));
        EXPECT_EQ(each.both, Edited(each.text, with(Utils::Trim)));
    }
}

TEST(GMStringUtils, RemovesUnits)
{
    auto const removed = [](GMString text)
    { return Edited(text, [](GMString & s) { Utils::RemoveChar(s, L' '); }); };
    auto const collapsed = [](GMString text)
    { return Edited(text, [](GMString & s) { Utils::TrimDupChar(s, L' '); }); };
    EXPECT_EQ(L"abbc", removed(L"  a bb   c "));
    EXPECT_EQ(L" a bb c ", collapsed(L"  a bb   c "));
    EXPECT_EQ(L"", removed(L"  "));
    EXPECT_EQ(L" ", collapsed(L"  "));

    EXPECT_EQ(L"a\"b", Edited(L"\"a\"b\"", Utils::RemoveQuote));
    EXPECT_EQ(L"", Edited(L"\"\"", Utils::RemoveQuote));
    EXPECT_EQ(L"", Edited(L"\"", Utils::RemoveQuote));
    EXPECT_EQ(L"\"abc", Edited(L"\"abc", Utils::RemoveQuote));
    EXPECT_EQ(L"", Edited(L"", Utils::RemoveQuote));
}

TEST(GMStringUtils, Replaces)
{
    struct Case
    {
        wchar_t const * text;
        wchar_t const * from;
        wchar_t const * to;
        wchar_t const * result;
        wchar_t const * resultNoCase;
    };
    Case const cases[] = {
        {L"aaa", L"a", L"aa", L"aaaaaa", L"aaaaaa"},
        {L"aaa", L"aa", L"x", L"xa", L"xa"},
        {L"abAB", L"ab", L"", L"AB", L""},
        {L"abAB", L"AB", L"xyz", L"abxyz", L"xyzxyz"},
        {L"-a-", L"a", L"\u4E2D\u6587", L"-\u4E2D\u6587-", L"-\u4E2D\u6587-"},
        {L"abc", L"d", L"x", L"abc", L"abc"},
        {L"ab", L"abc", L"x", L"ab", L"ab"},
        {L"", L"a", L"x", L"", L""},
        {L"abc", L"", L"x", L"abc", L"abc"},
        {L"abc", nullptr, L"x", L"abc", L"abc"},
        {L"abc", L"a", nullptr, L"abc", L"abc"},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.text));
        EXPECT_EQ(each.result,
                  Edited(each.text, [&](GMString & s) { Utils::Replace(s, each.from, each.to); }));
        EXPECT_EQ(each.resultNoCase, Edited(each.text, [&](GMString & s)
                                            { Utils::ReplaceNoCase(s, each.from, each.to); }));
    }
    EXPECT_EQ(L"b-b", Edited(L"a-a", [](GMString & s) { Utils::Replace(s, L'a', L'b'); }));
}

TEST(GMStringUtils, EscapesForXml)
{
    EXPECT_EQ(L"a&amp;&quot;b<'", Edited(L"a&\"b<'", Utils::SimapleXmlEscape));
    for (wchar_t const * text : {L"a&\"b", L"&quot;", L"&amp;quot;", L""})
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
    struct Case
    {
        int size;
        bool hasFormat;
        int result;
    };
    // The text has three units.
    Case const cases[] = {{5, true, 0}, {4, true, 0}, {3, true, 1}, {1, true, 1}, {4, false, -1}};
    auto const format = [](auto operation, auto * dst, int size, auto * pattern, ...)
    {
        va_list args;
        va_start(args, pattern);
        int const result = operation(dst, size, pattern, args);
        va_end(args);
        return result;
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.size);
        wchar_t wide[7] = L"??????";
        char narrow[7] = "??????";
        EXPECT_EQ(each.result, format(Utils::FormatToBuffer, wide, each.size,
                                      each.hasFormat ? L"%d" : nullptr, 123));
        EXPECT_EQ(each.result, format(Utils::FormatToBufferA, narrow, each.size,
                                      each.hasFormat ? "%d" : nullptr, 123));
        if (each.result == 0)
        {
            EXPECT_STREQ(L"123", wide);
            EXPECT_STREQ("123", narrow);
        }
        EXPECT_EQ(L'?', wide[each.size]);
        EXPECT_EQ('?', narrow[each.size]);
    }
}

} // namespace Velmora::Testing
