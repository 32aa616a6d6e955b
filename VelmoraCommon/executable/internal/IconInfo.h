#pragma once

#include <cstdint>
#include <optional>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/frame/internal/ScopedGdiHandle.h"

namespace Velmora
{

/// Whether a pixel of 32 bits isn't wholly transparent.
inline bool HasAlpha(std::uint32_t pixel) { return pixel >= 0x01000000; }

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

} // namespace Velmora
