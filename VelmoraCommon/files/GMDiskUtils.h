#pragma once

#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// The drives of the machine, what their volumes say of themselves, and the one with the most room.
///
/// A drive is the text that the system's call gets: a root such as "C:\", or "C:" where only the
/// kind of drive is asked for. Keeps no state; any thread may use it.
class VELMORA_API GMDiskUtils
{
public:
    /// One drive.
    struct GMDiskInfo
    {
        GMString m_displayName;            ///< the shell's name of the drive
        GMString m_typeName;               ///< the shell's name of the kind of drive
        GMString m_fileSystem;             ///< such as "NTFS"; empty if the volume didn't answer
        unsigned int m_clusterSize = 0;    ///< bytes
        unsigned __int64 m_totalBytes = 0; ///< as `GetDiskFreeSpaceW` counts, within a quota
        unsigned __int64 m_freeBytes = 0;  ///< likewise
        bool m_ready = false;              ///< whether the volume answered
    };

    /// Adds the roots of all drives, of the form "C:\", behind what \p drives holds.
    static bool GetLogicalDriveList(std::vector<GMString> & drives);

    /// Asks the shell and the volume about a root. A drive without a medium, or whose volume
    /// doesn't answer, isn't ready and has the size 0; that is no failure, and the user isn't asked
    /// for a medium.
    /// \return false, with \p info unchanged, if the shell doesn't know the drive
    static bool GetLogicalDriveInfo(GMString const & drive, GMDiskInfo & info);

    /// The same for the drive before the first `\` of \p path; false for a path in UNC form.
    static bool GetLogicalDriveInfoOfPath(GMString const & path, GMDiskInfo & info);

    /// Whether \p drive is fixed or removable, but not a floppy drive, for which A and B stand.
    static bool DriveIsPhysical(GMString const & drive);

    /// The same for the drive before the first `\` of \p path; false for a path in UNC form.
    static bool DirectoryDriveIsPhysical(GMString const & path);

    /// Whether \p fileSystem is NTFS, FAT32, exFAT or FAT, in any case.
    static bool IsSystemSupport(GMString const & fileSystem);

    /// Finds the fixed or removable drive, no floppy drive, whose volume has the most free bytes
    /// and a file system of IsSystemSupport; of equal ones the first.
    /// \param letter gets the drive's letter alone, such as "D"
    /// \return false, with \p letter unchanged, if no drive has a free byte
    static bool GetMaxFreeBytesDrive(GMString & letter);

    /// The same among the fixed drives whose root, such as "C:\", isn't in \p exclude in exactly
    /// that form.
    static bool GetMaxFreeBytesDrive(GMString & letter, std::vector<GMString> exclude);
};

} // namespace Velmora
