#include "VelmoraCommon/shell/GMShellUtils.h"

#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/frame/internal/Com.h"
#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "VelmoraCommon/shell/internal/ScrambledText.h"

#include <shellapi.h>
#include <shlobj.h>

namespace Velmora
{

namespace
{

constexpr ScrambledText shellModule(L"shell32.dll", 39);

constexpr int largeIcon = 32; // pixels; below it is the small one

} // namespace

HICON GMShellUtils::GetIcon(GMString const & path, int size)
{
    SHFILEINFOW info = {};
    DWORD const attributes = GMFilePathUtils::IsDirectory(path) ? FILE_ATTRIBUTE_DIRECTORY : 0;
    UINT const flags = SHGFI_ICON | SHGFI_USEFILEATTRIBUTES |
                       (size < largeIcon ? UINT{SHGFI_SMALLICON} : UINT{SHGFI_LARGEICON});
    return SHGetFileInfoW(path.c_str(), attributes, &info, sizeof(info), flags) != 0 ? info.hIcon
                                                                                     : nullptr;
}

HBITMAP GMShellUtils::GetIconByImageFactory(GMString const & path, int size)
{
    SystemFunction<decltype(::SHCreateItemFromParsingName)> const createItem(
        shellModule().c_str(), "SHCreateItemFromParsingName");
    ComPtr<IShellItemImageFactory> factory;
    HBITMAP bitmap = nullptr;
    if (!createItem ||
        FAILED(createItem.Get()(path.c_str(), nullptr, IID_PPV_ARGS(factory.GetAddressOf()))) ||
        FAILED(factory->GetImage({size, size}, SIIGBF_ICONONLY | SIIGBF_BIGGERSIZEOK, &bitmap)))
    {
        return nullptr;
    }
    return bitmap;
}

} // namespace Velmora
