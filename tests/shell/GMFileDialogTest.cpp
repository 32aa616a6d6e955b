#include "VelmoraCommon/shell/GMFileDialog.h"

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/Com.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

#include <shlobj.h>

namespace Velmora::Testing
{

namespace
{

/// The real dialog, but for the calls that show it and tell what was chosen. Those stand in for the
/// entries of its table of functions.
struct Slots
{
    enum
    {
        show = 3,
        result = 20,
        results = 27
    };
};

HRESULT s_shown;
ComPtr<IFileDialog> s_dialog; // the last one made
std::vector<std::wstring> s_chosen;
decltype(CoCreateInstance) * s_create;

HRESULT STDMETHODCALLTYPE Show(IFileDialog *, HWND) { return s_shown; }

HRESULT STDMETHODCALLTYPE Result(IFileDialog *, IShellItem ** item)
{
    return SHCreateItemFromParsingName(s_chosen.front().c_str(), nullptr, IID_PPV_ARGS(item));
}

HRESULT STDMETHODCALLTYPE Results(IFileDialog *, IShellItemArray ** items)
{
    std::vector<PIDLIST_ABSOLUTE> lists;
    for (std::wstring const & path : s_chosen)
        lists.push_back(ILCreateFromPathW(path.c_str()));
    HRESULT const made = SHCreateShellItemArrayFromIDLists(
        UINT(lists.size()), const_cast<PCIDLIST_ABSOLUTE *>(lists.data()), items);
    for (PIDLIST_ABSOLUTE list : lists)
        ILFree(list);
    return made;
}

HRESULT WINAPI Create(REFCLSID kind, IUnknown * outer, DWORD context, REFIID wanted, void ** object)
{
    HRESULT const made = s_create(kind, outer, context, wanted, object);
    if (FAILED(made))
        return made;
    s_dialog = static_cast<IFileDialog *>(*object);
    static void * table[2][40];
    void **& functions = *reinterpret_cast<void ***>(*object);
    bool const open = kind == CLSID_FileOpenDialog;
    std::copy(functions, functions + (open ? 29 : 32), table[open]);
    table[open][Slots::show] = reinterpret_cast<void *>(&Show);
    table[open][Slots::result] = reinterpret_cast<void *>(&Result);
    if (open)
        table[open][Slots::results] = reinterpret_cast<void *>(&Results);
    functions = table[open];
    return made;
}

} // namespace

TEST(GMFileDialog, SetsTheDialogUpAndTellsTheChoice)
{
    ComApartment const apartment(COINIT_APARTMENTTHREADED);
    TemporaryFolder const folder;
    s_chosen = {folder.Write(L"b.txt"), folder.Write(L"a.txt")};
    ImportHook const create("CoCreateInstance", &Create, s_create);
    PickerOptions options;
    options.title = L"Title";
    options.folder = folder.Path();
    options.fileName = L"proposed.txt";
    options.filters = {{L"Text", L"*.txt"}, {L"All", L"*.*"}};
    options.multiSelect = true;

    s_shown = S_OK;
    EXPECT_EQ(s_chosen[0], GMFileDialog::SaveFileDialog(options));
    wchar_t * name = nullptr;
    s_dialog->GetFileName(&name);
    EXPECT_STREQ(L"proposed.txt", name);
    CoTaskMemFree(name);
    FILEOPENDIALOGOPTIONS save = 0, files = 0, folders = 0;
    s_dialog->GetOptions(&save);
    EXPECT_EQ(0x40u, save & 0x260u);
    UINT type = 0;
    EXPECT_EQ(S_OK, s_dialog->GetFileTypeIndex(&type));
    EXPECT_EQ(1u, type); // there are types
    ComPtr<IShellItem> start;
    EXPECT_EQ(S_OK, s_dialog->GetFolder(start.GetAddressOf()));

    EXPECT_EQ(s_chosen, GMFileDialog::SelectFiles(options));
    s_dialog->GetOptions(&files);
    EXPECT_EQ(0x240u, files & 0x260u);
    options.multiSelect = false;
    options.folder += L"\\missing";
    EXPECT_EQ(s_chosen, GMFileDialog::SelectFolders(options));
    s_dialog->GetOptions(&folders);
    EXPECT_EQ(0x60u, folders & 0x260u);

    s_shown = HRESULT_FROM_WIN32(ERROR_CANCELLED);
    EXPECT_EQ(L"", GMFileDialog::SaveFileDialog(options));
    EXPECT_TRUE(GMFileDialog::SelectFiles(options).empty());
    s_dialog.Reset();
}

} // namespace Velmora::Testing
