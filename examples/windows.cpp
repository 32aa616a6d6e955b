// Shows the windows that are open as a tree of text, and places one.
//
//   windows                        every visible top-level window with what is in it
//   windows place TITLE PLACE      moves the window of that title: center, corner (lower right) or front
//
// Ends with 0, with 1 if there is no such window, and with 2 if it was called wrongly.
#include <cstdio>
#include <string>

#include "VelmoraCommon/shell/CWindowBaseInfo.h"
#include "VelmoraCommon/shell/GMWindowUtils.h"
#include "VelmoraCommon/text/GMStringConvert.h"

using namespace Velmora;

namespace
{

constexpr int treeDepth = 1; // the system lists all that is below a window at once

void ShowTree(HWND window)
{
    CWindowBaseInfo info(window, 0);
    if (!info.Load() || !info.IsVisible())
        return;
    info.LoadChildWindow(treeDepth);
    std::printf("%s\n", info.ToUtf8String().c_str());
    GMString const below = info.ChildrenText();
    if (!below.empty())
        std::printf("%s\n", GMStringConvert::GMStringToUtf8(below).c_str());
}

int ShowAll()
{
    for (HWND window = GetTopWindow(nullptr); window != nullptr;
         window = GetWindow(window, GW_HWNDNEXT))
    {
        ShowTree(window);
    }
    return 0;
}

int Place(wchar_t const * title, GMString const & place)
{
    HWND const window = FindWindowW(nullptr, title);
    if (window == nullptr)
    {
        std::fprintf(stderr, "windows: there is no window \"%ls\"\n", title);
        return 1;
    }
    if (place == L"center")
        GMWindowUtils::CenterWindow(window, nullptr);
    else if (place == L"corner")
        GMWindowUtils::TipWindow(window, 0, 0);
    else if (place == L"front")
        GMWindowUtils::BringToFrontWindow(window, false);
    else
        return 2;
    ShowTree(window);
    return 0;
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    int code = 2;
    if (argc == 1)
        code = ShowAll();
    else if (argc == 4 && GMString(argv[1]) == L"place")
        code = Place(argv[2], argv[3]);
    if (code == 2)
        std::fputs("usage: windows\n       windows place TITLE center|corner|front\n", stderr);
    return code;
}
