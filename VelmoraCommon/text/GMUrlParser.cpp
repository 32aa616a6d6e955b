#include "VelmoraCommon/text/GMUrlParser.h"

#include <algorithm>
#include <vector>

#include "VelmoraCommon/text/GMStringToken.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

using Position = GMString::size_type;

constexpr Position none = GMString::npos;

/// The parts of a URL behind its scheme.
struct Location
{
    GMString host;
    unsigned int port = 0;
    GMString path;
    GMString query;
};

/// Reads what stands behind scheme and "//", from \p begin on.
void ReadLocation(GMString const & url, Position begin, Location & location)
{
    Position const hostEnd = std::min(url.find(L'/', begin), url.size());
    Position colon = begin;
    if (begin < hostEnd && url[begin] == L'[')
        colon = url.find(L']', begin); // the colons of the address don't count
    if (colon == none)
        return;
    colon = std::min(url.find(L':', colon), hostEnd);
    location.host = url.substr(begin, colon - begin);
    if (colon != hostEnd)
    {
        location.port = static_cast<unsigned int>(
            GMStringUtils::ConvertStringToInt64(url.c_str() + colon + 1, nullptr));
    }
    if (hostEnd == url.size())
        return;

    Position const mark = url.find(L'?', hostEnd);
    location.path = url.substr(hostEnd + 1, mark - (hostEnd + 1));
    if (mark != none)
        location.query = url.substr(mark + 1);
}

} // namespace

GMUrlParser::GMUrlParser(wchar_t const * scheme) : m_scheme(scheme) {}

bool GMUrlParser::Parse(GMString url)
{
    if (url.empty() || url[0] == L'-' || url[0] == L'.' || url.find(L'.') == none)
        return false;
    GMStringUtils::TrimLeft(url, L" \t");

    // A colon at the very start ends no scheme.
    Position const colon = url.find(L':');
    bool const hasScheme = colon != none && colon != 0;
    GMString const scheme = hasScheme ? url.substr(0, colon) : GMString();
    Location location;
    location.port = scheme == L"https" ? smc_httpsPort : smc_httpPort;
    if (!hasScheme)
        ReadLocation(url, 0, location);
    else if (url.compare(colon + 1, 2, L"//") == 0)
        ReadLocation(url, colon + 3, location);

    if (hasScheme)
        m_scheme = scheme;
    m_host = std::move(location.host);
    m_port = location.port;
    m_path = std::move(location.path);
    m_query = std::move(location.query);
    return true;
}

GMString GMUrlParser::GetHost() const { return m_host; }

unsigned short GMUrlParser::GetPort() const { return static_cast<unsigned short>(m_port); }

GMString GMUrlParser::GetBaseUrl() const
{
    GMString url;
    if (!m_host.empty())
    {
        url = m_scheme + L"://" + m_host;
        if (m_port != smc_httpPort && m_port != smc_httpsPort)
            url += L':' + GMStringUtils::ToString(m_port);
    }
    if (!m_path.empty() || !m_query.empty())
        url += L'/';
    return url + m_path;
}

GMString GMUrlParser::GetQueryPart() const { return m_query.empty() ? m_query : L'?' + m_query; }

GMString GMUrlParser::GetUrl() const { return GetBaseUrl() + GetQueryPart(); }

GMString GMUrlParser::GetFilePath() const { return L'/' + m_path + GetQueryPart(); }

void GMUrlParser::GetParamsMap(std::map<GMString, GMString> & out) const
{
    out.clear();
    std::vector<GMString> fields;
    GMStringToken::StringToArray(m_query, L'&', fields);
    for (GMString & value : fields)
    {
        GMString name = GMStringUtils::GetLine(value, L"=");
        out.try_emplace(std::move(name), std::move(value));
    }
}

GMString GMUrlParser::GetParam(GMString const & name) const
{
    std::map<GMString, GMString> params;
    GetParamsMap(params);
    auto const param = params.find(name);
    return param != params.end() ? param->second : GMString();
}

void GMUrlParser::AddParam(GMString & url, GMString const & name, GMString const & value)
{
    if (url.find(L'?') == none)
        url += L'?';
    else if (url.back() != L'&' && url.back() != L'?')
        url += L'&';
    url += name;
    if (!value.empty())
        url += L'=' + value;
}

} // namespace Velmora
