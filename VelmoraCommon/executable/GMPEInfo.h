#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// A view on the bytes of an executable file, whose headers and sections it finds.
///
/// The bytes are those of the file on disk, not of a loaded module; they stay the caller's and must
/// outlive this object. They may be damaged in any way: nothing in front of or behind them is read.
/// Use from any thread.
///
/// Headers are taken as those of 32-bit files (`IMAGE_NT_HEADERS32`, 248 bytes), and nothing here
/// looks whether they are. In a 64-bit file the signature, the number of sections and the
/// alignments are found all the same; the directories and the section headers aren't.
class VELMORA_API GMPEInfo
{
public:
    /// \p size is in bytes.
    GMPEInfo(void * image, unsigned int size);

    /// Whether the marks "MZ" and "PE" stand in their places and the headers aren't cut off.
    bool IsPEFile() const;

    // The parts of the headers. A pointer leads into the caller's bytes, wherever these lie in
    // memory, so it may be unaligned. On failure it stays as it was. The marks aren't tested.

    /// False for less than 4 bytes, though the whole header is of 64.
    bool GetDosHeader(_IMAGE_DOS_HEADER *& header) const;
    bool GetImageNTHeader(_IMAGE_NT_HEADERS *& header) const;
    /// False when the header of one section doesn't fit; the others may still be cut off.
    bool GetSectionHeader(_IMAGE_SECTION_HEADER *& first) const;

    /// \p value rounded up to a multiple of \p alignment; down, if the number above doesn't fit. An
    /// \p alignment of 0 changes nothing.
    unsigned long Align(unsigned long value, unsigned long alignment) const;

    /// The name of the section that holds \p rva (relative virtual address) in memory, where a
    /// section is as large as its virtual size rounded up to the section alignment. Eight bytes,
    /// filled up with NUL and without a terminator; null if there is no such section.
    unsigned char * GetSectionNameByRva(unsigned long rva) const;

    /// Where in the file the byte at \p rva lies. -1 if it isn't in the file, as for the rest of a
    /// section that is shorter there than in memory, and for the last byte of a section in memory.
    /// The offset comes from the headers alone and may lie behind the end of the file.
    int RvaToOffset(unsigned long rva) const;

private:
    bool FindNtHeaders(unsigned int & offset, unsigned int following) const;
    unsigned char * FindSection(unsigned long rva, unsigned int lastBytes) const;

    unsigned char * m_image;
    unsigned int m_size; // in bytes
};

} // namespace Velmora
