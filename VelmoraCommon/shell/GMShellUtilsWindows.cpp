#include "VelmoraCommon/shell/GMShellUtils.h"

#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "VelmoraCommon/shell/internal/ScrambledText.h"
#include "VelmoraCommon/shell/internal/WindowPlacement.h"

#include <dlgs.h>

namespace Velmora
{

namespace
{

constexpr ScrambledText windowModule(L"user32.dll", 71);

} // namespace

bool GMShellUtils::AllowMeesageForNT6(unsigned int message, bool allow)
{
    SystemFunction<decltype(::ChangeWindowMessageFilter)> const changeFilter(
        windowModule().c_str(), "ChangeWindowMessageFilter");
    return changeFilter && changeFilter(message, allow ? DWORD{MSGFLT_ADD} : DWORD{MSGFLT_REMOVE});
}

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
