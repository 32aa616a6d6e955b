#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Joins URLs with parameters and with relative links.
///
/// Without state, and reentrant. URLs are read as GMUrlParser does, and nothing is encoded.
class VELMORA_API GMUrlPathTools
{
public:
    GMUrlPathTools();
    ~GMUrlPathTools();

    /// \p url with \p param behind "&" if it has a query, else behind "?".
    static GMString Join(GMString url, GMString param);

    /// The full URL of a \p link that stands in the page \p base.
    ///
    /// A link may name all but the scheme (`//host/x`), begin at the root (`/x`), or stand beside
    /// the page (`x`). Segments "." and ".." are kept as they are, and the base's query is dropped.
    /// The port is written unless it is the usual one of the base's scheme.
    /// \return \p link itself if it holds "://", if either text is empty, or if \p base is no URL
    static GMString GetFullUrlPath(GMString const & base, GMString const & link);
};

} // namespace Velmora
