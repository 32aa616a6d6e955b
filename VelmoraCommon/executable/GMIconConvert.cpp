#include "VelmoraCommon/executable/GMIconConvert.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <optional>
#include <vector>

#include <objidl.h>
#include <propidl.h>
#include <shellapi.h>

// GDI+ expects the macros that NOMINMAX leaves out.
namespace Gdiplus
{
using std::max;
using std::min;
} // namespace Gdiplus
#include <gdiplus.h>

#include "VelmoraCommon/executable/internal/IconFormat.h"
#include "VelmoraCommon/executable/internal/IconImage.h"
#include "VelmoraCommon/executable/internal/ResourceModule.h"
#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/frame/internal/ScopedGdiHandle.h"
#include "VelmoraCommon/frame/internal/SystemText.h"

namespace Velmora
{

namespace
{

namespace Flat = Gdiplus::DllExports;

/// The first alpha value that isn't 0, in a pixel of 32 bits.
constexpr std::uint32_t lowestAlpha = 0x01000000;
constexpr std::uint32_t opaque = 0xFF000000;

bool HasAlpha(std::uint32_t pixel) { return pixel >= lowestAlpha; }

// ---- bitmap to icon file

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

// ---- icon to bitmap

/// What the system tells about an icon: two bitmaps, which become the caller's.
struct IconInfo
{
    explicit IconInfo(HICON icon)
    {
        ICONINFO info = {};
        isKnown = icon != nullptr && GetIconInfo(icon, &info) != FALSE;
        isIcon = isKnown && info.fIcon != FALSE;
        color = ScopedBitmap(info.hbmColor);
        mask = ScopedBitmap(info.hbmMask);
    }

    /// The size and depth of the colour bitmap; nothing for an icon without one.
    std::optional<BITMAP> ColorFormat() const
    {
        BITMAP format = {};
        if (!color || GetObjectW(color.Get(), sizeof(format), &format) == 0)
            return std::nullopt;
        return format;
    }

    bool isKnown;
    bool isIcon;
    ScopedBitmap color;
    ScopedBitmap mask;
};

bool DrawOnZeros(HDC context, HICON icon, SIZE size, std::uint32_t * pixels, std::size_t count,
                 UINT flags)
{
    std::fill_n(pixels, count, 0);
    bool const drawn =
        DrawIconEx(context, 0, 0, icon, size.cx, size.cy, 0, nullptr, flags) != FALSE;
    GdiFlush(); // before the pixels are looked at
    return drawn;
}

// ---- icon to PNG file

struct GdiplusBitmapTraits
{
    using Handle = Gdiplus::GpBitmap *;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle bitmap) noexcept { Flat::GdipDisposeImage(bitmap); }
};
using ScopedGdiplusBitmap = ScopedHandle<GdiplusBitmapTraits>;

/// The pixels of a GDI+ bitmap for a scope, which the bitmap must outlive.
class LockedPixels
{
public:
    explicit LockedPixels(Gdiplus::GpBitmap * bitmap) : m_bitmap(nullptr)
    {
        UINT width = 0;
        UINT height = 0;
        Gdiplus::PixelFormat format = 0;
        if (Flat::GdipGetImageWidth(bitmap, &width) != Gdiplus::Ok ||
            Flat::GdipGetImageHeight(bitmap, &height) != Gdiplus::Ok ||
            Flat::GdipGetImagePixelFormat(bitmap, &format) != Gdiplus::Ok)
            return;
        Gdiplus::Rect const all(0, 0, static_cast<INT>(width), static_cast<INT>(height));
        if (Flat::GdipBitmapLockBits(bitmap, &all, Gdiplus::ImageLockModeRead, format, &m_data) ==
            Gdiplus::Ok)
            m_bitmap = bitmap;
    }
    ~LockedPixels()
    {
        if (m_bitmap != nullptr)
            Flat::GdipBitmapUnlockBits(m_bitmap, &m_data);
    }
    LockedPixels(LockedPixels const &) = delete;
    LockedPixels & operator=(LockedPixels const &) = delete;

    explicit operator bool() const { return m_bitmap != nullptr; }
    Gdiplus::BitmapData const & Data() const { return m_data; }

    /// Whether one of the pixels, of 32 bits each, isn't wholly transparent.
    bool HaveAlpha() const
    {
        if (Gdiplus::GetPixelFormatSize(m_data.PixelFormat) != 32)
            return false;
        for (UINT y = 0; y != m_data.Height; ++y)
        {
            auto const * const row = static_cast<std::uint32_t const *>(m_data.Scan0) +
                                     std::ptrdiff_t(y) * m_data.Stride / 4;
            if (std::any_of(row, row + m_data.Width, &HasAlpha))
                return true;
        }
        return false;
    }

private:
    Gdiplus::GpBitmap * m_bitmap; // null when nothing is locked
    Gdiplus::BitmapData m_data = {};
};

std::optional<CLSID> FindPngEncoder()
{
    UINT count = 0;
    UINT size = 0;
    if (Flat::GdipGetImageEncodersSize(&count, &size) != Gdiplus::Ok || size == 0)
        return std::nullopt;
    // The texts of the encoders follow them in the same block.
    std::vector<Gdiplus::ImageCodecInfo> encoders(size / sizeof(Gdiplus::ImageCodecInfo) + 1);
    if (Flat::GdipGetImageEncoders(count, size, encoders.data()) != Gdiplus::Ok)
        return std::nullopt;
    auto const end = encoders.begin() + count;
    auto const png = std::find_if(encoders.begin(), end,
                                  [](Gdiplus::ImageCodecInfo const & encoder)
                                  { return _wcsicmp(encoder.MimeType, L"image/png") == 0; });
    if (png == end)
        return std::nullopt;
    return png->Clsid;
}

bool SaveAsPng(Gdiplus::GpBitmap * bitmap, wchar_t const * path)
{
    auto const encoder = FindPngEncoder();
    return encoder && Flat::GdipSaveImageToFile(bitmap, path, &*encoder, nullptr) == Gdiplus::Ok;
}

// ---- file to icon

/// Whether the first of \p module's groups and its images are whole.
bool HasWholeIcon(ResourceModule const & module)
{
    struct Search
    {
        ResourceModule const & module;
        bool isWhole;
        static BOOL CALLBACK Look(HMODULE, wchar_t const * type, wchar_t * name, LONG_PTR object)
        {
            auto & self = *reinterpret_cast<Search *>(object);
            ResourceBytes const group = self.module.Find(type, name);
            unsigned int const count = ImageCount(group).value_or(0);
            unsigned int i = 0;
            for (; i != count; ++i)
            {
                auto const image =
                    self.module.Find(MAKEINTRESOURCEW(3), MAKEINTRESOURCEW(ImageId(group, i)));
                auto const info = ReadImageInfo(image);
                if (!info || !IsWholeImage(image, *info))
                    break;
            }
            self.isWhole = count != 0 && i == count;
            return FALSE;
        }
    };
    Search search = {module, false};
    if (module.HasSoundTables())
        EnumResourceNamesW(module.Get(), MAKEINTRESOURCEW(14), &Search::Look,
                           reinterpret_cast<LONG_PTR>(&search));
    return search.isWhole;
}

/// Whether the images that the directory of an icon file tells of lie within the file.
bool HasWholeDirectory(GMFile & file, IconHeader const & header, unsigned long long fileSize)
{
    std::vector<IconEntry> entries(header.count);
    auto const size = static_cast<unsigned int>(entries.size() * sizeof(IconEntry));
    unsigned int read = 0;
    return header.count != 0 && size <= fileSize - sizeof(header) &&
           file.Read(entries.data(), size, read) && read == size &&
           std::all_of(entries.begin(), entries.end(),
                       [&](IconEntry const & entry) {
                           return entry.offset <= fileSize && entry.size <= fileSize - entry.offset;
                       });
}

/// Whether the system can look for an icon in a file. It trusts what the file says, and would fail
/// in a way that nobody can catch.
bool IsWholeIconFile(wchar_t const * path)
{
    // The system searches for a name alone.
    GMString const found =
        ReadSystemText([path](wchar_t * text, unsigned long size)
                       { return SearchPathW(nullptr, path, nullptr, size, text, nullptr); });
    GMFile file;
    unsigned long long size = 0;
    IconHeader header = {};
    unsigned int read = 0;
    if (!file.Create(found, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, 0) ||
        !file.GetSize(size) || !file.Read(&header, sizeof(header), read) || read != sizeof(header))
        return false;
    if (header.reserved == 0 && (header.type == iconType || header.type == cursorType))
        return HasWholeDirectory(file, header, size);
    return HasWholeIcon(ResourceModule(found));
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

HBITMAP GMIconConvert::IconToBitmap(HICON icon, tagSIZE * size)
{
    IconInfo const info(icon);
    if (!info.isIcon)
        return nullptr;
    SIZE drawn = {};
    if (size != nullptr)
        drawn = *size;
    else if (auto const format = info.ColorFormat())
        drawn = {format->bmWidth, format->bmHeight};
    if (drawn.cx < 1 || drawn.cy < 1)
        return nullptr;

    BITMAPINFO wanted = {};
    wanted.bmiHeader.biSize = sizeof(wanted.bmiHeader);
    wanted.bmiHeader.biWidth = drawn.cx;
    wanted.bmiHeader.biHeight = -drawn.cy; // top row first
    wanted.bmiHeader.biPlanes = 1;
    wanted.bmiHeader.biBitCount = 32;
    wanted.bmiHeader.biCompression = BI_RGB;
    ScopedScreenDc const screen(GetDC(nullptr));
    void * memory = nullptr;
    ScopedBitmap bitmap(
        CreateDIBSection(screen.Get(), &wanted, DIB_RGB_COLORS, &memory, nullptr, 0));
    ScopedMemoryDc const context(CreateCompatibleDC(screen.Get()));
    if (!bitmap || !context)
        return nullptr;
    ScopedSelection const selection(context.Get(), bitmap.Get());
    auto * const pixels = static_cast<std::uint32_t *>(memory);
    std::size_t const count = std::size_t(drawn.cx) * std::size_t(drawn.cy);

    if (!selection || !DrawOnZeros(context.Get(), icon, drawn, pixels, count, DI_MASK))
        return nullptr;
    std::vector<unsigned char> isOpaque(count);
    std::transform(pixels, pixels + count, isOpaque.begin(),
                   [](std::uint32_t pixel) { return static_cast<unsigned char>(pixel == 0); });
    if (!DrawOnZeros(context.Get(), icon, drawn, pixels, count, DI_NORMAL))
        return nullptr;
    if (std::none_of(pixels, pixels + count, &HasAlpha))
    {
        for (std::size_t i = 0; i != count; ++i)
            pixels[i] |= isOpaque[i] != 0 ? opaque : 0;
    }
    return bitmap.Release();
}

bool GMIconConvert::GdiplusSaveHIconToPng(HICON icon, wchar_t const * path)
{
    IconInfo const info(icon);
    if (!info.isKnown || path == nullptr)
        return false;
    auto const format = info.ColorFormat();
    if (format && format->bmBitsPixel == 32)
    {
        ScopedGdiplusBitmap plain;
        if (Flat::GdipCreateBitmapFromHBITMAP(info.color.Get(), nullptr, plain.Receive()) !=
            Gdiplus::Ok)
            return false;
        LockedPixels const pixels(plain.Get());
        if (!pixels)
            return false;
        if (pixels.HaveAlpha())
        {
            Gdiplus::BitmapData const & data = pixels.Data();
            ScopedGdiplusBitmap withAlpha; // on the same pixels
            return Flat::GdipCreateBitmapFromScan0(
                       static_cast<INT>(data.Width), static_cast<INT>(data.Height), data.Stride,
                       PixelFormat32bppARGB, static_cast<BYTE *>(data.Scan0),
                       withAlpha.Receive()) == Gdiplus::Ok &&
                   SaveAsPng(withAlpha.Get(), path);
        }
        // The pixels of a less deep icon in the depth of the screen: its mask tells what is opaque.
    }
    ScopedGdiplusBitmap bitmap;
    return Flat::GdipCreateBitmapFromHICON(icon, bitmap.Receive()) == Gdiplus::Ok &&
           SaveAsPng(bitmap.Get(), path);
}

HICON GMIconConvert::LoadIconFromFile(wchar_t const * path, int width, int height)
{
    ScopedIcon smallIcon;
    if (path == nullptr || !IsWholeIconFile(path) ||
        ExtractIconExW(path, 0, nullptr, smallIcon.Receive(), 1) == 0 || !smallIcon)
        return nullptr;
    auto const loaded =
        static_cast<HICON>(LoadImageW(nullptr, path, IMAGE_ICON, width, height, LR_LOADFROMFILE));
    return loaded != nullptr ? loaded : smallIcon.Release();
}

} // namespace Velmora
