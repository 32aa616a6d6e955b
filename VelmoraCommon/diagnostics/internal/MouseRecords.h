#pragma once

#include <cstdint>

#include "VelmoraCommon/files/GMFile.h"

namespace Velmora
{

// The records of a mouse recording, as they stand in the file: 32-bit numbers in little-endian order,
// the order of every Windows machine, without gaps. Times are in milliseconds.

/// A rectangle in screen coordinates.
struct RecordedRectangle
{
    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;
};

/// An event of the low-level mouse hook.
struct MouseRecord
{
    RecordedRectangle window; ///< where the recorded window was
    std::uint32_t time;
    std::uint32_t message;
    std::int32_t x; ///< of the pointer, in screen coordinates
    std::int32_t y;
};
static_assert(sizeof(MouseRecord) == 32, "the size in the file");

/// An event of the journal hooks. `EVENTMSG` itself is greater in 64 bits.
struct JournalRecord
{
    RecordedRectangle window; ///< not used by the readers
    std::uint32_t message;
    std::uint32_t paramL; ///< of a mouse message: x of the pointer
    std::uint32_t paramH; ///< of a mouse message: y of the pointer
    std::uint32_t time;
    std::uint32_t target; ///< handle of a window, of which 32 bits count in every process
};
static_assert(sizeof(JournalRecord) == 36, "the size in the file");

inline RecordedRectangle ToRecorded(RECT const & rectangle) noexcept
{
    static_assert(sizeof rectangle.left == sizeof(std::int32_t));
    return {rectangle.left, rectangle.top, rectangle.right, rectangle.bottom};
}

/// \return false at the end of the file, also in the middle of a record
template <class Record>
bool ReadRecord(GMFile & file, Record & record)
{
    unsigned int read = 0;
    return file.Read(&record, sizeof record, read) && read == sizeof record;
}

template <class Record>
bool WriteRecord(GMFile & file, Record const & record)
{
    unsigned int written = 0;
    return file.Write(&record, sizeof record, written);
}

} // namespace Velmora
