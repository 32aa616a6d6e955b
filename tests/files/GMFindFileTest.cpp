#include "VelmoraCommon/files/GMFindFile.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include <gmock/gmock.h>

#include "VelmoraCommon/files/GMFileFinderEnum.h"
#include "tests/support/DirectoryLink.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using Names = std::vector<GMString>;
using Map = std::map<GMString, Names>;

class GMFindFileTest : public ::testing::Test
{
protected:
    TemporaryFolder m_folder;
    GMString m_upperText = m_folder.Write(L"a.TXT");
    GMString m_text = m_folder.Write(L"b.txt");
    GMString m_plain = m_folder.Write(L"none", "12345");
    GMString m_deepPlain = m_folder.Write(L"0\\1");
    GMString m_archive = m_folder.Write(L"0\\x.y\\1.tar.Gz");
};

BOOL WINAPI RefuseToClose(HANDLE) { return FALSE; }

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

} // namespace

TEST_F(GMFindFileTest, FindsByPattern)
{
    CreateDirectoryW(m_folder.File(L"d.txt").c_str(), nullptr);
    std::tuple<GMString, std::size_t, Names> const cases[] = {
        {L"?.txt", 3, {m_upperText, m_text}}, // mask, entries, files
        {L"d.txt\\*", 0, {}},                 // but for "." and ".."
        {L"missing\\*", 0, {}},
    };
    for (auto const & [mask, entries, files] : cases)
    {
        std::vector<GMFileInfo> infos;
        EXPECT_EQ(entries != 0, GMFindFile::FindFiles(m_folder.File(mask), infos));
        EXPECT_EQ(entries, infos.size());
        Names paths;
        EXPECT_EQ(!files.empty(), GMFindFile::FindFilesEx(m_folder.Path() + L"\\", mask, paths));
        EXPECT_THAT(paths, testing::UnorderedElementsAreArray(files));
    }
}

TEST_F(GMFindFileTest, HoldsOneSearch)
{
    SetFileAttributesW(m_plain.c_str(), FILE_ATTRIBUTE_READONLY);
    GMFindFile find;
    GMFileInfo info;
    EXPECT_TRUE(find.Close() && !find.FindNext(info));
    ASSERT_TRUE(find.FindFirst(m_folder.File(L"*"), info));
    {
        ImportHook const hook("FindClose", &RefuseToClose);
        EXPECT_FALSE(find.FindFirst(m_plain, info));
        EXPECT_TRUE(find.IsHandleAllocated() && info.IsDots() && !info.IsReadOnly());
    }
    EXPECT_TRUE(find.FindFirst(m_plain, info) && !find.FindNext(info));
    EXPECT_TRUE(info.GetFileName() == L"none" && info.GetSize() == 5 && info.IsReadOnly());
    EXPECT_FALSE(find.FindFirst(m_folder.File(L"missing"), info) || find.IsHandleAllocated());
}

TEST_F(GMFindFileTest, GoesThroughTrees)
{
    Map const all = {
        {L"", {m_deepPlain, m_plain}}, {L".gz", {m_archive}}, {L".txt", {m_upperText, m_text}}};
    std::pair<std::set<GMString>, Map> const cases[] = {
        {{}, all}, {{L".gz", L"txt"}, {*all.find(L".gz")}}, {{L".TXT"}, {}}};
    for (auto const & [extensions, expected] : cases)
    {
        Map found;
        EXPECT_EQ(!expected.empty(),
                  GMFindFile::FindFilesExRecursive(m_folder.Path(), found, extensions));
        for (auto & [extension, paths] : found)
            std::sort(paths.begin(), paths.end());
        EXPECT_EQ(expected, found);
    }
    auto const noteAndLeave = [](GMString const & path, void * noted)
    {
        static_cast<Names *>(noted)->push_back(path);
        return false;
    };
    Names seen; // the first file of each directory
    GMFindFile::FindFilesRecursive(m_folder.Path(), noteAndLeave, &seen);
    EXPECT_EQ((Names{m_deepPlain, m_upperText}), seen);
}

TEST_F(GMFindFileTest, FollowsLinksButForLoops)
{
    GMString const tree = m_folder.File(L"0");
    m_folder.Write(L"beside\\2");
    DirectoryLink const toOutside(tree + L"\\out", m_folder.File(L"beside"));
    DirectoryLink const toTree(m_folder.File(L"beside\\back"), tree);
    DirectoryLink const toAbove(tree + L"\\x.y\\above", m_folder.Path());

    Recorder recorder(tree, 0);
    EXPECT_TRUE(GMFileFinderEnum(&recorder, L"", false, true).Enumerate(tree));
    EXPECT_EQ(LR"([] 1 in \; [\out] 2 in \out\; [\x.y] 1.tar.Gz in \x.y\; )", recorder.calls);
    Map found;
    EXPECT_TRUE(GMFindFile::FindFilesExRecursive(tree, found, {}));
    std::sort(found[L""].begin(), found[L""].end());
    EXPECT_EQ((Map{{L"", {m_deepPlain, tree + L"\\out\\2"}}, {L".gz", {m_archive}}}), found);
}

TEST_F(GMFindFileTest, EnumeratesInOrderAndStops)
{
    for (wchar_t const * name : {L"b\\1", L"b\\OBJ\\2", L"b\\A\\x\\4", L"b\\m\\5", L"b\\.git\\6"})
        m_folder.Write(name);
    // Path, patterns, whether their case is ignored, whether directories below are walked.
    std::tuple<GMString, GMString, bool, bool, GMString> const cases[] = {
        {L"\\b", L"", false, false, LR"([\b] 1 in \b\; )"},
        {L"\\b", L"*\\.git; *\\a;;*\\1\t;*\\M;*\\OBJ ", true, true, LR"([\b] 1 in \b\; )"},
        {L"\\b", L"*\\obj; \t*\\A\r\n;", false, true,
         LR"([\b] 1 in \b\; [\b\.git] 6 in \b\.git\; [\b\OBJ] 2 in \b\OBJ\; [\b\m] 5 in \b\m\; )"},
        {L"/b/1", L"*", false, true, LR"(1 in \b\; )"},
        {L"\\missing", L"", false, true, L""},
    };
    for (auto const & [name, patterns, ignoreCase, recursive, calls] : cases)
    {
        GMString const path = m_folder.Path() + name;
        EXPECT_EQ(!calls.empty(), GMFileFinderEnum(nullptr, patterns, true, true).Enumerate(path));
        Recorder whole(m_folder.Path(), 0);
        GMFileFinderEnum finder(&whole, patterns, ignoreCase, recursive);
        EXPECT_EQ(!calls.empty(), finder.Enumerate(path));
        EXPECT_EQ(calls, whole.calls);
        for (unsigned int stop = 1; stop <= whole.count; ++stop)
        {
            Recorder part(m_folder.Path(), stop);
            GMFileFinderEnum stopped(&part, patterns, ignoreCase, recursive);
            EXPECT_FALSE(stopped.Enumerate(path));
            EXPECT_EQ(stop, part.count);
        }
    }
}

} // namespace Velmora::Testing
