#include "VelmoraCommon/files/GMFileSystemUtils.h"

#include <algorithm>
#include <set>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <winioctl.h>

#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/DirectoryLink.h"
#include "tests/support/FailingCall.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using Utils = GMFileSystemUtils;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

/// The files and directories below \p root, directories with a delimiter behind them, in order of
/// their names. Not into links.
std::vector<GMString> TreeOf(GMString const & root, GMString const & below = L"")
{
    std::vector<GMString> all;
    std::vector<GMString> sons;
    GMFilePathUtils::GetAllSons(root + L"\\" + below, sons);
    for (GMString const & son : sons)
    {
        DWORD const attributes = GetFileAttributesW(son.c_str());
        bool const isDirectory = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        all.push_back(below + GMFilePathUtils::FileName(son) + (isDirectory ? L"\\" : L""));
        if (!isDirectory || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
            continue;
        std::vector<GMString> const deeper = TreeOf(root, all.back());
        all.insert(all.end(), deeper.begin(), deeper.end());
    }
    std::sort(all.begin(), all.end());
    return all;
}

ScopedFile Open(GMString const & path, DWORD access, DWORD share)
{
    return ScopedFile(CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr));
}

/// Open to others for reading and renaming, as a program that runs: it can be moved, not replaced.
ScopedFile Busy(GMString const & path)
{
    ScopedFile file = Open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE);
    EXPECT_TRUE(file);
    return file;
}

std::vector<GMString> s_forReboot;
decltype(MoveFileExW) * s_moveFileEx;

BOOL WINAPI NoteForReboot(wchar_t const * from, wchar_t const * to, DWORD flags)
{
    if (flags != MOVEFILE_DELAY_UNTIL_REBOOT)
        return s_moveFileEx(from, to, flags);
    s_forReboot.push_back(from);
    return TRUE;
}

/// Notes what is to be deleted at the next start, instead of having it done.
class RebootNotes
{
public:
    RebootNotes() : m_hook("MoveFileExW", &NoteForReboot, s_moveFileEx) { s_forReboot.clear(); }

private:
    ImportHook m_hook;
};

/// All calls that the operations make to change the disk or to ask it.
struct FailingFileCalls
{
    FailingCall<0, decltype(&CreateFileW)> create{"CreateFileW", INVALID_HANDLE_VALUE};
    FailingCall<1, decltype(&SetFilePointerEx)> seek{"SetFilePointerEx", FALSE};
    FailingCall<2, decltype(&SetEndOfFile)> setEnd{"SetEndOfFile", FALSE};
    FailingCall<3, decltype(&FindFirstFileExW)> find{"FindFirstFileExW", INVALID_HANDLE_VALUE};
    FailingCall<4, decltype(&FindNextFileW)> findNext{"FindNextFileW", FALSE};
    FailingCall<5, decltype(&GetFileAttributesW)> ask{"GetFileAttributesW",
                                                      INVALID_FILE_ATTRIBUTES};
    FailingCall<6, decltype(&SetFileAttributesW)> set{"SetFileAttributesW", FALSE};
    FailingCall<7, decltype(&DeleteFileW)> deleteFile{"DeleteFileW", FALSE};
    FailingCall<8, decltype(&RemoveDirectoryW)> removeDirectory{"RemoveDirectoryW", FALSE};
    FailingCall<9, decltype(&CreateDirectoryW)> createDirectory{"CreateDirectoryW", FALSE};
    FailingCall<10, decltype(&MoveFileW)> move{"MoveFileW", FALSE};
    FailingCall<11, decltype(&MoveFileExW)> moveEx{"MoveFileExW", FALSE};
    FailingCall<12, decltype(&CopyFileW)> copy{"CopyFileW", FALSE};
    FailingCall<13, decltype(&GetTempFileNameW)> tempName{"GetTempFileNameW", 0};
};

} // namespace

TEST(GMFileSystemUtils, TakesPathsAsTheyStand)
{
    TemporaryFolder const folder;
    EXPECT_FALSE(Utils::DoesFileExist(L'"' + folder.Path() + L'"'));
    GMString const file = folder.Write(L"f", "12345");
    EXPECT_EQ(5u, Utils::GetFileSize(file));
    EXPECT_FALSE(Utils::RemoveDirectoryWithSubItems(file)); // a file isn't deleted by it
    EXPECT_FALSE(Utils::MyMoveFile(file, folder.Write(L"g")));
    EXPECT_TRUE(Utils::MySetFileAttributes(file, FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(Utils::DeleteFileAlways(file));
    EXPECT_FALSE(Utils::DeleteFileAlways(file));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());

    FILETIME const time = {0xD53E8000, 0x019DB1DE}; // the start of 1970
    ASSERT_TRUE(Utils::SetDirTime(folder.Path(), nullptr, nullptr, &time));
    EXPECT_EQ(0, GMFilePathUtils::GetFileModifyTime(folder.Path()));
}

TEST(GMFileSystemUtils, MakesPathsFull)
{
    std::tuple<GMString, GMString, int, GMString, GMString> const cases[] = {
        // path, full path, file part, directory, name
        {L"C:\\b\\..\\a", L"C:\\a", 3, L"C:\\", L"a"},
        {L"C:\\a/b", L"C:\\a\\b", 5, L"C:\\a\\", L"b"},
        {L"C:/x/../a\\", L"C:\\a\\", 10, L"C:\\a\\", L""},
    };
    for (auto const & [path, full, part, directory, name] : cases)
    {
        GMString text = path;
        int filePart = -1;
        EXPECT_TRUE(Utils::MyGetFullPathName(text, text, filePart)); // into its own input
        EXPECT_EQ(full, text);
        EXPECT_EQ(part, filePart);
        EXPECT_TRUE(Utils::GetOnlyDirPrefix(path, text));
        EXPECT_EQ(directory, text);
        EXPECT_TRUE(Utils::GetOnlyName(path, text));
        EXPECT_EQ(name, text);
    }
    GMString text = L"old";
    int filePart = -1;
    EXPECT_TRUE(Utils::MyGetFullPathName(L"C:\\" + GMString(516, L'a'), text, filePart));
    EXPECT_EQ(519u, text.size());
    GMString const tooLong = L"C:\\" + GMString(517, L'a');
    EXPECT_FALSE(Utils::MyGetFullPathName(tooLong, text, filePart));
    EXPECT_TRUE(text.empty() && filePart == 3);
    EXPECT_FALSE(Utils::GetOnlyDirPrefix(tooLong, text = L"old"));
    EXPECT_EQ(L"", text);
    EXPECT_FALSE(Utils::GetOnlyName(tooLong, text = L"old"));
    EXPECT_EQ(L"", text);
}

namespace
{

DWORD WINAPI SayThatItExists(wchar_t const *) { return FILE_ATTRIBUTE_NORMAL; }

} // namespace

TEST(GMFileSystemUtils, FindsFreeNames)
{
    TemporaryFolder const folder;
    folder.Write(L"a(1).txt");
    CreateDirectoryW(folder.File(L"a(2).txt").c_str(), nullptr); // directories take names too
    std::tuple<wchar_t const *, wchar_t const *> const cases[] = {
        {L"a.txt", L"a(3).txt"},
        {L"a", L"a(1)"},
        {L"d.x\\file", L"d.x\\file(1)"},
    };
    for (auto const & [path, freePath] : cases)
    {
        GMString renamed = folder.File(path);
        EXPECT_TRUE(Utils::AutoRenamePath(renamed));
        EXPECT_EQ(folder.File(freePath), renamed);
    }

    ImportHook const hook("GetFileAttributesW", &SayThatItExists);
    GMString path = L"C:\\a.txt";
    EXPECT_FALSE(Utils::AutoRenamePath(path));
    EXPECT_EQ(L"C:\\a.txt", path);
}

TEST(GMFileSystemUtils, ReplacesTheTemporaryFolder)
{
    TemporaryFolder const folder;
    auto const temporaryFolder = []
    {
        GMString path;
        EXPECT_TRUE(Utils::MyGetTempPath(path));
        return path;
    };
    GMString const system = temporaryFolder();
    // Set to, gives; in the second no file can be made.
    std::pair<GMString, GMString> const cases[] = {{folder.Path(), folder.Path() + L"\\"},
                                                   {folder.File(L"missing"), folder.Path() + L"\\"},
                                                   {folder.Path() + L"\\", folder.Path() + L"\\"},
                                                   {L"", system}};
    for (auto const & [path, expected] : cases)
    {
        Utils::MySetTempPath(path);
        EXPECT_EQ(expected, temporaryFolder());
        EXPECT_THAT(TreeOf(folder.Path()), IsEmpty());
    }
}

TEST(GMFileSystemUtils, CreatesEmptyFiles)
{
    TemporaryFolder const folder;
    GMString const path = folder.Write(L"f", "old");
    EXPECT_TRUE(Utils::CreateEmptyFile(path, 5000000000));
    EXPECT_EQ(5000000000u, Utils::GetFileSize(path));
    FailingFileCalls const calls;
    unsigned int const made = FailEachCall(
        [&](unsigned int call)
        {
            folder.Write(L"f", "old");
            bool isMade;
            {
                FailureScope const failure(call);
                isMade = Utils::CreateEmptyFile(path, 7);
            }
            EXPECT_TRUE(isMade || GetLastError() == injectedError) << call;
            unsigned __int64 const size = Utils::GetFileSize(path); // 0 for a file that has gone
            EXPECT_TRUE(isMade ? size == 7 : size == 3 || !Utils::DoesFileExist(path)) << call;
        });
    EXPECT_LE(3u, made);
}

TEST(GMFileSystemUtils, MovesOverBusyTargets)
{
    TemporaryFolder const folder;
    GMString const from = folder.Write(L"from.txt", "new");
    GMString const to = folder.Write(L"to.txt", "old");
    SetFileAttributesW(to.c_str(), FILE_ATTRIBUTE_READONLY);
    {
        ScopedFile const busy = Open(to, GENERIC_READ, FILE_SHARE_READ); // can't be moved aside
        EXPECT_FALSE(Utils::MyMoveFileEx(from, to));
        EXPECT_THAT(TreeOf(folder.Path()), ElementsAre(L"from.txt", L"to.txt"));
    }
    EXPECT_FALSE(Utils::MyMoveFileEx(folder.File(L"missing"), to));
    EXPECT_EQ("old", ReadBytes(to));
    EXPECT_TRUE(Utils::MyMoveFileEx(from, to));
    EXPECT_EQ("new", ReadBytes(to));
    EXPECT_FALSE(Utils::MyMoveFileEx(from, folder.File(L"other")));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
}

TEST(GMFileSystemUtils, MovesBackWhenAMoveFails)
{
    // A target in the way that MoveFileExW can't replace, but that can be renamed: a directory.
    FailingFileCalls const calls;
    unsigned int const made = FailEachCall(
        [&](unsigned int call)
        {
            TemporaryFolder const folder;
            GMString const from = folder.Write(L"from", "new");
            folder.Write(L"to\\kept", "old");
            bool isMoved;
            {
                FailureScope const failure(call);
                isMoved = Utils::MyMoveFileEx(from, folder.File(L"to"));
                EXPECT_TRUE(isMoved || GetLastError() != NO_ERROR) << call;
            }
            std::vector<GMString> const moved = {L"to", L"to(1)\\", L"to(1)\\kept"};
            std::vector<GMString> const kept = {L"from", L"to\\", L"to\\kept"};
            EXPECT_EQ(isMoved ? moved : kept, TreeOf(folder.Path())) << call;
        });
    EXPECT_LE(6u, made); // two moves of the target and the source, four questions and deletes
}

namespace
{

/// What GMFileSystemUtils copies in the tests.
struct Source
{
    Source()
    {
        folder.Write(L"s\\a.txt", "new a");
        folder.Write(L"s\\b\\c\\deep", "new deep");
        folder.Write(L"s\\\u6E38\u620F\\\U0001F3AE.dat", "new name");
        CreateDirectoryW(folder.File(L"s\\empty").c_str(), nullptr);
    }

    GMString From() const { return folder.File(L"s"); }
    GMString To() const { return folder.File(L"t"); }

    TemporaryFolder folder;
};

} // namespace

TEST(GMFileSystemUtils, CopiesWholeTrees)
{
    Source const at;
    EXPECT_FALSE(Utils::MyCopyDirectory(at.folder.File(L"missing"), at.To()));
    EXPECT_FALSE(Utils::MyCopyDirectory(L"", at.To()) || Utils::MyCopyDirectory(at.From(), L""));
    EXPECT_FALSE(Utils::DoesFileExist(at.To()));

    EXPECT_TRUE(Utils::MyCopyDirectory(at.From() + L"\\empty", at.To() + L"\\x\\y"));
    EXPECT_THAT(TreeOf(at.To()), ElementsAre(L"x\\", L"x\\y\\"));
    ASSERT_TRUE(Utils::RemoveDirectoryWithSubItems(at.To()));

    at.folder.Write(L"t\\a.txt", "an older text");
    at.folder.Write(L"t\\b\\mine", "mine");
    EXPECT_TRUE(Utils::MyCopyDirectory(at.From(), at.To() + L"\\"));
    EXPECT_EQ("new a", ReadBytes(at.To() + L"\\a.txt"));
    EXPECT_EQ("mine", ReadBytes(at.To() + L"\\b\\mine"));
    ASSERT_TRUE(Utils::DeleteFileAlways(at.To() + L"\\b\\mine"));
    EXPECT_EQ(TreeOf(at.From()), TreeOf(at.To()));

    // A file where a directory should be, and failures deeper in the tree: the rest is copied.
    ASSERT_TRUE(Utils::RemoveDirectoryWithSubItems(at.To()));
    at.folder.Write(L"t\\b", "a file");
    EXPECT_TRUE(Utils::MyCopyDirectory(at.From(), at.To()));
    EXPECT_EQ("a file", ReadBytes(at.To() + L"\\b"));
    EXPECT_TRUE(Utils::DoesFileExist(at.To() + L"\\\u6E38\u620F\\\U0001F3AE.dat"));
}

TEST(GMFileSystemUtils, CopiesOverBusyFiles)
{
    RebootNotes const notes;
    Source const at;
    at.folder.Write(L"t\\a.txt", "old a");
    {
        ScopedFile const busy = Busy(at.To() + L"\\a.txt");
        EXPECT_TRUE(Utils::MyCopyDirectory(at.From(), at.To()));
    }
    EXPECT_EQ("new a", ReadBytes(at.To() + L"\\a.txt"));
    ASSERT_EQ(1u, s_forReboot.size());
    EXPECT_EQ("old a", ReadBytes(s_forReboot[0]));
    EXPECT_EQ(at.To(), s_forReboot[0].substr(0, at.To().size()));

    // A file that can't be moved aside ends the copy of its directory: below, nobody hears of it.
    at.folder.Write(L"s\\b\\c\\deep", "newer");
    {
        ScopedFile const busy = Open(at.To() + L"\\b\\c\\deep", GENERIC_READ, FILE_SHARE_READ);
        EXPECT_TRUE(Utils::MyCopyDirectory(at.From(), at.To()));
        EXPECT_FALSE(Utils::MyCopyDirectory(at.From() + L"\\b\\c", at.To() + L"\\b\\c"));
    }
    EXPECT_EQ("new deep", ReadBytes(at.To() + L"\\b\\c\\deep"));
    EXPECT_THAT(TreeOf(at.To() + L"\\b\\c"), ElementsAre(L"deep"));
    {
        ScopedFile const busy = Open(at.From() + L"\\a.txt", GENERIC_READ, 0); // can't be read
        EXPECT_FALSE(Utils::MyCopyDirectory(at.From(), at.To()));
    }
    EXPECT_EQ("new a", ReadBytes(at.To() + L"\\a.txt"));
}

TEST(GMFileSystemUtils, CopiesEndOnLoops)
{
    Source const at;
    std::vector<GMString> const before = TreeOf(at.From());

    // Onto itself: nothing is moved aside or lost.
    RebootNotes const notes;
    EXPECT_TRUE(Utils::MyCopyDirectory(at.From(), at.From()));
    EXPECT_EQ(before, TreeOf(at.From()));
    EXPECT_EQ("new a", ReadBytes(at.From() + L"\\a.txt"));
    EXPECT_THAT(s_forReboot, IsEmpty());

    // Into itself, by its own name and by way of links.
    EXPECT_TRUE(Utils::MyCopyDirectory(at.From(), at.From() + L"\\b\\x"));
    EXPECT_EQ("new name", ReadBytes(at.From() + L"\\b\\x\\\u6E38\u620F\\\U0001F3AE.dat"));
    EXPECT_EQ("new deep", ReadBytes(at.From() + L"\\b\\x\\b\\c\\deep"));
    EXPECT_FALSE(Utils::DoesFileExist(at.From() + L"\\b\\x\\b\\x"));
    EXPECT_TRUE(Utils::RemoveDirectoryWithSubItems(at.From() + L"\\b\\x"));
    {
        DirectoryLink const loop(at.From() + L"\\loop", at.folder.Path());
        EXPECT_TRUE(Utils::MyCopyDirectory(at.From(), at.To()));
        EXPECT_EQ(before, TreeOf(at.To())); // without the link
    }
    {
        DirectoryLink const toTarget(at.From() + L"\\link", at.To());
        EXPECT_TRUE(Utils::MyCopyDirectory(at.From(), at.To()));
        EXPECT_EQ(before, TreeOf(at.To()));
    }
    GMString const other = at.folder.File(L"other");
    ASSERT_TRUE(Utils::MyCreateDirectory(other));
    {
        DirectoryLink const intoSource(other + L"\\b", at.From() + L"\\b\\c");
        EXPECT_TRUE(Utils::MyCopyDirectory(at.From(), other));
        EXPECT_EQ("new deep", ReadBytes(at.From() + L"\\b\\c\\deep"));
        EXPECT_FALSE(Utils::DoesFileExist(at.From() + L"\\b\\c\\c"));
    }
    {
        DirectoryLink const toOther(at.From() + L"\\other", other); // links are followed
        EXPECT_TRUE(Utils::MyCopyDirectory(at.From(), at.To()));
        EXPECT_EQ("new a", ReadBytes(at.To() + L"\\other\\a.txt"));
    }
}

TEST(GMFileSystemUtils, LosesNothingWhenACallOfACopyFails)
{
    RebootNotes const notes;
    FailingFileCalls const calls;
    unsigned int const made = FailEachCall(
        [&](unsigned int call)
        {
            SCOPED_TRACE(call);
            Source const at;
            std::vector<GMString> const source = TreeOf(at.From());
            at.folder.Write(L"t\\a.txt", "old a");
            at.folder.Write(L"t\\b\\c\\deep", "old deep");
            s_forReboot.clear();
            {
                ScopedFile const busy = Busy(at.To() + L"\\a.txt");
                FailureScope const failure(call);
                Utils::MyCopyDirectory(at.From(), at.To());
            }
            EXPECT_EQ(source, TreeOf(at.From()));
            EXPECT_THAT(ReadBytes(at.To() + L"\\a.txt"), AnyOf("new a", "old a"));
            EXPECT_THAT(ReadBytes(at.To() + L"\\b\\c\\deep"), AnyOf("new deep", "old deep"));
            // Nothing is there but what is copied, what goes at the next start, and the file that
            // was in use if the system didn't take that on.
            std::set<GMString> expected(source.begin(), source.end());
            for (GMString const & path : s_forReboot)
                expected.insert(path.substr(at.To().size() + 1));
            for (GMString const & path : TreeOf(at.To()))
                EXPECT_TRUE(expected.count(path) != 0 ||
                            ReadBytes(at.To() + L"\\" + path) == "old a")
                    << testing::PrintToString(path);
        });
    EXPECT_LE(20u, made);
}

namespace
{

struct
{
    DWORD code;
    std::string input;
    DWORD error;    // 0 for success
    DWORD returned; // bytes
} s_volume;

BOOL WINAPI Control(HANDLE, DWORD code, void * in, DWORD inSize, void *, DWORD, DWORD * returned,
                    OVERLAPPED *)
{
    s_volume.code = code;
    s_volume.input.assign(static_cast<char const *>(in), inSize);
    *returned = s_volume.returned;
    SetLastError(s_volume.error);
    return s_volume.error == 0;
}

} // namespace

TEST(GMFileSystemUtils, AsksForSparseFiles)
{
    ImportHook const control("DeviceIoControl", &Control); // Wine has no sparse files
    TemporaryFolder const folder;
    ScopedFile const file = Open(folder.Write(L"f", "12345"), GENERIC_READ, FILE_SHARE_READ);
    for (DWORD const error : {ERROR_SUCCESS, ERROR_INVALID_FUNCTION, ERROR_ACCESS_DENIED})
    {
        s_volume = {0, "", error, 0};
        EXPECT_EQ(error == 0, Utils::SetSparseAttribute(file.Get()));
        EXPECT_TRUE(s_volume.code == 0x900C4 && s_volume.input.empty());
        EXPECT_EQ(error != ERROR_ACCESS_DENIED, Utils::ClearSparseAttribute(file.Get()));
        EXPECT_TRUE(s_volume.code == 0x900C4 && s_volume.input == std::string(1, '\0'));
    }
    for (auto const & [error, returned, hasRegion] :
         {std::tuple(0, 16, false), {0, 0, true}, {0, 32, true}, {ERROR_MORE_DATA, 16, true}})
    {
        s_volume = {0, "", static_cast<DWORD>(error), static_cast<DWORD>(returned)};
        EXPECT_EQ(hasRegion, Utils::HasSparseRegion(file.Get()));
        EXPECT_EQ(0x940CFu, s_volume.code);
        EXPECT_EQ(std::string(8, '\0') + '\5' + std::string(7, '\0'), s_volume.input);
    }
}

} // namespace Velmora::Testing
