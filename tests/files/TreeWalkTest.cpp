#include <filesystem>
#include <map>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "VelmoraCommon/files/GMFileFinderEnum.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/files/GMFindFile.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

constexpr DWORD noTag = 0;
constexpr DWORD mountPoint = IO_REPARSE_TAG_MOUNT_POINT;
constexpr DWORD cloudFolder = 0x9000601A;

decltype(FindFirstFileW) * s_first;
decltype(FindNextFileW) * s_next;
decltype(GetFileAttributesW) * s_attributes;
DWORD s_tag;                   // of each entry whose name begins with "tagged"
unsigned int s_callsToSucceed; // of FindNextFileW

bool IsTagged(GMString const & path)
{
    return GMFilePathUtils::FileName(path).compare(0, 6, L"tagged") == 0;
}

void Tag(WIN32_FIND_DATAW * entry)
{
    if (!IsTagged(entry->cFileName))
        return;
    entry->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    entry->dwReserved0 = s_tag;
    entry->nFileSizeLow = 0; // as a link has none of its own
}

HANDLE WINAPI FirstTagged(wchar_t const * path, WIN32_FIND_DATAW * entry)
{
    HANDLE const find = s_first(path, entry);
    Tag(entry);
    return find;
}

BOOL WINAPI NextTagged(HANDLE find, WIN32_FIND_DATAW * entry)
{
    if (s_callsToSucceed-- == 0)
    {
        SetLastError(ERROR_CRC);
        return FALSE;
    }
    BOOL const isFound = s_next(find, entry);
    Tag(entry);
    return isFound;
}

DWORD WINAPI AttributesTagged(wchar_t const * path)
{
    DWORD const attributes = s_attributes(path);
    return attributes != INVALID_FILE_ATTRIBUTES && IsTagged(path)
               ? attributes | FILE_ATTRIBUTE_REPARSE_POINT
               : attributes;
}

/// A tree with tagged entries, as a system shows it that has reparse points.
class TreeWalkTest : public testing::Test
{
protected:
    TreeWalkTest()
    {
        s_tag = noTag;
        s_callsToSucceed = 1000;
    }

    TemporaryFolder const folder;

private:
    ImportHook const m_first{"FindFirstFileW", &FirstTagged, s_first};
    ImportHook const m_next{"FindNextFileW", &NextTagged, s_next};
    ImportHook const m_attributes{"GetFileAttributesW", &AttributesTagged, s_attributes};
};

} // namespace

TEST_F(TreeWalkTest, TellsLinksByTheirTags)
{
    for (DWORD const tag : {noTag, mountPoint, cloudFolder})
    {
        SCOPED_TRACE(tag);
        bool const isLink = tag != cloudFolder;
        for (GMString const top : {L"tree", L"tagged"})
        {
            SCOPED_TRACE(testing::PrintToString(top));
            GMString const kept = folder.Write(top + L"\\tagged folder\\f", "12345");
            folder.Write(top + L"\\plain", "123");
            s_tag = tag;
            // Both are read and copied; what is deleted is a link's own place alone, which these
            // that are none don't have.
            EXPECT_EQ(8u, GMFilePathUtils::FileSizeRecursive(folder.File(top)));
            EXPECT_EQ(!isLink, GMFileSystemUtils::RemoveDirectoryWithSubItems(folder.File(top)));
            EXPECT_EQ(isLink, GMFilePathUtils::IsExistsFile(kept));
            EXPECT_EQ(isLink && top == L"tagged",
                      GMFilePathUtils::IsExistsFile(folder.File(top + L"\\plain")));
        }
    }
    s_tag = IO_REPARSE_TAG_SYMLINK;
    folder.Write(L"files\\tagged file", "12345"); // the size is that of what it leads to
    EXPECT_EQ(5u, GMFilePathUtils::FileSizeRecursive(folder.File(L"files")));
}

TEST_F(TreeWalkTest, TakesAnErrorForAnError)
{
    GMString const tree = folder.File(L"tree");
    for (wchar_t const name : L"01234567")
        folder.Write(GMString(L"tree\\d\\") + (name == 0 ? L'8' : name));
    EXPECT_TRUE(GMFileSystemUtils::MyCopyDirectory(tree + L"\\d", folder.File(L"whole")));

    auto const fail = [](unsigned int calls) { s_callsToSucceed = calls; };
    fail(4);
    EXPECT_FALSE(GMFileSystemUtils::MyCopyDirectory(tree + L"\\d", folder.File(L"part")));
    EXPECT_EQ(static_cast<DWORD>(ERROR_CRC), GetLastError());
    fail(5); // further down nobody hears of it
    EXPECT_TRUE(GMFileSystemUtils::MyCopyDirectory(tree, folder.File(L"lower")));
    fail(1);
    EXPECT_FALSE(GMFilePathUtils::IsEmpty(tree));

    // The others give what came before, and tell the reason even if others could be read after it.
    std::vector<GMString> all;
    fail(4);
    GMFilePathUtils::GetAllSons(tree + L"\\d", all);
    EXPECT_EQ(static_cast<DWORD>(ERROR_CRC), GetLastError());
    EXPECT_EQ(3u, all.size());
    std::map<GMString, std::vector<GMString>> files;
    fail(6);
    GMFindFile::FindFilesExRecursive(tree, files, {});
    EXPECT_EQ(static_cast<DWORD>(ERROR_CRC), GetLastError());
    EXPECT_LT(0u, files[L""].size());
    fail(6);
    EXPECT_TRUE(GMFileFinderEnum(nullptr, L"", false, true).Enumerate(tree));
    EXPECT_EQ(static_cast<DWORD>(ERROR_CRC), GetLastError());
    fail(1000);
    GMFilePathUtils::FileSizeRecursive(tree);
    EXPECT_EQ(static_cast<DWORD>(ERROR_NO_MORE_FILES), GetLastError());
}

namespace
{

std::vector<GMString> s_opened;
decltype(CreateFileW) * s_open;

constexpr wchar_t server[] = L"\\\\server\\"; // one that isn't there

HANDLE WINAPI NoteOpened(wchar_t const * path, DWORD access, DWORD share, SECURITY_ATTRIBUTES * who,
                         DWORD how, DWORD flags, HANDLE like)
{
    s_opened.push_back(path);
    if (s_opened.back().compare(0, 9, server) == 0)
        return INVALID_HANDLE_VALUE;
    return s_open(path, access, share, who, how, flags, like);
}

DWORD WINAPI ExistsOnServer(wchar_t const * path)
{
    return GMString(path).compare(0, 9, server) == 0 ? FILE_ATTRIBUTE_DIRECTORY
                                                     : s_attributes(path);
}

} // namespace

TEST(TreeWalk, GoesUpToTheRootAndNoFurther)
{
    TemporaryFolder const folder;
    ImportHook const open("CreateFileW", &NoteOpened, s_open);
    ImportHook const attributes("GetFileAttributesW", &ExistsOnServer, s_attributes);
    GMString const local = folder.Path();
    std::pair<GMString, GMString> const cases[] = {
        {local, local.substr(0, 3)},
        {L"\\\\?\\" + local, L"\\\\?\\" + local.substr(0, 3)},
        {L"\\\\server\\share\\x\\y", L"\\\\server\\share\\"},
    };
    CreateDirectoryW(folder.File(L"empty").c_str(), nullptr);
    for (auto const & [destination, root] : cases)
    {
        s_opened.clear();
        EXPECT_TRUE(GMFileSystemUtils::MyCopyDirectory(folder.File(L"empty"), destination));
        EXPECT_EQ(root, s_opened.back());
    }
}

TEST(TreeWalk, LeavesACurrentDirectoryForTheRootOfItsDrive)
{
    GMString const old = std::filesystem::current_path().wstring();
    GMString const path = L"C:\\velmora test " + std::to_wstring(GetCurrentProcessId());
    ASSERT_TRUE(CreateDirectoryW(path.c_str(), nullptr));
    std::filesystem::current_path(path);
    EXPECT_EQ(1u, GMFilePathUtils::RemoveAll(path));
    EXPECT_EQ(L"C:\\", std::filesystem::current_path().wstring());
    std::filesystem::current_path(old);
}

} // namespace Velmora::Testing
