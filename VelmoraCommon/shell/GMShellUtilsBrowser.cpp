#include "VelmoraCommon/shell/GMShellUtils.h"

#include "VelmoraCommon/detect/system/GMSystemInfo.h"
#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/frame/internal/ShellFolder.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/registry/GMRegValue.h"
#include "VelmoraCommon/shell/internal/ScrambledText.h"
#include "VelmoraCommon/text/GMStringUtils.h"

#include <shellapi.h>
#include <shlobj.h>

namespace Velmora
{

namespace
{

constexpr ScrambledText openVerb(L"open", 3);
constexpr ScrambledText choiceValue(L"Progid", 52);
constexpr ScrambledText commandKey(L"\\shell\\open\\command", -71);
constexpr ScrambledText programEnd(L" ", 9);
constexpr ScrambledText webProtocol(L"http", 84);
constexpr ScrambledText browserPath(L"Internet Explorer\\iexplore.exe", 26);
constexpr ScrambledText browserKey(L"Software\\Microsoft\\Internet Explorer\\Main", 107);
constexpr ScrambledText featureKey(L"\\FeatureControl\\", -3);
constexpr ScrambledText emulationKey(L"\\FeatureControl\\FEATURE_BROWSER_EMULATION", 44);

constexpr unsigned int firstWithChoices = 6; // Windows Vista: the user's choice counts

/// A file type names another one, and so on; a ring of them ends here.
constexpr int longestAliasRow = 32;

/// A value's text; empty on failure.
GMString ReadText(HKEY root, GMString const & path, GMString const & name, REGSAM access)
{
    GMRegFile key;
    GMRegValue value;
    return key.OpenKey(root, path, access, false) && key.GetValue(name, &value) ? value.GetString()
                                                                                : GMString();
}

GMString CommandOf(GMString const & type)
{
    return ReadText(HKEY_CLASSES_ROOT, type + commandKey().c_str(), GMString(), KEY_READ);
}

/// The command of what the user chose for an extension or protocol in lower case.
GMString ChosenCommand(GMString const & name)
{
    GMString const path =
        name.front() == L'.'
            ? L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\FileExts\\" + name
            : L"Software\\Microsoft\\Windows\\Shell\\Associations\\UrlAssociations\\" + name;
    GMString const choice = ReadText(HKEY_CURRENT_USER, path + L"\\UserChoice",
                                     choiceValue().c_str(), KEY_READ | KEY_WOW64_64KEY);
    return choice.empty() ? GMString() : CommandOf(choice);
}

/// The command that the machine has for an extension or protocol.
GMString CommonCommand(GMString type)
{
    for (int i = 0; i < longestAliasRow; ++i)
    {
        GMString const alias = ReadText(HKEY_CLASSES_ROOT, type, GMString(), KEY_READ);
        GMRegFile key;
        if (alias.empty() || alias == type ||
            !key.OpenKey(HKEY_CLASSES_ROOT, alias, KEY_READ, false))
        {
            break;
        }
        type = alias;
    }
    return CommandOf(type);
}

/// The program of a command line: what quotes at its start hold, or what stands before the first blank.
GMString ProgramOf(GMString const & command)
{
    bool const quoted = !command.empty() && command.front() == L'"';
    GMString::size_type const end =
        quoted ? command.find(L'"', 1) : command.find(programEnd().c_str());
    if (end == GMString::npos)
        return command;
    return quoted ? command.substr(1, end - 1) : command.substr(0, end);
}

/// \return whether \p name was another number in the user's key \p path, and is \p value now
bool ChangeNumber(GMString const & path, GMString const & name, unsigned long value)
{
    GMRegFile key;
    unsigned long present = 0;
    if (!key.OpenKey(HKEY_CURRENT_USER, path, KEY_QUERY_VALUE | KEY_SET_VALUE, true) ||
        (key.GetValue(name, present) && present == value))
    {
        return false;
    }
    return key.SetValue(name, value);
}

} // namespace

GMString GMShellUtils::GetShellCommand(GMString const & name, bool executableOnly)
{
    if (name.empty())
        return GMString();
    GMString lower = name;
    GMStringUtils::MakeLower(lower);
    GMString const command = GMSystemInfo::GetWindowsMajorVersion() >= firstWithChoices
                                 ? ChosenCommand(lower)
                                 : CommonCommand(name);
    return executableOnly ? ProgramOf(command) : command;
}

GMString GMShellUtils::GetSystemDefaultBrowerPath()
{
    GMString const path = GetShellCommand(webProtocol().c_str(), true);
    return GMFilePathUtils::IsExistsFile(path) ? path : GetIEPath();
}

GMString GMShellUtils::GetIEPath()
{
    GMString const path =
        GMFileName::JoinFileName(SpecialFolderPath(CSIDL_PROGRAM_FILES), browserPath().c_str());
    return GMFilePathUtils::IsExistsFile(path) ? path : GMString();
}

void GMShellUtils::OpenUrlByShell(GMString const & url)
{
    ShellExecuteW(nullptr, openVerb().c_str(), url.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
}

void GMShellUtils::OpenUrl(GMString const & url, HWND) { OpenUrlByShell(url); }

void GMShellUtils::OpenUrlType(GMString const & url, int type)
{
    if (url.empty())
        return;
    if (type == 0)
        OpenUrlByShell(url);
    GMString const browser = type == 1 ? GetIEPath() : GMString();
    if (!browser.empty())
    {
        WinShellExecuteEx(openVerb().c_str(), browser.c_str(), url.c_str(), nullptr, nullptr,
                          nullptr, 0, nullptr, SW_SHOWNORMAL);
    }
}

bool GMShellUtils::SetFeatureControl(GMString const & feature, GMString const & name,
                                     unsigned long value)
{
    return ChangeNumber(GMString(browserKey().c_str()) + featureKey().c_str() + feature, name,
                        value);
}

void GMShellUtils::SetIEEmulation(GMString const & name, unsigned int value)
{
    ChangeNumber(GMString(browserKey().c_str()) + emulationKey().c_str(), name, value);
}

} // namespace Velmora
