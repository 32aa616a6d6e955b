#include "VelmoraCommon/executable/GMIconConvert.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <utility>
#include <vector>

#include "VelmoraCommon/executable/internal/IconFormat.h"
#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/frame/internal/ScopedGdiHandle.h"

namespace Velmora
{

namespace
{

/// The header of an image in the file and what stands between it and the mask.
struct IconBitmap
{
    std::uint64_t MaskSize() const
    {
        return RowSize(1, std::uint64_t(header.biWidth)) * std::uint64_t(header.biHeight);
    }
    std::uint64_t Size() const { return sizeof(header) + pixels.size() + MaskSize(); }

    BITMAPINFOHEADER header; // with the height of the bitmap
    std::vector<unsigned char> pixels;
};

std::optional<IconBitmap> ReadBitmap(HDC screen, HBITMAP bitmap)
{
    struct
    {
        BITMAPINFOHEADER header;
        RGBQUAD colors[256];
    } info = {};
    auto * const headerAndColors = reinterpret_cast<BITMAPINFO *>(&info);
    info.header.biSize = sizeof(info.header);
    if (GetDIBits(screen, bitmap, 0, 0, nullptr, headerAndColors, DIB_RGB_COLORS) == 0)
        return std::nullopt;
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof(header);
    header.biWidth = info.header.biWidth;
    header.biHeight = std::abs(info.header.biHeight);
    header.biPlanes = 1;
    header.biBitCount = 32;
    header.biCompression = BI_RGB;
    header.biXPelsPerMeter = info.header.biXPelsPerMeter;
    header.biYPelsPerMeter = info.header.biYPelsPerMeter;
    if (header.biWidth < 1 || header.biHeight < 1 ||
        std::int64_t(header.biWidth) * header.biHeight > MAXLONG / 4)
        return std::nullopt;

    // No colour table comes with these pixels, so the header must not tell of one.
    info.header = header;
    IconBitmap image = {header, {}};
    image.pixels.resize(std::size_t(header.biWidth) * std::size_t(header.biHeight) * 4);
    int const lines = GetDIBits(screen, bitmap, 0, static_cast<UINT>(header.biHeight),
                                image.pixels.data(), headerAndColors, DIB_RGB_COLORS);
    if (lines != header.biHeight)
        return std::nullopt;
    return image;
}

void Write(GMFile & file, void const * bytes, std::size_t size)
{
    unsigned int written = 0;
    file.Write(bytes, static_cast<unsigned int>(size), written);
}

void WriteIconFile(GMFile & file, std::vector<IconBitmap> const & images)
{
    IconHeader const header = {0, iconType, static_cast<WORD>(images.size())};
    Write(file, &header, sizeof(header));
    std::size_t offset = sizeof(header) + images.size() * sizeof(IconEntry);
    for (IconBitmap const & image : images)
    {
        IconEntry entry = {};
        entry.width = static_cast<BYTE>(image.header.biWidth);
        entry.height = static_cast<BYTE>(image.header.biHeight);
        entry.planes = image.header.biPlanes;
        entry.bits = image.header.biBitCount;
        entry.size = static_cast<DWORD>(image.Size());
        entry.offset = static_cast<DWORD>(offset);
        Write(file, &entry, sizeof(entry));
        offset += entry.size;
    }
    for (IconBitmap const & image : images)
    {
        BITMAPINFOHEADER imageHeader = image.header;
        imageHeader.biHeight *= 2; // the mask's rows count, too
        Write(file, &imageHeader, sizeof(imageHeader));
        Write(file, image.pixels.data(), image.pixels.size());
        std::vector<unsigned char> const mask(static_cast<std::size_t>(image.MaskSize()));
        Write(file, mask.data(), mask.size());
    }
}

} // namespace

bool GMIconConvert::BitmapToIcon(HBITMAP bitmap, GMString const & path)
{
    return MultiBitmapToIcon(&bitmap, 1, path);
}

bool GMIconConvert::MultiBitmapToIcon(HBITMAP * bitmaps, unsigned int count, GMString const & path)
{
    if (count > MAXWORD || (bitmaps == nullptr && count != 0))
        return false;
    ScopedScreenDc const screen(GetDC(nullptr));
    std::vector<IconBitmap> images;
    std::uint64_t size = sizeof(IconHeader) + count * sizeof(IconEntry);
    for (unsigned int i = 0; i != count; ++i)
    {
        auto image = ReadBitmap(screen.Get(), bitmaps[i]);
        if (!image)
            return false;
        size += image->Size();
        images.push_back(std::move(*image));
    }
    GMFile file;
    if (size > MAXDWORD || !file.Create(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                        CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL))
        return false;
    WriteIconFile(file, images);
    return true;
}

} // namespace Velmora
