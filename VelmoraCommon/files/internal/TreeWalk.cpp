#include "VelmoraCommon/files/internal/TreeWalk.h"

#include <utility>

#include "VelmoraCommon/files/internal/DirectoryListing.h"
#include "VelmoraCommon/files/internal/FileIdentity.h"
#include "VelmoraCommon/files/internal/Halves.h"

namespace Velmora
{

TreeWalk::TreeWalk(GMString const & root, Links links)
    : m_levels{Level{0, root}},
      m_length(root.size()),
      m_rootLength(root.size()),
      m_links(links)
{
}

TreeStep TreeWalk::Next()
{
    while (!m_levels.empty())
    {
        Level & level = m_levels.back();
        if (level.state == State::coming)
        {
            level.state = State::entered;
            CutPath(level.above);
            m_path += level.name;
            StandAt(level);
            return TreeStep::entered;
        }
        if (level.state == State::entered)
            Read(level);
        if (level.next == level.entries.size())
        {
            m_errorOfLeft = level.error;
            StandAt(level);
            m_levels.pop_back();
            return TreeStep::left;
        }

        StandIn(level);
        m_entry = std::move(level.entries[level.next++]);
        m_path += m_entry.name;
        if ((m_entry.attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            return TreeStep::file;
        if (!m_entry.isLink)
            return TreeStep::directory;
        if (m_links == Links::apart)
            return TreeStep::link;
        if (!LeadsUpward(m_path))
            return TreeStep::directory;
    }
    SetLastError(m_error);
    return TreeStep::end;
}

void TreeWalk::Enter() { m_levels.push_back({m_length, m_entry.name + L'\\'}); }

void TreeWalk::Enter(std::vector<GMString> const & names)
{
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        m_levels.push_back({m_length, *name + L'\\'});
}

void TreeWalk::Leave() { m_levels.back().next = m_levels.back().entries.size(); }

void TreeWalk::Read(Level & level)
{
    level.state = State::read;
    StandIn(level);
    DirectoryListing listing(m_path);
    while (listing.Next())
    {
        WIN32_FIND_DATAW const & entry = listing.Entry();
        level.entries.push_back({entry.cFileName,
                                 JoinHalves(entry.nFileSizeHigh, entry.nFileSizeLow),
                                 entry.dwFileAttributes, Velmora::IsLink(entry)});
    }
    level.error = listing.Error();
    if (level.error != ERROR_SUCCESS && m_error == ERROR_NO_MORE_FILES)
        m_error = level.error;
}

void TreeWalk::StandIn(Level const & level)
{
    m_length = level.above + level.name.size();
    CutPath(m_length);
}

void TreeWalk::StandAt(Level const & level)
{
    StandIn(level);
    if (m_length != 0)
        m_path.pop_back();
}

void TreeWalk::CutPath(std::size_t length)
{
    m_path.resize(length);
    if (length != 0)
        m_path.back() = L'\\'; // which StandAt may have taken off
}

} // namespace Velmora
