#include "VelmoraCommon/detect/system/GMNetbarDetect.h"

#include <algorithm>
#include <iterator>

#include "VelmoraCommon/registry/GMRegFile.h"

namespace Velmora
{
namespace
{

// What the vendors' software leaves below the local machine's key.
#define VELMORA_UNINSTALL L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\"
constexpr wchar_t const * managementKeys[] = {
    L"SOFTWARE\\Hintsoft",
    L"SOFTWARE\\Sicent",
    L"SOFTWARE\\Goyoo",
    L"SOFTWARE\\杭州顺网信息技术有限公司",
    L"SOFTWARE\\YileyooClient",
    VELMORA_UNINSTALL L"{98D73BDD-CA25-4BCA-A68C-AD6171206063}",
    VELMORA_UNINSTALL L"VelmoraDisklessMaintenanceClient_is1",
    VELMORA_UNINSTALL L"VelmoraDiskMaintenanceClient_is1",
    VELMORA_UNINSTALL L"Pubwin2015客户端_is1",
    L"SOFTWARE\\Hintsoft\\PubwinClient",
    L"SOFTWARE\\lychee",
    L"SOFTWARE\\Yileyoo",
};
#undef VELMORA_UNINSTALL

} // namespace

bool GMNetbarDetect::IsNetBar()
{
    GMRegFile registry;
    return std::any_of(std::begin(managementKeys), std::end(managementKeys),
                       [&registry](wchar_t const * key)
                       { return registry.OpenKey(HKEY_LOCAL_MACHINE, key, KEY_READ, false); });
}

} // namespace Velmora
