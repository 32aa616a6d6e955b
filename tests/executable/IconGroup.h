#pragma once

#include <cstdlib>

#include "VelmoraCommon/executable/GMIconExtract.h"

namespace Velmora::Testing
{

// The operations on single groups are private. An explicit instantiation may name them all the same.
template <class Access, typename Access::Member member>
struct PrivateMember
{
    friend typename Access::Member Private(Access) { return member; }
};
struct ReadIconAccess
{
    using Member = ICON_RESOURCE * (GMIconExtract::*)(wchar_t const *);
    friend Member Private(ReadIconAccess);
};
template struct PrivateMember<ReadIconAccess, &GMIconExtract::ReadIcon>;
struct SaveFileAccess
{
    using Member = bool (GMIconExtract::*)(ICON_RESOURCE *, GMString &);
    friend Member Private(SaveFileAccess);
};
template struct PrivateMember<SaveFileAccess, &GMIconExtract::SaveFile>;

/// One group of a file in memory.
class IconGroup
{
public:
    IconGroup(GMIconExtract & extract, wchar_t const * group)
        : m_extract(extract),
          m_icon((extract.*Private(ReadIconAccess()))(group))
    {
    }
    ~IconGroup()
    {
        for (unsigned int i = 0; m_icon != nullptr && i != m_icon->imageCount; ++i)
            std::free(m_icon->images[i].data);
        std::free(m_icon);
    }
    IconGroup(IconGroup const &) = delete;
    IconGroup & operator=(IconGroup const &) = delete;

    /// Null if it couldn't be read.
    ICON_RESOURCE const * Get() const { return m_icon; }

    bool Save(GMString path) const { return (m_extract.*Private(SaveFileAccess()))(m_icon, path); }

private:
    GMIconExtract & m_extract;
    ICON_RESOURCE * m_icon;
};

/// A group that has a number, as a name.
inline wchar_t const * GroupNumber(unsigned long long number)
{
    return reinterpret_cast<wchar_t const *>(static_cast<ULONG_PTR>(number));
}

} // namespace Velmora::Testing
