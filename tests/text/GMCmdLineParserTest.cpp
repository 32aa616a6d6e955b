#include "VelmoraCommon/text/GMCmdLineParser.h"

#include <gtest/gtest.h>

namespace Velmora::Testing
{

GMString Shown(GMCmdLineParser const & parser)
{
    GMString line;
    for (auto const & [key, value] : parser.GetKeyValues())
        line += key + L'=' + value + L'|';
    return line;
}

TEST(GMCmdLineParser, ReadsLines)
{
    wchar_t const * const cases[][2] = {{L"", L""},
                                        {L"-a=1 /b:2", L"a=1|b=2|"},
                                        {L"-a=", L"a=|"},
                                        {L"-a b", L"a=|b=|"},
                                        {L"-a=\"x y", L"a=x y|"},
                                        {L"-a=x\"y z\"", L"a=x\"y|z\"=|"},
                                        {L"-a::b", L"a=:b|"},
                                        {L"foo-bar", L"bar=|foo=|"},
                                        {L"-=1 -b", L"b=|"},
                                        {L"-a=1 -A=2", L"a=1|"},
                                        {L"Word -Word=1", L"Word=|word=1|"}};
    for (auto const & [line, pairs] : cases)
        EXPECT_EQ(pairs, Shown(GMCmdLineParser(line))) << line;
    EXPECT_EQ(L"A=|a=1|", Shown(GMCmdLineParser(L"-a=1 -A", true)));
}

TEST(GMCmdLineParser, TakesSetsOfTheCaller)
{
    wchar_t const * const cases[][5] = {
        {L"+a -b", L"+", nullptr, nullptr, L"+a=|-b=|"}, // a word, not a key
        {L"a -b +c", L" ", nullptr, nullptr, L"+c=|a=|b=|"},
        {L"-a=1 b:2  c", L"", nullptr, nullptr, L"-a=1|b=2|c=|"},
        {L"-a>1 -b=2", nullptr, L">", nullptr, L"a=1|b=2=|"},
        {L"-a='x \" y' -b", nullptr, nullptr, L"'", L"a=x \" y|b=|"},
        {L"-a='x y\" -b", nullptr, nullptr, L"'\"", L"a=x y|b=|"},
        {L"A B", L"", L"", L"", L"a b=|"}};
    for (auto const & [line, delimiters, separators, quotes, pairs] : cases)
    {
        GMCmdLineParser parser(L"-old");
        ASSERT_TRUE(parser.Parse(line, delimiters, separators, quotes));
        EXPECT_EQ(pairs, Shown(parser)) << line;
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
    EXPECT_TRUE(parser.HasKey(L"flag") && !parser.HasValue(L"flag"));
    EXPECT_TRUE(parser.HasKey(L"--x")); // one delimiter goes, the other is of the key
    parser.SetKeyValue(L"", L"1");      // nothing asks for it
    for (wchar_t const * key : {L"", L"-", L"=", L"-=", L"--port", L"port==", L"Word", L"x"})
    {
        EXPECT_TRUE(parser.FindKey(key) == parser.FindKey(GMString())) << key;
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
        GMString const pairs = Shown(parser);
        EXPECT_FALSE(parser.Parse(nullptr, nullptr, nullptr, nullptr)); // leaves all alone
        EXPECT_TRUE(parser.Parse(parser.Build().c_str(), L"", nullptr, nullptr));
        EXPECT_EQ(pairs, Shown(parser)) << line;
    }
}

} // namespace Velmora::Testing
