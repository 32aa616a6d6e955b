#include "VelmoraCommon/files/GMFindFile.h"

#include <algorithm>
#include <tuple>

#include <gmock/gmock.h>

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using testing::UnorderedElementsAreArray;
using Names = std::vector<GMString>;
using Map = std::map<GMString, Names>;

class GMFindFileTest : public ::testing::Test
{
protected:
    GMFindFileTest()
    {
        for (wchar_t const * file : {L"a.TXT", L"b.txt", L"none", L"d.txt\\x.y\\1.tar.Gz", L"e\\1"})
        {
            GMFilePathUtils::CreateDirectories(GMFileName::GetDirectory(m_folder.File(file)));
            WriteBytes(m_folder.File(file), "");
        }
    }

    Names Full(Names paths) const
    {
        for (GMString & path : paths)
            path = m_folder.File(path);
        return paths;
    }

    TemporaryFolder m_folder;
};

BOOL WINAPI RefuseToClose(HANDLE) { return FALSE; }

} // namespace

TEST_F(GMFindFileTest, FindsByPattern)
{
    CreateDirectoryW(m_folder.File(L"e\\empty").c_str(), nullptr);
    std::tuple<GMString, Names, Names> const cases[] = {
        // mask, directories, files
        {L"*", {L"d.txt", L"e"}, {L"a.TXT", L"b.txt", L"none"}},
        {L"?.txt", {L"d.txt"}, {L"a.TXT", L"b.txt"}},
        {L"d*", {L"d.txt"}, {}},
        {L"e\\empty\\*", {}, {}}, // but for "." and ".."
        {L"missing\\*", {}, {}},
    };
    for (auto const & [mask, directories, files] : cases)
    {
        SCOPED_TRACE(testing::PrintToString(mask));
        Names expected = files;
        expected.insert(expected.end(), directories.begin(), directories.end());
        std::vector<GMFileInfo> infos;
        EXPECT_EQ(!expected.empty(), GMFindFile::FindFiles(m_folder.File(mask), infos));
        Names names;
        for (GMFileInfo const & info : infos)
            names.push_back(info.GetFileName());
        EXPECT_THAT(names, UnorderedElementsAreArray(expected));

        Names paths;
        GMString const directory = L"\"" + m_folder.Path() + L"\\\"";
        EXPECT_EQ(!files.empty(), GMFindFile::FindFilesEx(directory, mask, paths));
        EXPECT_THAT(paths, UnorderedElementsAreArray(Full(files)));
        paths.push_back(L"old");
        EXPECT_TRUE(GMFindFile::FindFilesEx(L"missing", mask, paths));
    }
}

TEST_F(GMFindFileTest, TellsWhatTheDirectoryRecords)
{
    GMString const path = m_folder.File(L"none");
    FILETIME const times[] = {{2, 0x1D10000}, {3, 0x1D20000}};
    LARGE_INTEGER size;
    size.QuadPart = 5000000000; // more than 32 bits
    {
        ScopedFile const file(
            CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        ASSERT_TRUE(SetFilePointerEx(file.Get(), size, nullptr, FILE_BEGIN));
        ASSERT_TRUE(SetEndOfFile(file.Get()));
        ASSERT_TRUE(SetFileTime(file.Get(), nullptr, &times[0], &times[1]));
    }
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
    GMFileInfo info;
    ASSERT_TRUE(GMFindFile::FindFile(path, info));
    EXPECT_EQ(static_cast<unsigned __int64>(size.QuadPart), info.GetSize());
    EXPECT_EQ(0, CompareFileTime(&times[0], &info.GetAccessTime()));
    EXPECT_EQ(0, CompareFileTime(&times[1], &info.GetModifyTime()));
    EXPECT_EQ(GetFileAttributesW(path.c_str()), info.GetAttribuite());
    EXPECT_TRUE(info.IsReadOnly() && !info.IsDir() && !info.IsDots());
}

TEST_F(GMFindFileTest, HoldsOneSearch)
{
    GMFindFile find;
    GMFileInfo info;
    EXPECT_TRUE(find.Close());
    EXPECT_FALSE(find.FindNext(info));
    ASSERT_TRUE(find.FindFirst(m_folder.File(L"*"), info));
    EXPECT_TRUE(info.IsDots());
    {
        ImportHook const hook("FindClose", &RefuseToClose);
        EXPECT_FALSE(find.Close());
        EXPECT_FALSE(find.FindFirst(m_folder.File(L"none"), info));
        EXPECT_TRUE(find.IsHandleAllocated() && info.IsDots());
    }
    ASSERT_TRUE(find.FindFirst(m_folder.File(L"none"), info));
    EXPECT_FALSE(find.FindNext(info));
    EXPECT_EQ(L"none", info.GetFileName());
    EXPECT_FALSE(find.FindFirst(m_folder.File(L"missing"), info));
    EXPECT_FALSE(find.IsHandleAllocated());
}

TEST_F(GMFindFileTest, GoesThroughTrees)
{
    Map const all = {{L"", Full({L"e\\1", L"none"})},
                     {L".gz", Full({L"d.txt\\x.y\\1.tar.Gz"})},
                     {L".txt", Full({L"a.TXT", L"b.txt"})}};
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
        found[L"old"]; // counts
        EXPECT_TRUE(GMFindFile::FindFilesExRecursive(L"missing", found, extensions));
    }

    Names left; // at its first file
    GMFindFile::FindFilesRecursive(
        m_folder.Path(),
        [](GMString const & path, void * noted)
        {
            static_cast<Names *>(noted)->push_back(GMFileName::GetDirectory(path));
            return false;
        },
        &left);
    EXPECT_EQ(1, std::count(left.begin(), left.end(), m_folder.Path()));
}

} // namespace Velmora::Testing
