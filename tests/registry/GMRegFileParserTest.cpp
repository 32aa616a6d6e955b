#include "VelmoraCommon/registry/GMRegFileParser.h"

#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/registry/RegText.h"

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

std::string ScanFailure(Record & record, wchar_t const * text)
{
    return Failure([&] { GMRegFileParser(&record).Parse(text); });
}

} // namespace

TEST(GMRegFileParser, SplitsLines)
{
    std::tuple<char const *, wchar_t const *, wchar_t const *, char const *> const cases[] = {
        {"no line break", L"[A]", L"", "none"},
        {"lone CR and LF don't end a line", L"\"a\"=1\r2\n3\r\n", L"\"a\" -> 1\r2\n3; ", "none"},
        {"blanks around a key", L" \t[A]\r\n[B] \r\n", L"[A] ", "none"},
        {"comments are no syntax", L"; text\r\n; a = b\r\n", L"; a  ->  b; ", "none"},
        {"= in quotes", L"\"a=b\"=1\r\n\"a\\\"=b\"=2\r\n", L"\"a=b\" -> 1; \"a\\\"=b\" -> 2; ",
         "none"},
        {"name that ends in a backslash is lost", L"\"a\\\\\"=\"b\"\r\n\"c\"=1\r\n",
         L"\"c\" -> 1; ", "none"},
        {"continued", L"a=hex:1,\\\r\n  2,\\\r\n 3\r\n[K]\r\n",
         L"a -> hex:1,\\\r\n  2,\\\r\n 3; [K] ", "none"},
        {"an empty line ends it", L"a=hex:1,\\\r\n\r\n[K]\r\n", L"a -> hex:1,\\\r\n; [K] ", "none"},
        {"hex in a string", L"a=\"hexagon\\\r\nb=2\r\n", L"a -> \"hexagon\\\r\nb=2; ", "none"},
        {"hex left of =", L"hex=1\\\r\nb=2\r\n", L"", noDataFailure},
        {"hex of an earlier line", L"x=dword:1\r\n[K]\r\ny=a\\\r\nb\r\n",
         L"x -> dword:1; [K] y -> a\\\r\nb; ", "none"},
        {"not past a dropped line", L"x=dword:1\r\n\r\ny=a\\\r\nb\r\n", L"x -> dword:1; ",
         noDataFailure},
        {"a continued value ends it", L"x=hex:1,\\\r\n2\r\ny=a\\\r\nb\r\nz=1\r\n",
         L"x -> hex:1,\\\r\n2; ", noDataFailure},
        {"string continued into a key", L"[a=\\\r\nb]\r\n", L"", noDataFailure},
        {"hex continued at the end", L"a=hex:1,\\\r\n", L"", "none"},
        {"two pieces at the end", L"a=hex:1,\\\r\n2,\\\r\n", L"a -> hex:1,\\\r\n2,\\\r\n; ",
         "none"},
        {"two pieces at the very end", L"a=hex:1,\\\r\n2,\\", L"", "out_of_range"},
    };
    for (auto const & [what, text, found, failure] : cases)
    {
        SCOPED_TRACE(what);
        Record record;
        EXPECT_EQ(failure, ScanFailure(record, text));
        EXPECT_EQ(found, record.text);
    }
}

} // namespace Velmora::Testing
