// Windows in their order, places and texts, with real ones.
#include "VelmoraCommon/shell/GMWindowUtils.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "VelmoraCommon/shell/CWindowBaseInfo.h"
#include "VelmoraCommon/shell/GMShellUtils.h"
#include "tests/support/ImportHook.h"

#include <commdlg.h>
#include <shlobj.h>

namespace Velmora::Testing
{

namespace
{

class Window
{
public:
    Window(RECT place, HWND above, DWORD style = WS_POPUP | WS_VISIBLE,
           wchar_t const * kind = L"Static", wchar_t const * text = L"")
        : m_window(CreateWindowExW(0, kind, text, style, place.left, place.top,
                                   place.right - place.left, place.bottom - place.top, above,
                                   nullptr, nullptr, nullptr))
    {
    }
    ~Window() { DestroyWindow(m_window); }
    operator HWND() const { return m_window; }
    RECT Place() const
    {
        RECT place = {};
        GetWindowRect(m_window, &place);
        return place;
    }

private:
    HWND m_window;
};

constexpr DWORD child = WS_CHILD | WS_VISIBLE;

std::string Text(RECT const & place)
{
    return std::to_string(place.left) + "," + std::to_string(place.top) + " " +
           std::to_string(place.right - place.left) + "x" +
           std::to_string(place.bottom - place.top);
}

OPENFILENAMEW s_asked;
std::wstring s_filter;

} // namespace

TEST(GMWindowUtils, KnowsTheOrder)
{
    Window const below({100, 100, 300, 200}, nullptr);
    Window const left({90, 90, 200, 210}, nullptr);
    Window const inside({0, 0, 10, 10}, below, child);
    EXPECT_EQ(1, GMWindowUtils::IsAbove(below, left));
    EXPECT_EQ(0, GMWindowUtils::IsAbove(left, below));
    EXPECT_EQ(0, GMWindowUtils::IsAbove(inside, left));
    EXPECT_EQ(0, GMWindowUtils::IsEntirelyCovered(below));
    Window const right({200, 90, 310, 210}, nullptr);
    EXPECT_EQ(1, GMWindowUtils::IsEntirelyCovered(below)); // by the two together
    EXPECT_EQ(0, GMWindowUtils::IsEntirelyCovered(inside));
    ShowWindow(left, SW_HIDE);
    EXPECT_EQ(0, GMWindowUtils::IsEntirelyCovered(below));
    EXPECT_EQ(0, GMWindowUtils::IsAbove(below, left));

    EXPECT_TRUE(GMWindowUtils::IsParentWnd(below, inside, false));
    EXPECT_TRUE(GMWindowUtils::IsParentWnd(below, below, true));
    EXPECT_FALSE(GMWindowUtils::IsParentWnd(below, below, false));
    GMWindowUtils::BringToFrontWindow(below, true);
    EXPECT_EQ(below, GetForegroundWindow());
    EXPECT_FALSE(GMWindowUtils::IsForegroundFullScreen());
    RECT screen = {};
    GetWindowRect(GetDesktopWindow(), &screen);
    MoveWindow(below, screen.left, screen.top, screen.right, screen.bottom, FALSE);
    EXPECT_TRUE(GMWindowUtils::IsForegroundFullScreen());
    WNDCLASSW wallpaper = {};
    wallpaper.lpfnWndProc = &DefWindowProcW;
    wallpaper.lpszClassName = L"WORKERW";
    RegisterClassW(&wallpaper);
    Window const worker(screen, nullptr, WS_POPUP | WS_VISIBLE, L"WorkerW");
    GMWindowUtils::ShowWindowEx(worker);
    EXPECT_EQ(worker, GetForegroundWindow());
    EXPECT_FALSE(GMWindowUtils::IsForegroundFullScreen());

    std::wstring const longText(3000, L'x');
    EXPECT_TRUE(GMWindowUtils::SetWindowTextValue(below, longText));
    EXPECT_EQ(longText, GMWindowUtils::GetWindowTitle(below));
}

TEST(GMWindowUtils, PlacesWindows)
{
    Window const over({100, 200, 500, 400}, nullptr); // the screen has 1024 x 768
    Window const owned({0, 0, 101, 51}, over);
    Window const inside({7, 9, 27, 19}, over, child);
    HWND const none = nullptr;
    struct Case
    {
        char const * place; // after it
        void (*move)(HWND window, HWND over);
    };
    Case const cases[] = {
        {"250,275 101x51", [](HWND window, HWND) { GMWindowUtils::CenterWindow(window); }},
        {"250,275 101x51", [](HWND window, HWND) { GMWindowUtils::CenterWindow(window, nullptr); }},
        {"245,277 101x51",
         [](HWND window, HWND other) { GMWindowUtils::CenterWindowMove(window, other, 5, -2); }},
        {"462,359 101x51",
         [](HWND window, HWND) { GMWindowUtils::CenterWindow(window, GetDesktopWindow()); }},
        {"926,715 101x51", [](HWND window, HWND) { GMWindowUtils::TipWindow(window, 3, -2); }},
    };
    for (Case const & each : cases)
    {
        each.move(owned, over);
        EXPECT_EQ(each.place, Text(owned.Place()));
    }
    char const * const corners[] = {"929,713", "103,198", "402,198", "402,347", "103,347",
                                    "3,273",   "253,-2",  "402,273", "253,347"};
    for (int place = 0; place < 9; ++place)
    {
        GMWindowUtils::CornerWindowMove(owned, over, place, 3, -2);
        EXPECT_EQ(std::string(corners[place]) + " 101x51", Text(owned.Place())) << place;
    }
    GMWindowUtils::CornerWindowMove(inside, over, 9, 3, -2);
    EXPECT_EQ("110,207 20x10", Text(inside.Place())); // within its parent
    GMWindowUtils::CenterWindow(inside);
    EXPECT_EQ("290,295 20x10", Text(inside.Place()));
    MoveWindow(over, 900, 700, 400, 200,
               FALSE); // beyond the screen, where the owned one mustn't go
    GMWindowUtils::CenterWindow(owned, none);
    EXPECT_EQ("923,717 101x51", Text(owned.Place()));
}

TEST(CWindowBaseInfo, ShowsTheTree)
{
    Window const top({10, 20, 400, 300}, nullptr, WS_POPUP | WS_VISIBLE, L"Static", L"top");
    Window const low({0, 90, 50, 100}, top, child, L"Button", L"OK");
    Window const high({0, 10, 50, 60}, top, child);
    Window const deep({0, 5, 50, 10}, high, child, L"Static", L"deep");
    Window const hidden({0, 70, 50, 80}, top, WS_CHILD, L"Static", L"hidden");
    Window const below({0, 0, 50, 10}, hidden, child, L"Static", L"below hidden");
    SetWindowLongPtrW(low, GWLP_ID, 42);

    CWindowBaseInfo info(top, 1);
    EXPECT_EQ(CWindowBaseInfo::WindowNotLoaded, info.GetStatus());
    ASSERT_TRUE(info.Load());
    EXPECT_EQ(CWindowBaseInfo::WindowNormal, info.GetStatus());
    info.LoadChildWindow(-1);
    EXPECT_TRUE(info.Children().empty());
    info.LoadChildWindow(1);
    ASSERT_EQ(5u, info.Children().size());
    // One that is deep stands below the top and below its parent; "below hidden" is listed, too.
    EXPECT_EQ(L"   deep\n  deep\n  below hidden\n  [OK]", info.ChildrenText());
    CWindowBaseInfo const & button = info.Children().back();
    std::ostringstream expected;
    expected << std::hex << "window:0x" << HandleToUlong(static_cast<HWND>(low))
             << " class:Button title:OK rect:a,6e,3c,78 id:42 style:0x"
             << GetWindowLongW(low, GWL_STYLE) << " exstyle:0x" << GetWindowLongW(low, GWL_EXSTYLE);
    EXPECT_EQ(expected.str(), button.ToUtf8String());
    EXPECT_FALSE(CWindowBaseInfo(nullptr, 0).Load());
}

TEST(GMWindowUtils, AsksForAFile)
{
    ImportHook const ask(
        "GetOpenFileNameW",
        +[](OPENFILENAMEW * open) WINAPI -> BOOL
        {
            s_asked = *open;
            s_filter.assign(open->lpstrFilter, 20);
            wcscpy(open->lpstrFile, L"C:\\chosen");
            return TRUE;
        });
    EXPECT_EQ(L"C:\\chosen", GMWindowUtils::SelectFile({L"Text|*.txt", L"*.doc"}, L"", nullptr));
    EXPECT_EQ(std::wstring(L"Text\0*.txt\0*.doc\0*.doc\0", 20), s_filter.substr(0, 20));
    EXPECT_EQ(0x81820u, s_asked.Flags);
    EXPECT_EQ(&GMShellUtils::OFNCenterWindow, s_asked.lpfnHook);
}

TEST(GMWindowUtils, AsksForAFolder)
{
    static std::wstring s_dialogHeard;
    s_dialogHeard.clear();
    WNDCLASSW dialog = {};
    dialog.lpszClassName = L"Velmora browse dialog";
    dialog.lpfnWndProc =
        +[](HWND window, UINT message, WPARAM number, LPARAM text) WINAPI -> LRESULT
    {
        if (message < WM_USER)
            return DefWindowProcW(window, message, number, text);
        s_dialogHeard += std::to_wstring(message - WM_USER) + L" " +
                         reinterpret_cast<wchar_t const *>(text) + L"; ";
        return 0;
    };
    RegisterClassW(&dialog);
    ImportHook const browse(
        "SHBrowseForFolderW",
        +[](BROWSEINFOW * info) WINAPI -> LPITEMIDLIST
        {
            EXPECT_EQ(0x1251u, info->ulFlags);
            Window const window({}, nullptr, WS_POPUP, L"Velmora browse dialog");
            LPITEMIDLIST const chosen = ILCreateFromPathW(L"C:\\windows");
            info->lpfn(window, BFFM_INITIALIZED, 0, info->lParam);
            info->lpfn(window, BFFM_SELCHANGED, reinterpret_cast<LPARAM>(chosen), info->lParam);
            info->lpfn(window, BFFM_SELCHANGED, 0, info->lParam); // no path
            EXPECT_EQ(1, info->lpfn(window, BFFM_VALIDATEFAILEDW, 0, info->lParam));
            return chosen;
        });
    GMString path = L"C:\\old";
    EXPECT_TRUE(GMWindowUtils::BrowseDir(path, L"title", nullptr, false));
    EXPECT_EQ(L"C:\\windows", path);
    EXPECT_EQ(L"103 C:\\old; 106 C:\\old; 104 C:\\windows; 104 您输入了不合理的路径; ",
              s_dialogHeard);
    path.clear();
    s_dialogHeard.clear();
    EXPECT_TRUE(GMWindowUtils::BrowseDir(path, L"title", nullptr, false));
    EXPECT_EQ(0u, s_dialogHeard.find(L"104"));
}

} // namespace Velmora::Testing
