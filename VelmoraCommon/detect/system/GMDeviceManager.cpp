#include "VelmoraCommon/detect/system/GMDeviceManager.h"

#include <cwchar>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/registry/GMRegValue.h"
#include "VelmoraCommon/text/GMStringUtils.h"

#include <setupapi.h>

namespace Velmora
{
namespace
{

struct DeviceSetTraits
{
    using Handle = HDEVINFO;
    static Handle None() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle set) noexcept { SetupDiDestroyDeviceInfoList(set); }
};
using ScopedDeviceSet = ScopedHandle<DeviceSetTraits>;

// What the system says of an installation (CM_INSTALL_STATE).
constexpr unsigned int stateInstalled = 0;
constexpr unsigned int stateFinishInstall = 3;

/// One property as the database holds it: bytes of which nothing is promised.
struct Property
{
    std::vector<unsigned char> data;
    DWORD type = REG_NONE;

    GMRegValue Value() const
    {
        GMRegValue value(type);
        if (!value.ParseValue(data.data(), static_cast<unsigned int>(data.size())))
            return GMRegValue(REG_NONE);
        return value;
    }

    /// Up to the first NUL or the end.
    GMString Text() const
    {
        GMString text(data.size() / sizeof(wchar_t), L'\0');
        text.assign(reinterpret_cast<wchar_t const *>(data.data()), text.size());
        text.resize(std::wcslen(text.c_str()));
        return text;
    }
};

/// Empty on failure.
Property ReadProperty(HDEVINFO set, SP_DEVINFO_DATA & device, DWORD number)
{
    Property property;
    DWORD size = 0;
    while (!SetupDiGetDeviceRegistryPropertyW(set, &device, number, &property.type,
                                              property.data.data(),
                                              static_cast<DWORD>(property.data.size()), &size))
    {
        // A size that isn't greater would be asked for without end.
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER || size <= property.data.size())
            return Property();
        property.data.resize(size);
    }
    if (size < property.data.size())
        property.data.resize(size);
    return property;
}

GMString ToText(GUID const & id)
{
    unsigned char const * const end = id.Data4;
    return GMStringUtils::FormatResult(
        L"{%.8X-%.4X-%.4X--%.2X%.2X-%.2X%.2X%.2X%.2X%.2X%.2X}", static_cast<unsigned int>(id.Data1),
        id.Data2, id.Data3, end[0], end[1], end[2], end[3], end[4], end[5], end[6], end[7]);
}

GMDeviceManager::GMDeviceInfo Describe(HDEVINFO set, SP_DEVINFO_DATA & device)
{
    GMDeviceManager::GMDeviceInfo info;
    info.m_classGuid = ToText(device.ClassGuid);
    info.m_description = ReadProperty(set, device, SPDRP_DEVICEDESC).Text();
    info.m_hardwareIds = ReadProperty(set, device, SPDRP_HARDWAREID).Value().GetMutiString();
    info.m_compatibleIds = ReadProperty(set, device, SPDRP_COMPATIBLEIDS).Value().GetMutiString();
    GMRegValue const state = ReadProperty(set, device, SPDRP_INSTALL_STATE).Value();
    info.m_installed =
        state.GetType() == REG_DWORD &&
        (state.GetDoubleWord() == stateInstalled || state.GetDoubleWord() == stateFinishInstall);
    GMRegValue const name = ReadProperty(set, device, SPDRP_CLASS).Value();
    if (name.GetType() == REG_SZ)
        info.m_class = name.GetString();
    return info;
}

} // namespace

std::vector<GMDeviceManager::GMDeviceInfo>
GMDeviceManager::GetDeviceInfos(wchar_t const * enumerator)
{
    std::vector<GMDeviceInfo> infos;
    ScopedDeviceSet const set(
        SetupDiGetClassDevsW(nullptr, enumerator, nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES));
    if (!set)
        return infos;
    SP_DEVINFO_DATA device = {};
    device.cbSize = sizeof device;
    for (DWORD i = 0; SetupDiEnumDeviceInfo(set.Get(), i, &device); ++i)
        infos.push_back(Describe(set.Get(), device));
    return infos;
}

} // namespace Velmora
