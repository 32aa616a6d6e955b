#include "VelmoraCommon/text/GMUrlEncode.h"

#include <gtest/gtest.h>

#include "VelmoraCommon/text/GMStringConvert.h"

namespace Velmora::Testing
{

TEST(GMUrlEncode, EncodesBytes)
{
    char const * const cases[][2] = {
        {"a b", "a%20b"},
        {"\t\n\v\f\r", "%20%20%20%20%20"},
        {"a/b?c=1", "a%2Fb%3Fc%3D1"},
        {"a.b-c_d*@", "a.b-c_d*@"},
        {"/09:@AZ[`az{", "%2F09%3A@AZ%5B%60az%7B"},
        {"\x01\x1F\x7F\x80\xFF\xA0", "%01%1F%7F%80%FF%A0"},
    };
    for (auto const & [text, encoded] : cases)
        EXPECT_EQ(encoded, GMUrlEncode::EncodeA(text)) << text;
    EXPECT_EQ('a' - 55, GMUrlEncode::FromHex('a'));
    EXPECT_TRUE(GMUrlEncode::IsSpecial('@') && !GMUrlEncode::IsSpecial('a'));
    EXPECT_EQ("%00", GMUrlEncode::EncodeA(GMStringA(1, '\0')));
}

TEST(GMUrlEncode, DecodesBytes)
{
    char const * const cases[][2] = {
        {"", ""},         {"a+b", "a+b"},
        {"%20", " "},     {"%41%4a%4A%fF", "AJJ\xFF"},
        {"a%2", "a%2"},   {"%", "%"},
        {"%41%", "A%"},   {"%%41", "%A"},
        {"%zz%", "%zz%"}, {"%4g%G4", "\x04%G4"},
        {"%2541", "%41"},
    };
    for (auto const & [text, decoded] : cases)
        EXPECT_EQ(decoded, GMUrlEncode::DecodeA(text)) << text;
    EXPECT_EQ(GMStringA(1, '\0'), GMUrlEncode::DecodeA("%00"));
}

TEST(GMUrlEncode, GoesThroughTheCodePage)
{
    EXPECT_EQ(L"%E4%B8%AD", GMUrlEncode::Encode(L"\x4E2D", true));
    EXPECT_EQ(L"\x4E2D", GMUrlEncode::Decode(L"%e4%b8%ad", true));
    EXPECT_EQ(L"%F0%9F%98%80", GMUrlEncode::Encode(L"\xD83D\xDE00", true));
    EXPECT_EQ(L"", GMUrlEncode::Encode(L"", true));

    GMStringConvert::SetDefaultCodePage(936);
    EXPECT_EQ(L"%D6%D0", GMUrlEncode::Encode(L"\x4E2D", false));
    EXPECT_EQ(L"\x4E2D\x4E2D", GMUrlEncode::Decode(L"\x4E2D%D6%d0", false));
    GMStringConvert::SetDefaultCodePage(0);
}

TEST(GMUrlEncode, BuildsAQuery)
{
    GMUrlEncode url(L"http://a.b", true);
    EXPECT_EQ(L"http://a.b", url.GetEncodedUrl());
    url.AddGetParams(L"");
    url.AddGetParam(L"", L"1", true);
    url.AddGetParam(L"a", L"x \xE9", false);
    url.AddGetParam(L"b", 4294967295u);
    url.AddGetParam(L"c", 18446744073709551615ull);
    url.AddGetParam(L"d e", L"%20 ", true);
    url.AddGetParams(L"&f=1");
    url.AddGetParams(L"g");
    GMString const params = L"a=x%20%C3%A9&b=4294967295&c=18446744073709551615&d e=%20 &f=1&g";
    EXPECT_EQ(params, url.GetParams());
    EXPECT_EQ(L"http://a.b?" + params, url.GetEncodedUrl());
}

TEST(GMUrlEncode, EncodesValuesInPlace)
{
    wchar_t const * const cases[][2] = {
        {L"", L""},
        {L"http://a.b/c d", L"http://a.b/c d"},
        {L"http://a.b/c?x=1 2&y=\xE9", L"http://a.b/c?x=1%202&y=%C3%A9"},
        {L"http://a.b/c?x", L"http://a.b/c"},
        {L"a=b/c?", L"a=b/c"},
        {L"?x=1&y", L"?x=1&"},
        {L"?x=&y=", L"?x=&y="},
        {L"?x=1=2?&&y z=3", L"?x=1%3D2%3F&&y z=3"},
        {L"?x&y=1/2", L"?x&y=1%2F2"},
    };
    for (auto const & [url, encoded] : cases)
        EXPECT_EQ(encoded, GMUrlEncode::EncodeEx(url, true)) << url;
}

} // namespace Velmora::Testing
