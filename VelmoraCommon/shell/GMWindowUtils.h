#pragma once

#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Windows in words: their order, texts and places, raising them, and the classic dialogs.
///
/// Without state. Everything runs on the calling thread; questions to a window of another thread wait
/// for it as the system's calls do. Distances are in pixels.
class VELMORA_API GMWindowUtils
{
public:
    /// 1 if \p other is visible and lies above \p window in the order of top-level windows; 0 also
    /// for a null or child \p window.
    static int IsAbove(HWND window, HWND other);

    /// 1 if the rectangles of the visible windows above \p window together cover all of it; 0 also
    /// for a null or child \p window.
    static int IsEntirelyCovered(HWND window);

    /// Whether the foreground window, other than the desktop's own, reaches over the whole primary
    /// screen.
    static bool IsForegroundFullScreen();

    /// \param deep whether \p child may be \p parent itself or any window below it; otherwise
    ///     \p parent has to be its direct parent or owner
    static bool IsParentWnd(HWND parent, HWND child, bool deep);

    /// The window's text, of any length; empty on failure. The two are the same.
    static GMString GetWindowTextValue(HWND window);
    static GMString GetWindowTitle(HWND window);
    static bool SetWindowTextValue(HWND window, GMString const & text);

    /// At most 259 units; empty on failure.
    static GMString GetWindowClassName(HWND window);

    /// Shows \p window, from its minimised state at its former place, and puts it in front.
    static void ShowWindowEx(HWND window);

    /// Puts \p window in front of those of other programs, too, where the system would only let its
    /// button blink.
    /// \param showNormal whether a window that is neither minimised nor maximised gets its normal
    ///     size and place
    static void BringToFrontWindow(HWND window, bool showNormal);

    /// Centres a child window on its parent, another one on its owner or, if that can't be seen, on
    /// the monitor.
    /// \return what `SetWindowPos` answered
    static int CenterWindow(HWND window);

    /// Centres \p window on \p over, or on its owner if that is null. In place of the desktop, a
    /// minimised window and none it is the monitor. It is pushed into the desktop.
    static void CenterWindow(HWND window, HWND over);

    /// The same, and then moved by the offsets, which count to the left and up.
    static void CenterWindowMove(HWND window, HWND over, int offsetX, int offsetY);

    /// Moves \p window to a corner or edge of \p over, which is found as by CenterWindow; a child is
    /// placed by the client area. Nothing keeps it on the screen. The offsets count to the right and
    /// down.
    /// \param place 1 to 4: the corners from the upper left clockwise; 5 to 8: the middle of the left,
    ///     upper, right and lower edge, where 5 takes 0 as the left edge and 6 as the upper one. Any
    ///     other: where it is
    static void CornerWindowMove(HWND window, HWND over, int place, int offsetX, int offsetY);

    /// Shows \p window in the lower right corner of its monitor, over the taskbar. The offsets count
    /// to the right and down. \return what `SetWindowPos` answered
    static int TipWindow(HWND window, int offsetX, int offsetY);

    /// Lets the user choose a folder of the file system. Blocks; COM has to be ready on the thread
    /// (single-threaded).
    /// \param path the folder chosen at first; empty for none
    /// \return false, with \p path as it was, if the user gave up
    static bool BrowseDir(GMString & path, wchar_t const * title, HWND owner, bool newFolderButton);

    /// Lets the user choose an existing file. Blocks.
    /// \param filters each "name|pattern", or a pattern that is its own name
    /// \return its path, at most 259 units; empty if the user gave up
    static GMString SelectFile(std::vector<GMString> filters, GMString title, HWND owner);
};

} // namespace Velmora
