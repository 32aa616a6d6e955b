#include "VelmoraCommon/shell/GMExplorerUtils.h"

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ChildTask.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

#include <commctrl.h>

namespace Velmora::Testing
{

namespace
{

std::wstring s_desktop;

BOOL WINAPI TellDesktop(HWND, wchar_t * path, int folder, BOOL)
{
    path[s_desktop.copy(path, MAX_PATH - 1)] = L'\0';
    return folder == 16;
}

DWORD s_limit;

LRESULT WINAPI AnswerNothing(HWND, UINT, WPARAM, LPARAM, UINT, UINT limit, DWORD_PTR *)
{
    s_limit = limit;
    return 0;
}

HWND Make(wchar_t const * kind, HWND parent, DWORD style)
{
    WNDCLASSW description = {};
    if (!GetClassInfoW(nullptr, kind, &description)) // the list view's is there
    {
        description.lpfnWndProc = &DefWindowProcW;
        description.lpszClassName = kind;
        RegisterClassW(&description);
    }
    return CreateWindowExW(parent == nullptr ? WS_EX_TOPMOST : 0, kind, L"explorer of a test",
                           style | WS_VISIBLE | (parent == nullptr ? WS_POPUP : WS_CHILD), 0, 0,
                           200, 200, parent, nullptr, nullptr, nullptr);
}

/// A desktop with two entries, "a folder" and "a file", in a process of its own. The argument names
/// the event that tells that it stands.
ChildTask const desktop(
    L"shell-desktop",
    [](std::wstring const & ready) -> int
    {
        InitCommonControls();
        HWND const view = Make(L"SHELLDLL_DefView", Make(L"Progman", nullptr, 0), 0);
        HWND const list = Make(L"SysListView32", view, LVS_REPORT | LVS_NOCOLUMNHEADER);
        LVCOLUMNW column = {};
        column.mask = LVCF_WIDTH;
        column.cx = 150;
        SendMessageW(list, LVM_INSERTCOLUMNW, 0, reinterpret_cast<LPARAM>(&column));
        wchar_t names[][10] = {L"a folder", L"a file"};
        for (int i = 0; i < 2; ++i)
        {
            LVITEMW item = {};
            item.mask = LVIF_TEXT;
            item.iItem = i;
            item.pszText = names[i];
            SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
        }
        SetEvent(ScopedKernelObject(OpenEventW(EVENT_MODIFY_STATE, FALSE, ready.c_str())).Get());
        MSG message;
        while (GetMessageW(&message, nullptr, 0, 0))
            DispatchMessageW(&message);
        return 0;
    });

} // namespace

TEST(GMExplorerUtils, AsksTheListOfAnotherProcess)
{
    std::wstring const name = L"VelmoraTest-desktop-" + std::to_wstring(GetCurrentProcessId());
    ScopedKernelObject const ready(CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
    ChildProcess const explorer(desktop.CommandLine(name));
    ASSERT_TRUE(explorer.Signals(ready.Get()));
    HWND const top = FindWindowW(L"Progman", L"explorer of a test");
    HWND const around = FindWindowExW(top, nullptr, L"SHELLDLL_DefView", nullptr);

    HWND view = nullptr, list = nullptr;
    int item = 7;
    bool isDesktop = false;
    SetCursorPos(500, 500);
    EXPECT_FALSE(GMExplorerUtils::GetExplorerListViewFromCursorPos(view, list, item, isDesktop));
    EXPECT_EQ(7, item);
    SetCursorPos(20, 5);
    ASSERT_TRUE(GMExplorerUtils::GetExplorerListViewFromCursorPos(view, list, item, isDesktop));
    EXPECT_EQ(around, view);
    EXPECT_EQ(FindWindowExW(around, nullptr, L"SysListView32", nullptr), list);
    EXPECT_EQ(0, item);
    EXPECT_TRUE(isDesktop);
    SetCursorPos(20, 150);
    ASSERT_TRUE(GMExplorerUtils::GetExplorerListViewFromCursorPos(view, list, item, isDesktop));
    EXPECT_EQ(-1, item);

    TemporaryFolder const folder;
    s_desktop = folder.Path();
    folder.Write(L"a folder\\x");
    folder.Write(L"a file");
    ImportHook const tell("SHGetSpecialFolderPathW", &TellDesktop);
    EXPECT_EQ(folder.File(L"a folder"), GMExplorerUtils::GetDesktopItemPath(list, 0));
    EXPECT_EQ(folder.Path(), GMExplorerUtils::GetDesktopItemPath(list, 1));
    EXPECT_EQ(folder.Path(), GMExplorerUtils::GetDesktopItemPath(list, 2)); // there is none
    EXPECT_EQ(folder.Path(), GMExplorerUtils::GetDesktopItemPath(list, -1));

    ImportHook const hang("SendMessageTimeoutW", &AnswerNothing);
    EXPECT_EQ(folder.Path(), GMExplorerUtils::GetDesktopItemPath(list, 0));
    EXPECT_FALSE(GMExplorerUtils::GetExplorerListViewFromCursorPos(view, list, item, isDesktop));
    EXPECT_LE(s_limit, 5000u);
}

} // namespace Velmora::Testing
