#include "VelmoraCommon/detect/system/internal/NvApi.h"

#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "VelmoraCommon/frame/internal/SystemText.h"

namespace Velmora
{

NvApi::QueryInterface * NvApi::FindQuery()
{
    constexpr wchar_t name[] = L"nvapi.dll";
    HMODULE module = GetModuleHandleW(name);
    if (module == nullptr)
    {
        // By its full path: a file of this name elsewhere isn't the driver's.
        GMString const folder = ReadSystemText([](wchar_t * buffer, unsigned long size)
                                               { return GetSystemDirectoryW(buffer, size); });
        if (!folder.empty())
            module = LoadLibraryW((folder + L'\\' + name).c_str());
    }
    return FindExport<QueryInterface>(module, "nvapi_QueryInterface");
}

} // namespace Velmora
