// URLs and links in them.
#include "VelmoraCommon/text/GMUrlParser.h"

#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMUrlEncode.h"
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
        {L"http://a.b:65617/", L"a.b", 81, L"http://a.b:65617", L"/"},
        {L"http://a.b:/c", L"a.b", 0, L"http://a.b:0/c", L"/c"},
        {L"a.b/c", L"a.b", 80, L"x://a.b/c", L"/c"},
        {L"a.b/c?d=e:f", L"", 80, L"", L"/"},
        {L":.", L"", 0, L"", L"/"}, // no scheme, but the host ends at once
        {L"http://a.b?c=1", L"a.b?c=1", 80, L"http://a.b?c=1", L"/"},
        {L"http:///c.d", L"", 80, L"/c.d", L"/c.d"},
        {L"http://[1.2::3]:81/x", L"[1.2::3]", 81, L"http://[1.2::3]:81/x", L"/x"},
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
        EXPECT_FALSE(parser.Parse(url)) << url;
    EXPECT_EQ(L"s://a.b:1/c?d", parser.GetUrl());
}

TEST(GMUrlParser, ReadsAndAddsParameters)
{
    GMUrlParser parser;
    std::map<GMString, GMString> params{{L"old", L"1"}};
    ASSERT_TRUE(parser.Parse(L"http://a.b/?a=1&b&c=2=3&a=4&%20=+&"));
    parser.GetParamsMap(params);
    EXPECT_EQ(
        (std::map<GMString, GMString>{{L"a", L"1"}, {L"b", L""}, {L"c", L"2=3"}, {L"%20", L"+"}}),
        params);
    EXPECT_EQ(L"2=3", parser.GetParam(L"c") + parser.GetParam(L"d"));

    GMString url = L"http://a.b";
    GMUrlParser::AddParam(url, L"x", L"1");
    EXPECT_EQ(L"http://a.b?x=1", url);
    GMUrlParser::AddParam(url, L"y", L"");
    EXPECT_EQ(L"http://a.b?x=1&y", url);
    url = L"http://a.b?";
    GMUrlParser::AddParam(url, L"x", L"a b");
    url += L'&';
    GMUrlParser::AddParam(url, L"y", L"1");
    EXPECT_EQ(L"http://a.b?x=a b&y=1", url);
}

TEST(GMUrlPathTools, ResolvesLinks)
{
    wchar_t const * const cases[][3] = {
        {L"http://a.b/c/d.html", L"e.png", L"http://a.b/c/e.png"},
        {L"http://a.b/c/d.html", L"//x.y/z", L"http://x.y/z"},
        {L"http://a.b/c/?d=/e/", L"f", L"http://a.b/c/f"},
        {L"https://a.b:80/c", L"e", L"https://a.b:80/e"},
        {L"HTTPS://a.b/c", L"e", L"HTTPS://a.b:80/e"}, // only "https" has a port of its own
        {L"", L"e", L"e"},
        {L"http://a.b", L"", L""},
    };
    for (auto const & [base, link, url] : cases)
        EXPECT_EQ(url, GMUrlPathTools::GetFullUrlPath(base, link)) << link;
    EXPECT_EQ(L"http://a.b/c?y=2&x=1", GMUrlPathTools::Join(L"http://a.b/c?y=2", L"x=1"));
}

TEST(GMUrlEncode, EncodesAndDecodesBytes)
{
    char const * const cases[][2] = {
        {"a b", "a%20b"},
        {"\t\n\v\f\r", "%20%20%20%20%20"},
        {"a.b-c_d*@", "a.b-c_d*@"},
        {"/09:@AZ[`az{", "%2F09%3A@AZ%5B%60az%7B"},
        {"\x01\x1F\x7F\x80\xFF\xA0", "%01%1F%7F%80%FF%A0"},
    };
    for (auto const & [text, encoded] : cases)
        EXPECT_EQ(encoded, GMUrlEncode::EncodeA(text)) << text;
    EXPECT_EQ('a' - 55, GMUrlEncode::FromHex('a'));
    EXPECT_TRUE(GMUrlEncode::IsSpecial('@') && !GMUrlEncode::IsSpecial('a'));
    EXPECT_EQ("%00", GMUrlEncode::EncodeA(GMStringA(1, '\0')));

    char const * const encodings[][2] = {
        {"", ""},         {"a+b", "a+b"},
        {"%20", " "},     {"%41%4a%4A%fF", "AJJ\xFF"},
        {"a%2", "a%2"},   {"%", "%"},
        {"%41%", "A%"},   {"%%41", "%A"},
        {"%zz%", "%zz%"}, {"%4g%G4", "\x04%G4"},
    };
    for (auto const & [text, decoded] : encodings)
        EXPECT_EQ(decoded, GMUrlEncode::DecodeA(text)) << text;
    EXPECT_EQ(GMStringA(1, '\0'), GMUrlEncode::DecodeA("%00"));
}

TEST(GMUrlEncode, GoesThroughTheCodePage)
{
    EXPECT_EQ(L"%E4%B8%AD", GMUrlEncode::Encode(L"\x4E2D", true));
    EXPECT_EQ(L"\x4E2D", GMUrlEncode::Decode(L"%e4%b8%ad", true));
    EXPECT_EQ(L"%F0%9F%98%80", GMUrlEncode::Encode(L"\xD83D\xDE00", true));

    GMStringConvert::SetDefaultCodePage(936);
    EXPECT_EQ(L"%D6%D0", GMUrlEncode::Encode(L"\x4E2D", false));
    EXPECT_EQ(L"\x4E2D\x4E2D", GMUrlEncode::Decode(L"\x4E2D%D6%d0", false));
    GMStringConvert::SetDefaultCodePage(0);
}

TEST(GMUrlEncode, BuildsAQuery)
{
    GMUrlEncode url(L"http://a.b", true);
    url.AddGetParam(L"", L"1", true);
    url.AddGetParam(L"a", L"x \xE9", false);
    url.AddGetParam(L"c", 18446744073709551615ull);
    url.AddGetParam(L"d e", L"%20 ", true);
    url.AddGetParams(L"&f=1");
    url.AddGetParams(L"g");
    GMString const params = L"a=x%20%C3%A9&c=18446744073709551615&d e=%20 &f=1&g";
    EXPECT_EQ(L"http://a.b?" + params, url.GetEncodedUrl());
}

TEST(GMUrlEncode, EncodesValuesInPlace)
{
    wchar_t const * const cases[][2] = {
        {L"http://a.b/c?x=1 2&y=\xE9", L"http://a.b/c?x=1%202&y=%C3%A9"},
        {L"http://a.b/c?x", L"http://a.b/c"},
        {L"?x=1=2?&&y z=3", L"?x=1%3D2%3F&&y z=3"},
        {L"?x&y=1/2", L"?x&y=1%2F2"},
    };
    for (auto const & [url, encoded] : cases)
        EXPECT_EQ(encoded, GMUrlEncode::EncodeEx(url, true)) << url;
}

} // namespace Velmora::Testing
