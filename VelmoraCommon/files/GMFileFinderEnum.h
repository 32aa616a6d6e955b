#pragma once

#include <list>
#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Takes what a GMFileFinderEnum finds, on the thread that walks. A result other than 0 stops the
/// whole walk. The texts are the callback's own to change. Exceptions pass through the walk.
class VELMORA_API GMFileFinderEnumCallback
{
public:
    /// Asked after each file and each directory found.
    virtual int IsStopped() = 0;

    /// A directory is entered; its entries follow. \p directory has no delimiter at its end.
    virtual int OnDirectory(GMString & directory) = 0;

    /// \p directory ends in a delimiter, so that \p name can be put behind it.
    virtual int OnFile(GMString & name, GMString & directory) = 0;

protected:
    ~GMFileFinderEnumCallback() = default;
};

/// Walks a directory tree in a fixed order: the files of a directory as the system has them, then
/// each of its directories with all that is in it, sorted by their names.
///
/// Directories that fit a pattern are left out, and so are all below them. A link to a directory
/// counts as one, unless it leads to a directory on the way to it; so every walk ends. A directory
/// that can't be read is entered and found empty, or to end where the reading did. After a whole
/// walk the thread's last error is `ERROR_NO_MORE_FILES`, or tells why the first such directory
/// couldn't be read. One system call an entry.
///
/// Use from one thread at a time. A copy has the same callback.
class VELMORA_API GMFileFinderEnum
{
public:
    /// \param callback stays the caller's and outlives this object; null is allowed
    /// \param patterns full paths of directories to leave out, with `*` and `?`, separated by `;`:
    ///     "*\.git;*\obj". Files aren't held against them
    /// \param ignoreCase whether the patterns fit in any case
    /// \param recursive whether the directories in the directory are walked, too
    GMFileFinderEnum(GMFileFinderEnumCallback * callback, GMString const & patterns,
                     bool ignoreCase, bool recursive);

    /// Walks the directory \p path; for a file calls OnFile alone. One delimiter at the end of
    /// \p path is ignored.
    /// \return false if \p path is empty or doesn't exist, or the callback stopped the walk
    bool Enumerate(GMString const & path);

    /// Walks a directory with the patterns that the last Enumerate split, a `\` put behind it in any
    /// case. \return false if the callback stopped the walk
    bool Enum(GMString const & directory);

    /// Appends \p name to \p subDirectories unless a pattern fits its path.
    /// \param directory with a delimiter at its end
    /// \return false if the callback says stop
    bool EnumerateDir(GMString const & directory, GMString const & name,
                      std::vector<GMString> & subDirectories);

    /// Reports a file. \return false if the callback says stop
    bool EnumerateFile(GMString directory, GMString name);

    /// Appends the pieces of \p text between `;` to \p list, without white space around them and
    /// without empty ones.
    void Tokenize(std::list<GMString> & list, GMString const & text);

    /// Splits the patterns anew. Without patterns the list stays, and isn't used.
    void TokenizePatterns();

    /// Whether one of the patterns in \p list fits \p text.
    static bool CompareList(std::list<GMString> const & list, GMString const & text,
                            bool ignoreCase);
    static bool CompareStrings(GMString const & pattern, GMString const & text, bool ignoreCase);

private:
    bool m_ignoreCase;
    bool m_recursive;
    GMString m_patterns;
    std::list<GMString> m_patternList;
    GMFileFinderEnumCallback * m_callback; // not owned, may be null
};

} // namespace Velmora
