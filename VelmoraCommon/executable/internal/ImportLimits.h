#pragma once

#include <cstddef>
#include <cstdint>

namespace Velmora
{

/// What reading the imports of one file may cost. A sound file has room for all its names, one
/// beside the other, and far fewer sections than it may claim to have; one that was made to be slow,
/// or to fill the memory, has its list end here.
class ImportLimits
{
public:
    ImportLimits(std::uint64_t fileSize, unsigned int sections)
        : m_nameBytesLeft(fileSize),
          m_searchesLeft(sections == 0 ? 0 : sectionLooks / sections)
    {
    }

    /// Before an address is looked for in the sections.
    bool TakeSearch() { return m_searchesLeft != 0 && m_searchesLeft-- != 0; }

    /// Before a name is kept.
    bool TakeName(std::size_t length)
    {
        if (length >= m_nameBytesLeft)
            return false;
        m_nameBytesLeft -= length + 1;
        return true;
    }

private:
    // 50,000 libraries in a file of 300 sections, which is more than there are of either.
    static constexpr unsigned int sectionLooks = 16'000'000;

    std::uint64_t m_nameBytesLeft;
    unsigned int m_searchesLeft;
};

} // namespace Velmora
