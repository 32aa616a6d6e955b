#include "VelmoraCommon/detect/software/internal/FileVersion.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "VelmoraCommon/executable/GMFileCertificate.h"
#include "VelmoraCommon/text/GMStringToken.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/internal/VersionBlockSlack.h"

namespace Velmora
{

bool ParseVersionText(GMString const & text, GMSoftVersion & version)
{
    int * const fields[] = {&version.major, &version.minor, &version.build, &version.revision};
    std::vector<GMString> pieces;
    GMStringToken::StringToArray(text, L'.', pieces);
    for (std::size_t i = 0; i < std::min(std::size(fields), pieces.size()); ++i)
        *fields[i] = static_cast<int>(GMStringUtils::ToInt64(pieces[i]));
    return !pieces.empty();
}

bool ReadFileProductVersion(wchar_t const * path, GMSoftVersion & version)
{
    ULARGE_INTEGER product;
    if (!GMFileCertificate(path).GetProductVersion(product))
        return false;
    version.major = HIWORD(product.HighPart);
    version.minor = LOWORD(product.HighPart);
    version.build = HIWORD(product.LowPart);
    version.revision = LOWORD(product.LowPart);
    return true;
}

VersionBlock::VersionBlock(GMString const & path) : m_isLoaded(false)
{
    DWORD ignored = 0;
    DWORD const size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
    if (size == 0)
        return;
    m_block = ScopedLocalMemory<void>(LocalAlloc(LPTR, size + versionBlockSlack));
    m_isLoaded = m_block && GetFileVersionInfoW(path.c_str(), 0, size, m_block.Get());
}

bool VersionBlock::Query(GMString const & name, void *& value, UINT & length) const
{
    return m_isLoaded && VerQueryValueW(m_block.Get(), name.c_str(), &value, &length) &&
           value != nullptr;
}

void const * VersionBlock::Query(GMString const & name, std::size_t leastSize) const
{
    void * value = nullptr;
    UINT length = 0;
    return Query(name, value, length) && length >= leastSize ? value : nullptr;
}

GMString VersionBlock::QueryText(GMString const & name) const
{
    void * value = nullptr;
    UINT length = 0;
    if (!Query(name, value, length))
        return GMString();
    GMString const text(static_cast<wchar_t const *>(value), length);
    return text.substr(0, text.find(L'\0')); // the length counts a terminator, if there is one
}

} // namespace Velmora
