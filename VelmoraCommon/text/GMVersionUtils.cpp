#include "VelmoraCommon/text/GMVersionUtils.h"

#include <algorithm>
#include <climits>

#include "VelmoraCommon/frame/GMSharedLibrary.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/internal/VersionBlockSlack.h"

namespace Velmora
{

namespace
{

bool IsSeparator(wchar_t c) { return c == L',' || c == L'.' || c == L'-'; }

/// The fields of a version text, from front to back. There is always one.
class VersionFields
{
public:
    explicit VersionFields(GMString const & version)
        : m_next(version.data()),
          m_end(m_next + version.size())
    {
    }

    /// Whether a field is left.
    explicit operator bool() const { return m_hasMore; }

    /// Takes the next field and gives its number.
    unsigned int Take()
    {
        m_next = std::find_if_not(m_next, m_end, IsSeparator);
        wchar_t const * const field = m_next;
        m_next = std::find_if(m_next, m_end, IsSeparator);
        m_hasMore = m_next != m_end;
        return static_cast<unsigned int>(GMStringUtils::ConvertStringToInt64(field, nullptr));
    }

    /// Takes all fields that are left and gives their count.
    int Count()
    {
        int count = 0;
        for (; m_hasMore; ++count)
            Take();
        return count;
    }

private:
    wchar_t const * m_next;
    wchar_t const * m_end;
    bool m_hasMore = true;
};

/// a - b within the limits of int: a difference that wrapped would turn the order round.
int Difference(unsigned int a, unsigned int b)
{
    __int64 const difference = static_cast<__int64>(a) - static_cast<__int64>(b);
    return static_cast<int>(std::clamp<__int64>(difference, INT_MIN, INT_MAX));
}

} // namespace

int GMVersionUtils::VersionCompare(GMString const & a, GMString const & b)
{
    VersionFields left(a);
    VersionFields right(b);
    while (left && right)
    {
        if (int const difference = Difference(left.Take(), right.Take()); difference != 0)
            return difference;
    }
    return left.Count() - right.Count();
}

int GMVersionUtils::FileVersionCompare(GMString const & a, GMString const & b)
{
    GMString left;
    GMString right;
    bool const hasLeft = GetFileVersion(a, left);
    bool const hasRight = GetFileVersion(b, right);
    if (hasLeft && hasRight)
        return VersionCompare(left, right);
    return static_cast<int>(hasLeft) - static_cast<int>(hasRight);
}

bool GMVersionUtils::GetFileVersion(GMString const & path, GMString & version)
{
    DWORD ignored = 0;
    DWORD const size = GetFileVersionInfoSizeW(path.c_str(), &ignored);
    if (size == 0)
        return false;

    ScopedLocalMemory<void> const block(LocalAlloc(LPTR, size + versionBlockSlack));
    void * root = nullptr;
    UINT rootSize = 0;
    if (!block || !GetFileVersionInfoW(path.c_str(), 0, size, block.Get()) ||
        !VerQueryValueW(block.Get(), L"\\", &root, &rootSize) ||
        rootSize < sizeof(VS_FIXEDFILEINFO))
    {
        return false;
    }
    auto const & fixed = *static_cast<VS_FIXEDFILEINFO const *>(root);
    version = GMStringUtils::FormatResult(
        L"%d.%d.%d.%d", HIWORD(fixed.dwFileVersionMS), LOWORD(fixed.dwFileVersionMS),
        HIWORD(fixed.dwFileVersionLS), LOWORD(fixed.dwFileVersionLS));
    return true;
}

GMString GMVersionUtils::GetCurrentVersion()
{
    GMString version;
    GMString const path = GMSharedLibrary::GetModuleFullName(nullptr);
    if (!path.empty())
        GetFileVersion(path, version);
    return version;
}

} // namespace Velmora
