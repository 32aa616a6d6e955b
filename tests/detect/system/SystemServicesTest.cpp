// Devices, venues, firewall, clipboard, drops, texts of errors, the end of a session.
#include <cstring>
#include <numeric>
#include <string>

#include <gtest/gtest.h>

#include "VelmoraCommon/detect/system/GMDeviceManager.h"
#include "VelmoraCommon/detect/system/GMMachine.h"
#include "VelmoraCommon/detect/system/GMNetbarDetect.h"
#include "VelmoraCommon/detect/system/GMSystemUtils.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "tests/detect/system/FakeSystem.h"
#include "tests/support/FailingCall.h"
#include "tests/support/RegistrySandbox.h"

#include <setupapi.h>
#include <shlobj.h>

using namespace std::string_literals;

namespace Velmora::Testing
{

namespace
{

DWORD s_type;
std::wstring s_data;

/// One answer for all properties of all devices; one without data is never big enough.
BOOL WINAPI GiveProperty(HDEVINFO, SP_DEVINFO_DATA *, DWORD, DWORD * type, BYTE * buffer,
                         DWORD size, DWORD * needed)
{
    *type = s_type;
    *needed = DWORD(s_data.size() * sizeof(wchar_t));
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    if (size == 0)
        return FALSE;
    std::memcpy(buffer, s_data.data(), size);
    return TRUE;
}

std::wstring s_calls;

HINSTANCE WINAPI NoteCommand(HWND, wchar_t const *, wchar_t const * program,
                             wchar_t const * arguments, wchar_t const *, int)
{
    s_calls = program + L" "s + arguments;
    return reinterpret_cast<HINSTANCE>(INT_PTR(33));
}

std::wstring ClipboardText()
{
    std::wstring text;
    OpenClipboard(nullptr);
    if (HANDLE const memory = GetClipboardData(CF_UNICODETEXT))
        text = static_cast<wchar_t const *>(GlobalLock(memory));
    CloseClipboard();
    return text;
}

} // namespace

TEST(GMDeviceManager, ReadsWhatTheDatabaseSays)
{
    EXPECT_TRUE(GMDeviceManager().GetDeviceInfos(L"NoSuch").empty());
    std::size_t const count = GMDeviceManager().GetDeviceInfos(nullptr).size();
    ImportHook const hook("SetupDiGetDeviceRegistryPropertyW", &GiveProperty);
    struct Row
    {
        DWORD type;
        std::wstring data;
        std::wstring description, hardwareId, kind;
        bool installed;
    };
    Row const rows[] = {
        {REG_SZ, L"no end", L"no end", L"", L"no en", false},
        {REG_EXPAND_SZ, L"a\0b"s, L"a", L"", L"", false},
        {REG_MULTI_SZ, L"a\0b\0\0"s, L"a", L"ab", L"", false},
        {REG_DWORD, L"\0\0"s, L"", L"", L"", true},
        {REG_DWORD, L"\3\0"s, L"\3", L"", L"", true},
        {REG_DWORD, L"\1\0"s, L"\1", L"", L"", false},
        {REG_DWORD, L"\0"s, L"", L"", L"", false},
        {REG_BINARY, L"\0\0"s, L"", L"", L"", false},
        {REG_DWORD, L"", L"", L"", L"", false},
    };
    for (Row const & row : rows)
    {
        s_type = row.type;
        s_data = row.data;
        auto const infos = GMDeviceManager().GetDeviceInfos(nullptr);
        ASSERT_EQ(count, infos.size());
        GMDeviceManager::GMDeviceInfo const & info = infos.at(0);
        EXPECT_EQ(row.description, info.m_description) << row.data;
        EXPECT_EQ(row.hardwareId,
                  std::accumulate(info.m_hardwareIds.begin(), info.m_hardwareIds.end(), L""s));
        EXPECT_EQ(row.kind, info.m_class) << row.data;
        EXPECT_EQ(row.installed, info.m_installed) << row.data;
        EXPECT_EQ(L"--", info.m_classGuid.substr(19, 2));
    }
}

TEST(GMNetbarDetect, LooksForEachKey)
{
    RegistrySandbox const sandbox(HKEY_LOCAL_MACHINE);
    EXPECT_FALSE(GMNetbarDetect().IsNetBar());
    GMRegFile().CreateKey(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Yileyoo", false);
    EXPECT_TRUE(GMNetbarDetect().IsNetBar());
}

TEST(GMSystemUtils, OpensTheFirewall)
{
    RegistrySandbox const sandbox(HKEY_LOCAL_MACHINE);
    ImportHook const shell("ShellExecuteW", &NoteCommand);
    FakeSystem system;
    system.version.dwMajorVersion = 6;
    EXPECT_FALSE(GMSystemUtils::AddAppToFirewall(L"p", L""));
    EXPECT_TRUE(GMSystemUtils::AddAppToFirewall(L"C:\\%s", L"100%n"));
    EXPECT_EQ(L"C:\\windows\\system32\\cmd.exe /c netsh firewall add allowedprogram "
              L"program=\"C:\\%s\" name=\"100%n\" mode=ENABLE scope=ALL",
              s_calls);

    std::wstring const list = L"SYSTEM\\ControlSet001\\Services\\SharedAccess\\Parameters\\"
                              L"FirewallPolicy\\DomainProfile\\AuthorizedApplications\\List";
    GMRegFile rules;
    rules.CreateKey(HKEY_LOCAL_MACHINE, list, false);
    rules.SetValue(L"old", L"stays");
    system.version.dwMajorVersion = 5;
    EXPECT_TRUE(GMSystemUtils::AddAppToFirewall(L"old", L"n"));
    EXPECT_TRUE(GMSystemUtils::AddAppToFirewall(L"new", L"n"));
    EXPECT_EQ(L"stays", rules.GetStringValue(L"old", L""));
    EXPECT_EQ(L"new:*:Enabled:n", rules.GetStringValue(L"new", L""));
}

TEST(GMSystemUtils, PutsTextOnTheClipboard)
{
    FailingCall<0, decltype(&OpenClipboard)> const open("OpenClipboard", FALSE);
    FailingCall<1, decltype(&EmptyClipboard)> const empty("EmptyClipboard", FALSE);
    FailingCall<2, decltype(&GlobalAlloc)> const allocate("GlobalAlloc", nullptr);
    FailingCall<3, decltype(&SetClipboardData)> const set("SetClipboardData", nullptr);
    FailEachCall(
        [](unsigned int call)
        {
            GMSystemUtils::SetClipboardText(L"old");
            FailureScope const failure(call);
            bool const done = GMSystemUtils::SetClipboardText(L"text");
            EXPECT_EQ(g_callsSeen < call, done) << call;
            EXPECT_EQ(done        ? L"text"
                      : call <= 2 ? L"old"
                                  : L"",
                      ClipboardText())
                << call; // it is closed again
        });
    EXPECT_EQ(4u, g_callsSeen);
}

TEST(GMSystemUtils, ListsADropAndNamesErrors)
{
    for (std::wstring const & names : {L""s, L"C:\\a\0C:\\a longer one\0"s})
    {
        HGLOBAL const drop =
            GlobalAlloc(GHND, sizeof(DROPFILES) + (names.size() + 2) * sizeof(wchar_t));
        auto * const files = static_cast<DROPFILES *>(GlobalLock(drop));
        *files = {sizeof *files, {}, FALSE, TRUE};
        std::memcpy(files + 1, names.data(), names.size() * sizeof(wchar_t));
        GlobalUnlock(drop);
        std::wstring listed;
        for (GMString const & path : GMSystemUtils::QueryDropFiles(reinterpret_cast<WPARAM>(drop)))
            listed += path + L'\0';
        EXPECT_EQ(names, listed);
        GlobalFree(drop);
    }
    SetLastError(ERROR_ACCESS_DENIED);
    EXPECT_EQ(L"Access denied", GMSystemUtils::GetSystemErrorDesc(0));
    EXPECT_EQ(L"系统错误码65535", GMSystemUtils::GetSystemErrorDesc(0xFFFF));
    EXPECT_EQ(L"系统错误码0x00010000", GMSystemUtils::GetSystemErrorDesc(0x10000));
}

TEST(GMMachine, EndsTheSessionWithTheRightFlags)
{
    s_calls.clear();
    ImportHook const hook(
        "ExitWindowsEx",
        +[](UINT flags, DWORD) WINAPI -> BOOL
        { return s_calls += std::to_wstring(flags) + L" ", TRUE; });
    EXPECT_TRUE(GMMachine::Reboot() && GMMachine::Logoff() && GMMachine::ShutDown());
    ImportHook const token(
        "OpenProcessToken", +[](HANDLE, DWORD, HANDLE *) WINAPI -> BOOL { return FALSE; });
    EXPECT_FALSE(GMMachine::Reboot());
    EXPECT_EQ(L"2 0 9 ", s_calls);
}

} // namespace Velmora::Testing
