#pragma once

#include <map>
#include <set>
#include <vector>

#include "VelmoraCommon/files/GMFileInfo.h"

namespace Velmora
{

/// One search of the system for names in a directory, and searches that run at one go.
///
/// A pattern is a path whose last part may hold `*` and `?`. Entries come in the order of the
/// system, one system call each. An object owns at most one running search and closes it in the
/// destructor; a copy would close it twice, so pass it by reference. Use from one thread at a time;
/// the static operations may be called from any.
///
/// The operations on whole trees take links to directories for directories and go into them, but
/// for those that lead to a directory on the way to them, so every walk ends. They pass over a
/// directory that is missing or can't be read, and give the entries that come before a failure.
/// The thread's last error tells the reason of a failure; after a search that came to its end it is
/// `ERROR_NO_MORE_FILES`.
class VELMORA_API GMFindFile
{
public:
    /// Gets the full path of a file, and what the caller gave along; false ends the directory that
    /// the file is in. Exceptions pass through the walk.
    using FileCallback = bool (*)(GMString const & path, void * userData);

    /// \throws std::bad_alloc
    GMFindFile();

    /// Leaves the last error as it was.
    ~GMFindFile();

    /// Starts a search in place of the running one and gives its first entry, which may be ".".
    /// \return false, with \p info unchanged, if nothing fits or the running search can't be ended
    bool FindFirst(GMString const & pattern, GMFileInfo & info);

    /// Gives the next entry; false, with \p info unchanged, at the end, on failure or without a
    /// search. The search stays open at its end.
    bool FindNext(GMFileInfo & info);

    /// Ends the search. \return true also when none runs; false if the system refuses, and then the
    ///     search stays open
    bool Close();

    /// Whether a search runs.
    bool IsHandleAllocated() const;

    /// The first entry that fits.
    static bool FindFile(GMString const & pattern, GMFileInfo & info);

    /// Appends every entry that fits, directories too, but not "." and "..".
    /// \return whether \p infos has any entries now, old ones counted
    static bool FindFiles(GMString const & pattern, std::vector<GMFileInfo> & infos);

    /// Appends the paths of the files in \p directory whose names fit \p mask.
    /// \return whether \p paths has any now, old ones counted
    static bool FindFilesEx(GMString const & directory, GMString const & mask,
                            std::vector<GMString> & paths);

    /// Calls \p callback for every file below \p directory. A directory is gone through when its
    /// entry comes, so the files behind it in its parent come later.
    static void FindFilesRecursive(GMString const & directory, FileCallback callback,
                                   void * userData);

    /// Appends the path of every file below \p directory to the vector of its extension, which is
    /// in lower case and has its dot: ".txt"; empty for a file without one.
    /// \param extensions what to look for, in the same form; all files when it is empty
    /// \return whether \p filesByExtension has any entries now, old ones counted
    static bool FindFilesExRecursive(GMString const & directory,
                                     std::map<GMString, std::vector<GMString>> & filesByExtension,
                                     std::set<GMString> const & extensions);

private:
    HANDLE * m_find; // owned; holds INVALID_HANDLE_VALUE when no search runs
};

} // namespace Velmora
