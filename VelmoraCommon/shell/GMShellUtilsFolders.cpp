#include "VelmoraCommon/shell/GMShellUtils.h"

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMIniFile.h"
#include "VelmoraCommon/frame/internal/ShellFolder.h"
#include "VelmoraCommon/shell/internal/ScrambledText.h"
#include "VelmoraCommon/text/GMStringUtils.h"

#include <shlobj.h>

namespace Velmora
{

namespace
{

constexpr ScrambledText openVerb(L"open", -60);
constexpr ScrambledText fileManager(L"explorer.exe", 73);
constexpr ScrambledText delimiter(L"\\", 14);
constexpr ScrambledText userQuickLaunch(L"\\Microsoft\\Internet Explorer\\Quick Launch", 117);
constexpr ScrambledText commonQuickLaunch(L"\\Microsoft\\Internet Explorer\\Quick Launch", -45);
constexpr ScrambledText folderSettings(L"desktop.ini", 8);
constexpr ScrambledText folderSection(L".ShellClassInfo", 90);
constexpr ScrambledText iconFileKey(L"IconFile", -22);
constexpr ScrambledText iconIndexKey(L"IconIndex", 61);
constexpr ScrambledText firstIcon(L"0", 30);

GMString FolderWith(int folder, wchar_t const * suffix)
{
    GMString path = SpecialFolderPath(folder);
    if (!path.empty())
        path += suffix;
    return path;
}

/// Opens \p file by the shell. \return whether that worked
bool Open(wchar_t const * file, wchar_t const * parameters)
{
    return GMShellUtils::WinShellExecuteEx(openVerb().c_str(), file, parameters, nullptr, nullptr,
                                           nullptr, 0, nullptr, SW_SHOWNORMAL);
}

void AddAttribute(GMString const & path, DWORD attribute)
{
    DWORD const attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & attribute) == 0)
        SetFileAttributesW(path.c_str(), attributes | attribute);
}

} // namespace

GMString GMShellUtils::GetSpecialFolderPath(int folder) { return SpecialFolderPath(folder); }

GMString GMShellUtils::GetCUDesktopDirectory() { return SpecialFolderPath(CSIDL_DESKTOPDIRECTORY); }

GMString GMShellUtils::GetAUDesktopDirectory()
{
    return SpecialFolderPath(CSIDL_COMMON_DESKTOPDIRECTORY);
}

GMString GMShellUtils::GetCUStartProgramsDirectory() { return SpecialFolderPath(CSIDL_PROGRAMS); }

GMString GMShellUtils::GetAUStartProgramsDirectory()
{
    return SpecialFolderPath(CSIDL_COMMON_PROGRAMS);
}

GMString GMShellUtils::GetCUFavoritesDirectory() { return SpecialFolderPath(CSIDL_FAVORITES); }

GMString GMShellUtils::GetCURecentDirectory() { return SpecialFolderPath(CSIDL_RECENT); }

GMString GMShellUtils::GetCUCookiesDirectory() { return SpecialFolderPath(CSIDL_COOKIES); }

GMString GMShellUtils::GetCUAppDataDirectory() { return SpecialFolderPath(CSIDL_APPDATA); }

GMString GMShellUtils::GetCULocalAppDataDirectory()
{
    return SpecialFolderPath(CSIDL_LOCAL_APPDATA);
}

GMString GMShellUtils::GetCULocalSettingsDirectory()
{
    GMString const path = SpecialFolderPath(CSIDL_LOCAL_APPDATA);
    GMString::size_type const last = path.rfind(delimiter().c_str());
    return last == GMString::npos ? GMString() : path.substr(0, last);
}

GMString GMShellUtils::GetCUQuickLaunchDirectory()
{
    return FolderWith(CSIDL_APPDATA, userQuickLaunch().c_str());
}

GMString GMShellUtils::GetAUQuickLaunchDirectory()
{
    return FolderWith(CSIDL_COMMON_APPDATA, commonQuickLaunch().c_str());
}

bool GMShellUtils::Explorer(GMString const & path)
{
    if (GMFilePathUtils::IsExistsFile(path))
        return Locate(path);
    return GMFilePathUtils::IsDirectory(path) && Open(path.c_str(), nullptr);
}

bool GMShellUtils::Locate(GMString const & path)
{
    if (GMFilePathUtils::IsExists(path))
    {
        Open(fileManager().c_str(), (L"/select,\"" + path + L"\"").c_str());
        return true;
    }
    GMString const directory = GMFileName::GetDirectory(path);
    if (!GMFilePathUtils::IsExists(directory))
        GMFilePathUtils::CreateDirectories(directory);
    if (GMFilePathUtils::IsDirectory(directory))
        Open(directory.c_str(), nullptr);
    return false;
}

bool GMShellUtils::CreateIconFolder(GMString const & folder, GMString const & icon)
{
    if (!GMFilePathUtils::IsExists(folder))
        GMFilePathUtils::CreateDirectories(folder);
    GMString const settings = GMFileName::JoinFileName(folder, folderSettings().c_str());
    GMString const section = folderSection().c_str();
    GMString const present =
        GMIniFile(settings).GetStringValue(section, iconFileKey().c_str(), GMString());
    if (present.empty() || GMStringUtils::CompareNoCase(present, icon) != 0)
    {
        WritePrivateProfileStringW(section.c_str(), iconFileKey().c_str(), icon.c_str(),
                                   settings.c_str());
        WritePrivateProfileStringW(section.c_str(), iconIndexKey().c_str(), firstIcon().c_str(),
                                   settings.c_str());
        AddAttribute(settings, FILE_ATTRIBUTE_HIDDEN);
    }
    AddAttribute(folder, FILE_ATTRIBUTE_SYSTEM); // which makes the shell read the settings
    return true;
}

} // namespace Velmora
