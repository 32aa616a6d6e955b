#include "VelmoraCommon/executable/internal/IconImage.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "VelmoraCommon/executable/internal/IconFormat.h"

namespace Velmora
{

namespace
{

/// A PNG stream of a few bytes may stand for any size. No icon is larger than this.
constexpr int pngSideLimit = 1024;

/// Entries of the colour table, RGBQUAD each.
std::uint64_t ColorCount(BITMAPINFOHEADER const & header)
{
    if (header.biClrUsed != 0)
        return header.biClrUsed;
    switch (header.biBitCount)
    {
    case 1:
    case 4:
    case 8:
        return 1u << header.biBitCount;
    default:
        return 0;
    }
}

/// Bytes of \p rows rows. Bitmaps may claim any size: those beyond all files come to the same.
std::uint64_t RowsSize(std::uint64_t rowSize, std::uint64_t rows)
{
    constexpr std::uint64_t beyondAllFiles = std::uint64_t(1) << 62;
    return rows == 0 || rowSize <= beyondAllFiles / rows ? rowSize * rows : beyondAllFiles;
}

/// A size in pixels of a PNG stream.
int ReadPngSide(unsigned char const * at)
{
    std::uint32_t const side =
        std::uint32_t(at[0]) << 24 | std::uint32_t(at[1]) << 16 | std::uint32_t(at[2]) << 8 | at[3];
    return static_cast<int>(std::min<std::uint32_t>(side, INT_MAX));
}

std::optional<ImageInfo> ReadPngInfo(ResourceBytes const & image)
{
    if (image.size < pngSizeEnd)
        return std::nullopt;
    int const width = ReadPngSide(image.data + pngWidthOffset);
    int const height = ReadPngSide(image.data + pngHeightOffset);
    return ImageInfo{true, width, height, 32, 0, 0, 0};
}

std::optional<ImageInfo> ReadBitmapInfo(ResourceBytes const & image)
{
    if (image.size < sizeof(BITMAPINFOHEADER))
        return std::nullopt;
    auto const header = ReadUnaligned<BITMAPINFOHEADER>(image.data);
    unsigned int const depth = unsigned(header.biPlanes) * header.biBitCount;
    ImageInfo info = {false, header.biWidth, header.biHeight / 2, depth, 0, 0, 0};
    // Negative sizes are those of rows that go the other way.
    std::uint64_t const width = std::uint64_t(std::llabs(info.width));
    std::uint64_t const height = std::uint64_t(std::llabs(info.height));
    info.colorBits = header.biSize + ColorCount(header) * sizeof(RGBQUAD);
    info.maskBits = info.colorBits + RowsSize(RowSize(depth, width), height);
    info.end = info.maskBits + RowsSize(RowSize(1, width), height);
    return info;
}

} // namespace

bool IsPngImage(ResourceBytes const & image)
{
    return image.size > sizeof(pngSignature) && ReadUnaligned<DWORD>(image.data) == pngSignature;
}

std::optional<ImageInfo> ReadImageInfo(ResourceBytes const & image)
{
    return IsPngImage(image) ? ReadPngInfo(image) : ReadBitmapInfo(image);
}

bool IsWholeImage(ResourceBytes const & image, ImageInfo const & info)
{
    if (info.width < 1 || info.height < 1)
        return false;
    if (info.isPng)
        return info.width <= pngSideLimit && info.height <= pngSideLimit;
    auto const header = ReadUnaligned<BITMAPINFOHEADER>(image.data);
    return header.biSize >= sizeof(header) && header.biPlanes != 0 &&
           header.biCompression == BI_RGB && info.maskBits <= image.size;
}

std::optional<WORD> ImageCount(ResourceBytes const & group)
{
    if (group.size < sizeof(IconHeader))
        return std::nullopt;
    WORD const count = ReadUnaligned<IconHeader>(group.data).count;
    if ((group.size - sizeof(IconHeader)) / groupEntrySize < count)
        return std::nullopt;
    return count;
}

WORD ImageId(ResourceBytes const & group, unsigned int index)
{
    return ReadUnaligned<WORD>(group.data + sizeof(IconHeader) +
                               std::size_t{index} * groupEntrySize + groupEntryImageId);
}

} // namespace Velmora
