#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// What the mouse points at in Explorer or on the desktop.
///
/// Folders are found where Explorer shows them in a classic list view: on the desktop in all systems,
/// in its windows up to Windows Vista. The list is asked in its own process, and an Explorer that
/// doesn't answer is given up after a moment. Without state.
class VELMORA_API GMExplorerUtils
{
public:
    /// What lies under the mouse. The results are set on success only.
    /// \param view the window of the folder's view, around \p list
    /// \param list the list view
    /// \param item the number of the entry, -1 for the space between them
    static bool GetExplorerListViewFromCursorPos(HWND & view, HWND & list, int & item,
                                                 bool & isDesktop);

    /// The folder that entry \p item of the desktop's \p list is; the desktop's own folder for -1,
    /// for a file, and if the entry can't be read.
    static GMString GetDesktopItemPath(HWND list, int item);

    /// The folder that the mouse points at: the entry's, else the one that is shown. Empty if it
    /// points at none. COM has to be ready on the thread.
    /// \throws _com_error if the list of Explorer's windows can't be had
    static GMString GetExplorerPathFromCursorPos();
};

} // namespace Velmora
