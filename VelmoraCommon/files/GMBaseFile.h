#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// What a file can do: bytes at a position, a size and three times. GMFile is the one on disk.
///
/// Sizes and positions are in bytes. Every operation answers false on failure.
class VELMORA_API GMBaseFile
{
public:
    virtual ~GMBaseFile() = default;

    /// Reads up to \p toRead bytes at the position. The end of the file is no failure: \p read is 0.
    virtual bool Read(void * buffer, unsigned int toRead, unsigned int & read) = 0;

    /// Writes \p toWrite bytes at the position; fewer are a failure, and \p written says how many.
    virtual bool Write(void const * buffer, unsigned int toWrite, unsigned int & written) = 0;

    /// \return false when it can't be closed
    virtual bool Close() = 0;

    /// \param position in bytes from the start of the file
    virtual bool GetPosition(unsigned long long & position) const = 0;

    /// \param size in bytes
    virtual bool GetSize(unsigned long long & size) const = 0;

    /// Moves the position by \p offset from where \p method says: `FILE_BEGIN`, `FILE_CURRENT` or
    /// `FILE_END`. \p newPosition counts from the start of the file.
    virtual bool Seek(long long offset, unsigned int method,
                      unsigned long long & newPosition) const = 0;

    /// Sets all three times, in UTC.
    virtual bool SetTime(FILETIME creation, FILETIME access, FILETIME write) = 0;
};

} // namespace Velmora
