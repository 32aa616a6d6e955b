// Processes, rights and the environment.
#include "VelmoraCommon/shell/GMShellUtils.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/GMSharedLibrary.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ChildTask.h"
#include "tests/support/ImportHook.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"

#include <shlobj.h>
#include <tlhelp32.h>

namespace Velmora::Testing
{

namespace
{

// A system with these processes, whose ids are their places; those with "!" can't be opened, those
// with "?" not be killed.
constexpr wchar_t const * processes[] = {L"C:\\a\\game.exe", L"Game.EXE", L"locked!", L"tough?",
                                         L"game.exe"};
std::string s_killed;
DWORD s_next;

BOOL WINAPI Next(HANDLE, PROCESSENTRY32W * entry)
{
    if (s_next == std::size(processes))
        return FALSE;
    std::wcscpy(entry->szExeFile, processes[s_next]);
    entry->th32ProcessID = s_next++;
    return TRUE;
}

BOOL WINAPI First(HANDLE snapshot, PROCESSENTRY32W * entry)
{
    s_next = 0;
    return entry->dwSize == sizeof(*entry) && Next(snapshot, entry);
}

DWORD s_opened;

HANDLE WINAPI Open(DWORD, BOOL, DWORD id)
{
    s_opened = id;
    return std::wcschr(processes[id], L'!') ? nullptr : CreateEventW(nullptr, 0, 0, nullptr);
}

BOOL WINAPI Terminate(HANDLE, UINT)
{
    s_killed += std::to_string(s_opened);
    return std::wcschr(processes[s_opened], L'?') == nullptr;
}

BOOL WINAPI PretendToStart(wchar_t const *, wchar_t *, SECURITY_ATTRIBUTES *, SECURITY_ATTRIBUTES *,
                           BOOL, DWORD, void *, wchar_t const *, STARTUPINFOW *,
                           PROCESS_INFORMATION * started)
{
    started->hProcess = CreateEventW(nullptr, 0, 0, nullptr);
    started->hThread = CreateEventW(nullptr, 0, 0, nullptr);
    return TRUE;
}

/// In a process of its own, for the memory stays to the process's end. \return the mistakes
ChildTask const handover(
    L"shell-handover",
    [](std::wstring const &) -> int
    {
        ImportHook const create("CreateProcessW", &PretendToStart);
        std::wstring const block = L"VelmoraTest-block-" + std::to_wstring(GetCurrentProcessId());
        int mistakes = 0;
        for (std::wstring const & text : {std::wstring(L"first, and longer"),
                                          std::wstring(L"second"), std::wstring(3000, L'x')})
        {
            mistakes += !GMShellUtils::RunAppliactionLowKey(L"x.exe", text, block);
            mistakes += GMShellUtils::GetApplicationLowKeyInfo(block) != text.substr(0, 1023);
            mistakes += !GMShellUtils::GetApplicationLowKeyInfo(block).empty();
        }
        return mistakes;
    });

decltype(GetTokenInformation) * s_tokenInformation;

/// A token that is limited, with one of full rights beside it.
BOOL WINAPI LimitToken(HANDLE token, TOKEN_INFORMATION_CLASS kind, void * data, DWORD size,
                       DWORD * used)
{
    if (kind == TokenElevationType)
    {
        *static_cast<DWORD *>(data) = TokenElevationTypeLimited;
        return TRUE;
    }
    if (kind != TokenLinkedToken)
        return s_tokenInformation(token, kind, data, size, used);
    HANDLE own = nullptr;
    OpenProcessToken(GetCurrentProcess(), TOKEN_DUPLICATE, &own);
    BOOL const made = size == sizeof(HANDLE) &&
                      DuplicateToken(own, SecurityIdentification, static_cast<HANDLE *>(data));
    CloseHandle(own);
    return made;
}

DWORD s_version;
DWORD WINAPI TellVersion() { return s_version; }

std::vector<unsigned char> s_descriptor;

BOOL WINAPI TellSecurity(wchar_t const *, SECURITY_INFORMATION, void * out, DWORD size,
                         DWORD * used)
{
    *used = DWORD(s_descriptor.size());
    if (size < *used)
        return FALSE;
    std::copy(s_descriptor.begin(), s_descriptor.end(), static_cast<unsigned char *>(out));
    return TRUE;
}

void Set(HKEY root, wchar_t const * path, wchar_t const * name, std::wstring const & text,
         DWORD type = REG_SZ)
{
    GMRegFile key;
    key.CreateKey(root, path, false);
    RegSetValueExW(key.GetKey(), name, 0, type, reinterpret_cast<BYTE const *>(text.c_str()),
                   DWORD(text.size() + 1) * 2);
}

} // namespace

TEST(GMShellUtils, KillsByName)
{
    ImportHook const first("Process32FirstW", &First);
    ImportHook const next("Process32NextW", &Next);
    ImportHook const open("OpenProcess", &Open);
    ImportHook const terminate("TerminateProcess", &Terminate);
    struct Case
    {
        bool (*kill)(GMString const &);
        wchar_t const * name;
        char const * killed;
        bool result;
    };
    Case const cases[] = {
        {&GMShellUtils::KillProcessByName, L"GAME.exe", "014", true},
        {&GMShellUtils::KillProcessByName, L"C:\\a\\game.exe", "", true}, // isn't reduced
        {&GMShellUtils::KillProcessByPath, L"c:\\A\\game.exe", "0", true},
        {&GMShellUtils::KillProcessByName, L"locked!", "", true},
        {&GMShellUtils::KillProcessByName, L"tough?", "3", false},
    };
    for (Case const & each : cases)
    {
        s_killed.clear();
        EXPECT_EQ(each.result, each.kill(each.name)) << each.name;
        EXPECT_EQ(each.killed, s_killed) << each.name;
    }
    EXPECT_FALSE(GMShellUtils::KillProcessById(2));
    EXPECT_TRUE(GMShellUtils::KillProcessByHwnd(nullptr, false, 0, 0, 0));
}

TEST(GMShellUtils, HandsATextOver) { EXPECT_EQ(0u, RunProgram(handover.CommandLine())); }

TEST(GMShellUtils, KnowsRights)
{
    HANDLE token = nullptr;
    OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token);
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(1, GMShellUtils::SetPrivilege(token, SE_SHUTDOWN_NAME, 1));
    EXPECT_EQ(0, GMShellUtils::SetPrivilege(token, L"SeNonsense", 1));
    EXPECT_EQ(0, GMShellUtils::SetPrivilege(token, SE_CREATE_TOKEN_NAME, 1));
    EXPECT_EQ("LookupPrivilegeValue error: 1313\n"
              "The token does not have the specified privilege. \n",
              ::testing::internal::GetCapturedStdout());
    CloseHandle(token);

    unsigned int type = 0;
    int admin = -1;
    EXPECT_EQ(1, GMShellUtils::GetProcessElevation(&type, &admin));
    EXPECT_EQ(IsUserAnAdmin(), admin);
    EXPECT_EQ(IsUserAnAdmin() != FALSE, GMShellUtils::IsRunAsAdministrator());
    {
        ImportHook const limit("GetTokenInformation", &LimitToken, s_tokenInformation);
        EXPECT_EQ(1, GMShellUtils::GetProcessElevation(&type, &admin));
        EXPECT_EQ(3u, type);
        EXPECT_EQ(IsUserAnAdmin(), admin);
    }

    RegistrySandbox const machine(HKEY_LOCAL_MACHINE);
    ImportHook const version("GetVersion", &TellVersion);
    s_version = 5 | 1 << 8;
    EXPECT_FALSE(GMShellUtils::IsUACOpend());
    s_version = 6;
    EXPECT_TRUE(GMShellUtils::IsUACOpend()); // can't be read
    GMRegFile policies;
    policies.CreateKey(HKEY_LOCAL_MACHINE,
                       L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Policies\\System", false);
    EXPECT_TRUE(GMShellUtils::IsUACOpend());
    policies.SetValue(L"EnableLUA", 0ul);
    EXPECT_FALSE(GMShellUtils::IsUACOpend());

    for (auto const & [session, remote] : std::map<std::wstring, bool>{{L"RDP-Tcp#", true},
                                                                       {L"RDP-Tcp#12", true},
                                                                       {L"RDP-Tcp", false},
                                                                       {L"rdp-tcp#1", false}})
    {
        SetEnvironmentVariableW(L"SESSIONNAME", session.c_str());
        EXPECT_EQ(remote, GMShellUtils::IsRemoteDesktop());
    }
    SetEnvironmentVariableW(L"SESSIONNAME", nullptr);
}

TEST(GMShellUtils, FindsTheExecutionLevel)
{
    RegistrySandbox const user(HKEY_CURRENT_USER);
    TemporaryFolder const folder;
    std::wstring const program = folder.Write(L"game.exe");
    unsigned int level = 7;
    EXPECT_FALSE(
        GMShellUtils::FindRequestedExecutionLevel(folder.File(L"missing"), level, nullptr));
    EXPECT_EQ(7u, level);
    struct Case
    {
        char const * level; // behind the name of the attribute
        unsigned int inSideFile;
        unsigned int inResource;
    };
    Case const cases[] = {
        {"\"asInvoker\"", 1, 1},
        {"\"highestAvailable\"", 2, 2},
        {"\"requireAdministrator\"", 3, 3},
        {"\"requireAdmin\"", 0, 3},
        {"\"\"", 0, 1},
        {"\"asInvoker", 0, 0},
        {"\"asInvokerX\"", 0, 0},
    };
    std::wstring const module = folder.File(L"module.dll");
    std::wstring const self = GMSharedLibrary::GetModuleFullName(nullptr);
    CopyFileW((self.substr(0, self.rfind(L'\\')) + L"\\libwinpthread-1.dll").c_str(),
              module.c_str(), FALSE);
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.level);
        std::string const manifest = std::string("<x requestedExecutionLevel level=") + each.level;
        folder.Write(L"game.exe.manifest", manifest);
        EXPECT_EQ(each.inSideFile != 0,
                  GMShellUtils::FindRequestedExecutionLevel(program, level, nullptr));
        EXPECT_EQ(each.inSideFile, level);
        HANDLE const update = BeginUpdateResourceW(module.c_str(), TRUE);
        UpdateResourceW(update, RT_MANIFEST, MAKEINTRESOURCEW(1), 0,
                        const_cast<char *>(manifest.data()), DWORD(manifest.size()));
        EndUpdateResourceW(update, FALSE);
        bool flag = true; // the resource decides alone
        EXPECT_EQ(each.inResource != 0, GMShellUtils::FindRequestedExecutionLevel(
                                            module, level, each.inResource ? &flag : nullptr));
        EXPECT_EQ(each.inResource, level);
        EXPECT_TRUE(flag);
    }

    bool flag = true;
    folder.Write(L"game.exe.manifest", "requestedExecutionLevel level=\"asInvoker\"");
    EXPECT_FALSE(GMShellUtils::FindRequestedExecutionLevel(program, level, &flag)); // no key
    wchar_t const layers[] =
        L"Software\\Microsoft\\Windows NT\\CurrentVersion\\AppCompatFlags\\Layers";
    for (wchar_t const * layer : {L"WINXPSP3", L"RUNASADMIN"})
    {
        Set(HKEY_CURRENT_USER, layers, program.c_str(), layer);
        EXPECT_TRUE(GMShellUtils::FindRequestedExecutionLevel(program, level, &flag));
        EXPECT_EQ(layer[0] == L'R', flag);
    }
    Set(HKEY_CURRENT_USER, layers, program.c_str(), L"x");
    folder.Write(L"game.exe.manifest", "requestedExecutionLevel level=\"requireAdministrator\"");
    EXPECT_TRUE(GMShellUtils::FindRequestedExecutionLevel(program, level, &flag));
    EXPECT_TRUE(flag); // level 3 doesn't ask for it
}

TEST(GMShellUtils, ReadsAccessLists)
{
    wchar_t name[257];
    DWORD length = 257;
    GetUserNameW(name, &length);
    unsigned char user[SECURITY_MAX_SID_SIZE];
    wchar_t domain[257];
    DWORD sizes[] = {sizeof(user), 257};
    SID_NAME_USE use;
    ASSERT_TRUE(LookupAccountNameW(nullptr, name, user, &sizes[0], domain, &sizes[1], &use));
    SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
    PSID everyone = nullptr;
    AllocateAndInitializeSid(&world, 1, 0, 0, 0, 0, 0, 0, 0, 0, &everyone);
    ImportHook const security("GetFileSecurityW", &TellSecurity);
    struct Case
    {
        char const * what;
        DWORD allowed[2]; // two entries of the user
        DWORD denied;
        bool result;
    };
    Case const cases[] = {
        {"all", {0x1FFFFF, 0}, 0, true},
        {"entries aren't summed", {0x1F0000, 0xFFFF}, 0, false},
        {"any denied bit", {0x1FFFFF, 0}, 1, false},
        {"none", {0, 0}, 0, false},
    };
    for (Case const & each : cases)
    {
        alignas(ACL) unsigned char bytes[400];
        ACL * const list = reinterpret_cast<ACL *>(bytes);
        InitializeAcl(list, sizeof(bytes), ACL_REVISION);
        AddAccessDeniedAce(list, ACL_REVISION, 0x1FFFFF, everyone); // isn't asked about
        if (each.denied != 0)
            AddAccessDeniedAce(list, ACL_REVISION, each.denied, user);
        for (DWORD mask : each.allowed)
            AddAccessAllowedAce(list, ACL_REVISION, mask, user);
        SECURITY_DESCRIPTOR descriptor;
        InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
        SetSecurityDescriptorDacl(&descriptor, TRUE, list, FALSE);
        DWORD size = 0;
        MakeSelfRelativeSD(&descriptor, nullptr, &size);
        s_descriptor.resize(size);
        MakeSelfRelativeSD(&descriptor, s_descriptor.data(), &size);
        EXPECT_EQ(each.result, GMShellUtils::CheckModifySecurityInfo(L"x")) << each.what;
    }
    FreeSid(everyone);
}

TEST(GMShellUtils, TakesVariablesFromTheRegistry)
{
    RegistrySandbox const machine(HKEY_LOCAL_MACHINE);
    RegistrySandbox const user(HKEY_CURRENT_USER);
    wchar_t const environment[] =
        L"SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";
    EXPECT_FALSE(GMShellUtils::RefreshProcessEnvironment(L""));
    Set(HKEY_LOCAL_MACHINE, environment, L"VELMORA_A", L"%VELMORA_B%", REG_EXPAND_SZ);
    Set(HKEY_LOCAL_MACHINE, environment, L"Velmora_C", L"c");
    Set(HKEY_CURRENT_USER, L"Environment", L"Velmora_C", L"isn't read");
    EXPECT_TRUE(GMShellUtils::RefreshProcessEnvironment(L""));
    wchar_t value[100] = {};
    GetEnvironmentVariableW(L"VELMORA_A", value, 100);
    EXPECT_STREQ(L"%VELMORA_B%", value); // as it is stored
    GetEnvironmentVariableW(L"VELMORA_C", value, 100);
    EXPECT_STREQ(L"c", value);

    std::wstring path(32767, L'\0');
    path.resize(GetEnvironmentVariableW(L"PATH", path.data(), DWORD(path.size())));
    Set(HKEY_LOCAL_MACHINE, environment, L"Path", L"C:\\machine");
    Set(HKEY_CURRENT_USER, L"Environment", L"Path", L"C:\\user");
    EXPECT_TRUE(GMShellUtils::RefreshProcessEnvironment(L"Path"));
    GetEnvironmentVariableW(L"PATH", value, 100);
    EXPECT_STREQ(L"C:\\user;C:\\machine", value);
    SetEnvironmentVariableW(L"PATH", path.c_str());
    EXPECT_FALSE(GMShellUtils::RefreshProcessEnvironment(L"Velmora_D"));

    GMRegFile key; // texts without an end and without any unit
    key.OpenKey(HKEY_LOCAL_MACHINE, environment, KEY_ALL_ACCESS, false);
    for (auto const & [size, text] : {std::pair(4, L"xx"), {0, L""}})
    {
        RegSetValueExW(key.GetKey(), L"Velmora_C", 0, REG_SZ, reinterpret_cast<BYTE const *>(L"xx"),
                       DWORD(size));
        GMShellUtils::RefreshProcessEnvironment(L"Velmora_C");
        value[GetEnvironmentVariableW(L"VELMORA_C", value, 100)] = L'\0';
        EXPECT_STREQ(text, value) << size;
    }
}

TEST(GMShellUtils, TellsWindowsOfTheEnvironmentInSpiteOfAHungOne)
{
    HANDLE const events[] = {CreateEventW(nullptr, TRUE, FALSE, nullptr),
                             CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    ScopedKernelObject const stands(events[0]);
    ScopedKernelObject const end(events[1]);
    auto const hang = +[](void * both) WINAPI -> DWORD
    {
        CreateWindowW(L"Static", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
        SetEvent(static_cast<HANDLE *>(both)[0]);
        return WaitForSingleObject(static_cast<HANDLE *>(both)[1], 60000);
    };
    ScopedKernelObject const thread(
        CreateThread(nullptr, 0, hang, const_cast<HANDLE *>(events), 0, nullptr));
    WaitForSingleObject(stands.Get(), INFINITE);
    ULONGLONG const begin = GetTickCount64();
    GMShellUtils::RefreshSystemEnvironment();
    EXPECT_LT(GetTickCount64() - begin, 20000u);
    SetEvent(end.Get());
    WaitForSingleObject(thread.Get(), INFINITE);
}

} // namespace Velmora::Testing
