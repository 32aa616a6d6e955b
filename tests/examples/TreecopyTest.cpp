#include <gtest/gtest.h>

#include <cwchar>
#include <string>

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFindFile.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ChildTask.h"
#include "tests/support/DirectoryLink.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

class Treecopy : public ::testing::Test
{
protected:
    Treecopy() { SetCurrentDirectoryW(m_folder.Path().c_str()); }
    ~Treecopy() override { SetCurrentDirectoryW(L"C:\\"); }

    void ExpectRun(DWORD code, wchar_t const * arguments, std::initializer_list<char const *> says)
    {
        EXPECT_EQ(code, RunProgram(m_program + arguments, L"output"));
        std::string const output = ReadBytes(L"output");
        for (char const * text : says)
            EXPECT_NE(std::string::npos, output.find(text)) << text << "\n" << output;
        EXPECT_NE('\r', output[0]) << "progress without a console";
    }

    std::vector<GMString> Copied()
    {
        std::vector<GMString> entries;
        GMFilePathUtils::GetAllSons(L"to", entries);
        return entries;
    }

    TemporaryFolder m_folder; // the current directory
    std::wstring m_program = ProgramBeside(L"treecopy.exe") + L" ";
};

} // namespace

TEST_F(Treecopy, CopiesAllThatIsThere)
{
    std::pair<GMString, std::string> const files[] = {
        {L"\\big", std::string(3000000, 'b')}, {L"\\a\\\x4E2D\xD83D\xDE00", "deep"}, {L"\\0", ""}};
    for (auto const & [name, bytes] : files)
        SetFileAttributesW(m_folder.Write(L"from" + name, bytes).c_str(), FILE_ATTRIBUTE_READONLY);
    CreateDirectoryW(L"from\\none", nullptr);
    m_folder.Write(L"to\\big", "old");
    m_folder.Write(L"to\\kept");
    ExpectRun(0, L"--workers 3 from to\\", {"3 of 3 files, 2.9MB of 2.9MB copied into 3 dir"});
    for (auto const & [name, bytes] : files)
    {
        GMFileInfo from, to;
        EXPECT_EQ(bytes, ReadBytes(L"to" + name));
        EXPECT_TRUE(GMFindFile::FindFile(L"from" + name, from));
        EXPECT_TRUE(GMFindFile::FindFile(L"to" + name, to) && to.IsReadOnly());
        EXPECT_EQ(0, CompareFileTime(&from.GetModifyTime(), &to.GetModifyTime()));
    }
    EXPECT_EQ(5u, Copied().size()) << "with what was there, and without temporary files";
}

TEST_F(Treecopy, NamesWhatFails)
{
    for (wchar_t const * name : {L"from\\good", L"from\\locked", L"from\\way\\inside",
                                 L"from\\taken", L"to\\way", L"to\\taken\\inside"})
        m_folder.Write(name);
    DirectoryLink const link(m_folder.File(L"from\\link"), m_folder.File(L"from"));
    GMFile lock;
    lock.Create(L"from\\locked", GENERIC_READ, 0, OPEN_EXISTING, 0);
    ExpectRun(1, L"from to",
              {"from\\locked: Sharing violation (code 32)",
               "to\\way: ", "to\\taken: ", "from\\link: left out", "1 of 3 files", "3 failures"});
    EXPECT_EQ(3u, Copied().size()) << "without temporary files";
}

TEST_F(Treecopy, RefusesBeforeAnythingIsCopied)
{
    m_folder.Write(L"from\\sub\\f");
    DirectoryLink const link(m_folder.File(L"link"), m_folder.File(L"from\\sub"));
    for (wchar_t const * arguments :
         {L"from from\\sub\\new\\deeper", L"from .\\FROM", L"from\\sub from", L"from link\\new",
          L"missing to", L"from \"\""})
        ExpectRun(1, arguments, {": "});
    for (wchar_t const * arguments :
         {L"from", L"--workers 0 from to", L"--workers 65 from to", L"--no from to"})
        ExpectRun(2, arguments, {"treecopy [--workers N]"});
    EXPECT_TRUE(Copied().empty());
    EXPECT_FALSE(GMFilePathUtils::IsExists(L"from\\sub\\new"));
}

namespace
{

/// In a process with a console of its own: starts \p command on it, waits until it tells of a file
/// copied, and presses Ctrl+C. \return the exit code, and 100 if the console showed the progress
int InterruptCopy(std::wstring const & command)
{
    AllocConsole();
    GMFile console;
    console.Create(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_WRITE, OPEN_EXISTING, 0);
    SetHandleInformation(console.GetHandle(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    SetStdHandle(STD_OUTPUT_HANDLE, console.GetHandle());
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    std::wstring line = command;
    CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                   &started);
    bool progress = false;
    while (!progress && WaitForSingleObject(started.hProcess, 10) == WAIT_TIMEOUT)
    {
        wchar_t shown[40] = {};
        DWORD read;
        ReadConsoleOutputCharacterW(console.GetHandle(), shown, 39, COORD(), &read);
        progress = shown[0] >= L'1' && std::wcsstr(shown, L" of 40 files, ") != nullptr;
    }
    SetConsoleCtrlHandler(nullptr, TRUE); // not for this process
    GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    WaitForSingleObject(started.hProcess, 60000);
    DWORD code = 250;
    GetExitCodeProcess(started.hProcess, &code);
    return static_cast<int>(code) + (progress ? 100 : 0);
}
ChildTask const interruptCopy(L"InterruptCopy", &InterruptCopy);

} // namespace

TEST_F(Treecopy, LeavesWholeFilesWhenStopped)
{
    constexpr unsigned __int64 size = 64 << 20; // so that the stop comes in the middle of one
    CreateDirectoryW(L"from", nullptr);
    for (int i = 0; i < 40; ++i)
    {
        GMFile file;
        file.Create(L"from\\" + std::to_wstring(i), GENERIC_WRITE, 0, CREATE_NEW, 0);
        EXPECT_TRUE(file.SetLength(size));
    }
    EXPECT_EQ(103u, RunProgram(interruptCopy.CommandLine(m_program + L"--workers 1 from to")));
    EXPECT_LT(Copied().size(), 40u);
    for (GMString const & path : Copied())
        EXPECT_EQ(size, GMFilePathUtils::FileSize(path)) << testing::PrintToString(path);
}

} // namespace Velmora::Testing
