#include "VelmoraCommon/shell/GMFileDialog.h"

#include "VelmoraCommon/frame/internal/Com.h"

#include <shobjidl.h>

namespace Velmora
{

namespace
{

void SetUp(IFileDialog & dialog, PickerOptions const & options, FILEOPENDIALOGOPTIONS extra)
{
    FILEOPENDIALOGOPTIONS flags = 0;
    if (SUCCEEDED(dialog.GetOptions(&flags)))
        dialog.SetOptions(flags | FOS_FORCEFILESYSTEM | extra);
    if (!options.title.empty())
        dialog.SetTitle(options.title.c_str());
    ComPtr<IShellItem> folder;
    if (!options.folder.empty() &&
        SUCCEEDED(SHCreateItemFromParsingName(options.folder.c_str(), nullptr,
                                              IID_PPV_ARGS(folder.GetAddressOf()))))
    {
        dialog.SetFolder(folder.Get());
    }
    std::vector<COMDLG_FILTERSPEC> filters;
    filters.reserve(options.filters.size());
    for (auto const & [name, pattern] : options.filters)
        filters.push_back({name.c_str(), pattern.c_str()});
    if (!filters.empty())
        dialog.SetFileTypes(static_cast<UINT>(filters.size()), filters.data());
}

/// Empty for what isn't a place of the file system.
GMString PathOf(IShellItem & item)
{
    wchar_t * text = nullptr;
    if (FAILED(item.GetDisplayName(SIGDN_FILESYSPATH, &text)) || text == nullptr)
        return GMString();
    struct Release
    {
        wchar_t * text;
        ~Release() { CoTaskMemFree(text); }
    } const owner = {text};
    return GMString(text);
}

std::vector<GMString> Select(PickerOptions const & options, FILEOPENDIALOGOPTIONS extra)
{
    std::vector<GMString> paths;
    ComPtr<IFileOpenDialog> dialog;
    if (FAILED(CoCreateInstance(CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER,
                                IID_PPV_ARGS(dialog.GetAddressOf()))))
    {
        return paths;
    }
    if (options.multiSelect)
        extra |= FOS_ALLOWMULTISELECT;
    SetUp(*dialog.Get(), options, extra);
    ComPtr<IShellItemArray> items;
    DWORD count = 0;
    if (FAILED(dialog->Show(options.owner)) || FAILED(dialog->GetResults(items.GetAddressOf())) ||
        FAILED(items->GetCount(&count)))
    {
        return paths;
    }
    for (DWORD i = 0; i < count; ++i)
    {
        ComPtr<IShellItem> item;
        if (FAILED(items->GetItemAt(i, item.GetAddressOf())))
            continue;
        GMString path = PathOf(*item.Get());
        if (!path.empty())
            paths.push_back(std::move(path));
    }
    return paths;
}

} // namespace

GMString GMFileDialog::SaveFileDialog(PickerOptions const & options)
{
    ComPtr<IFileSaveDialog> dialog;
    if (FAILED(CoCreateInstance(CLSID_FileSaveDialog, nullptr, CLSCTX_INPROC_SERVER,
                                IID_PPV_ARGS(dialog.GetAddressOf()))))
    {
        return GMString();
    }
    SetUp(*dialog.Get(), options, 0);
    if (!options.fileName.empty())
        dialog->SetFileName(options.fileName.c_str());
    ComPtr<IShellItem> chosen;
    if (FAILED(dialog->Show(options.owner)) || FAILED(dialog->GetResult(chosen.GetAddressOf())))
        return GMString();
    return PathOf(*chosen.Get());
}

std::vector<GMString> GMFileDialog::SelectFiles(PickerOptions const & options)
{
    return Select(options, 0);
}

std::vector<GMString> GMFileDialog::SelectFolders(PickerOptions const & options)
{
    return Select(options, FOS_PICKFOLDERS);
}

} // namespace Velmora
