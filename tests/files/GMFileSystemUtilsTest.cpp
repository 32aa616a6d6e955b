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
#include "tests/support/HandleCount.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using Utils = GMFileSystemUtils;
using testing::ElementsAre;
using testing::IsEmpty;

/// The files and directories below \p root, directories with a delimiter behind them, in order of
/// their names. Not into links.
std::vector<GMString> TreeOf(GMString const & root, GMString const & below = L"")
{
    std::vector<GMString> all;
    std::vector<GMString> files;
    std::vector<GMString> directories;
    GMFilePathUtils::GetAllSons(root + L"\\" + below, files, directories);
    for (GMString const & file : files)
        all.push_back(below + GMFilePathUtils::FileName(file));
    for (GMString const & directory : directories)
    {
        all.push_back(below + GMFilePathUtils::FileName(directory) + L"\\");
        if ((GetFileAttributesW(directory.c_str()) & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
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
    EXPECT_EQ(nullptr, to);
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

TEST(GMFileSystemUtils, PassesCallsOn)
{
    TemporaryFolder const folder;
    // A path that exists as it stands alone: GMFilePathUtils would strip the quotes.
    EXPECT_FALSE(Utils::DoesFileExist(L'"' + folder.Path() + L'"'));
    EXPECT_TRUE(Utils::MyCreateDirectory(folder.File(L"d")));
    EXPECT_FALSE(Utils::MyCreateDirectory(folder.File(L"x\\y")));
    EXPECT_TRUE(Utils::CreateComplexDirectory(folder.File(L"d\\e\\f")));
    EXPECT_FALSE(Utils::MyRemoveDirectory(folder.File(L"d")));
    EXPECT_TRUE(Utils::RemoveDirectoryWithSubItems(folder.File(L"d")));
    EXPECT_TRUE(Utils::RemoveDirectoryWithSubItems(folder.File(L"d"))); // it isn't there
    EXPECT_FALSE(Utils::DoesFileExist(folder.File(L"d")));

    GMString const file = folder.Write(L"f", "12345");
    EXPECT_EQ(5u, Utils::GetFileSize(file));
    EXPECT_EQ(0u, Utils::GetFileSize(folder.File(L"none")));
    EXPECT_FALSE(Utils::RemoveDirectoryWithSubItems(file)); // a file isn't deleted by it
    GMString const other = folder.Write(L"g");
    EXPECT_FALSE(Utils::MyMoveFile(file, other));
    EXPECT_TRUE(Utils::MySetFileAttributes(file, FILE_ATTRIBUTE_READONLY));
    EXPECT_FALSE(DeleteFileW(file.c_str()));
    EXPECT_TRUE(Utils::DeleteFileAlways(file));
    EXPECT_FALSE(Utils::DeleteFileAlways(file));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());

    FILETIME const time = {0xD53E8000, 0x019DB1DE}; // the start of 1970
    ASSERT_TRUE(Utils::SetDirTime(folder.Path(), nullptr, nullptr, &time));
    EXPECT_EQ(0, GMFilePathUtils::GetFileModifyTime(folder.Path()));
    EXPECT_FALSE(Utils::SetDirTime(folder.File(L"none"), nullptr, nullptr, &time));
}

TEST(GMFileSystemUtils, MakesPathsFull)
{
    TemporaryFolder const folder;
    GMString old;
    ASSERT_TRUE(Utils::MyGetCurrentDirectory(old));
    ASSERT_TRUE(Utils::MySetCurrentDirectory(folder.Path()));
    GMString const here = folder.Path() + L"\\";
    auto const hereSize = static_cast<int>(here.size());

    std::tuple<GMString, GMString, int, GMString, GMString> const cases[] = {
        // path, full path, file part, directory, name
        {L"a.txt", here + L"a.txt", hereSize, here, L"a.txt"},
        {L"b\\..\\a", here + L"a", hereSize, here, L"a"},
        {L"sub\\", here + L"sub\\", 4, here + L"sub\\", L""},
        {L"C:\\a/b", L"C:\\a\\b", 5, L"C:\\a\\", L"b"},
        {L"C:\\a\\", L"C:\\a\\", 5, L"C:\\a\\", L""},
        {L"C:\\", L"C:\\", 3, L"C:\\", L""},
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
    for (GMString const & path : {GMString(), L"C:\\" + GMString(517, L'a')})
    {
        EXPECT_FALSE(Utils::MyGetFullPathName(path, text = L"old", filePart));
        EXPECT_EQ(L"", text);
        EXPECT_FALSE(Utils::GetOnlyDirPrefix(path, text = L"old"));
        EXPECT_EQ(L"", text);
        EXPECT_FALSE(Utils::GetOnlyName(path, text = L"old"));
        EXPECT_EQ(L"", text);
    }
    EXPECT_EQ(3, filePart);

    folder.Write(L"tool.cmd");
    EXPECT_TRUE(Utils::MySearchPath(folder.Path(), L"tool", L".cmd", text, filePart));
    EXPECT_EQ(here + L"tool.cmd", text);
    EXPECT_EQ(hereSize, filePart);
    EXPECT_TRUE(Utils::MySearchPath(L"", L"kernel32.dll", L"", text, filePart));
    EXPECT_EQ(0, _wcsicmp(L"kernel32.dll", text.c_str() + filePart));
    EXPECT_FALSE(Utils::MySearchPath(folder.Path(), L"tool", L"", text = L"old", filePart));
    EXPECT_EQ(L"old", text);
    EXPECT_TRUE(Utils::MySetCurrentDirectory(old));
}

namespace
{

UINT s_answer;

UINT WINAPI AnswerLength(wchar_t * buffer, UINT size)
{
    std::fill_n(buffer, std::min(size, s_answer), L'w');
    return s_answer;
}

DWORD WINAPI AnswerCurrent(DWORD size, wchar_t * buffer)
{
    return size == 0 ? s_answer + 1 : AnswerLength(buffer, size);
}

} // namespace

TEST(GMFileSystemUtils, LimitsWhatTheSystemTells)
{
    ImportHook const system("GetSystemDirectoryW", &AnswerLength);
    ImportHook const windows("GetWindowsDirectoryW", &AnswerLength);
    ImportHook const current("GetCurrentDirectoryW", &AnswerCurrent);
    for (UINT const length : {0u, 1u, 260u, 261u, 5000u})
    {
        s_answer = length;
        bool const fits = length != 0 && length <= 260;
        GMString const expected = fits ? GMString(length, L'w') : L"old";
        GMString text = L"old";
        EXPECT_EQ(fits, Utils::MyGetSystemDirectory(text));
        EXPECT_EQ(expected, text);
        EXPECT_EQ(fits, Utils::MyGetWindowsDirectory(text = L"old"));
        EXPECT_EQ(expected, text);
    }
    for (UINT const length : {518u, 519u, 5000u})
    {
        s_answer = length;
        GMString text = L"old";
        EXPECT_EQ(length == 518, Utils::MyGetCurrentDirectory(text));
        EXPECT_EQ(length == 518 ? 518u : 0u, text.size());
    }
}

namespace
{

unsigned int s_asked;

DWORD WINAPI SayThatItExists(wchar_t const *)
{
    ++s_asked;
    return FILE_ATTRIBUTE_NORMAL;
}

DWORD WINAPI NeedMoreThanALongForm(wchar_t const *, wchar_t *, DWORD) { return 521; }

DWORD WINAPI NeedMoreThanAPath(DWORD, wchar_t *) { return 261; }

} // namespace

TEST(GMFileSystemUtils, FindsFreeNames)
{
    TemporaryFolder const folder;
    GMString name;
    EXPECT_FALSE(Utils::MakeAutoName(folder.File(L"a"), L".txt", 3, name));
    EXPECT_EQ(folder.File(L"a(3).txt"), name);

    folder.Write(L"a(1).txt");
    CreateDirectoryW(folder.File(L"a(2).txt").c_str(), nullptr); // directories take names too
    std::tuple<wchar_t const *, wchar_t const *> const cases[] = {
        {L"a.txt", L"a(3).txt"},
        {L"a", L"a(1)"},
        {L"\u6E38\u620F \U0001F3AE.dat", L"\u6E38\u620F \U0001F3AE(1).dat"},
        {L"d.x\\file", L"d.x\\file(1)"},
    };
    for (auto const & [path, freePath] : cases)
    {
        GMString renamed = folder.File(path);
        EXPECT_TRUE(Utils::AutoRenamePath(renamed));
        EXPECT_EQ(folder.File(freePath), renamed);
    }

    s_asked = 0;
    ImportHook const hook("GetFileAttributesW", &SayThatItExists);
    GMString path = L"C:\\a.txt";
    EXPECT_FALSE(Utils::AutoRenamePath(path));
    EXPECT_EQ(L"C:\\a.txt", path);
    EXPECT_EQ(0x100000u, s_asked);
}

TEST(GMFileSystemUtils, ReplacesTheTemporaryFolder)
{
    TemporaryFolder const folder;
    GMString system;
    ASSERT_TRUE(Utils::MyGetTempPath(system));
    EXPECT_EQ(L'\\', system.back());

    GMString path;
    Utils::MySetTempPath(folder.Path());
    EXPECT_TRUE(Utils::MyGetTempPath(path));
    EXPECT_EQ(folder.Path() + L"\\", path);
    Utils::MySetTempPath(folder.File(L"missing")); // no file can be made in it
    EXPECT_TRUE(Utils::MyGetTempPath(path));
    EXPECT_EQ(folder.Path() + L"\\", path);
    EXPECT_THAT(TreeOf(folder.Path()), IsEmpty());
    Utils::MySetTempPath(folder.Path() + L"\\");
    EXPECT_TRUE(Utils::MyGetTempPath(path));
    EXPECT_EQ(folder.Path() + L"\\", path);
    Utils::MySetTempPath(L"");
    EXPECT_TRUE(Utils::MyGetTempPath(path));
    EXPECT_EQ(system, path);

    ImportHook const longForm("GetLongPathNameW", &NeedMoreThanALongForm);
    EXPECT_TRUE(Utils::MyGetTempPath(path)); // in the form that the system gave it
    EXPECT_TRUE(GMFilePathUtils::IsDirectory(path));
    ImportHook const temp("GetTempPathW", &NeedMoreThanAPath);
    EXPECT_FALSE(Utils::MyGetTempPath(path = L"old"));
    EXPECT_EQ(L"old", path);
}

TEST(GMFileSystemUtils, CreatesEmptyFiles)
{
    TemporaryFolder const folder;
    GMString const path = folder.Write(L"f", "old");
    for (__int64 const size : {0ll, 1ll, 0xFFFFFFFFll, 5000000000ll})
    {
        EXPECT_TRUE(Utils::CreateEmptyFile(path, size));
        EXPECT_EQ(static_cast<unsigned __int64>(size), Utils::GetFileSize(path));
    }
    EXPECT_FALSE(Utils::CreateEmptyFile(path, -1));
    EXPECT_FALSE(Utils::DoesFileExist(path));

    FailingFileCalls const calls;
    unsigned int const handles = HandleCount();
    EXPECT_LE(3u, FailEachCall(
                      [&](unsigned int call)
                      {
                          folder.Write(L"f", "old");
                          bool isMade;
                          {
                              FailureScope const failure(call);
                              isMade = Utils::CreateEmptyFile(path, 7);
                          }
                          DWORD const error = GetLastError();
                          bool const isThere = Utils::DoesFileExist(path);
                          unsigned __int64 const size = Utils::GetFileSize(path);
                          EXPECT_TRUE(isMade ? size == 7 : !isThere || size == 3) << call;
                          EXPECT_TRUE(isMade || error == injectedError) << call;
                      }));
    EXPECT_EQ(7u, Utils::GetFileSize(path));
    EXPECT_EQ(handles, HandleCount());
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
        EXPECT_EQ("old", ReadBytes(to));
        EXPECT_THAT(TreeOf(folder.Path()), ElementsAre(L"from.txt", L"to.txt"));
    }
    EXPECT_FALSE(Utils::MyMoveFileEx(folder.File(L"missing"), to));
    EXPECT_EQ("old", ReadBytes(to));
    EXPECT_TRUE(Utils::MyMoveFileEx(from, to));
    EXPECT_EQ("new", ReadBytes(to));
    EXPECT_FALSE(Utils::MyMoveFileEx(from, folder.File(L"other")));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), GetLastError());
    EXPECT_TRUE(Utils::MyMoveFileEx(to, folder.File(L"other"))); // nothing in the way
    EXPECT_THAT(TreeOf(folder.Path()), ElementsAre(L"other"));
}

TEST(GMFileSystemUtils, MovesBackWhenAMoveFails)
{
    // A target in the way that MoveFileExW can't replace, but that can be renamed: a directory.
    FailingFileCalls const calls;
    unsigned int const handles = HandleCount();
    unsigned int const made = FailEachCall(
        [&](unsigned int call)
        {
            TemporaryFolder const folder;
            GMString const from = folder.Write(L"from", "new");
            folder.Write(L"to\\kept", "old");
            bool isMoved;
            DWORD error;
            {
                FailureScope const failure(call);
                isMoved = Utils::MyMoveFileEx(from, folder.File(L"to"));
                error = GetLastError();
            }
            std::vector<GMString> const tree = TreeOf(folder.Path());
            if (isMoved)
            {
                EXPECT_THAT(tree, ElementsAre(L"to", L"to(1)\\", L"to(1)\\kept")) << call;
            }
            else
            {
                EXPECT_NE(DWORD{0}, error);
                EXPECT_THAT(tree, ElementsAre(L"from", L"to\\", L"to\\kept")) << call;
            }
        });
    EXPECT_LE(6u, made); // two moves of the target and the source, four questions and deletes
    EXPECT_EQ(handles, HandleCount());
}

TEST(GMFileSystemUtils, TakesPathsUpToTheLimit)
{
    TemporaryFolder const folder;
    // The longest path of an ordinary call, and of a directory in which temporary names fit.
    GMString const longest = folder.File(GMString(259 - folder.Path().size() - 1, L'n'));
    GMString const directory = folder.File(GMString(246 - folder.Path().size() - 1, L'd'));
    ASSERT_TRUE(Utils::CreateEmptyFile(longest, 3));
    ASSERT_TRUE(Utils::MyCreateDirectory(directory));
    EXPECT_EQ(3u, Utils::GetFileSize(longest));

    GMString path;
    int filePart = -1;
    EXPECT_TRUE(Utils::MySearchPath(folder.Path(), GMFilePathUtils::FileName(longest), L"", path,
                                    filePart));
    EXPECT_EQ(longest, path);
    EXPECT_TRUE(Utils::MyGetTempFileName(directory, L"GM~", path));
    EXPECT_EQ(247u, path.rfind(L"\\") + 1);
    EXPECT_FALSE(Utils::MyGetTempFileName(directory + L"dd", L"GM~", path = L"old"));
    EXPECT_EQ(L"old", path);
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
    EXPECT_FALSE(Utils::MyCopyDirectory(L"", at.To()));
    EXPECT_FALSE(Utils::MyCopyDirectory(at.From(), L""));
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

    for (unsigned int i = 0; i < 2000; ++i)
        at.folder.Write(L"many\\file " + std::to_wstring(i));
    EXPECT_TRUE(Utils::MyCopyDirectory(at.folder.File(L"many"), at.To() + L"\\many"));
    EXPECT_EQ(TreeOf(at.folder.File(L"many")), TreeOf(at.To() + L"\\many"));

    // A file where a directory should be, and failures deeper in the tree: the rest is copied.
    ASSERT_TRUE(Utils::RemoveDirectoryWithSubItems(at.To()));
    at.folder.Write(L"t\\b", "a file");
    EXPECT_TRUE(Utils::MyCopyDirectory(at.From(), at.To()));
    EXPECT_EQ("a file", ReadBytes(at.To() + L"\\b"));
    EXPECT_TRUE(Utils::DoesFileExist(at.To() + L"\\\u6E38\u620F\\\U0001F3AE.dat"));

    constexpr unsigned int levels = 200;
    GMString const tree = L"\\\\?\\" + at.folder.File(L"deep"); // without a limit of length
    GMString path = tree;
    for (unsigned int i = 0; i < levels; ++i, path += L"\\d")
    {
        ASSERT_TRUE(CreateDirectoryW(path.c_str(), nullptr));
        WriteBytes(path + L"\\file", "x");
    }
    unsigned int const handles = HandleCount();
    GMString const copy = L"\\\\?\\" + at.folder.File(L"copy");
    EXPECT_TRUE(Utils::MyCopyDirectory(tree, copy));
    EXPECT_EQ(levels, GMFilePathUtils::FileSizeRecursive(copy));
    EXPECT_EQ(handles, HandleCount());
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
    unsigned int const handles = HandleCount();
    unsigned int const made = FailEachCall(
        [&](unsigned int call)
        {
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
            SCOPED_TRACE(call);
            EXPECT_EQ(source, TreeOf(at.From()));
            EXPECT_THAT(ReadBytes(at.To() + L"\\a.txt"), testing::AnyOf("new a", "old a"));
            EXPECT_THAT(ReadBytes(at.To() + L"\\b\\c\\deep"),
                        testing::AnyOf("new deep", "old deep"));
            // Nothing is there but what is copied and what goes at the next start.
            std::set<GMString> expected(source.begin(), source.end());
            for (GMString const & path : s_forReboot)
                expected.insert(path.substr(at.To().size() + 1));
            for (GMString const & path : TreeOf(at.To()))
            {
                // What the system didn't take on to delete is the file that was in use.
                EXPECT_TRUE(expected.count(path) != 0 ||
                            ReadBytes(at.To() + L"\\" + path) == "old a")
                    << testing::PrintToString(path);
            }
        });
    EXPECT_LE(20u, made);
    EXPECT_EQ(handles, HandleCount());
}

TEST(GMFileSystemUtils, TellsWhetherATreeIsGone)
{
    FailingFileCalls const calls;
    unsigned int const handles = HandleCount();
    unsigned int const made = FailEachCall(
        [&](unsigned int call)
        {
            Source const at;
            bool isGone;
            {
                FailureScope const failure(call);
                isGone = Utils::RemoveDirectoryWithSubItems(at.From());
            }
            bool const isAnswered = g_callsSeen != call; // the last call asks what is there
            EXPECT_EQ(isGone, !isAnswered || !Utils::DoesFileExist(at.From())) << call;
        });
    EXPECT_LE(15u, made);
    EXPECT_EQ(handles, HandleCount());
}

namespace
{

struct
{
    DWORD code;
    std::string input;
    DWORD error;    // 0 for success
    DWORD returned; // bytes
    DWORD attributes;
} s_volume;

BOOL WINAPI Control(HANDLE, DWORD code, void * in, DWORD inSize, void *, DWORD outSize,
                    DWORD * returned, OVERLAPPED *)
{
    s_volume.code = code;
    s_volume.input.assign(static_cast<char const *>(in), inSize);
    EXPECT_EQ(code == 0x940CF ? 32u : 0u, outSize);
    *returned = s_volume.returned;
    SetLastError(s_volume.error);
    return s_volume.error == 0;
}

BOOL WINAPI Inform(HANDLE, BY_HANDLE_FILE_INFORMATION * information)
{
    information->dwFileAttributes = s_volume.attributes;
    return TRUE;
}

} // namespace

TEST(GMFileSystemUtils, AsksForSparseFiles)
{
    ImportHook const control("DeviceIoControl", &Control); // Wine has no sparse files
    ImportHook const inform("GetFileInformationByHandle", &Inform);
    TemporaryFolder const folder;
    ScopedFile const file = Open(folder.Write(L"f", "12345"), GENERIC_READ, FILE_SHARE_READ);

    for (DWORD const error : {ERROR_SUCCESS, ERROR_INVALID_FUNCTION, ERROR_ACCESS_DENIED})
    {
        s_volume = {};
        s_volume.error = error;
        EXPECT_EQ(error == 0, Utils::SetSparseAttribute(file.Get()));
        EXPECT_EQ(0x900C4u, s_volume.code);
        EXPECT_EQ("", s_volume.input);
        EXPECT_EQ(error != ERROR_ACCESS_DENIED, Utils::ClearSparseAttribute(file.Get()));
        EXPECT_EQ(0x900C4u, s_volume.code);
        EXPECT_EQ(std::string(1, '\0'), s_volume.input);
    }
    for (auto const & [error, returned, hasRegion] :
         {std::tuple(0, 16, false), {0, 0, true}, {0, 32, true}, {ERROR_MORE_DATA, 16, true}})
    {
        s_volume = {};
        s_volume.error = error;
        s_volume.returned = returned;
        EXPECT_EQ(hasRegion, Utils::HasSparseRegion(file.Get()));
        EXPECT_EQ(std::string(8, '\0') + '\5' + std::string(7, '\0'), s_volume.input);
    }
    EXPECT_TRUE(Utils::HasSparseRegion(INVALID_HANDLE_VALUE));

    s_volume.attributes = FILE_ATTRIBUTE_SPARSE_FILE | FILE_ATTRIBUTE_ARCHIVE;
    EXPECT_TRUE(Utils::HasSparseAttribute(file.Get()));
    EXPECT_FALSE(Utils::HasSparseAttribute(INVALID_HANDLE_VALUE));
    s_volume.attributes = FILE_ATTRIBUTE_ARCHIVE;
    EXPECT_FALSE(Utils::HasSparseAttribute(file.Get()));
}

} // namespace Velmora::Testing
