// Windows, dialogs and Explorer. Windows are real, Explorer's in another process and with real lists of
// files. Its objects are fakes that have the functions that are called in the places of the real ones.
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/Com.h"
#include "VelmoraCommon/shell/CWindowBaseInfo.h"
#include "VelmoraCommon/shell/GMExplorerUtils.h"
#include "VelmoraCommon/shell/GMFileDialog.h"
#include "VelmoraCommon/shell/GMShellUtils.h"
#include "VelmoraCommon/shell/GMWindowUtils.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ChildTask.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

#include <commctrl.h>
#include <commdlg.h>
#include <shlobj.h>

namespace Velmora::Testing
{

namespace
{

struct Window
{
    Window(RECT place, HWND above, DWORD style = WS_POPUP | WS_VISIBLE,
           wchar_t const * kind = L"Static", wchar_t const * text = L"")
        : window(CreateWindowExW(0, kind, text, style, place.left, place.top,
                                 place.right - place.left, place.bottom - place.top, above, nullptr,
                                 nullptr, nullptr))
    {
    }
    ~Window() { DestroyWindow(window); }
    operator HWND() const { return window; }
    std::string Corner() const
    {
        RECT place = {};
        GetWindowRect(window, &place);
        return std::to_string(place.left) + "," + std::to_string(place.top);
    }

    HWND const window;
};

constexpr DWORD child = WS_CHILD | WS_VISIBLE;

std::wstring s_sent; // numbers and texts of the messages to a folder dialog

LRESULT CALLBACK Note(HWND, UINT message, WPARAM, LPARAM text)
{
    if (message > WM_USER)
        s_sent += std::to_wstring(message - WM_USER) + reinterpret_cast<wchar_t const *>(text);
    return TRUE;
}

/// Shows the folder dialog, in which `C:\windows` is chosen.
LPITEMIDLIST WINAPI Browse(BROWSEINFOW * browse)
{
    Window const dialog({}, nullptr, WS_POPUP);
    SetWindowLongPtrW(dialog, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Note));
    LPITEMIDLIST const list = ILCreateFromPathW(L"C:\\windows");
    browse->lpfn(dialog, BFFM_INITIALIZED, 0, browse->lParam);
    browse->lpfn(dialog, BFFM_SELCHANGED, reinterpret_cast<LPARAM>(list), browse->lParam);
    s_sent += std::to_wstring(browse->lpfn(dialog, BFFM_VALIDATEFAILEDW, 0, browse->lParam));
    return list;
}

int s_references; // of all fakes together

/// Stands for objects of all interfaces whose functions have different places in its table.
struct Fake
{
    template <class... Functions>
    explicit Fake(std::initializer_list<int> places, Functions *... functions)
    {
        int const * place = places.begin();
        ((table[*place++] = reinterpret_cast<void *>(functions)), ...);
    }
    static HRESULT STDMETHODCALLTYPE Query(Fake * self, REFIID, void ** object)
    {
        *object = self;
        ++s_references;
        return S_OK;
    }
    static ULONG STDMETHODCALLTYPE Add(Fake *) { return ULONG(++s_references); }
    static ULONG STDMETHODCALLTYPE Drop(Fake *) { return ULONG(--s_references); }

    void ** first = table; // where COM looks for it
    void * table[40] = {reinterpret_cast<void *>(&Query), reinterpret_cast<void *>(&Add),
                        reinterpret_cast<void *>(&Drop)};
};

int s_missing; // the object that isn't given, in spite of success; 0 for none
long s_count = 2;
HRESULT s_done;          // what the verb answers, and a dialog
DWORD s_none, s_options; // of a dialog, at first and set
HWND s_viewWindow;
std::wstring s_folder; // what the window shows, and the desktop
DWORD s_major;

/// A function that gives an object through the last of its arguments.
template <Fake & object, int number, class... Arguments>
HRESULT STDMETHODCALLTYPE Give(Fake *, Arguments..., void ** place)
{
    *place = nullptr;
    return number != 0 && number == s_missing ? S_OK : Fake::Query(&object, IID_IUnknown, place);
}

/// One that tells what stands in \p source.
template <auto & source, class Type>
HRESULT STDMETHODCALLTYPE Tell(Fake *, Type * place)
{
    *place = source;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE VerbName(Fake *, BSTR * name)
{
    *name = s_missing == 5 ? nullptr : SysAllocString(s_missing == 6 ? L"Pin it" : L"Pin &it");
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DoIt(Fake *) { return s_done; }

HRESULT STDMETHODCALLTYPE Entry(Fake *, int number, LPITEMIDLIST * list)
{
    std::wstring const path = s_folder + (number == 0 ? L"\\a folder" : L"\\a file");
    LPITEMIDLIST const whole = ILCreateFromPathW(path.c_str());
    *list = ILClone(ILFindLastID(whole));
    ILFree(whole);
    return S_OK;
}

HRESULT STDMETHODCALLTYPE SetOptions(Fake *, DWORD options)
{
    s_options = options;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Chosen(Fake *, IShellItem ** item)
{
    return SHCreateItemFromParsingName(s_folder.c_str(), nullptr, IID_PPV_ARGS(item));
}

HRESULT STDMETHODCALLTYPE Folder(Fake * self, REFIID wanted, void ** folder)
{
    ComPtr<IShellItem> item;
    Chosen(self, item.GetAddressOf());
    return item->BindToHandler(nullptr, BHID_SFObject, wanted, folder);
}

HRESULT STDMETHODCALLTYPE AllChosen(Fake * self, IShellItemArray ** items)
{
    ComPtr<IShellItem> item;
    Chosen(self, item.GetAddressOf());
    return SHCreateShellItemArrayFromShellItem(item.Get(), IID_PPV_ARGS(items));
}

HRESULT STDMETHODCALLTYPE Show(Fake *, HWND) { return s_done; }

Fake s_verb({9, 10}, &VerbName, &DoIt);
Fake s_verbs({7, 10}, &Tell<s_count, long>, &Give<s_verb, 4, VARIANT>);
// The shell, its folder and the file in it.
Fake s_shell({9, 12, 22}, &Give<s_shell, 1, VARIANT>, &Give<s_shell, 2, BSTR>, &Give<s_verbs, 3>);
Fake s_view({3, 5, 6, 7, 15}, &Tell<s_viewWindow, HWND>, &Folder, &Entry, &Give<s_shell, 0>,
            &Give<s_view, 0, UINT, REFIID>);
// All windows, one of them and its browser.
Fake s_windows({3, 7, 8, 15}, &Give<s_windows, 0, REFGUID, REFIID>, &Tell<s_count, long>,
               &Give<s_windows, 7, VARIANT>, &Give<s_view, 0>);
Fake s_dialog({3, 9, 10, 20, 27}, &Show, &SetOptions, &Tell<s_none, DWORD>, &Chosen, &AllChosen);

HRESULT WINAPI Create(REFCLSID kind, IUnknown *, DWORD, REFIID wanted, void ** object)
{
    Fake & windows = kind.Data1 == 0x9BA05972 ? s_windows : s_dialog;
    return Fake::Query(kind == CLSID_Shell ? &s_shell : &windows, wanted, object);
}

BOOL WINAPI TellDesktop(HWND, wchar_t * path, int folder, BOOL)
{
    path[s_folder.copy(path, MAX_PATH - 1)] = L'\0';
    return folder == CSIDL_DESKTOPDIRECTORY;
}

/// The desktop and a window right of it, both with two entries.
int ShowExplorer(std::wstring const &)
{
    InitCommonControls();
    WNDCLASSW description = {};
    description.lpfnWndProc = &DefWindowProcW;
    for (wchar_t const * kind : {L"SHELLDLL_DefView", L"Progman", L"CabinetWClass"})
    {
        description.lpszClassName = kind;
        RegisterClassW(&description);
    }
    for (int left : {0, 300})
    {
        HWND const top = *new Window({left, 0, left + 200, 200}, nullptr, WS_POPUP | WS_VISIBLE,
                                     left == 0 ? L"Progman" : L"CabinetWClass", L"of a test");
        HWND const view = *new Window({0, 0, 200, 200}, top, child, L"SHELLDLL_DefView");
        HWND const list = *new Window({0, 0, 200, 200}, view, child | LVS_LIST, L"SysListView32");
        wchar_t names[][10] = {L"a file", L"a folder"};
        for (wchar_t * name : names) // each in front of the others
        {
            LVITEMW item = {};
            item.mask = LVIF_TEXT;
            item.pszText = name;
            SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
        }
    }
    SetEvent(OpenEventW(EVENT_MODIFY_STATE, FALSE, L"VelmoraTest-explorer"));
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) && message.message != WM_APP)
        DispatchMessageW(&message);
    Sleep(INFINITE); // hangs
    return 0;
}
ChildTask const explorer(L"shell-explorer", &ShowExplorer);

} // namespace

TEST(GMWindowUtils, KnowsTheOrder)
{
    Window const below({100, 100, 300, 200}, nullptr);
    Window const left({90, 90, 200, 210}, nullptr);
    EXPECT_EQ(1, GMWindowUtils::IsAbove(below, left));
    EXPECT_EQ(0, GMWindowUtils::IsAbove(left, below));
    EXPECT_EQ(0, GMWindowUtils::IsEntirelyCovered(below));
    Window const right({200, 90, 310, 210}, nullptr);
    EXPECT_EQ(1, GMWindowUtils::IsEntirelyCovered(below)); // by the two together
    GMWindowUtils::BringToFrontWindow(below, true);
    EXPECT_FALSE(GMWindowUtils::IsForegroundFullScreen());
    MoveWindow(below, 0, 0, 1024, 768, FALSE); // which is the screen
    EXPECT_TRUE(GMWindowUtils::IsForegroundFullScreen());
}

TEST(GMWindowUtils, PlacesWindows)
{
    Window const over({100, 200, 500, 400}, nullptr);
    Window const owned({0, 0, 101, 51}, over);
    Window const inside({7, 9, 27, 19}, over, child);
    GMWindowUtils::CenterWindow(owned);
    EXPECT_EQ("250,275", owned.Corner());
    char const * const corners[] = {"253,273", "103,198", "402,198", "402,347", "103,347",
                                    "3,273",   "253,-2",  "402,273", "253,347"};
    for (int place = 0; place < 9; ++place)
    {
        GMWindowUtils::CornerWindowMove(owned, over, place, 3, -2);
        EXPECT_EQ(corners[place], owned.Corner()) << place;
    }
    GMWindowUtils::CenterWindow(inside); // within its parent
    EXPECT_EQ("290,295", inside.Corner());
    MoveWindow(over, 900, 700, 400, 200, FALSE); // where the owned one mustn't go
    GMWindowUtils::CenterWindow(owned);
    EXPECT_EQ("923,717", owned.Corner());
}

TEST(CWindowBaseInfo, ShowsTheTree)
{
    Window const top({10, 20, 400, 300}, nullptr, WS_POPUP | WS_VISIBLE, L"Static", L"top");
    Window const low({0, 90, 50, 100}, top, child, L"Button", L"OK");
    Window const high({0, 10, 50, 60}, top, child);
    Window const deep({0, 5, 50, 10}, high, child, L"Static", L"deep");
    Window const hidden({0, 70, 50, 80}, top, WS_CHILD, L"Static", L"hidden");
    Window const below({0, 0, 50, 10}, hidden, child, L"Static", L"below hidden");
    CWindowBaseInfo info(top, 1);
    ASSERT_TRUE(info.Load());
    info.LoadChildWindow(1);
    ASSERT_EQ(5u, info.Children().size());
    // One that is deep stands below the top and below its parent; "below hidden" is listed, too.
    EXPECT_EQ(L"   deep\n  deep\n  below hidden\n  [OK]", info.ChildrenText());
    EXPECT_NE(std::string::npos, info.Children().back().ToUtf8String().find(
                                     " class:Button title:OK rect:a,6e,3c,78 id:0 style:0x5"));
}

TEST(Dialogs, AskForPathsAndTellTheChoice)
{
    ImportHook const browse("SHBrowseForFolderW", &Browse);
    GMString path = L"C:\\";
    s_sent.clear();
    EXPECT_TRUE(GMWindowUtils::BrowseDir(path, L"", nullptr, true));
    EXPECT_EQ(L"C:\\windows", path);
    EXPECT_EQ(L"103C:\\106C:\\104C:\\windows104您输入了不合理的路径1", s_sent);

    ImportHook const ask(
        "GetOpenFileNameW",
        +[](OPENFILENAMEW * open) WINAPI -> BOOL
        {
            EXPECT_EQ(std::wstring(L"Text\0*.txt\0*.doc\0*.doc\0", 23),
                      std::wstring(open->lpstrFilter, 23));
            EXPECT_EQ(0x81820u, open->Flags);
            EXPECT_EQ(&GMShellUtils::OFNCenterWindow, open->lpfnHook);
            return wcscpy(open->lpstrFile, L"C:\\chosen") != nullptr;
        });
    EXPECT_EQ(L"C:\\chosen", GMWindowUtils::SelectFile({L"Text|*.txt", L"*.doc"}, L"", nullptr));

    ImportHook const create("CoCreateInstance", &Create);
    s_folder = L"C:\\windows";
    PickerOptions options;
    std::vector<GMString> const chosen = {s_folder};
    s_done = S_OK;
    EXPECT_EQ(s_folder, GMFileDialog::SaveFileDialog(options));
    EXPECT_EQ(DWORD(FOS_FORCEFILESYSTEM), s_options);
    EXPECT_EQ(chosen, GMFileDialog::SelectFolders(options));
    EXPECT_EQ(DWORD(FOS_FORCEFILESYSTEM | FOS_PICKFOLDERS), s_options);
    options.multiSelect = true;
    EXPECT_EQ(chosen, GMFileDialog::SelectFiles(options));
    EXPECT_EQ(DWORD(FOS_FORCEFILESYSTEM | FOS_ALLOWMULTISELECT), s_options);
    s_done = HRESULT_FROM_WIN32(ERROR_CANCELLED);
    EXPECT_TRUE(GMFileDialog::SelectFiles(options).empty());
    EXPECT_EQ(0, s_references);
}

TEST(Explorer, PinsAndShowsItsFolder)
{
    ImportHook const create("CoCreateInstance", &Create);
    ImportHook const run(
        "OleRun", +[](IUnknown *) WINAPI -> HRESULT { return S_OK; });
    ImportHook const version(
        "GetVersionExW",
        +[](OSVERSIONINFOW * told) WINAPI -> BOOL { return int(told->dwMajorVersion = s_major); });
    ImportHook const verb(
        "LoadStringW",
        +[](HINSTANCE, UINT number, wchar_t * text, int) WINAPI
        { return int(std::wstring(number == 0x150B ? L"Pin &it" : L"").copy(text, 200)); });
    std::tuple<DWORD, int, HRESULT, bool> const cases[] = {
        {6, 0, S_OK, true},   {6, 0, E_FAIL, false}, {6, 1, S_OK, false}, {6, 2, S_OK, false},
        {6, 3, S_OK, false},  {6, 4, S_OK, false},   {6, 5, S_OK, false}, {6, 6, S_OK, false},
        {10, 7, S_OK, false}, {10, 0, E_FAIL, true}, // that it was run is enough
    };
    bool pins;
    for (auto const & each : cases)
    {
        std::tie(s_major, s_missing, s_done, pins) = each;
        EXPECT_EQ(pins, GMShellUtils::PinToTaskBar(L"C:\\folder", L"game.lnk", true)) << s_missing;
    }
    TemporaryFolder const folder;
    folder.Write(L"a file");
    folder.Write(L"a folder\\x");
    ScopedKernelObject const ready(CreateEventW(nullptr, TRUE, FALSE, L"VelmoraTest-explorer"));
    ChildProcess const process(explorer.CommandLine());
    ASSERT_TRUE(process.Signals(ready.Get()));
    s_viewWindow = FindWindowExW(FindWindowW(L"CabinetWClass", L"of a test"), nullptr,
                                 L"SHELLDLL_DefView", nullptr);
    ImportHook const tell("SHGetSpecialFolderPathW", &TellDesktop);
    s_folder = folder.Path();
    // x, y, item (7, as before, for none), whether it is the desktop, and the path.
    std::tuple<int, int, int, bool, std::wstring> const places[] = {
        {500, 500, 7, false, L""},
        {20, 5, 0, true, folder.File(L"a folder")},
        {20, 25, 1, true, folder.Path()}, // is a file
        {320, 5, 0, false, folder.File(L"a folder")},
        {320, 25, 1, false, L""},
        {320, 150, -1, false, folder.Path()},
    };
    for (auto const & [x, y, item, isDesktop, path] : places)
    {
        HWND view, list;
        int found = 7;
        bool onDesktop = false;
        SetCursorPos(x, y);
        EXPECT_EQ(item != 7,
                  GMExplorerUtils::GetExplorerListViewFromCursorPos(view, list, found, onDesktop));
        EXPECT_EQ(std::pair(item, isDesktop), std::pair(found, onDesktop));
        EXPECT_EQ(path, GMExplorerUtils::GetExplorerPathFromCursorPos()) << x << y;
    }
    s_viewWindow = nullptr; // not the one that the mouse is on
    EXPECT_EQ(L"", GMExplorerUtils::GetExplorerPathFromCursorPos());
    PostMessageW(FindWindowW(L"CabinetWClass", L"of a test"), WM_APP, 0, 0);
    ULONGLONG const begin = GetTickCount64();
    EXPECT_EQ(L"", GMExplorerUtils::GetExplorerPathFromCursorPos());
    GMShellUtils::RefreshSystemEnvironment();
    EXPECT_LT(GetTickCount64() - begin, 20000u);
    EXPECT_EQ(0, s_references);
}

} // namespace Velmora::Testing
