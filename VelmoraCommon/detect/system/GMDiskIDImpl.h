#pragma once

#include <array>
#include <string>
#include <vector>

#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// What the drives of the machine tell of themselves: the 256 words that the ATA command IDENTIFY DEVICE
/// gives. A drive is asked through several channels, since rights and drivers decide which one works.
///
/// A copy is independent. Use an object from one thread at a time.
class VELMORA_API GMDiskIDImpl
{
public:
    /// Asks all drives anew. On systems other than NT the process runs at the highest priority
    /// meanwhile, and at the normal one afterwards.
    /// \return whether any drive answered
    bool LoadDiskInfo();

    /// The records found, equal ones counted once.
    unsigned int GetCount() const;

    /// \param index less than GetCount, as for the next one
    bool IsFixedDriveType(unsigned int index);

    /// Up to 20 characters, without blanks at their end.
    std::string SerialNumber(unsigned int index);

private:
    using Record = std::array<unsigned short, 256>;

    // The channels. 1 if any drive gave data, be they new or not.
    int ReadPhysicalDriveInNTWithAdminRights();
    int ReadIdeDriveAsScsiDriveInNT();
    int ReadPhysicalDriveInNTUsingSmart();
    int ReadDrivePortsInWin9X();

    /// Needs no rights, and adds nothing: what it reads has another form. \return 0
    int ReadPhysicalDriveInNTWithZeroRights();

    int AddIfNew(unsigned short * record);
    std::string ConvertToString(unsigned short * const record, int first, int last);
    std::string flipAndCodeBytes(char * text);

    std::vector<Record> m_records; // in the order in which they were found
};

} // namespace Velmora
