#pragma once

#include <map>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Cuts a URL into scheme, host, port, path and query.
///
/// For the plain URLs of web requests: there are no user names and no fragments, nothing is decoded,
/// and the first ":" anywhere in the URL ends a scheme. A copy is independent; use an object from
/// one thread at a time.
class VELMORA_API GMUrlParser
{
public:
    /// \param scheme that of URLs without one; must not be null
    explicit GMUrlParser(wchar_t const * scheme = L"http");

    /// Takes \p url apart, behind blanks and TABs at its start.
    ///
    /// A URL without scheme keeps the one that the object has. Without a port it is 443 if the URL
    /// itself begins with "https:", otherwise 80. When no "//" follows the scheme, or an address in
    /// brackets isn't closed, host, path and query are empty. A query begins only behind a path, be
    /// it just "/": in `http://a.b?c` the host is `a.b?c`.
    /// \return false if \p url is empty, begins with "-" or ".", or has no "."; the object stays as
    ///     it was then
    bool Parse(GMString url);

    /// With its brackets if the address has them.
    GMString GetHost() const;

    /// The low 16 bits of the port; 0 before the first URL.
    unsigned short GetPort() const;

    /// Scheme, host and path. The port is left out if it is 80 or 443, whatever the scheme.
    GMString GetBaseUrl() const;

    /// The base URL with "?" and the query.
    GMString GetUrl() const;

    /// "/", the path, and "?" with the query: what a request names.
    GMString GetFilePath() const;

    /// Fills \p out with the parameters of the query as they stand there. One without "=" has an
    /// empty value; of parameters with the same name the first counts.
    void GetParamsMap(std::map<GMString, GMString> & out) const;

    /// The value of one parameter; empty if there is none.
    GMString GetParam(GMString const & name) const;

    /// Appends a parameter to \p url, with "?" or "&" if needed and "=" unless \p value is empty.
    /// Nothing is encoded.
    static void AddParam(GMString & url, GMString const & name, GMString const & value);

private:
    friend class GMUrlPathTools;

    static constexpr unsigned int smc_httpPort = 80;
    static constexpr unsigned int smc_httpsPort = 443;

    /// The query behind "?"; empty without a query.
    GMString GetQueryPart() const;

    GMString m_scheme;
    GMString m_host;
    unsigned int m_port = 0;
    GMString m_path;  // without the first "/"
    GMString m_query; // without "?"
};

} // namespace Velmora
