#include <filesystem>

#include "VelmoraCommon/files/GMFile.h"
#include "tests/support/DirectoryLink.h"
#include "tests/support/HostShell.h"
#include "tests/tools/ToolTest.h"

namespace Velmora::Testing
{

using Treecopy = ToolTest;

TEST_F(Treecopy, CopiesAllThatIsThere)
{
    std::pair<std::wstring, std::string> const files[] = {{L"\\big", std::string(3000000, 'b')},
                                                          {L"\\a\\\x4E2D\xD83D\xDE00", "deep"}};
    for (auto const & [name, bytes] : files)
        SetFileAttributesW(m_folder.Write(L"from" + name, bytes).c_str(), FILE_ATTRIBUTE_READONLY);
    auto const time = std::filesystem::last_write_time(L"C:\\windows\\notepad.exe");
    std::filesystem::last_write_time(m_folder.Write(L"from\\0"), time);
    m_folder.Write(L"to\\kept");
    m_folder.Write(L"to\\a\\~treecopy-000000010000000200000003-4.tmp"); // of a copy that was killed
    for (int run = 0; run < 2; ++run) // the second one finds read-only files in its way
        Run(0, L"treecopy", L"--workers 3 from to\\", "3 of 3 files, 2.9MB of 2.9MB copied");
    for (auto const & [name, bytes] : files)
        EXPECT_EQ(bytes, ReadBytes(L"to" + name));
    EXPECT_TRUE(time == std::filesystem::last_write_time(L"to\\0"));
    std::filesystem::recursive_directory_iterator const entries(L"to"), end;
    EXPECT_EQ(5, std::distance(entries, end)) << "with what was there, and without temporary files";
    if (std::string const root = HostPath(L"C:\\"); !root.empty())
    {
        std::string const drive = root + "/../dosdevices/q:";
        RunOnHost("ln -s '" + HostPath(m_folder.File(L"to")) + "' '" + drive + "'");
        Run(0, L"treecopy", L"from Q:\\", "3 of 3 files");
        RunOnHost("rm '" + drive + "'");
    }
}

TEST_F(Treecopy, NamesWhatFails)
{
    for (wchar_t const * name : {L"from\\good", L"from\\locked", L"from\\way\\inside",
                                 L"from\\taken", L"to\\way", L"to\\taken\\inside", L"else\\where"})
        m_folder.Write(name);
    DirectoryLink const circle(m_folder.File(L"from\\circle"), m_folder.Path() + L"\\from");
    DirectoryLink const target(m_folder.File(L"from\\target"), m_folder.Path() + L"\\to");
    DirectoryLink const link(m_folder.File(L"from\\link"), m_folder.Path() + L"\\else");
    GMFile lock;
    lock.Create(L"from\\locked", GENERIC_READ, 0, OPEN_EXISTING, 0);
    Run(1, L"treecopy", L"--workers 1 from to", "2 of 4 files", "5 failures",
        "from\\circle: left out, a link that", "from\\target: left out, a link leads",
        "to\\way: ", "from\\locked: Sharing violation", "to\\taken: ");
    EXPECT_TRUE(std::filesystem::exists(L"to\\link\\where"));
    for (wchar_t const * arguments :
         {L"from from\\way\\new", L"from from\\circle\\x", L"from .\\FROM", L"missing to"})
        Run(3, L"treecopy", arguments, ": ");
    EXPECT_FALSE(std::filesystem::exists(L"from\\way\\new"));
}

} // namespace Velmora::Testing
