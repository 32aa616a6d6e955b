#include "VelmoraCommon/shell/GMShellUtils.h"

#include "VelmoraCommon/detect/system/GMSystemInfo.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "VelmoraCommon/shell/internal/ExplorerWindows.h"
#include "VelmoraCommon/shell/internal/ScrambledText.h"
#include "VelmoraCommon/shell/internal/ShellVerbs.h"

namespace Velmora
{

namespace
{

constexpr ScrambledText shellModule(L"shell32", -101);

constexpr UINT pinText = 0x150A; // its name for the verb that pins; that of the other one follows

constexpr CLSID shellApplication = {
    0x13709620, 0xC279, 0x11CE, {0xA4, 0x9E, 0x44, 0x45, 0x53, 0x54, 0x00, 0x00}};
constexpr CLSID startMenuPin = {
    0xA2A9545D, 0xA0C2, 0x42B4, {0x97, 0x08, 0xA0, 0xB2, 0xBA, 0xDD, 0x77, 0xC8}};
/// The name that the system's language gives the verb; empty if it has none.
GMString VerbName(bool second)
{
    ScopedModule const module(LoadLibraryW(shellModule().c_str()));
    wchar_t text[260] = {};
    int const length = LoadStringW(module.Get(), pinText + (second ? 1 : 0), text, 260);
    return GMString(text, static_cast<std::size_t>(length));
}

/// The shell of the first window of a running Explorer; null if none is open.
ComPtr<IShellDispatch2> ExplorersShell()
{
    ComPtr<IShellWindows> windows;
    if (FAILED(OpenExplorerWindows(windows)))
        return nullptr;
    ComPtr<IShellView> const view = ActiveView(*windows.Get(), 0);
    ComPtr<IDispatch> background;
    ComPtr<IShellFolderViewDual> folderView;
    ComPtr<IDispatch> application;
    ComPtr<IShellDispatch2> shell;
    if (view == nullptr ||
        FAILED(view->GetItemObject(SVGIO_BACKGROUND, IID_PPV_ARGS(background.GetAddressOf()))) ||
        FAILED(background.As(&folderView)) ||
        FAILED(folderView->get_Application(application.GetAddressOf())) || application == nullptr ||
        FAILED(application.As(&shell)))
    {
        return nullptr;
    }
    return shell;
}

} // namespace

bool GMShellUtils::PinToTaskBar(GMString const & folder, GMString const & file, bool second)
{
    if (folder.empty() || file.empty())
        return false;
    unsigned int major = 0;
    GMSystemInfo::GetWindowsVersion(&major, nullptr);
    if (major > 6)
        return PinToTaskBarEx(folder, file, second);
    GMString const name = VerbName(second);
    ComPtr<IShellDispatch> shell;
    if (name.empty() || FAILED(CoCreateInstance(shellApplication, nullptr, CLSCTX_INPROC_SERVER,
                                                IID_PPV_ARGS(shell.GetAddressOf()))))
    {
        return false;
    }
    ComPtr<FolderItemVerb> const verb = FindVerb(*shell.Get(), folder, file, name);
    return verb != nullptr && SUCCEEDED(verb->DoIt());
}

bool GMShellUtils::PinToTaskBarEx(GMString const & folder, GMString const & file, bool second)
{
    GMString const name = VerbName(second);
    ComPtr<IShellDispatch2> const shell = name.empty() ? nullptr : ExplorersShell();
    if (shell == nullptr)
        return false;
    ComPtr<FolderItemVerb> const verb = FindVerb(*shell.Get(), folder, file, name);
    if (verb == nullptr)
        return false;
    verb->DoIt();
    return true;
}

bool GMShellUtils::UnPinFromTaskBar(GMString const & path)
{
    if (path.empty() || !GMFilePathUtils::IsExistsFile(path))
        return false;
    SystemFunction<decltype(::SHCreateItemFromParsingName)> const createItem(
        shellModule().c_str(), "SHCreateItemFromParsingName");
    ComPtr<IShellItem> item;
    ComPtr<IStartMenuPinnedList> list;
    return createItem &&
           SUCCEEDED(createItem.Get()(path.c_str(), nullptr, IID_PPV_ARGS(item.GetAddressOf()))) &&
           SUCCEEDED(CoCreateInstance(startMenuPin, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_PPV_ARGS(list.GetAddressOf()))) &&
           SUCCEEDED(list->RemoveFromList(item.Get()));
}

} // namespace Velmora
