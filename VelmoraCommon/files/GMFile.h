#pragma once

#include "VelmoraCommon/files/GMBaseFile.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// One open file of the system, through which the library reads and writes all bytes.
///
/// Owns its handle and closes it in the destructor. A copy shares the handle without counting, and
/// only one of the two may close it, so pass objects by reference. Nothing is buffered, and every
/// call is synchronous. Use from one thread at a time.
///
/// Where an operation answers false, the thread's last error tells the reason. A closed file fails
/// every operation but Close, and leaves the last error as it was.
class VELMORA_API GMFile : public GMBaseFile
{
public:
    GMFile();

    /// Closes the file and leaves the last error as it was.
    ~GMFile() override;

    /// Opens \p path in place of the file held so far, which is closed in any case. The numbers are
    /// those of `CreateFileW`. With `CREATE_ALWAYS` and a complete path the folders that are missing
    /// above the file are made first; no other disposition makes folders.
    bool Create(GMString const & path, unsigned int desiredAccess, unsigned int shareMode,
                unsigned int creationDisposition, unsigned int flagsAndAttributes);

    /// Also false for a null \p buffer; \p read is then left alone.
    bool Read(void * buffer, unsigned int toRead, unsigned int & read) override;

    /// Also false for a null \p buffer; \p written is then left alone.
    bool Write(void const * buffer, unsigned int toWrite, unsigned int & written) override;

    /// \return true also when no file is open; false when the system refuses, and then the handle
    ///     is kept
    bool Close() override;

    bool GetPosition(unsigned long long & position) const override;

    /// For a size whose low 32 bits are all set the system's answer looks like a failure; an error
    /// code left over on the thread then counts as one.
    bool GetSize(unsigned long long & size) const override;

    /// The same holds for a position whose low 32 bits are all set.
    bool Seek(long long offset, unsigned int method,
              unsigned long long & newPosition) const override;

    /// All three times, in UTC.
    bool SetTime(FILETIME creation, FILETIME access, FILETIME write) override;

    /// The times of making, of the last use and of the last change, in UTC.
    bool GetTime(FILETIME & creation, FILETIME & access, FILETIME & write);

    /// Moves the position to the start.
    bool SeekBeginOfFile();

    /// Moves the position to the end. \param position counts from the start
    bool SeekEndOfFile(unsigned long long & position);

    /// The file ends at the position from now on.
    bool SetEndOfFile();

    /// Cuts or grows the file to \p length bytes. The position is at the new end.
    bool SetLength(unsigned long long length);

    /// The handle, `INVALID_HANDLE_VALUE` for none. It stays owned by this object.
    HANDLE GetHandle() const;

    /// Whether a file is open.
    bool IsOpen() const;

private:
    HANDLE m_handle; // INVALID_HANDLE_VALUE when closed
};

} // namespace Velmora
