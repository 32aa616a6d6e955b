#include "VelmoraCommon/shell/GMProcessShell.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/support/ChildTask.h"
#include "tests/support/FailingCall.h"
#include "tests/support/HandleCount.h"
#include "tests/support/ImportHook.h"

using namespace std::string_literals;

namespace Velmora::Testing
{

namespace
{

constexpr DWORD oddCode = 0x8BADF00D;
constexpr unsigned long patience = 60000; // milliseconds; only a hang takes that long
constexpr std::size_t large = std::size_t(16) << 20;

/// Bytes that show which of them are lost or twice.
std::string Numbers(std::size_t size)
{
    std::string bytes;
    for (unsigned int i = 0; bytes.size() < size; ++i)
        bytes += std::to_string(i) + ' ';
    bytes.resize(size);
    return bytes;
}

void Write(DWORD stream, std::string const & bytes)
{
    DWORD written = 0;
    WriteFile(GetStdHandle(stream), bytes.data(), DWORD(bytes.size()), &written, nullptr);
}

/// Given seven bytes it sends them back and floods one stream and then the other, so that a reader of
/// one alone would hang. Without input it writes two kilobytes and stays.
ChildTask const
    writer(L"shell-writer",
           [](std::wstring const &) -> int
           {
               char bytes[7];
               DWORD got = 0;
               ReadFile(GetStdHandle(STD_INPUT_HANDLE), bytes, sizeof(bytes), &got, nullptr);
               Write(STD_ERROR_HANDLE, std::string(bytes, got) + Numbers(got == 0 ? 0 : large));
               Write(STD_OUTPUT_HANDLE, std::string(bytes, got) + Numbers(got == 0 ? 2048 : large));
               Sleep(got == 0 ? patience : 0);
               return int(oddCode);
           });

std::wstring s_command;

BOOL WINAPI RefuseProcess(wchar_t const *, wchar_t * command, SECURITY_ATTRIBUTES *,
                          SECURITY_ATTRIBUTES *, BOOL, DWORD, void *, wchar_t const *,
                          STARTUPINFOW *, PROCESS_INFORMATION *)
{
    s_command = command;
    return FALSE;
}

} // namespace

TEST(GMProcessShell, QuotesTheProgramAlone)
{
    ImportHook const create("CreateProcessW", &RefuseProcess);
    EXPECT_FALSE(GMProcessShell(L"C:\\a.exe", L"").Start(""));
    EXPECT_EQ(L"C:\\a.exe", s_command);
    EXPECT_FALSE(GMProcessShell(L"C:\\a b.exe", L"-x \"y\"").Start(""));
    EXPECT_EQ(L"\"C:\\a b.exe\" -x \"y\"", s_command);
}

TEST(GMProcessShell, CatchesAllThatIsWritten)
{
    GMProcessShell shell(L"", writer.CommandLine());
    std::string out = "before ";
    std::string err = out;
    EXPECT_TRUE(shell.ReadJoin(out, err, 100)); // no child
    ASSERT_TRUE(shell.Start("a\0b\r\nc\n"s));
    ASSERT_TRUE(shell.ReadJoin(out, err, patience));
    EXPECT_TRUE("before a\0b\r\nc\n"s + Numbers(large) == out);
    EXPECT_TRUE(out == err);
    EXPECT_FALSE(shell.IsRunning());
    EXPECT_EQ(oddCode, shell.GetExitCode());
}

TEST(GMProcessShell, EndsItsChild)
{
    unsigned int const before = HandleCount();
    {
        GMProcessShell shell(L"", writer.CommandLine());
        EXPECT_TRUE(!shell.IsRunning() && shell.Join(0) && !shell.Terminal(1));
        EXPECT_EQ(0u, shell.GetExitCode());
        ASSERT_TRUE(shell.Start(""));
        std::string out, err;
        EXPECT_FALSE(shell.ReadJoin(out, err, 99));
        EXPECT_EQ("", out);
        while (out.empty())
            EXPECT_FALSE(shell.ReadJoin(out, err, 100));
        EXPECT_EQ(Numbers(2048), out);
        EXPECT_TRUE(shell.IsRunning() && shell.Terminal(7) && shell.Join(patience));
        EXPECT_EQ(7u, shell.GetExitCode());
        shell.Stop(8);
        EXPECT_EQ(before, HandleCount());
        ASSERT_TRUE(shell.Start("")); // anew
    }
    EXPECT_EQ(before, HandleCount());
}

TEST(GMProcessShell, LeavesNothingBehindAFailedStart)
{
    FailingCall<0, decltype(&::CreatePipe)> const pipe("CreatePipe", FALSE);
    FailingCall<1, decltype(&::CreateProcessW)> const process("CreateProcessW", FALSE);
    FailingCall<2, decltype(&::WriteFile)> const write("WriteFile", FALSE);
    unsigned int const before = HandleCount();
    FailEachCall(
        [&](unsigned int call)
        {
            {
                GMProcessShell shell(L"", writer.CommandLine());
                FailureScope const failure(call);
                EXPECT_EQ(call > 5, shell.Start("1234567")) << call;
            }
            EXPECT_EQ(before, HandleCount()) << call;
        });
}

TEST(GMProcessShell, LosesNothingByACallThatFails)
{
    FailingCall<3, decltype(&::PeekNamedPipe)> const peek("PeekNamedPipe", FALSE);
    FailingCall<4, decltype(&::ReadFile)> const read("ReadFile", FALSE);
    FailingCall<5, decltype(&::WaitForSingleObject)> const wait("WaitForSingleObject", WAIT_FAILED);
    unsigned int const before = HandleCount();
    for (unsigned int call = 1; call <= 6; ++call) // the first looks, when the child has only begun
    {
        GMProcessShell shell(L"", L"cmd.exe /c echo text");
        std::string out, err;
        ASSERT_TRUE(shell.Start(""));
        FailureScope const failure(call);
        EXPECT_TRUE(shell.ReadJoin(out, err, patience)) << call;
        EXPECT_EQ("text\r\n", out) << call;
    }
    EXPECT_EQ(before, HandleCount());
}

} // namespace Velmora::Testing
