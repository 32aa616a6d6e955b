#include "VelmoraCommon/shell/GMExplorerUtils.h"

#include <cstdint>

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/frame/internal/ShellFolder.h"
#include "VelmoraCommon/shell/GMWindowUtils.h"
#include "VelmoraCommon/shell/internal/ExplorerWindows.h"
#include "VelmoraCommon/shell/internal/RemoteMemory.h"

#include <comdef.h>
#include <commctrl.h>
#include <shlwapi.h>

namespace Velmora
{

namespace
{

constexpr UINT patience = 2000; // milliseconds for Explorer's answer

/// LVITEMW as the process lays it out whose addresses \p Address holds.
template <class Address>
struct ListItem
{
    UINT mask;
    int item;
    int subItem;
    UINT state;
    UINT stateMask;
    Address text;
    int textSize;
    int image;
    Address parameter;
    int indent;
    int groupId;
    UINT columnCount;
    Address columns;
    Address columnFormats;
    int group;
};
static_assert(sizeof(ListItem<std::uint32_t>) == 60 && sizeof(ListItem<std::uint64_t>) == 88,
              "the sizes of LVITEMW in 32 and 64 bits");

/// \return false if the window doesn't answer in time
bool Ask(HWND window, UINT message, WPARAM number, std::size_t record, DWORD_PTR & answer)
{
    return SendMessageTimeoutW(window, message, number, static_cast<LPARAM>(record),
                               SMTO_ABORTIFHUNG, patience, &answer) != 0;
}

/// The first \p Size - 1 units of an entry's text; empty on failure.
template <class Address>
GMString ItemText(HWND list, int item, RemoteMemory const & memory, std::size_t size)
{
    ListItem<Address> record = {};
    record.text = static_cast<Address>(memory.Address() + sizeof(record));
    record.textSize = static_cast<int>(size);
    GMString text(size, L'\0');
    DWORD_PTR length = 0;
    if (!memory.Write(0, &record, sizeof(record)) ||
        !Ask(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(item), memory.Address(), length) ||
        !memory.Read(sizeof(record), text.data(), size * sizeof(wchar_t)))
    {
        return GMString();
    }
    text.resize(wcsnlen(text.c_str(), size - 1));
    return text;
}

/// Path of the folder that is entry \p item of \p view; empty if it is none.
GMString ItemFolder(IFolderView & view, int item)
{
    LPITEMIDLIST list = nullptr;
    ComPtr<IShellFolder> folder;
    STRRET name = {};
    wchar_t path[MAX_PATH] = {};
    bool const named = SUCCEEDED(view.Item(item, &list)) &&
                       SUCCEEDED(view.GetFolder(IID_PPV_ARGS(folder.GetAddressOf()))) &&
                       SUCCEEDED(folder->GetDisplayNameOf(list, SHGDN_FORPARSING, &name)) &&
                       SUCCEEDED(StrRetToBufW(&name, list, path, MAX_PATH));
    CoTaskMemFree(list);
    return named && GMFilePathUtils::IsDirectory(path) ? GMString(path) : GMString();
}

/// Path of the folder that \p view shows; empty if it is none of the file system.
GMString ShownFolder(IFolderView & view)
{
    ComPtr<IPersistFolder2> folder;
    LPITEMIDLIST list = nullptr;
    wchar_t path[MAX_PATH] = {};
    bool const found = SUCCEEDED(view.GetFolder(IID_PPV_ARGS(folder.GetAddressOf()))) &&
                       SUCCEEDED(folder->GetCurFolder(&list)) && SHGetPathFromIDListW(list, path);
    CoTaskMemFree(list);
    return found ? GMString(path) : GMString();
}

} // namespace

bool GMExplorerUtils::GetExplorerListViewFromCursorPos(HWND & view, HWND & list, int & item,
                                                       bool & isDesktop)
{
    LVHITTESTINFO test = {};
    if (!GetCursorPos(&test.pt))
        return false;
    HWND const found = WindowFromPoint(test.pt);
    if (!IsWindowVisible(found) || GMWindowUtils::GetWindowClassName(found) != L"SysListView32")
        return false;
    HWND const desktop = GetDesktopWindow();
    HWND around = GetParent(found);
    while (around != nullptr && around != desktop &&
           GMWindowUtils::GetWindowClassName(around) != L"SHELLDLL_DefView")
    {
        around = GetParent(around);
    }
    if (around == nullptr || around == desktop)
        return false;

    ScreenToClient(found, &test.pt);
    test.flags = LVHT_ONITEM;
    RemoteMemory const memory(found, sizeof(test));
    DWORD_PTR hit = 0;
    if (!memory || !memory.Write(0, &test, sizeof(test)) ||
        !Ask(found, LVM_HITTEST, 0, memory.Address(), hit))
    {
        return false;
    }
    isDesktop = GMWindowUtils::GetWindowClassName(GetParent(around)) == L"Progman";
    list = found;
    view = around;
    item = static_cast<int>(hit); // -1 is all bits set in both widths
    return true;
}

GMString GMExplorerUtils::GetDesktopItemPath(HWND list, int item)
{
    GMString desktop = SpecialFolderPath(CSIDL_DESKTOPDIRECTORY);
    if (item == -1)
        return desktop;
    RemoteMemory const memory(list, sizeof(ListItem<std::uint64_t>) + MAX_PATH * sizeof(wchar_t));
    if (!memory)
        return desktop;
    GMString const name = memory.IsWide() ? ItemText<std::uint64_t>(list, item, memory, MAX_PATH)
                                          : ItemText<std::uint32_t>(list, item, memory, MAX_PATH);
    GMString const path = GMFileName::JoinFileName(desktop, name);
    return !name.empty() && GMFilePathUtils::IsDirectory(path) ? path : desktop;
}

GMString GMExplorerUtils::GetExplorerPathFromCursorPos()
{
    ComPtr<IShellWindows> windows;
    HRESULT result = OpenExplorerWindows(windows);
    if (FAILED(result))
        _com_issue_error(result);

    HWND wanted = nullptr;
    HWND list = nullptr;
    int item = -1;
    bool isDesktop = false;
    if (!GetExplorerListViewFromCursorPos(wanted, list, item, isDesktop))
        return GMString();
    if (isDesktop)
        return GetDesktopItemPath(list, item);

    long count = 0;
    result = windows->get_Count(&count);
    if (FAILED(result))
        _com_issue_error(result);
    for (long i = 0; i < count; ++i)
    {
        HWND window = nullptr;
        ComPtr<IFolderView> folderView;
        ComPtr<IShellView> const view = ActiveView(*windows.Get(), i);
        if (view == nullptr || FAILED(view->GetWindow(&window)) || window != wanted)
            continue;
        if (FAILED(view.As(&folderView)))
            return GMString();
        return item == -1 ? ShownFolder(*folderView.Get()) : ItemFolder(*folderView.Get(), item);
    }
    return GMString();
}

} // namespace Velmora
