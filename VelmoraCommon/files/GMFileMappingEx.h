#pragma once

#include "VelmoraCommon/files/GMFileMapping.h"

namespace Velmora
{

/// A view of a whole file on disk.
///
/// To map a read-only or system file for more than reading it takes these attributes off the file,
/// and Close or the destructor gives them back. Made for one file: Close it and take a new object
/// for the next.
class VELMORA_API GMFileMappingEx : public GMFileMapping
{
public:
    /// What the view is for; a set of flags.
    enum GMDesiredAccess : unsigned int
    {
        GMAccessRead = 1,
        GMAccessWrite = 2,
        GMAccessExecute = 4, ///< asks to write the file too; alone it gives no view to read
        GMAccessCopy = 8,    ///< written pages belong to this process and don't reach the file
    };

    /// Both kinds of access.
    friend constexpr GMDesiredAccess operator|(GMDesiredAccess left, GMDesiredAccess right)
    {
        return static_cast<GMDesiredAccess>(static_cast<unsigned int>(left) |
                                            static_cast<unsigned int>(right));
    }

    GMFileMappingEx();

    /// Closes, then lets go of the view and the mapping object; the last error stays as it was.
    ~GMFileMappingEx() override;

    /// Maps the existing file \p path as a whole; GetMapAddress is its first byte. Others may read
    /// the file meanwhile. An empty file can't be mapped.
    /// \return On failure what was done so far stays until Close: the file may be open, and its
    ///     attributes changed. Only a missing file changes nothing.
    bool MappingRawFile(GMString const & path, GMDesiredAccess access);

    /// What the flags given to MappingRawFile mean to `CreateFileW`, `CreateFileMappingW` and
    /// `MapViewOfFile`. Of several flags Execute goes before Copy, Copy before Write, Write before
    /// Read; \p mapAccess alone is a union. Without a flag \p pageProtect is left alone.
    void CalcDesiredAccess(unsigned long & fileAccess, unsigned long & pageProtect,
                           unsigned long & mapAccess);

    /// Takes the read-only and the system attribute off the file and notes what Close gives back.
    /// \return false when the flags ask for reading alone, when the file has neither attribute, or
    ///     when the system refuses
    bool ModifyFileAttributes();

    /// Closes the file and gives it back its attributes. The view and the mapping object stay until
    /// the destructor.
    void Close() override;

private:
    HANDLE m_fileHandle; // INVALID_HANDLE_VALUE when closed
    GMString m_fileName;
    GMDesiredAccess m_desiredAccess;
    unsigned long m_savedAttributes; // INVALID_FILE_ATTRIBUTES when there is nothing to give back
};

} // namespace Velmora
