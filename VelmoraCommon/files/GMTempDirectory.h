#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// One temporary directory under a name of its own, deleted with all below it with the object
/// unless it is to stay.
///
/// Names have the form "GM$D.041.2306", with numbers that begin at random for the process. Owns the
/// directory that Create made last. A copy names the same directory: call DisableDeleting on one of
/// the two. Where an operation answers false, the thread's last error tells the reason. Use an
/// object from one thread at a time; several threads may make directories.
class VELMORA_API GMTempDirectory
{
public:
    GMTempDirectory();

    /// Deletes the directory as Remove does; a failure, want of memory too, goes unheard.
    ~GMTempDirectory();

    /// Both stand for the same directory, and either of them deletes it.
    GMTempDirectory(GMTempDirectory const & other) = default;
    GMTempDirectory & operator=(GMTempDirectory const & other) = default;

    /// Makes a directory that no object owns, in \p directory, which must be there. An empty
    /// \p directory stands for the folder of `GMFileSystemUtils::MyGetTempPath`. \p prefix begins
    /// the name.
    /// \param path gets the path of the directory, with one backslash at its end. On failure it is
    ///     the path that was tried last, without.
    static bool CreateTempDirectory(GMString const & directory, GMString const & prefix,
                                    GMString & path);
    static bool CreateTempDirectory(GMString const & prefix, GMString & path);

    /// Deletes the directory held so far, or leaves it behind if that fails, and makes another for
    /// this object to own; on failure it owns none.
    bool Create(GMString const & directory, GMString const & prefix);
    bool Create(GMString const & prefix);

    /// Create with the prefix "GM$".
    bool CreateTempDirectory(GMString const & directory);
    bool CreateTempDirectory();

    /// Deletes the directory with all below it and forgets its path. On failure some of it may be
    /// gone, and the destructor tries once more.
    /// \return true also when there is no directory to delete
    bool Remove();

    /// Has the directory stay.
    void DisableDeleting();

    /// Path of the directory made last, with one backslash at its end; empty after Remove. After a
    /// Create that failed it is the path that was tried.
    GMString const & GetPath() const;

private:
    bool m_autoDelete;
    GMString m_path;
};

} // namespace Velmora
