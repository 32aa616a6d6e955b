#include "VelmoraCommon/shell/internal/LinkObject.h"

namespace Velmora
{

LinkObject::LinkObject()
{
    auto const create = [this]
    {
        return CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER,
                                IID_PPV_ARGS(link.ReleaseAndGetAddressOf()));
    };
    HRESULT result = create();
    if (result == CO_E_NOTINITIALIZED)
    {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        result = create();
    }
    if (SUCCEEDED(result))
        link.As(&file);
}

} // namespace Velmora
