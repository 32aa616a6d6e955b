#include "VelmoraCommon/shell/GMWindowUtils.h"

#include "VelmoraCommon/frame/internal/ScopedGdiHandle.h"
#include "VelmoraCommon/shell/internal/WindowPlacement.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

/// Calls \p visit with each visible window above \p window, the next one first, until it answers
/// true. \return whether it did; false for a null or child window
template <class Visit>
bool FindAbove(HWND window, Visit visit)
{
    if (window == nullptr || IsChildWindow(window))
        return false;
    while ((window = GetWindow(window, GW_HWNDPREV)) != nullptr)
    {
        if (IsWindowVisible(window) && visit(window))
            return true;
    }
    return false;
}

struct RegionTraits
{
    using Handle = HRGN;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle region) noexcept { DeleteObject(region); }
};
using ScopedRegion = ScopedHandle<RegionTraits>;

ScopedRegion RegionOf(HWND window)
{
    RECT const rectangle = WindowRectangle(window);
    return ScopedRegion(CreateRectRgnIndirect(&rectangle));
}

bool Covers(RECT const & cover, RECT const & other)
{
    return cover.left <= other.left && cover.top <= other.top && cover.right >= other.right &&
           cover.bottom >= other.bottom;
}

/// The state that brings \p window back as it was: maximised, from its icon, or as \p otherwise.
int ShowState(HWND window, int otherwise)
{
    if (IsZoomed(window))
        return SW_SHOWMAXIMIZED;
    return IsIconic(window) ? SW_RESTORE : otherwise;
}

} // namespace

int GMWindowUtils::IsAbove(HWND window, HWND other)
{
    return FindAbove(window, [other](HWND above) { return above == other; });
}

int GMWindowUtils::IsEntirelyCovered(HWND window)
{
    ScopedRegion const rest = RegionOf(window);
    return FindAbove(window,
                     [&rest](HWND above)
                     {
                         ScopedRegion const cover = RegionOf(above);
                         return CombineRgn(rest.Get(), rest.Get(), cover.Get(), RGN_DIFF) ==
                                NULLREGION;
                     });
}

bool GMWindowUtils::IsForegroundFullScreen()
{
    HWND const window = GetForegroundWindow();
    HWND const desktop = GetDesktopWindow();
    if (window == nullptr || window == desktop || window == GetShellWindow() ||
        !Covers(WindowRectangle(window), WindowRectangle(desktop)))
    {
        return false;
    }
    // A window of this class shows the desktop's wallpaper.
    return GMStringUtils::CompareNoCase(GetWindowClassName(window), L"WorkerW") != 0;
}

bool GMWindowUtils::IsParentWnd(HWND parent, HWND child, bool deep)
{
    if (deep)
        return parent == child || IsChild(parent, child);
    HWND const direct = GetParent(child);
    return direct != nullptr && direct == parent;
}

GMString GMWindowUtils::GetWindowTextValue(HWND window)
{
    int const length = GetWindowTextLengthW(window);
    if (length < 1)
        return GMString();
    // The text may have grown in between.
    GMString text(static_cast<std::size_t>(length) * 2 + 1, L'\0');
    int const got = GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
    text.resize(static_cast<std::size_t>(got));
    return text;
}

GMString GMWindowUtils::GetWindowTitle(HWND window) { return GetWindowTextValue(window); }

bool GMWindowUtils::SetWindowTextValue(HWND window, GMString const & text)
{
    return SetWindowTextW(window, text.c_str()) != FALSE;
}

GMString GMWindowUtils::GetWindowClassName(HWND window)
{
    wchar_t name[260] = {};
    return GMString(name, static_cast<std::size_t>(GetClassNameW(window, name, 260)));
}

void GMWindowUtils::ShowWindowEx(HWND window)
{
    ShowWindow(window, IsWindowVisible(window) ? ShowState(window, SW_SHOW) : SW_SHOW);
    SetForegroundWindow(window);
}

void GMWindowUtils::BringToFrontWindow(HWND window, bool showNormal)
{
    int const show = showNormal ? SW_SHOWNORMAL : SW_SHOW;
    HWND const foreground = GetForegroundWindow();
    if (window == foreground)
    {
        if (IsZoomed(window) || IsIconic(window) || !IsWindowVisible(window))
            ShowWindow(window, ShowState(window, show));
        return;
    }
    // With the input of the thread in front, a thread may put its windows there.
    DWORD const thread = GetWindowThreadProcessId(window, nullptr);
    DWORD const inFront = GetWindowThreadProcessId(foreground, nullptr);
    AttachThreadInput(thread, inFront, TRUE);
    ShowWindow(window, ShowState(window, show));
    for (HWND place : {HWND_TOPMOST, HWND_NOTOPMOST})
        SetWindowPos(window, place, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE);
    SetForegroundWindow(window);
    AttachThreadInput(thread, inFront, FALSE);
}

int GMWindowUtils::CenterWindow(HWND window) { return CenterOverParentOrOwner(window); }

void GMWindowUtils::CenterWindow(HWND window, HWND over) { CenterOverWindow(window, over, {}); }

void GMWindowUtils::CenterWindowMove(HWND window, HWND over, int offsetX, int offsetY)
{
    CenterOverWindow(window, over, {offsetX, offsetY});
}

void GMWindowUtils::CornerWindowMove(HWND window, HWND over, int place, int offsetX, int offsetY)
{
    RECT own = WindowRectangle(window);
    if (IsChildWindow(window)) // a child is moved within its parent
        MapWindowPoints(HWND_DESKTOP, GetParent(window), reinterpret_cast<POINT *>(&own), 2);
    RECT const reference = PlacementReference(window, over, true);
    LONG const right = reference.right - (own.right - own.left);
    LONG const bottom = reference.bottom - (own.bottom - own.top);
    LONG const middleX = (reference.left + reference.right) / 2 - (own.right - own.left) / 2;
    LONG const middleY = (reference.top + reference.bottom) / 2 - (own.bottom - own.top) / 2;
    POINT const places[] = {
        {own.left, own.top},
        {reference.left, reference.top},
        {right, reference.top},
        {right, bottom},
        {reference.left, bottom},
        {0, middleY},
        {middleX, 0},
        {right, middleY},
        {middleX, bottom},
    };
    POINT const & to = places[place >= 1 && place <= 8 ? place : 0];
    SetWindowPos(window, nullptr, to.x + offsetX, to.y + offsetY, 0, 0,
                 SWP_NOSIZE | SWP_NOACTIVATE);
}

int GMWindowUtils::TipWindow(HWND window, int offsetX, int offsetY)
{
    RECT const own = WindowRectangle(window);
    RECT const monitor = MonitorRectangle(window);
    return SetWindowPos(window, nullptr, monitor.right - (own.right - own.left) + offsetX,
                        monitor.bottom - (own.bottom - own.top) + offsetY, 0, 0,
                        SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_SHOWWINDOW);
}

} // namespace Velmora
