#include "VelmoraCommon/files/GMFindFile.h"

#include <algorithm>
#include <tuple>

#include <gmock/gmock.h>

#include "VelmoraCommon/files/GMFile.h"
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
    GMString m_text = m_folder.Write(L"a.TXT");
    GMString m_lowerText = m_folder.Write(L"b.txt");
    GMString m_plain = m_folder.Write(L"none", "12345");
    GMString m_archive = m_folder.Write(L"0\\x.y\\1.tar.Gz");
    GMString m_deepPlain = m_folder.Write(L"0\\1");
};

BOOL WINAPI RefuseToClose(HANDLE) { return FALSE; }

} // namespace

TEST_F(GMFindFileTest, FindsByPattern)
{
    CreateDirectoryW(m_folder.File(L"d.txt").c_str(), nullptr);
    std::tuple<GMString, std::size_t, Names> const cases[] = {
        {L"*", 5, {m_text, m_lowerText, m_plain}}, // mask, entries, files
        {L"?.txt", 3, {m_text, m_lowerText}},
        {L"d*", 1, {}},
        {L"d.txt\\*", 0, {}}, // but for "." and ".."
        {L"missing\\*", 0, {}},
    };
    for (auto const & [mask, entries, files] : cases)
    {
        std::vector<GMFileInfo> infos;
        EXPECT_EQ(entries != 0, GMFindFile::FindFiles(m_folder.File(mask), infos));
        EXPECT_EQ(entries, infos.size());
        Names paths;
        EXPECT_EQ(!files.empty(),
                  GMFindFile::FindFilesEx(L"\"" + m_folder.Path() + L"\\\"", mask, paths));
        EXPECT_THAT(paths, testing::UnorderedElementsAreArray(files));
    }
}

TEST_F(GMFindFileTest, HoldsOneSearch)
{
    FILETIME const times[] = {{1, 0x1D00000}, {2, 0x1D10000}, {3, 0x1D20000}};
    GMFile file;
    file.Create(m_plain, GENERIC_WRITE, 0, OPEN_EXISTING, 0);
    EXPECT_TRUE(file.SetTime(times[0], times[1], times[2]) && file.Close());
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
    EXPECT_TRUE(info.GetFileName() == L"none" && info.GetSize() == 5);
    EXPECT_EQ(0, CompareFileTime(&times[1], &info.GetAccessTime()));
    EXPECT_EQ(0, CompareFileTime(&times[2], &info.GetModifyTime()));
    EXPECT_TRUE(info.IsReadOnly() && !info.IsDir());
    EXPECT_FALSE(find.FindFirst(m_folder.File(L"missing"), info) || find.IsHandleAllocated());
}

TEST_F(GMFindFileTest, GoesThroughTrees)
{
    Map const all = {
        {L"", {m_deepPlain, m_plain}}, {L".gz", {m_archive}}, {L".txt", {m_text, m_lowerText}}};
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
        found[L"old"];
        EXPECT_TRUE(GMFindFile::FindFilesExRecursive(L"missing", found, extensions));
    }

    Names seen; // the first file of each directory
    GMFindFile::FindFilesRecursive(
        m_folder.Path(),
        [](GMString const & path, void * noted)
        {
            static_cast<Names *>(noted)->push_back(path);
            return false;
        },
        &seen);
    EXPECT_EQ((Names{m_deepPlain, m_text}), seen);
}

} // namespace Velmora::Testing
