// Folders, browsers and icons.
#include "VelmoraCommon/shell/GMShellUtils.h"

#include <string>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/GMSharedLibrary.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ChildTask.h"
#include "tests/support/ImportHook.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"

#include <shellapi.h>
#include <shlobj.h>

namespace Velmora::Testing
{

namespace
{

std::wstring s_executed; // verb, file and parameters of what the shell was to do
DWORD_PTR s_instance;    // what it answers

BOOL WINAPI Execute(SHELLEXECUTEINFOW * info)
{
    s_executed = std::wstring(info->lpVerb) + L" " + info->lpFile;
    if (info->lpParameters != nullptr)
        s_executed += std::wstring(L" ") + info->lpParameters;
    info->hInstApp = reinterpret_cast<HINSTANCE>(s_instance);
    return TRUE;
}

BOOL WINAPI TellNumber(HWND, wchar_t * path, int folder, BOOL)
{
    std::wcscpy(path, (L"C:\\" + std::to_wstring(folder)).c_str());
    return TRUE;
}

BOOL WINAPI TellOldVersion(OSVERSIONINFOW * version)
{
    version->dwMajorVersion = 5;
    return TRUE;
}

void Set(HKEY root, std::wstring const & path, wchar_t const * name, std::wstring const & text)
{
    GMRegFile key;
    key.CreateKey(root, path, false);
    RegSetValueExW(key.GetKey(), name, 0, REG_SZ, reinterpret_cast<BYTE const *>(text.c_str()),
                   DWORD(text.size() + 1) * 2);
}

void SetClass(std::wstring const & path, std::wstring const & text)
{
    Set(HKEY_CLASSES_ROOT, path, L"", text);
}

/// The version is asked once, so another one takes a process of its own. \return the mistakes
ChildTask const oldSystem(L"shell-old",
                          [](std::wstring const &) -> int
                          {
                              RegistrySandbox const classes(HKEY_CLASSES_ROOT);
                              ImportHook const version("GetVersionExW", &TellOldVersion);
                              SetClass(L".txt", L"alias");
                              SetClass(L"alias", L"last");
                              SetClass(L"last", L"isn't there");
                              SetClass(L"last\\shell\\open\\command", L"C:\\a.exe %1");
                              SetClass(L"ring", L"gnir");
                              SetClass(L"gnir", L"ring");
                              return (GMShellUtils::GetShellCommand(L".txt", false) !=
                                      L"C:\\a.exe %1") +
                                     !GMShellUtils::GetShellCommand(L"ring", false).empty();
                          });

} // namespace

TEST(GMShellUtils, KnowsFolders)
{
    ImportHook const tell("SHGetSpecialFolderPathW", &TellNumber);
    GMString const found[] = {
        GMShellUtils::GetCUDesktopDirectory(),       GMShellUtils::GetAUDesktopDirectory(),
        GMShellUtils::GetCUStartProgramsDirectory(), GMShellUtils::GetAUStartProgramsDirectory(),
        GMShellUtils::GetCUFavoritesDirectory(),     GMShellUtils::GetCURecentDirectory(),
        GMShellUtils::GetCUCookiesDirectory(),       GMShellUtils::GetCUAppDataDirectory(),
        GMShellUtils::GetCULocalAppDataDirectory(),  GMShellUtils::GetCULocalSettingsDirectory(),
        GMShellUtils::GetCUQuickLaunchDirectory(),   GMShellUtils::GetAUQuickLaunchDirectory(),
    };
    GMString all;
    for (GMString const & each : found)
        all += each + L" ";
    EXPECT_EQ(L"C:\\16 C:\\25 C:\\2 C:\\23 C:\\6 C:\\8 C:\\33 C:\\26 C:\\28 C: "
              L"C:\\26\\Microsoft\\Internet Explorer\\Quick Launch "
              L"C:\\35\\Microsoft\\Internet Explorer\\Quick Launch ",
              all);
}

TEST(GMShellUtils, KnowsWhatOpensAType)
{
    RegistrySandbox const user(HKEY_CURRENT_USER);
    RegistrySandbox const classes(HKEY_CLASSES_ROOT);
    std::wstring const types =
        L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\FileExts\\";
    std::wstring const protocols =
        L"Software\\Microsoft\\Windows\\Shell\\Associations\\UrlAssociations\\";
    TemporaryFolder const folder;
    std::wstring const browser = folder.Write(L"b c.exe");
    Set(HKEY_CURRENT_USER, types + L".txt\\UserChoice", L"Progid", L"editor");
    Set(HKEY_CURRENT_USER, protocols + L"http\\UserChoice", L"Progid", L"browser");
    Set(HKEY_CURRENT_USER, types + L".old\\UserChoice", L"Progid", L"gone");
    SetClass(L"browser\\shell\\open\\command", L"\"" + browser + L"\" \"%1\"");
    SetClass(L".bat\\shell\\open\\command", L"C:\\isn't asked");
    struct Case
    {
        wchar_t const * command;
        wchar_t const * program;
    };
    Case const cases[] = {{L"C:\\a.exe %1", L"C:\\a.exe"},
                          {L"\"C:\\b c.exe\" \"%1\"", L"C:\\b c.exe"},
                          {L"\"C:\\b c.exe", L"\"C:\\b c.exe"},
                          {L"C:\\a.exe", L"C:\\a.exe"}};
    for (Case const & each : cases)
    {
        SetClass(L"editor\\shell\\open\\command", each.command);
        EXPECT_EQ(each.command, GMShellUtils::GetShellCommand(L".TXT", false));
        EXPECT_EQ(each.program, GMShellUtils::GetShellCommand(L".TXT", true));
    }
    for (wchar_t const * without : {L"", L".bat", L".old"})
        EXPECT_EQ(L"", GMShellUtils::GetShellCommand(without, false)) << without;
    EXPECT_EQ(browser, GMShellUtils::GetSystemDefaultBrowerPath());
    DeleteFileW(browser.c_str());
    EXPECT_EQ(GMShellUtils::GetIEPath(), GMShellUtils::GetSystemDefaultBrowerPath());
    EXPECT_EQ(0u, RunProgram(oldSystem.CommandLine()));

    std::wstring const key = L"Software\\Microsoft\\Internet Explorer\\Main\\FeatureControl\\";
    EXPECT_TRUE(GMShellUtils::SetFeatureControl(L"FEATURE_X", L"game.exe", 1));
    EXPECT_FALSE(GMShellUtils::SetFeatureControl(L"FEATURE_X", L"game.exe", 1));
    EXPECT_TRUE(GMShellUtils::SetFeatureControl(L"FEATURE_X", L"game.exe", 2));
    GMShellUtils::SetIEEmulation(L"game.exe", 11001);
    GMRegFile read;
    EXPECT_TRUE(read.OpenKey(HKEY_CURRENT_USER, key + L"FEATURE_X", KEY_READ, false));
    EXPECT_EQ(2u, read.GetUInt32Value(L"game.exe", 0));
    EXPECT_TRUE(
        read.OpenKey(HKEY_CURRENT_USER, key + L"FEATURE_BROWSER_EMULATION", KEY_READ, false));
    EXPECT_EQ(11001u, read.GetUInt32Value(L"game.exe", 0));
}

TEST(GMShellUtils, ShowsPlaces)
{
    ImportHook const execute("ShellExecuteExW", &Execute);
    TemporaryFolder const folder;
    std::wstring const file = folder.Write(L"a file");
    s_instance = 33;
    EXPECT_TRUE(GMShellUtils::Explorer(folder.Path()));
    EXPECT_EQ(L"open " + folder.Path(), s_executed);
    s_instance = 32;
    EXPECT_FALSE(GMShellUtils::Explorer(folder.Path()));
    EXPECT_TRUE(GMShellUtils::Explorer(file));
    EXPECT_EQ(L"open explorer.exe /select,\"" + file + L"\"", s_executed);
    EXPECT_FALSE(GMShellUtils::Explorer(folder.File(L"missing")));
    EXPECT_FALSE(GMShellUtils::Locate(folder.File(L"new\\deep\\missing")));
    EXPECT_EQ(L"open " + folder.File(L"new\\deep"), s_executed);
    s_executed.clear();
    GMShellUtils::OpenUrlType(L"", 1);
    GMShellUtils::OpenUrlType(L"http://x/", 2);
    EXPECT_EQ(L"", s_executed);
}

TEST(GMShellUtils, GivesIcons)
{
    TemporaryFolder const folder;
    std::wstring const place = folder.File(L"new");
    std::wstring const settings = place + L"\\desktop.ini";
    EXPECT_TRUE(GMShellUtils::CreateIconFolder(place, L"C:\\a.ico"));
    std::string const text = "[.ShellClassInfo]\r\nIconFile=C:\\a.ico\r\nIconIndex=0\r\n";
    EXPECT_EQ(text, ReadBytes(settings));
    EXPECT_NE(0u, GetFileAttributesW(settings.c_str()) & FILE_ATTRIBUTE_HIDDEN);
    SetFileAttributesW(place.c_str(), FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_TRUE(GMShellUtils::CreateIconFolder(place, L"C:\\A.ICO"));
    EXPECT_EQ(text, ReadBytes(settings));
    EXPECT_NE(0u, GetFileAttributesW(place.c_str()) & FILE_ATTRIBUTE_SYSTEM);

    for (auto const & [size, width] : {std::pair(31, 16), std::pair(32, 32)})
    {
        HICON const icon = GMShellUtils::GetIcon(L"C:\\missing.txt", size);
        ICONINFO info = {};
        BITMAP bitmap = {};
        ASSERT_TRUE(GetIconInfo(icon, &info));
        GetObjectW(info.hbmMask, sizeof(bitmap), &bitmap);
        EXPECT_EQ(width, bitmap.bmWidth);
        DeleteObject(info.hbmMask);
        DeleteObject(info.hbmColor);
        DestroyIcon(icon);
    }
}

TEST(ScrambledText, IsNotInTheLibrary)
{
    std::wstring const path =
        GMSharedLibrary::GetModuleFullName(GetModuleHandleW(L"VelmoraCommon.dll"));
    std::string const library = ReadBytes(path);
    // "open" and names of modules stand elsewhere, too.
    for (std::wstring const text :
         {L"EnableLUA", L"SESSIONNAME", L"RDP-Tcp#", L".manifest", L"asInvoker",
          L"highestAvailable", L"requireAdministrator", L"RUNASADMIN", L"AppCompatFlags",
          L"Policies\\System", L"Session Manager", L"Progid", L"iexplore", L"Quick Launch",
          L"\\FeatureControl", L"FEATURE_BROWSER", L"ShellClassInfo", L"desktop.ini"})
    {
        std::string const wide(reinterpret_cast<char const *>(text.data()), text.size() * 2);
        EXPECT_EQ(std::string::npos, library.find(wide)) << text;
        EXPECT_EQ(std::string::npos, library.find(std::string(text.begin(), text.end()))) << text;
    }
}

} // namespace Velmora::Testing
