#include "VelmoraCommon/shell/GMShellUtils.h"

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/frame/internal/EnvironmentText.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/registry/GMRegValue.h"
#include "VelmoraCommon/shell/internal/ScrambledText.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

constexpr ScrambledText changedArea(L"Environment", 49);
constexpr ScrambledText
    machineKey(L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment", 77);
constexpr ScrambledText userKey(L"Environment", -14);
constexpr ScrambledText mergedName(L"PATH", 96);
constexpr ScrambledText separator(L";", 5);

constexpr UINT broadcastLimit = 1000; // milliseconds a window

/// The text of a `REG_SZ` or `REG_EXPAND_SZ` as it is stored; false for anything else.
bool ReadStoredText(GMRegFile & key, GMString const & name, GMString & text)
{
    GMRegValue value;
    if (!key.GetValue(name, &value) ||
        (value.GetType() != REG_SZ && value.GetType() != REG_EXPAND_SZ))
    {
        return false;
    }
    text = value.GetExpandString(false);
    return true;
}

} // namespace

GMString GMShellUtils::GetEnvironmentRealPath(GMString const & path)
{
    return ExpandEnvironmentText(path);
}

bool GMShellUtils::RefreshSystemEnvironment()
{
    auto const area = changedArea();
    DWORD_PTR answer = 0;
    return SendMessageTimeoutW(HWND_BROADCAST, WM_SETTINGCHANGE, 0,
                               reinterpret_cast<LPARAM>(area.c_str()), SMTO_ABORTIFHUNG,
                               broadcastLimit, &answer) != 0;
}

bool GMShellUtils::RefreshProcessEnvironment(GMString name)
{
    GMRegFile machine;
    if (!machine.OpenKey(HKEY_LOCAL_MACHINE, machineKey().c_str(), KEY_READ, false))
        return false;
    if (name.empty())
    {
        std::vector<GMString> subKeys;
        std::vector<GMString> names;
        if (!machine.EnumKeyValueName(subKeys, names))
            return false;
        for (GMString const & each : names)
        {
            if (!each.empty() && !RefreshProcessEnvironment(each))
                return false;
        }
        return true;
    }

    GMString text;
    if (!ReadStoredText(machine, name, text))
        return false;
    GMRegFile user;
    GMString userText;
    if (GMStringUtils::CompareNoCase(name, mergedName().c_str()) == 0 &&
        user.OpenKey(HKEY_CURRENT_USER, userKey().c_str(), KEY_READ, false) &&
        ReadStoredText(user, name, userText) && !userText.empty())
    {
        text = userText + separator().c_str() + text;
    }
    return SetEnvironmentVariableW(name.c_str(), text.c_str()) == TRUE;
}

} // namespace Velmora
