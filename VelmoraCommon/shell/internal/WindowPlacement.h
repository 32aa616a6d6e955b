#pragma once

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Moves \p window so that its middle is that of its parent's client area, if it is a child, else of
/// its owner, or of the monitor when the owner can't be seen. It stays within the parent or the
/// desktop. \return what `SetWindowPos` answered
BOOL CenterOverParentOrOwner(HWND window);

/// Moves \p window so that its middle is that of \p over, or of its owner when that is null, stays
/// within the desktop, and is then moved left and up by \p offset.
void CenterOverWindow(HWND window, HWND over, POINT offset);

/// The rectangle that \p window is placed by: that of \p over, or of its owner when that is null; of
/// the monitor in place of the desktop, of a minimised window, and of none. A child window is placed
/// by the client area of its reference.
RECT PlacementReference(HWND window, HWND over, bool clientForChild);

/// Of the whole monitor, taskbar included; the primary one for a window that is on none.
RECT MonitorRectangle(HWND window);

RECT WindowRectangle(HWND window);
bool IsChildWindow(HWND window);

} // namespace Velmora
