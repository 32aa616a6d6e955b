#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// One temporary file under a name of its own, deleted with the object unless it is to stay.
///
/// Owns the file, closed, that it made last. A copy names the same file: call DisableDeleting on
/// one of the two. Where an operation answers false, the thread's last error tells the reason. Use
/// from one thread at a time.
class VELMORA_API GMTempFile
{
public:
    GMTempFile();

    /// Deletes the file as Remove does; a failure goes unheard.
    ~GMTempFile();

    /// Both stand for the same file, and either of them deletes it.
    GMTempFile(GMTempFile const & other) = default;
    GMTempFile & operator=(GMTempFile const & other) = default;

    /// Deletes the file held so far and makes an empty file in \p directory. Of \p prefix the first
    /// three units begin the name. An old file that can't be deleted stays behind once there is a
    /// new one.
    /// \param path gets the path of the file; on failure it stays as it was
    bool Create(GMString const & directory, GMString const & prefix, GMString & path);

    /// The same in the folder of `GMFileSystemUtils::MyGetTempPath`, or in the Windows directory if
    /// no file can be made there.
    bool Create(GMString const & prefix, GMString & path);

    /// Create with the prefix "GM~".
    bool CreateTempFile(GMString & path);
    bool CreateTempFile(GMString const & directory, GMString & path);

    /// Deletes the file, also a read-only one; its path stays known. On failure the destructor tries
    /// once more.
    /// \return true also when there is no file to delete
    bool Remove();

    /// Has the file stay.
    void DisableDeleting();

    /// Path of the file made last; empty before the first.
    GMString const & GetFileName() const;

private:
    bool m_autoDelete;
    GMString m_path;
};

} // namespace Velmora
