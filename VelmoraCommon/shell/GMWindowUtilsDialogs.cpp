#include "VelmoraCommon/shell/GMWindowUtils.h"

#include "VelmoraCommon/frame/internal/Com.h"
#include "VelmoraCommon/shell/GMShellUtils.h"
#include "VelmoraCommon/text/GMStringToken.h"

#include <commdlg.h>
#include <shlobj.h>

namespace Velmora
{

namespace
{

struct ItemListTraits
{
    using Handle = LPITEMIDLIST;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle list) noexcept { CoTaskMemFree(list); }
};
using ScopedItemList = ScopedHandle<ItemListTraits>;

/// \p path is the text of the folder to begin with.
int CALLBACK GuideBrowsing(HWND dialog, UINT message, LPARAM value, LPARAM path)
{
    wchar_t chosen[MAX_PATH] = {};
    switch (message)
    {
    case BFFM_INITIALIZED:
        if (*reinterpret_cast<wchar_t const *>(path) == L'\0')
            break;
        SendMessageW(dialog, BFFM_SETSELECTIONW, TRUE, path);
        SendMessageW(dialog, BFFM_SETEXPANDED, TRUE, path);
        break;
    case BFFM_SELCHANGED:
        if (SHGetPathFromIDListW(reinterpret_cast<LPITEMIDLIST>(value), chosen))
            SendMessageW(dialog, BFFM_SETSTATUSTEXTW, 0, reinterpret_cast<LPARAM>(chosen));
        break;
    case BFFM_VALIDATEFAILEDW:
        SendMessageW(dialog, BFFM_SETSTATUSTEXTW, 0,
                     reinterpret_cast<LPARAM>(L"您输入了不合理的路径"));
        return 1; // the dialog stays
    default:
        break;
    }
    return 0;
}

} // namespace

bool GMWindowUtils::BrowseDir(GMString & path, wchar_t const * title, HWND owner,
                              bool newFolderButton)
{
    ScopedItemList root;
    SHGetFolderLocation(nullptr, CSIDL_DRIVES, nullptr, 0, root.Receive());
    BROWSEINFOW browse = {};
    browse.hwndOwner = owner;
    browse.pidlRoot = root.Get();
    browse.lpszTitle = title;
    browse.ulFlags = BIF_RETURNONLYFSDIRS | BIF_EDITBOX | BIF_NEWDIALOGSTYLE |
                     BIF_BROWSEFORCOMPUTER | (newFolderButton ? 0u : BIF_NONEWFOLDERBUTTON);
    browse.lpfn = &GuideBrowsing;
    browse.lParam = reinterpret_cast<LPARAM>(path.c_str());
    ScopedItemList const chosen(SHBrowseForFolderW(&browse));
    wchar_t text[MAX_PATH] = {};
    if (!chosen || !SHGetPathFromIDListW(chosen.Get(), text))
        return false;
    path = text;
    return true;
}

GMString GMWindowUtils::SelectFile(std::vector<GMString> filters, GMString title, HWND owner)
{
    GMString list; // each part with a NUL, and one more behind the last
    GMString firstPattern;
    for (GMString const & filter : filters)
    {
        std::vector<GMString> parts;
        GMStringToken::StringToArray(filter, L'|', parts);
        if (parts.size() == 1)
            parts.push_back(parts.front());
        if (firstPattern.empty() && parts.size() > 1)
            firstPattern = parts[1];
        for (GMString const & part : parts)
            list.append(part).push_back(L'\0');
    }
    list.push_back(L'\0');

    wchar_t path[MAX_PATH] = {};
    OPENFILENAMEW open = {};
    open.lStructSize = sizeof(open);
    open.hwndOwner = owner;
    open.hInstance = GetModuleHandleW(nullptr);
    open.lpstrFilter = list.c_str();
    open.lpstrFile = path;
    open.nMaxFile = MAX_PATH;
    open.lpstrTitle = title.empty() ? nullptr : title.c_str();
    open.Flags = OFN_EXPLORER | OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_ENABLEHOOK;
    open.lpstrDefExt = firstPattern.c_str();
    open.lpfnHook = &GMShellUtils::OFNCenterWindow;
    return GetOpenFileNameW(&open) ? GMString(path) : GMString();
}

} // namespace Velmora
