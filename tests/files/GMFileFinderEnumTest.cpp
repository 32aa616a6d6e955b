#include "VelmoraCommon/files/GMFileFinderEnum.h"

#include <tuple>

#include <gmock/gmock.h>

#include "VelmoraCommon/files/GMFindFile.h"
#include "tests/support/DirectoryLink.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

/// Notes the calls as text, with the folder's path cut off, and stops the walk at one of them.
struct Recorder : GMFileFinderEnumCallback
{
    Recorder(GMString const & folder, unsigned int stop) : root(folder), stopAt(stop) {}

    int IsStopped() override { return Note(L""); }
    int OnDirectory(GMString & directory) override { return Note(L"[" + Short(directory) + L"] "); }
    int OnFile(GMString & name, GMString & directory) override
    {
        return Note(name + L" in " + Short(directory) + L"; ");
    }
    GMString Short(GMString & path) const
    {
        // The walk isn't disturbed by what becomes of the callback's text.
        return std::exchange(path, L"changed").substr(root.size());
    }
    int Note(GMString const & call)
    {
        calls += call;
        return ++count == stopAt ? 5 : 0;
    }

    GMString root;
    unsigned int stopAt;
    GMString calls;
    unsigned int count = 0;
};

class GMFileFinderEnumTest : public ::testing::Test
{
protected:
    GMFileFinderEnumTest()
    {
        for (wchar_t const * name :
             {L"r", L"b\\1", L"b\\OBJ\\2", L"a\\3", L"a\\x\\4", L"b\\.git\\6", L"obj\\7"})
            m_folder.Write(name);
    }
    TemporaryFolder m_folder;
};

} // namespace

TEST_F(GMFileFinderEnumTest, WalksInOrderAndStops)
{
    // Path, patterns, whether their case is ignored, whether directories below are walked.
    std::tuple<GMString, GMString, bool, bool, GMString> const cases[] = {
        {L"\\a\\", L"", false, true, LR"([\a] 3 in \a\; [\a\x] 4 in \a\x\; )"},
        {L"\\a", L"", false, false, LR"([\a] 3 in \a\; )"},
        {L"", L"*\\.git; *\\obj;*\\B;;", true, true,
         LR"([] r in \; [\a] 3 in \a\; [\a\x] 4 in \a\x\; )"},
        {L"\\b", L"*\\obj; \t*\\.git\r\n", false, true,
         LR"([\b] 1 in \b\; [\b\OBJ] 2 in \b\OBJ\; )"},
        {L"\\obj", L"*\\7;*\\obj", false, true, LR"([\obj] 7 in \obj\; )"},
        {L"/a/3", L"*", false, true, LR"(3 in \a\; )"},
        {L"\\missing", L"", false, true, L""},
    };
    for (auto const & [path, patterns, ignoreCase, recursive, calls] : cases)
    {
        Recorder whole(m_folder.Path(), 0);
        EXPECT_EQ(!calls.empty(), GMFileFinderEnum(&whole, patterns, ignoreCase, recursive)
                                      .Enumerate(m_folder.Path() + path));
        EXPECT_EQ(calls, whole.calls);
        EXPECT_EQ(!calls.empty(), GMFileFinderEnum(nullptr, patterns, ignoreCase, recursive)
                                      .Enumerate(m_folder.Path() + path));
        for (unsigned int stop = 1; stop <= whole.count; ++stop)
        {
            Recorder part(m_folder.Path(), stop);
            EXPECT_FALSE(GMFileFinderEnum(&part, patterns, ignoreCase, recursive)
                             .Enumerate(m_folder.Path() + path));
            EXPECT_EQ(stop, part.count);
        }
    }
}

TEST_F(GMFileFinderEnumTest, FollowsLinksButForLoops)
{
    GMString const tree = m_folder.File(L"a");
    DirectoryLink const toOutside(tree + L"\\out", m_folder.File(L"obj"));
    DirectoryLink const toTree(m_folder.File(L"obj\\back"), tree);
    DirectoryLink const toAbove(tree + L"\\x\\above", m_folder.Path());

    Recorder recorder(m_folder.Path(), 0);
    EXPECT_TRUE(GMFileFinderEnum(&recorder, L"", false, true).Enumerate(tree));
    EXPECT_EQ(LR"([\a] 3 in \a\; [\a\out] 7 in \a\out\; [\a\x] 4 in \a\x\; )", recorder.calls);
    std::map<GMString, std::vector<GMString>> found;
    EXPECT_TRUE(GMFindFile::FindFilesExRecursive(tree, found, {}));
    EXPECT_THAT(found[L""],
                testing::UnorderedElementsAre(tree + L"\\3", tree + L"\\out\\7", tree + L"\\x\\4"));
}

} // namespace Velmora::Testing
