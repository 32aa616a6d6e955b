#include "VelmoraCommon/files/GMFileFinderEnum.h"

#include <gmock/gmock.h>

#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFindFile.h"
#include "tests/support/DirectoryLink.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

/// Notes the calls as text, with the folder's path cut off, and stops the walk at one of them.
class Recorder : public GMFileFinderEnumCallback
{
public:
    Recorder(GMString const & root, unsigned int stopAt) : m_root(root), m_stopAt(stopAt) {}

    int IsStopped() override { return Note(L""); }
    int OnDirectory(GMString & directory) override { return Note(L"[" + Short(directory) + L"]"); }
    int OnFile(GMString & name, GMString & directory) override
    {
        return Note(name + L" in " + Short(directory));
    }

    GMString calls;
    unsigned int count = 0;

private:
    GMString Short(GMString & path) const
    {
        EXPECT_EQ(0u, path.find(m_root));
        GMString const rest = path.substr(m_root.size());
        path = L"changed"; // which mustn't disturb the walk
        return rest;
    }
    int Note(GMString const & call)
    {
        calls += call.empty() ? L"" : call + L"; ";
        return ++count == m_stopAt ? 5 : 0;
    }

    GMString m_root;
    unsigned int m_stopAt;
};

decltype(FindFirstFileExW) * s_find;
HANDLE WINAPI DenyObj(wchar_t const * pattern, FINDEX_INFO_LEVELS level, void * data,
                      FINDEX_SEARCH_OPS operation, void * filter, DWORD flags)
{
    if (GMString(pattern).find(L"\\obj\\") == GMString::npos)
        return s_find(pattern, level, data, operation, filter, flags);
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

class GMFileFinderEnumTest : public ::testing::Test
{
protected:
    GMFileFinderEnumTest()
    {
        for (wchar_t const * file :
             {L"r", L"b\\1", L"b\\OBJ\\2", L"a\\3", L"a\\x\\4", L"b\\.git\\6", L"obj\\7"})
        {
            GMString const path = m_folder.File(file);
            GMFilePathUtils::CreateDirectories(path.substr(0, path.rfind(L'\\')));
            WriteBytes(path, "");
        }
    }

    TemporaryFolder m_folder;
};

} // namespace

TEST_F(GMFileFinderEnumTest, WalksInOrderAndStops)
{
    struct Case
    {
        wchar_t const * path;
        wchar_t const * patterns;
        bool ignoreCase;
        bool recursive;
        wchar_t const * calls;
    };
    Case const cases[] = {
        {L"\\a\\", L"", false, true, L"[\\a]; 3 in \\a\\; [\\a\\x]; 4 in \\a\\x\\; "},
        {L"\\a", L"", false, false, L"[\\a]; 3 in \\a\\; "},
        {L"", L"*\\.git; *\\obj;*\\B;;", true, true,
         L"[]; r in \\; [\\a]; 3 in \\a\\; [\\a\\x]; 4 in \\a\\x\\; "},
        {L"", L"*\\obj; \t*\\a\r\n", false, true,
         L"[]; r in \\; [\\b]; 1 in \\b\\; [\\b\\.git]; 6 in \\b\\.git\\; [\\b\\OBJ]; 2 in "
         L"\\b\\OBJ\\; "},
        {L"\\obj", L"*\\7;*\\obj", false, true, L"[\\obj]; 7 in \\obj\\; "},
        {L"/a/3", L"*", false, true, L"3 in \\a\\; "},
    };
    for (Case const & each : cases)
    {
        unsigned int all = 0;
        for (unsigned int stopAt = 0; stopAt <= all; ++stopAt) // at first never
        {
            SCOPED_TRACE(testing::PrintToString(each.calls));
            Recorder recorder(m_folder.Path(), stopAt);
            GMFileFinderEnum finder(&recorder, each.patterns, each.ignoreCase, each.recursive);
            EXPECT_EQ(stopAt == 0, finder.Enumerate(m_folder.Path() + each.path));
            if (stopAt == 0)
            {
                EXPECT_EQ(each.calls, recorder.calls);
                all = recorder.count;
            }
            else
                EXPECT_EQ(stopAt, recorder.count);
        }
    }
}

TEST_F(GMFileFinderEnumTest, PassesOverWhatItCannotRead)
{
    ImportHook const hook("FindFirstFileExW", &DenyObj, s_find);
    Recorder recorder(m_folder.Path(), 0);
    GMFileFinderEnum finder(&recorder, L"*\\b", true, true);
    EXPECT_TRUE(finder.Enumerate(m_folder.Path()));
    EXPECT_EQ(L"[]; r in \\; [\\a]; 3 in \\a\\; [\\a\\x]; 4 in \\a\\x\\; [\\obj]; ",
              recorder.calls);
    EXPECT_FALSE(finder.Enumerate(L""));
    EXPECT_FALSE(finder.Enumerate(m_folder.File(L"missing")));
    EXPECT_TRUE(GMFileFinderEnum(nullptr, L"", false, true).Enumerate(m_folder.Path()));
}

TEST_F(GMFileFinderEnumTest, FollowsLinksButForLoops)
{
    GMString const tree = m_folder.File(L"a");
    DirectoryLink const toOutside(tree + L"\\out", m_folder.File(L"obj"));
    DirectoryLink const toTree(m_folder.File(L"obj\\back"), tree);
    DirectoryLink const toAbove(tree + L"\\x\\above", m_folder.Path());

    Recorder recorder(m_folder.Path(), 0);
    EXPECT_TRUE(GMFileFinderEnum(&recorder, L"", false, true).Enumerate(tree));
    EXPECT_EQ(L"[\\a]; 3 in \\a\\; [\\a\\out]; 7 in \\a\\out\\; [\\a\\x]; 4 in \\a\\x\\; ",
              recorder.calls);
    std::map<GMString, std::vector<GMString>> found;
    EXPECT_TRUE(GMFindFile::FindFilesExRecursive(tree, found, {}));
    EXPECT_THAT(found[L""],
                testing::UnorderedElementsAre(tree + L"\\3", tree + L"\\out\\7", tree + L"\\x\\4"));
}

} // namespace Velmora::Testing
