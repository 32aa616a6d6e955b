#include "VelmoraCommon/shell/GMShellUtils.h"

#include "VelmoraCommon/shell/internal/WindowPlacement.h"

#include <dlgs.h>

namespace Velmora
{

UINT_PTR CALLBACK GMShellUtils::OFNCenterWindow(HWND dialog, UINT message, WPARAM, LPARAM)
{
    if (message == WM_INITDIALOG)
    {
        // The hook's dialog is a child of the one that is seen. chx1 is "open as read-only".
        HWND const seen = GetParent(dialog);
        CenterOverParentOrOwner(seen);
        ShowWindow(GetDlgItem(seen, chx1), SW_HIDE);
    }
    return 0;
}

} // namespace Velmora
