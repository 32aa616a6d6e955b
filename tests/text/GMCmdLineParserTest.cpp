#include "VelmoraCommon/text/GMCmdLineParser.h"

#include <algorithm>
#include <tuple>

#include <gtest/gtest.h>

namespace Velmora::Testing
{

using Pairs = std::vector<std::pair<GMString, GMString>>;

TEST(GMCmdLineParser, ReadsLines)
{
    using Row = std::pair<wchar_t const *, Pairs>;
    Row const cases[] = {{L"", {}},
                         {L"-a=", {{L"a", L""}}},
                         {L"-a::b", {{L"a", L":b"}}},
                         {L"-=1 -b", {{L"b", L""}}},
                         {L"-a=\"x y", {{L"a", L"x y"}}},
                         {L"-a=1 -A=2", {{L"a", L"1"}}},
                         {L"-a b", {{L"a", L""}, {L"b", L""}}},
                         {L"foo-bar", {{L"bar", L""}, {L"foo", L""}}},
                         {L"-a=1 /b:2", {{L"a", L"1"}, {L"b", L"2"}}},
                         {L"-a=\"x y\"/b", {{L"a", L"x y"}, {L"b", L""}}},
                         {L"-a=x\"y z\"", {{L"a", L"x\"y"}, {L"z\"", L""}}},
                         {L"Word -Word=1", {{L"Word", L""}, {L"word", L"1"}}}};
    for (auto const & [line, pairs] : cases)
        EXPECT_EQ(pairs, GMCmdLineParser(line).GetKeyValues()) << line;
    EXPECT_EQ((Pairs{{L"A", L""}, {L"a", L"1"}}), GMCmdLineParser(L"-a=1 -A", true).GetKeyValues());
}

TEST(GMCmdLineParser, TakesSetsOfTheCaller)
{
    using Set = wchar_t const *;
    std::tuple<wchar_t const *, Set, Set, Set, Pairs> const cases[] = {
        {L"+a -b", L"+", nullptr, nullptr, {{L"+a", L""}, {L"-b", L""}}}, // a word, not a key
        {L"a -b +c", L" ", nullptr, nullptr, {{L"a", L""}, {L"b", L""}, {L"+c", L""}}},
        {L"-a=1 b:2  c", L"", nullptr, nullptr, {{L"-a", L"1"}, {L"b", L"2"}, {L"c", L""}}},
        {L"-a=1 -b", nullptr, L"", nullptr, {{L"a=1 -b", L""}}},
        {L"-a>1 -b=2", nullptr, L">", nullptr, {{L"a", L"1"}, {L"b=2", L""}}},
        {L"-a='x \" y' -b", nullptr, nullptr, L"'", {{L"a", L"x \" y"}, {L"b", L""}}},
        {L"-a='x y\" -b", nullptr, nullptr, L"'\"", {{L"a", L"x y"}, {L"b", L""}}},
        {L"-a=\"x y\"", nullptr, nullptr, L"", {{L"a", L"\"x"}, {L"y\"", L""}}},
        {L"A B", L"", L"", L"", {{L"a b", L""}}},
    };
    for (auto const & [line, delimiters, separators, quotes, expected] : cases)
    {
        GMCmdLineParser parser(L"-old");
        ASSERT_TRUE(parser.Parse(line, delimiters, separators, quotes));
        Pairs pairs = expected;
        std::sort(pairs.begin(), pairs.end());
        EXPECT_EQ(pairs, parser.GetKeyValues()) << line;
    }
}

TEST(GMCmdLineParser, FindsKeysInAnySpelling)
{
    GMCmdLineParser parser(L"/Port=4294967297x -flag Word --x");
    for (wchar_t const * key : {L"port", L"-Port", L"/PORT:", L"port=", L"-port "})
    {
        EXPECT_TRUE(parser.HasValue(key)) << key;
        EXPECT_EQ(1u, parser.GetIntValue(key)) << key; // cut to 32 bits, up to the "x"
    }
    EXPECT_TRUE(parser.HasKey(L"flag"));
    EXPECT_FALSE(parser.HasValue(L"flag"));
    EXPECT_TRUE(parser.HasKey(L"--x")); // one delimiter goes, the other is of the key
    parser.SetKeyValue(L"", L"1");      // nothing asks for it
    for (wchar_t const * key : {L"", L"-", L"=", L"-=", L"--port", L"port==", L"Word", L"x"})
    {
        EXPECT_TRUE(parser.FindKey(key) == parser.FindKey(GMString())) << key;
        EXPECT_EQ(L"", parser.GetValue(key));
        EXPECT_EQ(0u, parser.GetIntValue(key));
    }
    auto const port = parser.FindKey(L"port");
    EXPECT_TRUE(port->first.m_delimiter == 2 && port->second.m_separator == 2);
    parser.SetKeyValue(L"Word", L"1"); // as it stands
    parser.SetCaseSensitive(true);
    EXPECT_TRUE(parser.HasValue(L"Word"));
    EXPECT_FALSE(parser.HasKey(L"Port"));
}

TEST(GMCmdLineParser, BuildsLines)
{
    wchar_t const * const cases[][2] = {{L"-b=1 -a=\"x y\" -c", L"a=\"x y\" b=1 c"},
                                        {L"/u:http://x", L"u=\"http://x\""},
                                        {L"-a=x\"y -b=\"\"", L"a=x\"y b"}};
    for (auto const & [line, built] : cases)
    {
        GMCmdLineParser parser(line);
        EXPECT_EQ(built, parser.Build());
        Pairs const pairs = parser.GetKeyValues();
        EXPECT_FALSE(parser.Parse(nullptr, nullptr, nullptr, nullptr)); // leaves all alone
        EXPECT_TRUE(parser.Parse(parser.Build().c_str(), L"", nullptr, nullptr));
        EXPECT_EQ(pairs, parser.GetKeyValues()) << line;
    }
}

} // namespace Velmora::Testing
