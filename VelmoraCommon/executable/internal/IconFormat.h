#pragma once

#include "VelmoraCommon/executable/internal/PEFormat.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

// The formats of icons, little-endian throughout: the file (.ico), and the resource types
// `RT_GROUP_ICON` and `RT_ICON` (an image).

/// The start of a file and of a group.
struct IconHeader
{
    WORD reserved; // 0
    WORD type;     // 1 for icons
    WORD count;    // of images
};
constexpr WORD iconType = 1;
constexpr WORD cursorType = 2;

/// One image in the directory of a file.
struct IconEntry
{
    BYTE width; // in pixels; 0 stands for 256, as in the height
    BYTE height;
    BYTE colors; // 0 for 256 and more
    BYTE reserved;
    WORD planes;
    WORD bits;    // per pixel
    DWORD size;   // of the image, in bytes
    DWORD offset; // of the image, from the start of the file
};

static_assert(sizeof(IconHeader) == 6 && sizeof(IconEntry) == 16);

// An entry of a group begins like that of a file; the offset of the image gives way to the number of
// its resource.
constexpr unsigned int groupEntrySize = 14;
constexpr unsigned int groupEntryImageId = 12;

/// An image is a bitmap, or a PNG stream, of whose signature this is the first half.
constexpr DWORD pngSignature = 0x474E5089;

// Where a PNG stream has its size, two numbers with the highest byte first (its chunk IHDR).
constexpr unsigned int pngWidthOffset = 16;
constexpr unsigned int pngHeightOffset = 20;
constexpr unsigned int pngSizeEnd = 24;

/// The bytes of a row of pixels, which is padded to a multiple of 4.
constexpr unsigned long long RowSize(unsigned long long bitsPerPixel, unsigned long long width)
{
    return (bitsPerPixel * width + 31) / 8 & ~3ull;
}

} // namespace Velmora
