#pragma once

#include <cstddef>
#include <vector>

#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Where a TreeWalk has come to.
enum class TreeStep
{
    entered,   // a directory, before its entries are read
    file,      // an entry of the directory entered last and not left
    directory, // likewise; Enter goes into it
    link,      // likewise, a link to a directory in a walk that doesn't follow links
    left,      // a directory whose entries have all come
    end,
};

/// The walk of a tree, from its root down; the caller says which directories to enter.
///
/// Links to directories are followed or told apart. Where they are followed they are directories
/// like all others, but one that leads to a directory on the way to it isn't shown, so every walk
/// ends. The entries of a directory are read when it is entered, one system call each: the walk sees
/// nothing of what the caller makes or deletes meanwhile, and holds no directory open.
class TreeWalk
{
public:
    enum class Links
    {
        followed,
        apart,
    };

    /// \p root has a delimiter at its end, or is empty for the current directory.
    TreeWalk(GMString const & root, Links links);

    /// Goes on. At the end of the walk the thread's last error is `ERROR_NO_MORE_FILES`, or tells
    /// why the first directory that couldn't be read to its end couldn't.
    TreeStep Next();

    /// Has the directory at hand entered by the next step.
    void Enter();

    /// After a directory was left: has those of its directories entered that \p names gives, each
    /// with all below it, in this order.
    void Enter(std::vector<GMString> const & names);

    /// Has the rest of the directory passed over: the next step leaves it.
    void Leave();

    /// The full path of what the walk has come to, without delimiter at its end.
    GMString const & Path() const { return m_path; }

    /// The directory of the entry at hand, with a delimiter at its end.
    GMString Directory() const { return m_path.substr(0, m_length); }

    /// Of the entry at hand.
    wchar_t const * Name() const { return m_path.c_str() + m_length; }
    DWORD Attributes() const { return m_entry.attributes; }
    unsigned __int64 Size() const { return m_entry.size; }
    bool IsLink() const { return m_entry.isLink; }

    /// Whether the entry at hand is in the root, or the directory at hand is the root.
    bool IsAtRoot() const { return m_length == m_rootLength; }

    /// Of a directory that was left: why it couldn't be read to its end; `ERROR_SUCCESS` if it
    /// could.
    DWORD Error() const { return m_errorOfLeft; }

private:
    struct Entry
    {
        GMString name;
        unsigned __int64 size;
        DWORD attributes;
        bool isLink;
    };
    enum class State
    {
        coming,
        entered,
        read,
    };
    struct Level
    {
        std::size_t above; // units of the path above, with its delimiter
        GMString name;     // with a delimiter at its end
        State state = State::coming;
        std::vector<Entry> entries = {};
        std::size_t next = 0; // index of the entry to come
        DWORD error = ERROR_SUCCESS;
    };

    void Read(Level & level);
    void StandIn(Level const & level);
    void StandAt(Level const & level);
    void CutPath(std::size_t length);

    std::vector<Level> m_levels; // those on the way and those to come, the next one at the back
    GMString m_path;
    Entry m_entry = {};
    std::size_t m_length;     // units of the path of the directory at hand, with its delimiter
    std::size_t m_rootLength; // likewise
    DWORD m_error = ERROR_NO_MORE_FILES;
    DWORD m_errorOfLeft = ERROR_SUCCESS;
    Links m_links;
};

} // namespace Velmora
