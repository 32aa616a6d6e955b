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
DWORD s_crashed; // the thread

/// In place of the reporter.
HINSTANCE WINAPI NoteReport(HWND, wchar_t const *, wchar_t const * reporter, wchar_t const * line,
                            wchar_t const *, int)
{
    std::wstring text = GetCurrentThreadId() == s_crashed ? L"own " : L"other ";
    text += std::wstring(reporter) + L" " + line;
    WriteBytes(L"report", {reinterpret_cast<char const *>(text.c_str()), text.size() * 2});
    return nullptr;
}

/// Crashes with the code \p argument, whose last digit is the number of the call to fail.
ChildTask const
    crash(L"diagnostics-crash",
          [](std::wstring const & argument) -> int
          {
              DWORD const code = std::stoul(argument);
              s_crashed = GetCurrentThreadId();
              SetEnvironmentVariableW(L"TMP", L"."); // where the dumps lie
              ImportHook const shell("ShellExecuteW", &NoteReport);
              GMMemDumperSingleton::Instance().Install(L"r%s", -7, caption, L"1.2", L"e%s", true,
                                                       &GMMemDumper::DefaultExceptHanler);
              FailingCall<0, decltype(&LoadLibraryW)> const load("LoadLibraryW", nullptr);
              FailingCall<1, decltype(&GetProcAddress)> const find("GetProcAddress", nullptr);
              FailingCall<2, decltype(&GetTempFileNameW)> const name("GetTempFileNameW", 0);
              FailingCall<3, decltype(&CreateFileW)> const open("CreateFileW",
                                                                INVALID_HANDLE_VALUE);
              FailureScope const failure(code % 10);
              if (code == EXCEPTION_ACCESS_VIOLATION)
                  *reinterpret_cast<int volatile *>(std::stoul(L"16")) = 0;
              RaiseException(code, 0, 0, nullptr);
              return 0;
          });

/// \return what the reporter got, with LINE for the command line
std::wstring Crash(DWORD code)
{
    std::wstring line = crash.CommandLine(std::to_wstring(code));
    WriteBytes(L"report", "");
    EXPECT_EQ(code, RunProgram(line));
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
    std::wstring const begin =
        L"own r%s -module=-7 -caption=" + caption + L" -version=1.2 -dumpFile=\"";
    std::wstring const end = L"\" -arguments=\"LINE\" -exeFile=\"e%s\" -background";
    std::wstring const report = Crash(EXCEPTION_ACCESS_VIOLATION);
    ASSERT_EQ(begin, report.substr(0, begin.size()));
    ASSERT_EQ(report.size() - end.size(), report.find(end));
    std::string dump = ReadBytes(report.substr(begin.size(), report.find(end) - begin.size()));
    MINIDUMP_DIRECTORY * directory;
    void * found;
    ASSERT_TRUE(MiniDumpReadDumpStream(dump.data(), ExceptionStream, &directory, &found, nullptr));
    MINIDUMP_EXCEPTION_STREAM stream; // it lies anywhere in a dump
    std::memcpy(&stream, found, sizeof stream);
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, stream.ExceptionRecord.ExceptionCode);
    EXPECT_EQ(L"other ", Crash(EXCEPTION_STACK_OVERFLOW).substr(0, 6));
    for (DWORD call = 1; call <= 4; ++call)
        EXPECT_EQ(L"", Crash(0xE0000010 + call));
    SetCurrentDirectoryW(L"C:\\");
}

TEST(GMMemDumper, CanBeTurnedOff)
{
    RegistrySandbox const sandbox(HKEY_LOCAL_MACHINE);
    GMRegFile key;
    key.CreateKey(HKEY_LOCAL_MACHINE, L"Software\\CrashReporter", false);
    for (DWORD const number : {0, 1, 2})
    {
        key.SetValue(L"NoDump", number);
        EXPECT_EQ(number != 1, GMMemDumper().Install(L"", 0, L"", L"", L"", false, nullptr));
    }
}

} // namespace Velmora::Testing
