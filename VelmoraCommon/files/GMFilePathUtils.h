#pragma once

#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Questions about paths on the disk, and operations on whole files and trees.
///
/// The operations on names treat `/` and `\` alike, unlike those of GMFileName. Failures leave the
/// reason in the thread's last error. Any thread may use the class; only RemoveAll can touch what
/// threads share, the process's current directory.
///
/// A link is a symbolic link or a mount point. Other reparse points, such as the folders of a cloud,
/// are ordinary files and directories.
class VELMORA_API GMFilePathUtils
{
public:
    /// The text behind the last `/` or `\`.
    static GMString FileName(GMString const & path);

    /// The file name up to its last dot: "a.tar.gz" gives "a.tar", ".cfg" nothing.
    static GMString BaseName(GMString const & path);

    /// The file name from its last dot on, the dot included; empty without one.
    static GMString Extension(GMString const & path);

    /// \p path with \p extension, which brings its own dot, in place of its extension. The
    /// delimiter before the file name becomes `\`; others stay.
    static GMString ChangeExtension(GMString const & path, GMString const & extension);

    /// Whether \p path, without quotes around it and delimiters at its end, is a file or directory.
    static bool IsExists(GMString const & path);

    /// The same for something other than a directory.
    static bool IsExistsFile(GMString const & path);

    /// The same for a directory, or a link to one.
    static bool IsDirectory(GMString const & path);

    /// Whether \p path is the root of a drive that can be read, such as "C:\" or "C:".
    static bool IsDriver(GMString const & path);

    /// Whether \p path begins with the letter of an optical drive.
    static bool IsInCdRom(GMString const & path);

    /// Whether \p path is missing, a file of no bytes, or a directory without entries or that can't
    /// be opened. A pattern is missing, whatever fits it.
    static bool IsEmpty(GMString const & path);

    /// Whether \p parent is one of the directories above \p path, by the text alone and in any
    /// case. Levels are separated by `\`; a path isn't its own parent.
    static bool IsParentDirectory(GMString const & path, GMString const & parent);

    /// Size in bytes as the directory records it; 0 for a directory and on failure.
    static unsigned __int64 FileSize(GMString const & path);

    /// Size in bytes of a file, or of all files below a directory: what MyCopyDirectory of
    /// GMFileSystemUtils would copy. Links are followed, but for a link to a directory that leads to
    /// one on the way to it. What can't be read counts nothing; for a directory the thread's last
    /// error is `ERROR_NO_MORE_FILES` when all directories could be listed, or tells why the first
    /// one couldn't.
    static unsigned __int64 FileSizeRecursive(GMString const & path);

    /// Time of the last write in seconds since 1970-01-01 00:00:00 UTC; 0 on failure.
    static __int64 GetFileModifyTime(GMString const & path);

    /// Puts the full paths of the entries of the directory \p path in place of what \p all held, in
    /// the order of the system. Doesn't descend. When the listing fails, the entries before that are
    /// there; the thread's last error is `ERROR_NO_MORE_FILES` when all are. \p path may be an
    /// element of the results.
    static void GetAllSons(GMString const & path, std::vector<GMString> & all);

    /// The same, with directories apart.
    static void GetAllSons(GMString const & path, std::vector<GMString> & files,
                           std::vector<GMString> & directories);

    /// Makes the directory \p path with all that are missing above it.
    /// \return whether it is there now; false when a file has its name
    static bool CreateDirectories(GMString const & path);

    /// Copies a file. The target's directory is made if it is missing and \p target names one with
    /// `\`. An existing target fails the call unless \p overwrite is true.
    static bool CopyPathFile(GMString const & source, GMString const & target, bool overwrite);

    /// CopyPathFile, then RemoveFile of \p source.
    /// \return false if the copy failed, or if the source couldn't be deleted and
    ///     \p tolerateUndeleted is false: then both files are there
    static bool MovePathFile(GMString const & source, GMString const & target,
                             bool tolerateUndeleted, bool overwrite);

    /// Renames a file or directory; works on a running program too.
    static bool Rename(GMString const & from, GMString const & to);

    /// Deletes a file, also a read-only one. If that fails the read-only bit is off all the same.
    static bool RemoveFile(GMString const & path);

    /// Deletes a directory with all below it, and goes on past what can't be deleted or listed. A
    /// link, \p path among them, is deleted itself and never entered, so nothing outside of the tree
    /// is. If a directory to delete is the current one, its parent becomes the current one.
    /// \return the number of files, links and directories deleted; 0 for a file or an empty
    ///     \p path, which are left alone
    static unsigned __int64 RemoveAll(GMString const & path);

    /// Deletes a file, or, if it is in use, renames it within its directory and has the system
    /// delete it at the next start. "a.dll" becomes "a_t.dll", "a_t1.dll" and so on, the first name
    /// that can be had; an old file of the name is deleted. A name needs its directory in front.
    /// \param attempts names to try, at least one
    /// \return false if it could neither be deleted nor renamed. So it is for a missing \p path,
    ///     and old files of all names that were tried are gone then.
    static bool RemoveOrRebootDelete(GMString const & path, unsigned int attempts);
};

} // namespace Velmora
