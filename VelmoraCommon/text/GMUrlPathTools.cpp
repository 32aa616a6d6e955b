#include "VelmoraCommon/text/GMUrlPathTools.h"

#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/GMUrlParser.h"

namespace Velmora
{

GMUrlPathTools::GMUrlPathTools() = default;
GMUrlPathTools::~GMUrlPathTools() = default;

GMString GMUrlPathTools::Join(GMString url, GMString param)
{
    GMUrlParser parser;
    parser.Parse(url);
    return url + (parser.m_query.empty() ? L'?' : L'&') + param;
}

GMString GMUrlPathTools::GetFullUrlPath(GMString const & base, GMString const & link)
{
    if (link.empty() || base.empty() || link.find(L"://") != GMString::npos)
        return link;
    bool const isSecure = GMStringUtils::BeginWithNoCase(base, L"https://");
    GMUrlParser parser(isSecure ? L"https" : L"http");
    if (!parser.Parse(base))
        return link;

    if (GMStringUtils::BeginWith(link, L"//"))
        return parser.m_scheme + L':' + link;
    GMString url = parser.m_scheme + L"://" + parser.m_host;
    if (parser.m_port != (isSecure ? GMUrlParser::smc_httpsPort : GMUrlParser::smc_httpPort))
        url += L':' + GMStringUtils::ToString(parser.m_port);
    if (link.front() == L'/')
        return url + link;
    GMString const & path = parser.m_path;
    return url + L'/' + path.substr(0, path.rfind(L'/') + 1) + link; // none + 1 is 0: no folder
}

} // namespace Velmora
