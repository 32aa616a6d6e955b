#include "VelmoraCommon/shell/GMShellUtils.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>

#include "VelmoraCommon/detect/system/GMSystemInfo.h"
#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/shell/internal/ScrambledText.h"

#include <shlobj.h>
#include <wtsapi32.h>

namespace Velmora
{

namespace
{

constexpr ScrambledText securityModule(L"advapi32.dll", 19);
constexpr ScrambledText nativeModule(L"ntdll.dll", -7);
constexpr ScrambledText kernelModule(L"kernel32.dll", 66);
constexpr ScrambledText
    policiesKey(L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Policies\\System", 101);
constexpr ScrambledText accountControl(L"EnableLUA", 23);
constexpr ScrambledText sessionVariable(L"SESSIONNAME", -90);
constexpr ScrambledText remotePrefix(L"RDP-Tcp#", 12);

constexpr DWORD firstWithAccountControl = 6; // Windows Vista

/// The begin of WTSINFOEXW, which not every SDK has: its data are aligned as its times are.
constexpr auto sessionInfoEx = static_cast<WTS_INFO_CLASS>(25); // WTSSessionInfoEx
struct SessionInfo
{
    DWORD level;
    alignas(8) ULONG session;
    int state;
    LONG flags;
};

/// Under the emulation of 32 bits; false where the system can't tell.
bool AsksEmulation(HANDLE process, bool & emulated)
{
    SystemFunction<decltype(::IsWow64Process)> const isWow64Process(kernelModule().c_str(),
                                                                    "IsWow64Process");
    BOOL answer = FALSE;
    if (!isWow64Process || !isWow64Process(process, &answer))
        return false;
    emulated = answer != FALSE;
    return true;
}

ScopedKernelObject OwnToken()
{
    ScopedKernelObject token;
    OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.Receive());
    return token;
}

/// Asks about the token without limits that belongs to a limited one.
bool IsLinkedTokenMember(HANDLE token, PSID group, BOOL & isMember)
{
    TOKEN_LINKED_TOKEN linked = {};
    DWORD size = 0;
    if (!GetTokenInformation(token, TokenLinkedToken, &linked, sizeof(linked), &size))
        return false;
    ScopedKernelObject const owner(linked.LinkedToken);
    return CheckTokenMembership(linked.LinkedToken, group, &isMember) != FALSE;
}

} // namespace

int GMShellUtils::SetPrivilege(HANDLE token, wchar_t const * privilege, int enable)
{
    TOKEN_PRIVILEGES state = {};
    state.PrivilegeCount = 1;
    state.Privileges[0].Attributes = enable ? SE_PRIVILEGE_ENABLED : 0;
    if (!LookupPrivilegeValueW(nullptr, privilege, &state.Privileges[0].Luid))
    {
        std::printf("LookupPrivilegeValue error: %u\n", static_cast<unsigned int>(GetLastError()));
        return 0;
    }
    if (!AdjustTokenPrivileges(token, FALSE, &state, sizeof(state), nullptr, nullptr))
    {
        std::printf("AdjustTokenPrivileges error: %u\n", static_cast<unsigned int>(GetLastError()));
        return 0;
    }
    if (GetLastError() == ERROR_NOT_ALL_ASSIGNED) // which the call counts as success
    {
        std::printf("The token does not have the specified privilege. \n");
        return 0;
    }
    return 1;
}

int GMShellUtils::GetProcessElevation(unsigned int * elevationType, int * isAdmin)
{
    ScopedKernelObject const token = OwnToken();
    DWORD size = 0;
    if (!token || !GetTokenInformation(token.Get(), TokenElevationType, elevationType,
                                       sizeof(*elevationType), &size))
    {
        return 0;
    }
    SystemFunction<decltype(::CreateWellKnownSid)> const createSid(securityModule().c_str(),
                                                                   "CreateWellKnownSid");
    alignas(SID) unsigned char administrators[SECURITY_MAX_SID_SIZE];
    DWORD sidSize = sizeof(administrators);
    if (!createSid || !createSid(WinBuiltinAdministratorsSid, nullptr, administrators, &sidSize))
    {
        return 0;
    }
    if (*elevationType == TokenElevationTypeLimited)
        return IsLinkedTokenMember(token.Get(), administrators, *isAdmin);
    *isAdmin = IsUserAnAdmin();
    return 1;
}

bool GMShellUtils::IsRunAsAdministrator()
{
    SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
    PSID administrators = nullptr;
    if (!AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID,
                                  DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0, 0, &administrators))
    {
        return false;
    }
    BOOL isMember = FALSE;
    bool const asked = CheckTokenMembership(nullptr, administrators, &isMember) != FALSE;
    FreeSid(administrators);
    return asked && isMember == TRUE;
}

bool GMShellUtils::IsUACOpend()
{
    if (LOBYTE(LOWORD(GetVersion())) < firstWithAccountControl)
        return false;
    GMRegFile key;
    DWORD enabled = 0;
    DWORD size = sizeof(enabled);
    // What can't be read counts as on.
    return !key.OpenKey(HKEY_LOCAL_MACHINE, policiesKey().c_str(), KEY_READ, false) ||
           RegQueryValueExW(key.GetKey(), accountControl().c_str(), nullptr, nullptr,
                            reinterpret_cast<BYTE *>(&enabled), &size) != ERROR_SUCCESS ||
           enabled != 0;
}

bool GMShellUtils::IsWow64ProcessEx(HANDLE process)
{
    // Only the 32-bit system library of a 64-bit Windows has this function.
    SystemFunction<void()> const read64(nativeModule().c_str(), "ZwWow64ReadVirtualMemory64");
    bool emulated = false;
    return read64 && AsksEmulation(process, emulated) && !emulated;
}

bool GMShellUtils::IsRunningUnderWow64()
{
    bool emulated = false;
    return AsksEmulation(GetCurrentProcess(), emulated) && emulated;
}

bool GMShellUtils::IsSessionLocked()
{
    SystemFunction<decltype(::WTSQuerySessionInformationW)> const query(
        L"wtsapi32.dll", "WTSQuerySessionInformationW");
    SystemFunction<decltype(::WTSFreeMemory)> const freeMemory(L"wtsapi32.dll", "WTSFreeMemory");
    wchar_t * data = nullptr;
    DWORD size = 0;
    if (!query || !freeMemory ||
        !query(WTS_CURRENT_SERVER_HANDLE, WTSGetActiveConsoleSessionId(), sessionInfoEx, &data,
               &size))
    {
        return false;
    }
    SessionInfo info = {};
    std::memcpy(&info, data, std::min<std::size_t>(size, sizeof(info)));
    freeMemory(data);
    if (size == 0)
        return false;
    // Windows 7 tells it the wrong way round, and the flags of a record of another level aren't known.
    LONG const flags = info.level == 1 ? info.flags : 0;
    return flags == (GMSystemInfo::GetWindowsMajorVersion() == 10 ? 1 : 0);
}

bool GMShellUtils::IsRemoteDesktop()
{
    wchar_t value[MAX_PATH] = {};
    GetEnvironmentVariableW(sessionVariable().c_str(), value, MAX_PATH);
    auto const prefix = remotePrefix();
    return std::wcsncmp(value, prefix.c_str(), prefix.size()) == 0;
}

} // namespace Velmora
