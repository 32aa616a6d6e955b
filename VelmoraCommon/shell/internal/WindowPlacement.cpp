#include "VelmoraCommon/shell/internal/WindowPlacement.h"

namespace Velmora
{

namespace
{

RECT VirtualScreen()
{
    RECT screen = {GetSystemMetrics(SM_XVIRTUALSCREEN), GetSystemMetrics(SM_YVIRTUALSCREEN), 0, 0};
    screen.right = screen.left + GetSystemMetrics(SM_CXVIRTUALSCREEN);
    screen.bottom = screen.top + GetSystemMetrics(SM_CYVIRTUALSCREEN);
    return screen;
}

RECT ClientRectangle(HWND window)
{
    RECT rectangle = {};
    GetClientRect(window, &rectangle);
    return rectangle;
}

/// Where a line of \p length begins that is centred in a reference and pushed into its bounds. One
/// that doesn't fit begins where the bounds do if it passes them there.
LONG Centered(LONG referenceBegin, LONG referenceEnd, LONG length, LONG begin, LONG end)
{
    LONG const position = (referenceBegin + referenceEnd) / 2 - length / 2;
    if (position < begin)
        return begin;
    return position + length > end ? end - length : position;
}

BOOL MoveToMiddle(HWND window, RECT const & reference, RECT const & bounds, POINT offset)
{
    RECT const own = WindowRectangle(window);
    LONG const x =
        Centered(reference.left, reference.right, own.right - own.left, bounds.left, bounds.right);
    LONG const y =
        Centered(reference.top, reference.bottom, own.bottom - own.top, bounds.top, bounds.bottom);
    return SetWindowPos(window, nullptr, x - offset.x, y - offset.y, -1, -1,
                        SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

} // namespace

RECT MonitorRectangle(HWND window)
{
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTOPRIMARY), &info);
    return info.rcMonitor;
}

RECT WindowRectangle(HWND window)
{
    RECT rectangle = {};
    GetWindowRect(window, &rectangle);
    return rectangle;
}

bool IsChildWindow(HWND window) { return (GetWindowLongW(window, GWL_STYLE) & WS_CHILD) != 0; }

RECT PlacementReference(HWND window, HWND over, bool clientForChild)
{
    HWND const reference = over != nullptr ? over : GetWindow(window, GW_OWNER);
    if (reference == GetDesktopWindow())
        return MonitorRectangle(window);
    if (reference == nullptr || IsIconic(reference))
        return MonitorRectangle(reference);
    return clientForChild && IsChildWindow(window) ? ClientRectangle(reference)
                                                   : WindowRectangle(reference);
}

BOOL CenterOverParentOrOwner(HWND window)
{
    if (IsChildWindow(window))
    {
        RECT const client = ClientRectangle(GetParent(window));
        return MoveToMiddle(window, client, client, {});
    }
    HWND const owner = GetWindow(window, GW_OWNER);
    bool const seen = owner != nullptr &&
                      (GetWindowLongW(owner, GWL_STYLE) & (WS_VISIBLE | WS_MINIMIZE)) == WS_VISIBLE;
    RECT const reference =
        seen ? WindowRectangle(owner) : MonitorRectangle(owner != nullptr ? owner : window);
    return MoveToMiddle(window, reference, VirtualScreen(), {});
}

void CenterOverWindow(HWND window, HWND over, POINT offset)
{
    MoveToMiddle(window, PlacementReference(window, over, false), VirtualScreen(), offset);
}

} // namespace Velmora
