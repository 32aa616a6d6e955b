// What takes a running Explorer, with a fake one: the objects that can't be had here have the functions
// that the library calls, in the places of the real ones.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/Com.h"
#include "VelmoraCommon/shell/GMExplorerUtils.h"
#include "VelmoraCommon/shell/GMShellUtils.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

#include <comdef.h>
#include <exdisp.h>
#include <shldisp.h>
#include <shlobj.h>
#include <wtsapi32.h>

namespace Velmora::Testing
{

namespace
{

int s_references; // of all fakes together

/// One object for all interfaces whose functions stand in different places of its table.
struct Fake
{
    explicit Fake(Fake * (*answer)(REFIID)) : functions(table), choose(answer)
    {
        Put(0, &Query);
        Put(1, &Add);
        Put(2, &Drop);
    }
    template <class Function>
    void Put(int place, Function * function)
    {
        table[place] = reinterpret_cast<void *>(function);
    }
    static HRESULT STDMETHODCALLTYPE Query(Fake * self, REFIID wanted, void ** object)
    {
        *object = self->choose(wanted);
        s_references += *object != nullptr;
        return *object == nullptr ? E_NOINTERFACE : S_OK;
    }
    static ULONG STDMETHODCALLTYPE Add(Fake *) { return ULONG(++s_references); }
    static ULONG STDMETHODCALLTYPE Drop(Fake *) { return ULONG(--s_references); }

    void ** functions; // first, where COM looks for it
    Fake * (*choose)(REFIID);
    void * table[40] = {};
};

Fake * Window(REFIID wanted);
Fake * View(REFIID wanted);

Fake s_windows([](REFIID) { return &s_windows; }); // ShellWindows, and the list of pins
Fake s_window(&Window);                            // a browser's window
Fake s_provider(&Window);
Fake s_browser(&Window);
Fake s_view(&View);
Fake s_folderView(&View);
Fake s_dual(&View);

Fake * Window(REFIID wanted) { return wanted == IID_IServiceProvider ? &s_provider : &s_window; }

Fake * View(REFIID wanted)
{
    if (wanted == IID_IFolderView)
        return &s_folderView;
    return wanted == IID_IShellFolderViewDual || wanted == IID_IDispatch ? &s_dual : &s_view;
}

// The shell's chain to the verbs of a file: each answers success without an object when told so.
Fake s_shell([](REFIID) { return &s_shell; });
Fake s_place([](REFIID) { return &s_place; });
Fake s_file([](REFIID) { return &s_file; });
Fake s_verbs([](REFIID) { return &s_verbs; });
Fake s_verb([](REFIID) { return &s_verb; });
std::wstring s_asked; // the folder and the file
int s_missing;        // the link of the chain that is missing, from 1; 0 for none
HRESULT s_done;       // what the verb answers

bool s_hasWindow;
HWND s_viewWindow;
std::wstring s_shown;   // the folder that the window shows
std::wstring s_pointed; // the entry of it that the mouse is on

HRESULT Give(Fake & fake, void ** object)
{
    *object = &fake;
    ++s_references;
    return S_OK;
}

HRESULT GiveLink(int link, Fake & fake, void ** object)
{
    *object = nullptr;
    return link == s_missing ? S_OK : Give(fake, object);
}

HRESULT STDMETHODCALLTYPE NameSpace(Fake *, VARIANT folder, void ** object)
{
    s_asked = folder.bstrVal;
    return GiveLink(1, s_place, object);
}

HRESULT STDMETHODCALLTYPE ParseName(Fake *, BSTR file, void ** object)
{
    s_asked += L"|" + std::wstring(file);
    return GiveLink(2, s_file, object);
}

HRESULT STDMETHODCALLTYPE Verbs(Fake *, void ** object) { return GiveLink(3, s_verbs, object); }

HRESULT STDMETHODCALLTYPE Verb(Fake *, VARIANT, void ** object)
{
    return GiveLink(4, s_verb, object);
}

HRESULT STDMETHODCALLTYPE VerbName(Fake *, BSTR * name)
{
    *name = s_missing == 5 ? nullptr : SysAllocString(L"Pin &it");
    return S_OK;
}

HRESULT STDMETHODCALLTYPE DoIt(Fake *) { return s_done; }

HRESULT STDMETHODCALLTYPE Count(Fake *, long * count)
{
    *count = 2;
    return S_OK;
}

/// The window that is first in the list has just been closed when the second is asked for.
HRESULT STDMETHODCALLTYPE Item(Fake *, VARIANT number, void ** window)
{
    *window = nullptr;
    return s_hasWindow && number.lVal == 0 ? Give(s_window, window) : S_FALSE;
}

HRESULT STDMETHODCALLTYPE Service(Fake *, REFGUID, REFIID, void ** object)
{
    return Give(s_browser, object);
}

HRESULT STDMETHODCALLTYPE ActiveView(Fake *, void ** view) { return Give(s_view, view); }

HRESULT STDMETHODCALLTYPE ViewWindow(Fake *, HWND * window)
{
    *window = s_viewWindow;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE Background(Fake *, UINT, REFIID, void ** object)
{
    return Give(s_dual, object);
}

HRESULT STDMETHODCALLTYPE Application(Fake *, IDispatch ** shell)
{
    return Give(s_shell, reinterpret_cast<void **>(shell));
}

HRESULT STDMETHODCALLTYPE Folder(Fake *, REFIID wanted, void ** folder)
{
    ComPtr<IShellItem> item;
    SHCreateItemFromParsingName(s_shown.c_str(), nullptr, IID_PPV_ARGS(item.GetAddressOf()));
    ComPtr<IShellFolder> bound;
    item->BindToHandler(nullptr, BHID_SFObject, IID_PPV_ARGS(bound.GetAddressOf()));
    return bound.Get()->QueryInterface(wanted, folder);
}

HRESULT STDMETHODCALLTYPE Entry(Fake *, int, LPITEMIDLIST * list)
{
    ComPtr<IShellFolder> folder;
    Folder(nullptr, IID_IShellFolder, reinterpret_cast<void **>(folder.GetAddressOf()));
    return folder->ParseDisplayName(nullptr, nullptr, s_pointed.data(), nullptr, list, nullptr);
}

std::wstring s_unpinned;

HRESULT STDMETHODCALLTYPE Unpin(Fake *, IShellItem * item)
{
    wchar_t * path = nullptr;
    item->GetDisplayName(SIGDN_FILESYSPATH, &path);
    s_unpinned = path;
    CoTaskMemFree(path);
    return S_OK;
}

HRESULT WINAPI Create(REFCLSID kind, IUnknown *, DWORD, REFIID, void ** object)
{
    return Give(kind == CLSID_Shell ? s_shell : s_windows, object);
}

DWORD s_major;

BOOL WINAPI TellVersion(OSVERSIONINFOW * version)
{
    version->dwMajorVersion = s_major;
    return TRUE;
}

std::wstring s_verbText;

int WINAPI TellVerb(HINSTANCE, UINT number, wchar_t * text, int)
{
    return number == 0x150B ? int(s_verbText.copy(text, 200)) : 0;
}

HWND s_list;
HWND WINAPI Pointed(POINT) { return s_list; }

LRESULT WINAPI Hit(HWND, UINT, WPARAM, LPARAM, UINT, UINT, DWORD_PTR * item)
{
    *item = s_pointed.empty() ? DWORD_PTR(-1) : 0;
    return 1;
}

/// What the session's record says, and the record's level.
LONG s_flags[2];
BOOL WINAPI TellSession(HANDLE, DWORD, WTS_INFO_CLASS, wchar_t ** data, DWORD * size)
{
    static LONG s_record[8];
    s_record[0] = s_flags[1];
    s_record[4] = s_flags[0];
    *data = reinterpret_cast<wchar_t *>(s_record);
    *size = sizeof(s_record);
    return TRUE;
}
void WINAPI FreeSession(void *) {}
void * WINAPI FindSession(HMODULE, char const * name)
{
    return std::strcmp(name, "WTSFreeMemory") == 0 ? reinterpret_cast<void *>(&FreeSession)
                                                   : reinterpret_cast<void *>(&TellSession);
}

} // namespace

TEST(Explorer, PinsAndShowsItsFolder)
{
    ComApartment const apartment(COINIT_APARTMENTTHREADED);
    s_windows.Put(3, &Unpin); // of the list of pins
    s_windows.Put(7, &Count);
    s_windows.Put(8, &Item);
    s_provider.Put(3, &Service);
    s_browser.Put(15, &ActiveView);
    s_view.Put(3, &ViewWindow);
    s_view.Put(15, &Background);
    s_dual.Put(7, &Application);
    s_folderView.Put(5, &Folder);
    s_folderView.Put(6, &Entry);
    ImportHook const create("CoCreateInstance", &Create);
    ImportHook const run(
        "OleRun", +[](IUnknown *) WINAPI -> HRESULT { return S_OK; });
    ImportHook const version("GetVersionExW", &TellVersion);
    ImportHook const verb("LoadStringW", &TellVerb);
    TemporaryFolder const folder;
    std::wstring const file = folder.Write(L"game.bat");
    s_shell.Put(9, &NameSpace);
    s_place.Put(12, &ParseName);
    s_file.Put(22, &Verbs);
    s_verbs.Put(7, &Count);
    s_verbs.Put(10, &Verb);
    s_verb.Put(9, &VerbName);
    s_verb.Put(10, &DoIt);
    struct Case
    {
        DWORD major;
        bool hasWindow;
        wchar_t const * verb;
        bool second;
        int missing;
        HRESULT done;
        bool pinned;
    };
    Case const cases[] = {
        {6, false, L"Pin &it", true, 0, S_OK, true},
        {6, false, L"Pin &it", true, 0, E_FAIL, false},
        {6, false, L"Pin it", true, 0, S_OK, false},
        {6, false, L"Pin &it", false, 0, S_OK, false},
        {6, false, L"Pin &it", true, 1, S_OK, false},
        {6, false, L"Pin &it", true, 2, S_OK, false},
        {6, false, L"Pin &it", true, 3, S_OK, false},
        {6, false, L"Pin &it", true, 4, S_OK, false},
        {6, false, L"Pin &it", true, 5, S_OK, false},
        {10, true, L"Pin &it", true, 0, S_OK, true},
        {10, true, L"Pin &it", true, 0, E_FAIL, true}, // that it was run is enough
        {10, true, L"Pin it", true, 0, S_OK, false},
        {10, false, L"Pin &it", true, 0, S_OK, false},
    };
    for (Case const & each : cases)
    {
        s_major = each.major;
        s_hasWindow = each.hasWindow;
        s_verbText = each.verb;
        s_missing = each.missing;
        s_done = each.done;
        EXPECT_EQ(each.pinned, GMShellUtils::PinToTaskBar(L"C:\\folder", L"game.lnk", each.second))
            << each.major << each.verb << each.missing;
        EXPECT_EQ(0, s_references);
    }
    EXPECT_EQ(L"C:\\folder|game.lnk", s_asked);
    EXPECT_FALSE(GMShellUtils::UnPinFromTaskBar(folder.File(L"missing")));
    EXPECT_TRUE(GMShellUtils::UnPinFromTaskBar(file));
    EXPECT_EQ(file, s_unpinned);

    // The windows of Explorer: its view around the list that the mouse is on.
    WNDCLASSW kind = {};
    kind.lpfnWndProc = &DefWindowProcW;
    for (wchar_t const * name : {L"SHELLDLL_DefView", L"SysListView32"})
    {
        kind.lpszClassName = name;
        RegisterClassW(&kind);
    }
    s_viewWindow = CreateWindowW(L"SHELLDLL_DefView", L"", WS_POPUP | WS_VISIBLE, 0, 0, 99, 99,
                                 nullptr, nullptr, nullptr, nullptr);
    s_list = CreateWindowW(L"SysListView32", L"", WS_CHILD | WS_VISIBLE, 0, 0, 99, 99, s_viewWindow,
                           nullptr, nullptr, nullptr);
    ImportHook const pointed("WindowFromPoint", &Pointed);
    ImportHook const hit("SendMessageTimeoutW", &Hit);
    folder.Write(L"deep\\x");
    s_shown = folder.Path();
    s_hasWindow = true;
    for (auto const & [entry, found] :
         {std::pair(L"", folder.Path()), std::pair(L"deep", folder.File(L"deep")),
          std::pair(L"game.bat", std::wstring())})
    {
        s_pointed = entry;
        EXPECT_EQ(found, GMExplorerUtils::GetExplorerPathFromCursorPos()) << entry;
        EXPECT_EQ(0, s_references);
    }
    s_hasWindow = false;
    EXPECT_EQ(L"", GMExplorerUtils::GetExplorerPathFromCursorPos());
    ImportHook const broken(
        "OleRun", +[](IUnknown *) WINAPI -> HRESULT { return E_FAIL; });
    EXPECT_THROW(GMExplorerUtils::GetExplorerPathFromCursorPos(), _com_error);
    EXPECT_EQ(0, s_references);
    DestroyWindow(s_viewWindow);
    UnregisterClassW(L"SysListView32", nullptr);
}

TEST(GMShellUtils, KnowsALockedSession)
{
    ImportHook const find("GetProcAddress", &FindSession);
    // The prefix of the tests is Windows 7, which tells locked as 0.
    struct Case
    {
        LONG flags;
        LONG level;
        bool locked;
    };
    for (Case const & each : {Case{0, 1, true}, {1, 1, false}, {1, 2, true}})
    {
        s_flags[0] = each.flags;
        s_flags[1] = each.level;
        EXPECT_EQ(each.locked, GMShellUtils::IsSessionLocked());
    }
}

} // namespace Velmora::Testing
