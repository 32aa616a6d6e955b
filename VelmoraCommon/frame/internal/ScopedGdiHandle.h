#pragma once

#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

/// A bitmap, which no device context may hold any more when it goes.
struct GdiBitmapTraits
{
    using Handle = HBITMAP;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle bitmap) noexcept { DeleteObject(bitmap); }
};
using ScopedBitmap = ScopedHandle<GdiBitmapTraits>;

/// A device context of `CreateCompatibleDC`.
struct MemoryDcTraits
{
    using Handle = HDC;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle context) noexcept { DeleteDC(context); }
};
using ScopedMemoryDc = ScopedHandle<MemoryDcTraits>;

/// The screen's device context, of `GetDC(nullptr)`.
struct ScreenDcTraits
{
    using Handle = HDC;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle context) noexcept { ReleaseDC(nullptr, context); }
};
using ScopedScreenDc = ScopedHandle<ScreenDcTraits>;

struct IconTraits
{
    using Handle = HICON;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle icon) noexcept { DestroyIcon(icon); }
};
using ScopedIcon = ScopedHandle<IconTraits>;

/// Puts a bitmap into a device context for a scope, which the bitmap and the context must outlive.
class ScopedSelection
{
public:
    ScopedSelection(HDC context, HBITMAP bitmap) noexcept
        : m_context(context),
          m_before(SelectObject(context, bitmap))
    {
    }
    ~ScopedSelection()
    {
        if (m_before != nullptr)
            SelectObject(m_context, m_before);
    }
    ScopedSelection(ScopedSelection const &) = delete;
    ScopedSelection & operator=(ScopedSelection const &) = delete;

    explicit operator bool() const noexcept { return m_before != nullptr; }

private:
    HDC m_context;
    HGDIOBJ m_before;
};

} // namespace Velmora
