#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// The file-system calls of the system on GMString, and what no single call does: copies that get
/// past busy files, moves that replace a busy target, free names, a temporary folder that can be
/// replaced, sparse files.
///
/// Paths are passed to the system as they stand; GMFilePathUtils has relatives that strip quotes
/// and delimiters first. Where an operation answers false, the thread's last error is that of the
/// call that failed. Any thread may use the class; set the temporary folder before others need it.
class VELMORA_API GMFileSystemUtils
{
public:
    /// Makes one directory; the one above must be there.
    static bool MyCreateDirectory(GMString const & path);

    /// Makes a directory with all that are missing above it.
    static bool CreateComplexDirectory(GMString const & path);

    /// Deletes an empty directory.
    static bool MyRemoveDirectory(GMString const & path);

    /// Deletes a directory with all below it, as `GMFilePathUtils::RemoveAll` does.
    /// \return whether nothing has the name \p path now
    static bool RemoveDirectoryWithSubItems(GMString const & path);

    /// \p attributes are those of `SetFileAttributesW`.
    static bool MySetFileAttributes(GMString const & path, unsigned long attributes);

    /// Renames a file or directory; moves a file to another volume too. Fails if \p to is there.
    static bool MyMoveFile(GMString const & from, GMString const & to);

    /// Makes \p path the current directory of the process.
    static bool MySetCurrentDirectory(GMString const & path);

    /// At most 260 units; on failure \p path stays as it was.
    static bool MyGetSystemDirectory(GMString & path);

    /// At most 260 units; on failure \p path stays as it was.
    static bool MyGetWindowsDirectory(GMString & path);

    /// At most 518 units; on failure \p path is empty.
    static bool MyGetCurrentDirectory(GMString & path);

    /// Makes an empty file under a name of its own in \p directory, of at most 246 units. Of
    /// \p prefix the first three units count. On failure \p path stays as it was.
    static bool MyGetTempFileName(GMString const & directory, GMString const & prefix,
                                  GMString & path);

    /// Looks for a file as `SearchPathW` does; an empty \p searchPath stands for the system's own
    /// places, an empty \p extension for none.
    /// \param path the path found, at most 260 units; on failure it stays as it was
    /// \param filePart index in \p path of the file name; likewise
    static bool MySearchPath(GMString const & searchPath, GMString const & fileName,
                             GMString const & extension, GMString & path, int & filePart);

    /// \param fullPath \p path made absolute, at most 519 units; empty on failure
    /// \param filePart index in \p fullPath of the file name; the length of \p path if the system
    ///     finds none, as in a path that ends in a delimiter. On failure it stays as it was.
    static bool MyGetFullPathName(GMString const & path, GMString & fullPath, int & filePart);

    /// The directory of \p path, absolute and with its delimiter at the end: all of a path that
    /// ends in a delimiter. Empty on failure.
    static bool GetOnlyDirPrefix(GMString const & path, GMString & directory);

    /// The file name at the end of \p path: empty for a path that ends in a delimiter, and on
    /// failure.
    static bool GetOnlyName(GMString const & path, GMString & name);

    /// Sets the times of a file or directory; null leaves a time as it is.
    static bool SetDirTime(GMString const & path, FILETIME const * creation,
                           FILETIME const * access, FILETIME const * write);

    /// Whether \p path, as it stands, is a file or directory.
    static bool DoesFileExist(GMString const & path);

    /// Size in bytes, of a directory the one that is recorded for it; 0 on failure.
    static unsigned __int64 GetFileSize(GMString const & path);

    /// Deletes a file whatever its attributes, which are taken off first. If they can't be, the
    /// file isn't tried.
    static bool DeleteFileAlways(GMString const & path);

    /// Makes or replaces a file of \p size bytes, which aren't written and read as 0. If it can't
    /// have the size, no file is left.
    static bool CreateEmptyFile(GMString const & path, __int64 size);

    /// \param name gets \p base, \p number in parentheses and \p extension
    /// \return whether that name is taken
    static bool MakeAutoName(GMString const & base, GMString const & extension, unsigned int number,
                             GMString & name);

    /// Makes \p path free by a number before its extension: the first of "a(1).txt", "a(2).txt" and
    /// so on that isn't taken. Nothing is created, so another process can take the name.
    /// \return false, with \p path unchanged, if all of 1,048,576 names are taken
    static bool AutoRenamePath(GMString & path);

    /// Copies what is in the directory \p source into the directory \p destination, which is made
    /// if it is missing. Files that stand there are replaced. One that is in use is moved aside,
    /// under a temporary name in its directory, and deleted at the next start of the system.
    ///
    /// Links are followed, so the copy has files and directories in their place. A link that leads
    /// to a directory on the way to it, where the copy would have no end, is left out. A directory
    /// that is being written to isn't copied into itself, nor a file onto itself.
    /// \return false if \p source can't be listed to its end, or at the first entry in it that can't
    ///     be copied: a file that isn't replaced stays as it was, what comes behind it in the listing
    ///     is left out. Failures deeper in the tree end the copy of their directory alone and don't
    ///     count; so what is in a directory that meets a file of its name in \p destination is left
    ///     out, and the file stays.
    static bool MyCopyDirectory(GMString const & source, GMString const & destination);

    /// Moves a file, also to another volume, and replaces \p to, even if that is a program that
    /// runs: such a target is renamed by AutoRenamePath first and deleted afterwards, if that can
    /// be. A directory is moved within its volume.
    /// \return false if the move failed; \p to is then what it was
    static bool MyMoveFileEx(GMString const & from, GMString const & to);

    /// Has MyGetTempPath give \p path from now on, or the system's temporary folder if \p path is
    /// empty. A folder in which no file can be made changes nothing, and nobody hears of it.
    static void MySetTempPath(GMString const & path);

    /// The folder for temporary files, with its delimiter at the end. On failure \p path stays as
    /// it was.
    static bool MyGetTempPath(GMString & path);

    /// Marks an open file as sparse: regions of zeros needn't take room on the disk.
    static bool SetSparseAttribute(HANDLE file);

    /// Takes the mark off.
    /// \return true also on a file system without sparse files
    static bool ClearSparseAttribute(HANDLE file);

    /// Whether an open file is marked as sparse.
    static bool HasSparseAttribute(HANDLE file);

    /// Whether an open file has, or can't be shown not to have, a region without room on the disk.
    /// True for an empty file and on failure.
    static bool HasSparseRegion(HANDLE file);

private:
    static GMString s_tempFolder; // ends in a backslash; empty for the system's
};

} // namespace Velmora
