// Crashes of child processes.
#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "VelmoraCommon/diagnostics/GMMemDumperSingleton.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ChildTask.h"
#include "tests/support/FailingCall.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"

#include <dbghelp.h>

namespace Velmora::Testing
{

namespace
{

std::wstring const caption(60000, L'%');
std::wstring s_report;

/// In place of the system's, which takes seconds: notes whether the thread is the one that crashed.
BOOL WINAPI FakeDump(HANDLE, DWORD, HANDLE, MINIDUMP_TYPE, MINIDUMP_EXCEPTION_INFORMATION * crash,
                     MINIDUMP_USER_STREAM_INFORMATION *, MINIDUMP_CALLBACK_INFORMATION *)
{
    s_report = GetCurrentThreadId() == crash->ThreadId ? L"own " : L"other ";
    return g_callToFail == 0 || ++g_callsSeen != g_callToFail;
}

FARPROC WINAPI FindFake(HMODULE module, char const * name)
{
    if (std::strcmp(name, "MiniDumpWriteDump") == 0)
        return reinterpret_cast<FARPROC>(reinterpret_cast<void *>(&FakeDump));
    return GetProcAddress(module, name);
}

/// In place of the reporter.
HINSTANCE WINAPI NoteReport(HWND, wchar_t const *, wchar_t const * reporter, wchar_t const * line,
                            wchar_t const *, int)
{
    s_report += std::wstring(reporter) + L" " + line;
    WriteBytes(L"report", {reinterpret_cast<char const *>(s_report.data()),
                           s_report.size() * sizeof(wchar_t)});
    return nullptr;
}

/// Crashes with the code \p argument: really if that is 0, and otherwise with a dump in name only.
/// The last digit is the number of the call to fail; 5 and 0 stand for none.
ChildTask const
    crash(L"diagnostics-crash",
          [](std::wstring const & argument) -> int
          {
              DWORD const code = std::stoul(argument);
              ImportHook const shell("ShellExecuteW", &NoteReport);
              GMMemDumperSingleton::Instance().Install(L"r%s", -7, code == 0 ? L"a b" : caption,
                                                       L"1.2", code == 0 ? L"" : L"e%s", code != 0,
                                                       &GMMemDumper::DefaultExceptHanler);
              if (code == 0)
                  *reinterpret_cast<int volatile *>(std::stoul(L"16")) = 0;
              FailingCall<0, decltype(&LoadLibraryW)> const load("LoadLibraryW", nullptr);
              FailingCall<1, decltype(&GetTempFileNameW)> const name("GetTempFileNameW", 0);
              FailingCall<2, decltype(&CreateFileW)> const open("CreateFileW",
                                                                INVALID_HANDLE_VALUE);
              ImportHook const find("GetProcAddress", &FindFake);
              FailureScope const failure(code % 10);
              RaiseException(code, 0, 0, nullptr);
              return 0;
          });

/// \return what the reporter got, with LINE for the command line
std::wstring Crash(DWORD code)
{
    std::wstring line = crash.CommandLine(std::to_wstring(code));
    WriteBytes(L"report", "");
    EXPECT_EQ(code == 0 ? EXCEPTION_ACCESS_VIOLATION : code, RunProgram(line));
    std::string const bytes = ReadBytes(L"report");
    std::wstring report(reinterpret_cast<wchar_t const *>(bytes.data()), bytes.size() / 2);
    std::replace(line.begin(), line.end(), L'"', L'\'');
    auto const at = report.find(line);
    return at == report.npos ? report : report.replace(at, line.size(), L"LINE");
}

} // namespace

TEST(GMMemDumper, ReportsACrashAndEndsTheProcess)
{
    TemporaryFolder const folder;
    SetCurrentDirectoryW(folder.Path().c_str());
    wchar_t temporary[MAX_PATH] = {};
    GetEnvironmentVariableW(L"TMP", temporary, MAX_PATH);
    SetEnvironmentVariableW(L"TMP", folder.Path().c_str()); // where the dumps lie
    std::wstring report = Crash(0);
    std::wstring const before = L"r%s -module=-7 -caption=a b -version=1.2 -dumpFile=\"";
    std::wstring const after = L"\" -arguments=\"LINE\"";
    ASSERT_EQ(before, report.substr(0, before.size()));
    ASSERT_EQ(report.size() - after.size(), report.rfind(after));
    report.resize(report.size() - after.size());
    std::string const dump = ReadBytes(report.substr(before.size()));
    auto const number = [&dump](std::size_t at)
    {
        DWORD value = 0;
        dump.copy(reinterpret_cast<char *>(&value), sizeof value, at);
        return value;
    };
    // At 12 the place of a directory with type, size and place of each stream.
    std::size_t stream = number(12);
    while (number(stream) != ExceptionStream && stream < dump.size() - sizeof(MINIDUMP_DIRECTORY))
        stream += sizeof(MINIDUMP_DIRECTORY);
    EXPECT_EQ("MDMP", dump.substr(0, 4));
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, number(number(stream + 8) + 8));

    std::wstring const begin = L"own r%s -module=-7 -caption=" + caption;
    std::wstring const end = L"\" -arguments=\"LINE\" -exeFile=\"e%s\" -background";
    report = Crash(0xE0000010);
    EXPECT_EQ(begin, report.substr(0, begin.size()));
    EXPECT_EQ(report.size() - end.size(), report.rfind(end));
    for (DWORD call = 1; call <= 4; ++call)
        EXPECT_EQ(L"", Crash(0xE0000010 + call));
    EXPECT_EQ(L"other ", Crash(EXCEPTION_STACK_OVERFLOW).substr(0, 6));
    SetCurrentDirectoryW(L"C:\\");
    SetEnvironmentVariableW(L"TMP", temporary);
}

TEST(GMMemDumper, CanBeTurnedOff)
{
    RegistrySandbox const sandbox(HKEY_LOCAL_MACHINE);
    GMMemDumper::Filter const filter = +[](_EXCEPTION_POINTERS *) WINAPI -> long { return 0; };
    GMMemDumper::Filter const former = SetUnhandledExceptionFilter(nullptr);
    GMRegFile key;
    key.CreateKey(HKEY_LOCAL_MACHINE, L"Software\\CrashReporter", false);
    for (DWORD const number : {0, 1, 2})
    {
        key.SetValue(L"NoDump", number);
        EXPECT_EQ(number != 1, GMMemDumper().Install(L"", 0, L"", L"", L"", false, filter));
        EXPECT_EQ(number != 1 ? filter : nullptr, SetUnhandledExceptionFilter(nullptr));
    }
    SetUnhandledExceptionFilter(former);
}

} // namespace Velmora::Testing
