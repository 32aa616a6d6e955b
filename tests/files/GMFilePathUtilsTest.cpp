#include "VelmoraCommon/files/GMFilePathUtils.h"

#include <filesystem>
#include <tuple>

#include <gmock/gmock.h>

#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/DirectoryLink.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using Utils = GMFilePathUtils;
using testing::UnorderedElementsAre;

class GMFilePathUtilsTest : public testing::Test
{
protected:
    TemporaryFolder const folder;
};

/// The current directory for a scope.
class CurrentDirectory
{
public:
    explicit CurrentDirectory(GMString const & path) { std::filesystem::current_path(path); }
    ~CurrentDirectory() { std::filesystem::current_path(m_old); }

private:
    std::filesystem::path m_old = std::filesystem::current_path();
};

/// An open file that others may read, but not delete or rename.
ScopedFile Lock(GMString const & path)
{
    return ScopedFile(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, 0, nullptr));
}

void MakeDirectory(GMString const & path)
{
    ASSERT_TRUE(CreateDirectoryW(path.c_str(), nullptr)) << testing::PrintToString(path);
}

void SetReadOnly(GMString const & path)
{
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
}

bool IsReadOnly(GMString const & path)
{
    return (GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY) != 0;
}

} // namespace

TEST(GMFilePathUtils, CutsNames)
{
    wchar_t const * const cases[][5] = {
        // path, file name, base name, extension, path with another extension
        {L"C:\\a/b.txt", L"b.txt", L"b", L".txt", L"C:\\a\\b.doc"},
        {L"C:\\a\\", L"", L"", L"", L"C:\\a\\.doc"},
        {L"C:\\a.b\\c", L"c", L"c", L"", L"C:\\a.b\\c.doc"},
        {L"a.tar.gz", L"a.tar.gz", L"a.tar", L".gz", L"a.tar.doc"},
        {L"a.", L"a.", L"a", L".", L"a.doc"},
        {L"/b.txt", L"b.txt", L"b", L".txt", L"b.doc"},
    };
    for (auto const & [path, fileName, baseName, extension, changed] : cases)
    {
        EXPECT_EQ(fileName, Utils::FileName(path));
        EXPECT_EQ(baseName, Utils::BaseName(path));
        EXPECT_EQ(extension, Utils::Extension(path));
        EXPECT_EQ(changed, Utils::ChangeExtension(path, L".doc"));
    }
}

TEST_F(GMFilePathUtilsTest, TellsWhatAPathIs)
{
    GMString const directory = folder.File(L"d");
    GMString const file = folder.Write(L"f", "12");
    MakeDirectory(directory);

    std::tuple<GMString, bool, bool, bool, bool> const cases[] = {
        {L'"' + directory + L"\\\"", false, true, false, true},
        {folder.Path(), false, true, false, false},
        {L'"' + file + L'"', true, false, false, false},
        {folder.Write(L"none"), true, false, false, true},
        {folder.File(L"missing"), false, false, false, true},
        {L"", false, false, false, true},
        {L"C:\\", false, true, true, false},
        {L"Q:\\", false, false, false, true},
        {folder.File(L"f*"), false, false, false, true}, // a pattern is no path
    };
    for (auto const & [path, isFile, isDirectory, isDriver, isEmpty] : cases)
    {
        SCOPED_TRACE(testing::PrintToString(path));
        EXPECT_EQ(isFile || isDirectory, Utils::IsExists(path));
        EXPECT_EQ(isFile, Utils::IsExistsFile(path));
        EXPECT_EQ(isDirectory, Utils::IsDirectory(path));
        EXPECT_EQ(isDriver, Utils::IsDriver(path));
        EXPECT_EQ(isEmpty, Utils::IsEmpty(path));
    }
}

TEST(GMFilePathUtils, TellsParentDirectories)
{
    std::tuple<wchar_t const *, wchar_t const *, bool> const cases[] = {
        {LR"(C:\a\b\c)", LR"(c:\A)", true},
        {LR"(C:\a\b\c)", LR"("C:\a\b\")", true},
        {LR"("C:\a\b\")", LR"(C:\a)", true},
        {LR"(C:\a)", LR"(C:\a)", false},
        {LR"(C:\a)", LR"(C:\)", true},
        {L"b", LR"(C:\)", false},
        {LR"("b")", L"b", false},
        {LR"(C:\ab\c)", LR"(C:\a)", false},
        {L"C:/a/b", L"C:/a", false},
    };
    for (auto const & [path, parent, isParent] : cases)
    {
        EXPECT_EQ(isParent, Utils::IsParentDirectory(path, parent))
            << testing::PrintToString(path) << testing::PrintToString(parent);
    }
}

TEST_F(GMFilePathUtilsTest, AddsUpSizes)
{
    GMString const big = folder.File(L"big");
    constexpr unsigned __int64 bigSize = 5000000000; // no bytes on the disk: they aren't written
    ASSERT_TRUE(GMFileSystemUtils::CreateEmptyFile(big, bigSize));
    folder.Write(L"sub\\three", "123");
    EXPECT_EQ(bigSize, Utils::FileSizeRecursive(big));
    EXPECT_EQ(0u, Utils::FileSize(folder.Path()));
    EXPECT_EQ(bigSize + 3, Utils::FileSizeRecursive(folder.Path() + L"\\"));
    EXPECT_EQ(0u, Utils::FileSizeRecursive(folder.File(L"missing")));
}

TEST_F(GMFilePathUtilsTest, ReadsModifyTimes)
{
    // The unit of the first column is 100 ns since 1601.
    std::pair<unsigned __int64, __int64> const cases[] = {
        {132223104009999999, 1577836800}, // the last tick of the first second of 2020
        {116444735990000000, -1},
        {159993504000000000, 4354876800}, // 2108: more than 32 bits
    };
    for (auto const & [fileTime, seconds] : cases)
    {
        FILETIME const time = {static_cast<DWORD>(fileTime), static_cast<DWORD>(fileTime >> 32)};
        ASSERT_TRUE(GMFileSystemUtils::SetDirTime(folder.Path(), nullptr, nullptr, &time));
        EXPECT_EQ(seconds, Utils::GetFileModifyTime(folder.Path()));
    }
    EXPECT_EQ(0, Utils::GetFileModifyTime(folder.File(L"missing")));
}

TEST_F(GMFilePathUtilsTest, ListsEntries)
{
    GMString const directory = folder.File(L"d.x");
    folder.Write(L"d.x\\deep");
    GMString const file = folder.Write(L"f");
    GMString const dots = folder.Write(L"..f");
    std::vector<GMString> files{L"old"};
    std::vector<GMString> directories{L"old"};
    Utils::GetAllSons(folder.Path() + L"//", files);
    EXPECT_THAT(files, UnorderedElementsAre(directory, file, dots));
    Utils::GetAllSons(folder.Path(), files, directories);
    EXPECT_THAT(files, UnorderedElementsAre(file, dots));
    EXPECT_THAT(directories, UnorderedElementsAre(directory));
    files = directories;
    Utils::GetAllSons(files[0], files); // a path in what is to be replaced
    EXPECT_THAT(files, UnorderedElementsAre(directory + L"\\deep"));
    Utils::GetAllSons(directories[0], files, directories);
    EXPECT_THAT(files, UnorderedElementsAre(directory + L"\\deep"));
    Utils::GetAllSons(folder.File(L"missing"), files, directories);
    EXPECT_TRUE(files.empty() && directories.empty());
}

TEST_F(GMFilePathUtilsTest, CreatesDirectories)
{
    EXPECT_TRUE(Utils::CreateDirectories(folder.File(L"a\\b/c\\\\d\\")));
    EXPECT_TRUE(Utils::IsDirectory(folder.File(L"a\\b\\c\\d")));
    EXPECT_FALSE(Utils::CreateDirectories(folder.Write(L"f")));
    EXPECT_FALSE(Utils::CreateDirectories(folder.File(L"f\\d")) || Utils::CreateDirectories(L""));
}

TEST_F(GMFilePathUtilsTest, CopiesAndMovesFiles)
{
    GMString const source = folder.Write(L"source", "new");
    GMString const target = folder.File(L"a\\b\\target");
    EXPECT_TRUE(Utils::CopyPathFile(source, target, false));
    WriteBytes(target, "old");
    EXPECT_FALSE(Utils::CopyPathFile(source, target, false));
    EXPECT_FALSE(Utils::MovePathFile(source, target, true, false));
    EXPECT_EQ("old", ReadBytes(target));
    SetReadOnly(source);
    EXPECT_TRUE(Utils::MovePathFile(source, target, false, true));
    EXPECT_FALSE(Utils::IsExists(source));
    EXPECT_EQ("new", ReadBytes(target));

    SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_NORMAL); // the copy is read-only, too
    folder.Write(L"source", "y");
    {
        CurrentDirectory const here(folder.Path());
        EXPECT_TRUE(Utils::CopyPathFile(L"source", L"bare", false));
        EXPECT_FALSE(Utils::CopyPathFile(L"source", L"missing/target", false));
        EXPECT_FALSE(Utils::IsExists(L"missing"));
    }
    SetReadOnly(source);
    ScopedFile const lock = Lock(source);
    EXPECT_FALSE(Utils::MovePathFile(source, target, false, true));
    EXPECT_EQ(static_cast<DWORD>(ERROR_SHARING_VIOLATION), GetLastError());
    EXPECT_FALSE(IsReadOnly(source));
    SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_TRUE(Utils::MovePathFile(source, target, true, true));
    EXPECT_EQ("y", ReadBytes(target));
}

TEST_F(GMFilePathUtilsTest, RemovesTrees)
{
    GMString const tree = folder.File(L"tree");
    GMString const held = folder.Write(L"tree\\sub\\a");
    SetReadOnly(folder.Write(L"tree\\sub\\b"));
    {
        ScopedFile const lock = Lock(held);
        EXPECT_EQ(1u, Utils::RemoveAll(tree + L"\\"));
        EXPECT_TRUE(Utils::IsExistsFile(held));
    }
    folder.Write(L"tree\\sub\\b");
    {
        CurrentDirectory const inside(tree + L"\\sub");
        EXPECT_EQ(4u, Utils::RemoveAll(tree));
        EXPECT_EQ(folder.Path(), std::filesystem::current_path().wstring());
    }
    EXPECT_TRUE(Utils::IsEmpty(folder.Path()));

    GMString const file = folder.Write(L"file", "kept");
    SetReadOnly(file);
    CurrentDirectory const here(folder.Path());
    // A file; what doesn't stand for the current directory; what is missing.
    for (GMString const & path : {file, GMString(), GMString(L"\\"), tree})
        EXPECT_EQ(0u, Utils::RemoveAll(path));
    EXPECT_TRUE(IsReadOnly(file));
}

TEST(GMFilePathUtils, TakesDeepTrees)
{
    constexpr unsigned int levels = 150;
    TemporaryFolder const folder;
    GMString const tree = L"\\\\?\\" + folder.File(L"tree"); // the form without a limit of length
    GMString path = tree;
    for (unsigned int i = 0; i < levels; ++i, path += L"\\d")
    {
        MakeDirectory(path);
        WriteBytes(path + L"\\file", "x");
    }
    GMString const copy = L"\\\\?\\" + folder.File(L"copy");
    EXPECT_TRUE(GMFileSystemUtils::MyCopyDirectory(tree, copy));
    EXPECT_EQ(levels, Utils::FileSizeRecursive(copy));
    EXPECT_EQ(2 * levels, Utils::RemoveAll(tree));
    EXPECT_EQ(2 * levels, Utils::RemoveAll(copy));
}

namespace
{

/// A tree with a directory beside it that holds a file, and one that is empty.
struct TreeBesideOthers
{
    void ExpectOthersUntouched() const
    {
        EXPECT_EQ("kept", ReadBytes(full + L"\\kept"));
        EXPECT_TRUE(Utils::IsEmpty(empty) && Utils::IsDirectory(empty));
    }

    TemporaryFolder folder;
    GMString tree = folder.File(L"tree");
    GMString full = folder.File(L"full");
    GMString empty = folder.File(L"empty");
    bool const isMade = !folder.Write(L"tree\\file", "12").empty() &&
                        !folder.Write(L"full\\kept", "kept").empty() &&
                        Utils::CreateDirectories(empty);
};

DirectoryLink * s_link;
decltype(GetFileInformationByHandle) * s_getInformation;

// What a system answers that opens a link and not what it leads to.
BOOL WINAPI InformationOfLink(HANDLE file, BY_HANDLE_FILE_INFORMATION * information)
{
    BOOL const isRead = s_getInformation(file, information);
    information->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    return isRead;
}

BOOL WINAPI DeleteLink(HANDLE, FILE_INFO_BY_HANDLE_CLASS what, void * data, DWORD size)
{
    EXPECT_TRUE(what == FileDispositionInfo && size == sizeof(FILE_DISPOSITION_INFO));
    EXPECT_TRUE(static_cast<FILE_DISPOSITION_INFO *>(data)->DeleteFile);
    s_link->Remove();
    return TRUE;
}

} // namespace

TEST(GMFilePathUtils, StaysInItsTreeWhenItMeetsLinks)
{
    TreeBesideOthers const at;
    DirectoryLink const toFull(at.tree + L"\\full", at.full);
    DirectoryLink const toEmpty(at.tree + L"\\empty", at.empty);
    DirectoryLink const loop(at.tree + L"\\loop", at.tree);
    DirectoryLink const toTree(at.folder.File(L"link"), at.tree);

    EXPECT_EQ(6u, Utils::FileSizeRecursive(at.tree));
    EXPECT_EQ(6u, Utils::FileSizeRecursive(at.folder.File(L"link")));

    Utils::RemoveAll(at.folder.File(L"link"));
    EXPECT_TRUE(Utils::IsExistsFile(at.tree + L"\\file"));

    // Where the system leads every deletion through a link, the links stay.
    unsigned __int64 const links = toFull.Exists() ? 0 : 3;
    EXPECT_LE(1 + links, Utils::RemoveAll(at.tree));
    EXPECT_FALSE(Utils::IsExists(at.tree + L"\\file"));
    at.ExpectOthersUntouched();
}

TEST(GMFilePathUtils, RemovesLinksThemselves)
{
    for (bool const isTop : {false, true})
    {
        TreeBesideOthers const at;
        GMString const path = isTop ? at.folder.File(L"link") : at.tree + L"\\link";
        DirectoryLink link(path, at.full);
        s_link = &link;
        ImportHook const ask("GetFileInformationByHandle", &InformationOfLink, s_getInformation);
        ImportHook const remove("SetFileInformationByHandle", &DeleteLink);

        EXPECT_EQ(isTop ? 1u : 3u, Utils::RemoveAll(isTop ? path : at.tree));
        EXPECT_FALSE(link.Exists());
        EXPECT_EQ(isTop, Utils::IsExists(at.tree));
        at.ExpectOthersUntouched();
    }
}

namespace
{

std::vector<GMString> s_forReboot;

BOOL WINAPI NoteForReboot(wchar_t const * from, wchar_t const * to, DWORD flags)
{
    EXPECT_TRUE(to == nullptr && flags == MOVEFILE_DELAY_UNTIL_REBOOT);
    s_forReboot.push_back(from);
    return FALSE; // the result doesn't count
}

/// A section of a program as the loader makes it: the file can be renamed, but not deleted.
ScopedKernelObject RunningCopy(GMString const & path)
{
    wchar_t original[MAX_PATH];
    GetModuleFileNameW(GetModuleHandleW(L"libwinpthread-1.dll"), original, MAX_PATH);
    EXPECT_TRUE(CopyFileW(original, path.c_str(), TRUE));
    ScopedFile const file(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_EXECUTE, FILE_SHARE_READ,
                                      nullptr, OPEN_EXISTING, 0, nullptr));
    ScopedKernelObject section(
        CreateFileMappingW(file.Get(), nullptr, PAGE_READONLY | SEC_IMAGE, 0, 0, nullptr));
    EXPECT_TRUE(section);
    return section;
}

} // namespace

TEST_F(GMFilePathUtilsTest, MovesFilesInUseAside)
{
    GMString const path = folder.File(L"a.dll");
    GMString const aside = folder.File(L"a_t.dll");
    GMString const numbered = folder.File(L"a_t1.dll");
    s_forReboot.clear();
    ImportHook const hook("MoveFileExW", &NoteForReboot);

    WriteBytes(path, "");
    SetReadOnly(path);
    EXPECT_TRUE(Utils::RemoveOrRebootDelete(path, 5));
    EXPECT_TRUE(Utils::IsEmpty(folder.Path()));
    EXPECT_TRUE(s_forReboot.empty());

    EXPECT_FALSE(Utils::RemoveOrRebootDelete(path, 5)); // nothing there
    WriteBytes(aside, "old");
    SetReadOnly(aside);
    ScopedKernelObject const first = RunningCopy(path);
    EXPECT_TRUE(Utils::RemoveOrRebootDelete(path, 0));
    EXPECT_FALSE(Utils::IsExists(path));
    EXPECT_NE("old", ReadBytes(aside));

    ScopedKernelObject const second = RunningCopy(path);
    EXPECT_FALSE(Utils::RemoveOrRebootDelete(path, 1)); // the only name is in use
    EXPECT_TRUE(Utils::IsExists(path));
    EXPECT_TRUE(Utils::RemoveOrRebootDelete(path, 2));
    EXPECT_TRUE(Utils::IsExists(numbered));
    EXPECT_EQ((std::vector<GMString>{aside, numbered}), s_forReboot);
}

} // namespace Velmora::Testing
