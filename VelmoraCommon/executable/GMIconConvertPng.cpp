#include "VelmoraCommon/executable/GMIconConvert.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <optional>
#include <vector>

#include <objidl.h>
#include <propidl.h>

// GDI+ expects the macros that NOMINMAX leaves out.
namespace Gdiplus
{
using std::max;
using std::min;
} // namespace Gdiplus
#include <gdiplus.h>

#include "VelmoraCommon/executable/internal/IconInfo.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

namespace
{

namespace Flat = Gdiplus::DllExports;

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
    auto * const end = encoders.data() + count;
    auto const * const png = std::find_if(encoders.data(), end,
                                          [](Gdiplus::ImageCodecInfo const & encoder) {
                                              return _wcsicmp(encoder.MimeType, L"image/png") == 0;
                                          });
    if (png == end)
        return std::nullopt;
    return png->Clsid;
}

bool SaveAsPng(Gdiplus::GpBitmap * bitmap, wchar_t const * path)
{
    auto const encoder = FindPngEncoder();
    return encoder && Flat::GdipSaveImageToFile(bitmap, path, &*encoder, nullptr) == Gdiplus::Ok;
}

} // namespace

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

} // namespace Velmora
