// URLs and links in them.
#include "VelmoraCommon/text/GMUrlParser.h"

#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/text/GMUrlPathTools.h"

namespace Velmora::Testing
{

TEST(GMUrlParser, TakesUrlsApart)
{
    // Where the URL has no scheme the base URL shows that of the object, "x".
    using Text = wchar_t const *;
    std::tuple<Text, Text, unsigned short, Text, Text> const cases[] = {
        {L"https://a.b:8443/c/d?e=1", L"a.b", 8443, L"https://a.b:8443/c/d", L"/c/d?e=1"},
        {L" \thttps://a.b/", L"a.b", 443, L"https://a.b", L"/"},
        {L"HTTPS://a.b", L"a.b", 80, L"HTTPS://a.b", L"/"},
        {L"http://a.b:443", L"a.b", 443, L"http://a.b", L"/"},
        {L"http://a.b:65617/", L"a.b", 81, L"http://a.b:65617", L"/"},
        {L"http://a.b:/c", L"a.b", 0, L"http://a.b:0/c", L"/c"},
        {L"a.b/c", L"a.b", 80, L"x://a.b/c", L"/c"},
        {L"a.b/c?d=e:f", L"", 80, L"", L"/"},
        {L"https:/a.b", L"", 443, L"", L"/"},
        {L":.", L"", 0, L"", L"/"}, // no scheme, but the host ends at once
        {L"http://a.b?c=1", L"a.b?c=1", 80, L"http://a.b?c=1", L"/"},
        {L"http://a.b/?c=1?2", L"a.b", 80, L"http://a.b/", L"/?c=1?2"},
        {L"http:///c.d", L"", 80, L"/c.d", L"/c.d"},
        {L"http://[1.2::3]:81/x", L"[1.2::3]", 81, L"http://[1.2::3]:81/x", L"/x"},
        {L"http://[1.2::3:81/x", L"", 80, L"", L"/"},
    };
    for (auto const & [url, host, port, baseUrl, filePath] : cases)
    {
        SCOPED_TRACE(testing::Message() << url);
        GMUrlParser parser;
        ASSERT_TRUE(parser.Parse(L"x://old.old:1/old?old=1"));
        ASSERT_TRUE(parser.Parse(url));
        EXPECT_EQ(host, parser.GetHost());
        EXPECT_EQ(port, parser.GetPort());
        EXPECT_EQ(baseUrl, parser.GetBaseUrl());
        EXPECT_EQ(filePath, parser.GetFilePath());
    }
}

TEST(GMUrlParser, RefusesWhatIsNoUrl)
{
    GMUrlParser parser;
    ASSERT_TRUE(parser.Parse(L"s://a.b:1/c?d"));
    for (wchar_t const * url : {L"", L"localhost", L"-x.y", L".x", L"http://localhost:80/"})
    {
        EXPECT_FALSE(parser.Parse(url)) << url;
        EXPECT_EQ(L"s://a.b:1/c?d", parser.GetUrl()) << url;
    }
}

TEST(GMUrlParser, ReadsParameters)
{
    GMUrlParser parser;
    std::map<GMString, GMString> params{{L"old", L"1"}};
    parser.GetParamsMap(params);
    EXPECT_TRUE(params.empty());
    ASSERT_TRUE(parser.Parse(L"http://a.b/?a=1&b&c=2=3&a=4&%20=+&"));
    parser.GetParamsMap(params);
    std::map<GMString, GMString> const expected = {
        {L"a", L"1"}, {L"b", L""}, {L"c", L"2=3"}, {L"%20", L"+"}};
    EXPECT_EQ(expected, params);
    EXPECT_EQ(L"2=3", parser.GetParam(L"c"));
    EXPECT_EQ(L"", parser.GetParam(L"d"));
}

TEST(GMUrlParser, AddsParameters)
{
    GMString url = L"http://a.b";
    GMUrlParser::AddParam(url, L"x", L"1");
    EXPECT_EQ(L"http://a.b?x=1", url);
    GMUrlParser::AddParam(url, L"y", L"");
    EXPECT_EQ(L"http://a.b?x=1&y", url);
    for (GMString start : {L"http://a.b?", L"http://a.b?z&"})
    {
        url = start;
        GMUrlParser::AddParam(url, L"x", L"a b");
        EXPECT_EQ(start + L"x=a b", url);
    }
}

TEST(GMUrlPathTools, JoinsUrlAndParameters)
{
    EXPECT_EQ(L"http://a.b/c?y=2&x=1", GMUrlPathTools::Join(L"http://a.b/c?y=2", L"x=1"));
    EXPECT_EQ(L"?x", GMUrlPathTools::Join(L"", L"x"));
}

TEST(GMUrlPathTools, ResolvesLinks)
{
    wchar_t const * const cases[][3] = {
        {L"http://a.b/c/d.html", L"e.png", L"http://a.b/c/e.png"},
        {L"http://a.b/c/d.html", L"/e.png", L"http://a.b/e.png"},
        {L"http://a.b/c/d.html", L"//x.y/z", L"http://x.y/z"},
        {L"http://a.b/c/d.html", L"ftp://q", L"ftp://q"},
        {L"http://a.b/c/?d=/e/", L"f", L"http://a.b/c/f"},
        {L"http://a.b", L"e", L"http://a.b/e"},
        {L"http://a.b:443/c", L"/e", L"http://a.b:443/e"},
        {L"https://a.b:80/c", L"e", L"https://a.b:80/e"},
        {L"https://a.b:443/c", L"//e", L"https://e"},
        {L"HTTPS://a.b/c", L"e", L"HTTPS://a.b:80/e"}, // only "https" has a port of its own
        {L"a.b/c", L"//e", L"http://e"},
        {L"localhost", L"e", L"e"},
        {L"", L"e", L"e"},
        {L"http://a.b", L"", L""},
    };
    for (auto const & [base, link, url] : cases)
        EXPECT_EQ(url, GMUrlPathTools::GetFullUrlPath(base, link)) << link;
}

} // namespace Velmora::Testing
