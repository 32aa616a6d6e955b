// The small classes that ask the system: rights, levels, variables, types and fonts.
#include "VelmoraCommon/shell/GMShellUtils.h"

#include <cstring>
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/files/GMFileMapping.h"
#include "VelmoraCommon/frame/GMSharedLibrary.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/shell/GMFontChange.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ChildTask.h"
#include "tests/support/ImportHook.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"

#include <sddl.h>
#include <shlobj.h>

namespace Velmora::Testing
{

namespace
{

/// All roots that are asked.
struct Registry
{
    RegistrySandbox machine{HKEY_LOCAL_MACHINE}, user{HKEY_CURRENT_USER}, types{HKEY_CLASSES_ROOT};
};

void Set(HKEY root, GMString const & path, GMString const & name, GMString const & text,
         DWORD type = REG_SZ, DWORD endBytes = 2)
{
    GMRegFile key;
    key.CreateKey(root, path, false);
    RegSetValueExW(key.GetKey(), name.c_str(), 0, type,
                   reinterpret_cast<BYTE const *>(text.c_str()), DWORD(text.size()) * 2 + endBytes);
}

std::wstring const s_system = L"Software\\Microsoft\\Windows"; // below it stands what is asked
DWORD s_major;

/// Of an unlocked session on Windows 7, and a locked one on 10.
BOOL WINAPI TellSession(HANDLE, DWORD, int, DWORD ** data, DWORD * size)
{
    static DWORD record[] = {1, 0, 0, 0, 1};
    *data = record;
    *size = sizeof(record);
    return TRUE;
}

void * WINAPI FindFake(HMODULE, char const * name)
{
    return std::strcmp(name, "WTSFreeMemory") == 0 ? reinterpret_cast<void *>(+[](void *) WINAPI {})
                                                   : reinterpret_cast<void *>(&TellSession);
}

/// In a process of its own: the version is asked once, and memory that is handed over stays to the
/// end. \return a bit an answer
int AnswerOn(std::wstring const & major)
{
    Registry const registry;
    s_major = std::stoul(major);
    ImportHook const low(
        "GetVersion", +[]() WINAPI { return s_major; });
    ImportHook const version(
        "GetVersionExW",
        +[](OSVERSIONINFOW * told) WINAPI -> BOOL { return int(told->dwMajorVersion = s_major); });
    ImportHook const find("GetProcAddress", &FindFake);
    for (auto const & [type, text] : {std::pair(L".txt", L"alias"), std::pair(L"alias", L"end"),
                                      std::pair(L"end\\shell\\open\\command", L"C:\\a.exe"),
                                      std::pair(L"ring", L"gnir"), std::pair(L"gnir", L"ring")})
        Set(HKEY_CLASSES_ROOT, type, L"", text);
    if (s_major == 10) // on 6 it can't be read
        Set(HKEY_LOCAL_MACHINE, s_system + L"\\CurrentVersion\\Policies\\System", L"EnableLUA",
            GMString(2, L'\0'), REG_DWORD, 0);
    // A program without a window, which could lie over those of other tests.
    GMShellUtils::RunAppliactionLowKey(L"rundll32.exe", GMString(3000, L'x'), major);
    return GMShellUtils::IsUACOpend() | GMShellUtils::IsSessionLocked() << 1 |
           (GMShellUtils::GetShellCommand(L".txt", false) == L"C:\\a.exe") << 2 |
           GMShellUtils::GetShellCommand(L"ring", false).empty() << 3 |
           (GMShellUtils::GetApplicationLowKeyInfo(major).size() == 1023) << 4 |
           GMShellUtils::GetApplicationLowKeyInfo(major).empty() << 5;
}
ChildTask const onVersion(L"shell-version", &AnswerOn);

/// A token that is limited, with one of full rights beside it.
BOOL WINAPI LimitToken(HANDLE, TOKEN_INFORMATION_CLASS kind, void * data, DWORD, DWORD *)
{
    auto * const linked = static_cast<HANDLE *>(data);
    if (kind == TokenLinkedToken)
        return ImpersonateSelf(SecurityIdentification) &&
               OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, linked) && RevertToSelf();
    *static_cast<DWORD *>(data) = TokenElevationTypeLimited;
    return TRUE;
}

PSECURITY_DESCRIPTOR s_access; // of a file

BOOL WINAPI TellSecurity(wchar_t const *, SECURITY_INFORMATION, void * out, DWORD size,
                         DWORD * used)
{
    *used = GetSecurityDescriptorLength(s_access);
    return size >= *used && std::memcpy(out, s_access, *used) != nullptr;
}

std::string s_manifest; // in place of a resource, and a quote behind its end

std::wstring s_windows; // stands for the Windows directory

} // namespace

TEST(GMShellUtils, KillsAndHandsOver)
{
    TemporaryFolder const folder;
    std::wstring const victim = folder.File(L"Velmora-victim.exe");
    CopyFileW(L"C:\\windows\\system32\\notepad.exe", victim.c_str(), FALSE);
    ChildProcess process(victim);
    EXPECT_TRUE(GMShellUtils::KillProcessByName(L"velmora-VICTIM.exe"));
    process.Wait();
    GMFileMapping block; // another one's, without a NUL
    block.Create(L"VelmoraTest-hostile", PAGE_READWRITE, 0, 4096);
    block.Mapping(FILE_MAP_WRITE, 0, 0, 4096);
    std::memset(block.GetMapAddress(), 'x', 4096);
    EXPECT_EQ(1024u, GMShellUtils::GetApplicationLowKeyInfo(L"VelmoraTest-hostile").size());
}

TEST(GMShellUtils, KnowsRights)
{
    ScopedKernelObject token;
    OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, token.Receive());
    EXPECT_EQ(1, GMShellUtils::SetPrivilege(token.Get(), SE_SHUTDOWN_NAME, 1));
    EXPECT_EQ(0, GMShellUtils::SetPrivilege(token.Get(), SE_CREATE_TOKEN_NAME, 1));

    ImportHook const limit("GetTokenInformation", &LimitToken);
    unsigned int type = 0;
    int admin = -1;
    EXPECT_EQ(1, GMShellUtils::GetProcessElevation(&type, &admin));
    EXPECT_EQ(3u, type);
    EXPECT_EQ(IsUserAnAdmin(), admin);

    for (auto const & [major, answers] :
         {std::pair(L"5", 0x3Cu), std::pair(L"6", 0x39u), std::pair(L"10", 0x3Au)})
        EXPECT_EQ(answers, RunProgram(onVersion.CommandLine(major))) << major;

    ImportHook const security("GetFileSecurityW", &TellSecurity);
    std::pair<wchar_t const *, bool> const cases[] = {
        {L"D:(D;;0x1FFFFF;;;WD)(A;;0x1FFFFF;;;BA)", true}, // by a group; others aren't asked about
        {L"D:(A;;0x1F0000;;;BA)(A;;0xFFFF;;;BA)", false},  // entries aren't summed
        {L"D:(D;;0x1;;;BA)(A;;0x1FFFFF;;;BA)", false},
    };
    for (auto const & [access, allowed] : cases)
    {
        ConvertStringSecurityDescriptorToSecurityDescriptorW(access, 1, &s_access, nullptr);
        EXPECT_EQ(allowed, GMShellUtils::CheckModifySecurityInfo(L"x")) << access;
        LocalFree(s_access);
    }
}

TEST(GMShellUtils, FindsTheExecutionLevel)
{
    Registry const registry;
    TemporaryFolder const folder;
    std::wstring const program = folder.Write(L"game.exe");
    ImportHook const lock(
        "LockResource", +[](HGLOBAL) WINAPI -> void * { return s_manifest.data(); });
    ImportHook const size(
        "SizeofResource", +[](HMODULE, HRSRC) WINAPI { return DWORD(s_manifest.size() - 1); });
    unsigned int level = 7;
    // Behind the name of the attribute, and the level of it beside the file and in it.
    std::tuple<char const *, unsigned int, unsigned int> const cases[] = {
        {"\"highestAvailable\"", 2, 2}, {"\"requireAdmin\"", 0, 3}, {"\"\"", 0, 1},
        {"\"asInvoker", 0, 0},          {"\"asInvokerX\"", 0, 0},
    };
    for (auto const & [text, beside, inside] : cases)
    {
        SCOPED_TRACE(text);
        std::string const manifest = std::string("<x requestedExecutionLevel level=") + text;
        folder.Write(L"game.exe.manifest", manifest);
        EXPECT_EQ(beside != 0, GMShellUtils::FindRequestedExecutionLevel(program, level, nullptr));
        EXPECT_EQ(beside, level);
        s_manifest = manifest + '"';
        EXPECT_EQ(inside != 0, GMShellUtils::FindRequestedExecutionLevel(
                                   L"C:\\windows\\system32\\winver.exe", level, nullptr));
        EXPECT_EQ(inside, level);
    }
    folder.Write(L"game.exe.manifest", "requestedExecutionLevel level=\"asInvoker\"");
    Set(HKEY_CURRENT_USER, s_system + L" NT\\CurrentVersion\\AppCompatFlags\\Layers", program,
        L"RUNASADMIN");
    bool flag = false;
    EXPECT_TRUE(GMShellUtils::FindRequestedExecutionLevel(program, level, &flag) && flag);
}

TEST(GMShellUtils, TakesVariablesAndTypesFromTheRegistry)
{
    Registry const registry;
    wchar_t const environment[] =
        L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";
    Set(HKEY_LOCAL_MACHINE, environment, L"VELMORA_A", L"%VELMORA_B%", REG_EXPAND_SZ);
    Set(HKEY_LOCAL_MACHINE, environment, L"Path", L"C:\\machine");
    Set(HKEY_CURRENT_USER, L"Environment", L"Path", L"C:\\user", REG_SZ, 1);
    std::wstring const path = _wgetenv(L"PATH");
    EXPECT_TRUE(GMShellUtils::RefreshProcessEnvironment(L"VELMORA_A"));
    EXPECT_TRUE(GMShellUtils::RefreshProcessEnvironment(L"Path"));
    // As it is stored.
    EXPECT_EQ(L"%VELMORA_B%", GMShellUtils::GetEnvironmentRealPath(L"%VELMORA_A%"));
    EXPECT_EQ(L"C:\\user;C:\\machine", GMShellUtils::GetEnvironmentRealPath(L"%PATH%"));
    SetEnvironmentVariableW(L"PATH", path.c_str());

    for (wchar_t const * type : {L"\\CurrentVersion\\Explorer\\FileExts\\.txt",
                                 L"\\Shell\\Associations\\UrlAssociations\\http"})
        Set(HKEY_CURRENT_USER, s_system + type + L"\\UserChoice", L"Progid", L"editor");
    for (auto const & [command, program] : {std::pair(L"C:\\a.exe %1", L"C:\\a.exe"),
                                            std::pair(L"\"C:\\b c.exe\" \"%1\"", L"C:\\b c.exe"),
                                            std::pair(L"\"C:\\b c.exe", L"\"C:\\b c.exe")})
    {
        Set(HKEY_CLASSES_ROOT, L"editor\\shell\\open\\command", L"", command);
        EXPECT_EQ(command, GMShellUtils::GetShellCommand(L".TXT", false));
        EXPECT_EQ(program, GMShellUtils::GetShellCommand(L"http", true));
    }
}

TEST(GMFontChange, InstallsAndChecks)
{
    Registry const registry;
    TemporaryFolder const folder;
    s_windows = folder.Path() + L'\0';
    ImportHook const windows(
        "GetWindowsDirectoryW",
        +[](wchar_t * path, UINT) WINAPI { return UINT(s_windows.copy(path, MAX_PATH)); });
    GMFontChange fonts;
    std::wstring const name(130, L'x'); // 260 bytes, so no NUL is read behind it
    folder.Write(L"Fonts\\" + name);
    Set(HKEY_LOCAL_MACHINE, s_system + L" NT\\CurrentVersion\\Fonts", L"Long", name, REG_BINARY, 0);
    EXPECT_TRUE(fonts.CheckFont(L"Long", name));
    folder.Write(L"Fonts\\b.ttf", "old");
    EXPECT_TRUE(fonts.ChangeFont(L"Serif", L"b.ttf", folder.Write(L"new.ttf", "new")));
    EXPECT_EQ("old", ReadBytes(folder.File(L"Fonts\\b.ttf")));
    EXPECT_TRUE(fonts.ChangeFont(L"Sans", L"a.ttf", folder.File(L"new.ttf")));
    EXPECT_EQ("new", ReadBytes(folder.File(L"Fonts\\a.ttf")));
    EXPECT_TRUE(fonts.CheckFont(L"Sans", L"A.TTF"));
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
