#include "VelmoraCommon/shell/internal/ExplorerWindows.h"

namespace Velmora
{

namespace
{

// ShellWindows; not every SDK's libraries have its definition.
constexpr CLSID shellWindows = {
    0x9BA05972, 0xF6A8, 0x11CF, {0xA4, 0x42, 0x00, 0xA0, 0xC9, 0x0A, 0x8F, 0x39}};
// SID_STopLevelBrowser
constexpr GUID topLevelBrowser = {
    0x4C96BE40, 0x915C, 0x11CF, {0x99, 0xD3, 0x00, 0xAA, 0x00, 0x4A, 0xE8, 0x37}};

} // namespace

HRESULT OpenExplorerWindows(ComPtr<IShellWindows> & windows)
{
    ComPtr<IUnknown> object;
    HRESULT result =
        CoCreateInstance(shellWindows, nullptr, CLSCTX_ALL, IID_PPV_ARGS(object.GetAddressOf()));
    if (SUCCEEDED(result))
        result = OleRun(object.Get());
    return SUCCEEDED(result) ? object.As(&windows) : result;
}

ComPtr<IShellView> ActiveView(IShellWindows & windows, long index)
{
    VARIANT number = {};
    number.vt = VT_I4;
    number.lVal = index;
    ComPtr<IDispatch> window;
    ComPtr<IWebBrowserApp> application;
    ComPtr<IServiceProvider> provider;
    ComPtr<IShellBrowser> browser;
    ComPtr<IShellView> view;
    // A window that has just been closed leaves a gap: success, and no object.
    if (FAILED(windows.Item(number, window.GetAddressOf())) || window == nullptr ||
        FAILED(window.As(&application)) || FAILED(application.As(&provider)) ||
        FAILED(provider->QueryService(topLevelBrowser, IID_PPV_ARGS(browser.GetAddressOf()))) ||
        FAILED(browser->QueryActiveShellView(view.GetAddressOf())))
    {
        return nullptr;
    }
    return view;
}

} // namespace Velmora
