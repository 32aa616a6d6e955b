#include "VelmoraCommon/executable/GMIconConvert.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "VelmoraCommon/executable/internal/IconInfo.h"
#include "VelmoraCommon/frame/internal/ScopedGdiHandle.h"

namespace Velmora
{

namespace
{

constexpr std::uint32_t opaque = 0xFF000000;

bool DrawOnZeros(HDC context, HICON icon, SIZE size, std::uint32_t * pixels, std::size_t count,
                 UINT flags)
{
    std::fill_n(pixels, count, 0);
    bool const drawn =
        DrawIconEx(context, 0, 0, icon, size.cx, size.cy, 0, nullptr, flags) != FALSE;
    GdiFlush(); // before the pixels are looked at
    return drawn;
}

} // namespace

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

} // namespace Velmora
