#include "VelmoraCommon/registry/GMRegFileParser.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/registry/RegText.h"
#include "tests/support/GuardBuffer.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"

namespace Velmora::Testing
{

namespace
{

/// Notes what comes out of the parser, as text.
class Record : public GMRegFileObserver
{
public:
    void OnKeyFound(wchar_t const * begin, wchar_t const * end) override
    {
        text += L"[" + std::wstring(begin, end) + L"] ";
    }

    void OnValueFound(wchar_t const * nameBegin, wchar_t const * nameEnd, wchar_t const * dataBegin,
                      wchar_t const * dataEnd) override
    {
        text +=
            std::wstring(nameBegin, nameEnd) + L" -> " + std::wstring(dataBegin, dataEnd) + L"; ";
    }

    std::wstring text;
};

/// The rules of the scanner written down one by one, with a copy of everything: the yardstick.
void ScanPlainly(wchar_t const * source, GMResultProcessor & processor)
{
    constexpr auto npos = std::wstring::npos;
    std::wstring const text(source);
    std::size_t lineStart = 0;
    std::size_t lineEnd = 0;
    std::size_t segmentStart = 0;
    std::size_t equalsAt = 0;
    bool hexData = false;
    bool continuing = false;

    auto const findLine = [&](std::size_t from)
    {
        lineEnd = text.find(L"\r\n", from);
        if (lineEnd == npos && from < text.size())
            lineEnd = text.size();
        return lineEnd != npos;
    };
    auto const nextLine = [&]
    {
        lineStart = lineEnd + 2;
        return findLine(lineStart);
    };
    auto const reset = [&]
    {
        hexData = continuing = false;
        segmentStart = equalsAt = 0;
    };

    lineEnd = text.find(L"\r\n");
    bool more = lineEnd != npos;
    while (more)
    {
        if (hexData && continuing)
        {
            std::wstring const segment = text.substr(segmentStart, lineEnd - segmentStart);
            if (!segment.empty() && segment.back() == L'\\')
            {
                segmentStart = lineEnd + 2;
                lineEnd = std::min(text.find(L"\r\n", segmentStart), text.size());
                continue;
            }
            processor.OnValueDataFound(source + lineStart + equalsAt + 1, source + lineEnd);
            reset();
            more = nextLine();
            continue;
        }

        std::wstring line = text.substr(lineStart, lineEnd - lineStart);
        std::size_t const blanks = std::min(line.find_first_not_of(L" \t\r\n"), line.size());
        line.erase(0, blanks);
        lineStart += blanks;
        if (!line.empty() && line.front() == L'[' && line.back() == L']')
        {
            processor.OnKeyFound(source + lineStart + 1, source + lineEnd - 1);
            more = nextLine();
            continue;
        }

        std::size_t found = npos;
        bool quoted = false;
        for (std::size_t i = 0; i < line.size() && found == npos; ++i)
        {
            if (line[i] == L'"' && !(i > 0 && line[i - 1] == L'\\'))
                quoted = !quoted;
            else if (line[i] == L'=' && !quoted)
                found = i;
        }
        if (found == npos)
        {
            reset();
            more = nextLine();
            continue;
        }

        processor.OnValueNameFound(source + lineStart, source + lineStart + found);
        std::wstring const data = line.substr(found + 1);
        if (data.find(L"hex") != npos || data.find(L"dword") != npos)
            hexData = true;
        if (line.back() == L'\\')
        {
            equalsAt = found;
            continuing = true;
            segmentStart = lineEnd + 2;
            more = findLine(segmentStart);
            continue;
        }
        processor.OnValueDataFound(source + lineStart + found + 1, source + lineEnd);
        more = nextLine();
    }
}

} // namespace

TEST(GMRegFileParser, SplitsLines)
{
    struct Case
    {
        char const * what;
        wchar_t const * text;
        wchar_t const * found;
        char const * failure = "none";
    };
    Case const cases[] = {
        {"no line break", L"[A]", L""},
        {"lone CR and LF don't end a line", L"\"a\"=1\r2\n3\r\n", L"\"a\" -> 1\r2\n3; "},
        {"last line without line break", L"[A]\r\n\"a\"=1", L"[A] \"a\" -> 1; "},
        {"blanks around a key", L" \t[A]\r\n[B] \r\n", L"[A] "},
        {"empty key, lone bracket", L"[]\r\n[\r\n]\r\n", L"[] "},
        {"comments are no syntax", L"; text\r\n; a = b\r\n", L"; a  ->  b; "},
        {"= in quotes", L"\"a=b\"=1\r\n\"a\\\"=b\"=2\r\n", L"\"a=b\" -> 1; \"a\\\"=b\" -> 2; "},
        {"name that ends in a backslash is lost", L"\"a\\\\\"=\"b\"\r\n\"c\"=1\r\n",
         L"\"c\" -> 1; "},
        {"no name, no data", L"=\r\n", L" -> ; "},
        {"continued", L"a=hex:1,\\\r\n  2,\\\r\n 3\r\n[K]\r\n",
         L"a -> hex:1,\\\r\n  2,\\\r\n 3; [K] "},
        {"an empty line ends it", L"a=hex:1,\\\r\n\r\n[K]\r\n", L"a -> hex:1,\\\r\n; [K] "},
        {"hex in a string", L"a=\"hexagon\\\r\nb=2\r\n", L"a -> \"hexagon\\\r\nb=2; "},
        {"hex left of =", L"hex=1\\\r\nb=2\r\n", L"", noDataFailure},
        {"hex of an earlier line", L"x=dword:1\r\n[K]\r\ny=a\\\r\nb\r\n",
         L"x -> dword:1; [K] y -> a\\\r\nb; "},
        {"not past a dropped line", L"x=dword:1\r\n\r\ny=a\\\r\nb\r\n", L"x -> dword:1; ",
         noDataFailure},
        {"string continued into a key", L"[a=\\\r\nb]\r\n", L"", noDataFailure},
        {"hex continued at the end", L"a=hex:1,\\\r\n", L""},
        {"at the very end", L"b=2\r\na=hex:1,\\", L"b -> 2; "},
        {"two pieces at the end", L"a=hex:1,\\\r\n2,\\\r\n", L"a -> hex:1,\\\r\n2,\\\r\n; "},
        {"two pieces at the very end", L"a=hex:1,\\\r\n2,\\", L"", "out_of_range"},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        Record record;
        EXPECT_EQ(each.failure, Failure([&] { GMRegFileParser(&record).Parse(each.text); }));
        EXPECT_EQ(each.found, record.text);
    }
}

TEST(GMRegFileParser, FollowsTheRulesOnAnyText)
{
    std::vector<std::wstring> const pieces = {
        L"\r\n", L"\r\n", L"\r\n", L"\\\r\n", L"\\\r\n", L"\r", L"\n",   L"\\",
        L"\"",   L"\"",   L"=",    L"=",      L"[",      L"]",  L"hex:", L"dword",
        L"he",   L"x",    L" ",    L"\t",     L"=hex:",  L";"};
    GuardBuffer<wchar_t> const room(std::wstring(200, L'\0'));
    Random random(20240229);
    for (unsigned int round = Rounds(40'000, 2'000'000); round != 0; --round)
    {
        std::wstring text;
        for (std::size_t count = random.Below(30); count != 0; --count)
            text += random.Pick(pieces);
        wchar_t * const source = room.Data() + room.Size() - text.size() - 1;
        std::copy_n(text.c_str(), text.size() + 1, source);

        Record expected;
        GMRegFileParser yardstick(&expected);
        auto const failure = Failure([&] { ScanPlainly(source, yardstick); });
        Record record;
        ASSERT_EQ(failure, Failure([&] { GMRegFileParser(&record).Parse(source); })) << text;
        ASSERT_EQ(expected.text, record.text) << text;
    }
}

// Each takes minutes or hours if any step looks at the whole text once for each line.
TEST(GMRegFileParser, TakesLongTextsInOnePass)
{
    struct Case
    {
        char const * what;
        wchar_t const * begin;
        wchar_t const * repeated;
        std::size_t count;
        char const * failure = "none";
    };
    Case const cases[] = {
        {"a line of 40 MB", L"[K]\r\na=hex:", L"0,", 10'000'000},
        {"lone CRs", L"[K]\r\na=", L"\r", 4'000'000},
        {"backslashes", L"[K]\r\n\"", L"\\", 4'000'000},
        {"continued over 400,000 lines", L"a=hex:\\\r\n", L"00,\\\r\n", 400'000},
        {"continued strings", L"a=b\\\r\n", L"b\\\r\n", 400'000, noDataFailure},
        {"empty lines", L"", L"\r\n", 2'000'000},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        std::wstring text = each.begin;
        for (std::size_t i = 0; i < each.count; ++i)
            text += each.repeated;
        Record record;
        EXPECT_EQ(each.failure, Failure([&] { GMRegFileParser(&record).Parse(text.c_str()); }));
    }
}

} // namespace Velmora::Testing
