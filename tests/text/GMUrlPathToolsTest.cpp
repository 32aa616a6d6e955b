#include "VelmoraCommon/text/GMUrlPathTools.h"

#include <gtest/gtest.h>

namespace Velmora::Testing
{

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
