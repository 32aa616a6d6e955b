#include "VelmoraCommon/files/GMTempFile.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/files/GMTempDirectory.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

bool IsThere(GMString const & path) { return GMFileSystemUtils::DoesFileExist(path); }

std::size_t Entries(GMString const & directory)
{
    std::vector<GMString> all;
    GMFilePathUtils::GetAllSons(directory, all);
    return all.size();
}

/// An open file that can't be deleted meanwhile.
ScopedFile Lock(GMString const & path)
{
    return ScopedFile(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, 0, nullptr));
}

decltype(GetTempFileNameW) * s_tempName;
GMString s_windows; // stands for the Windows directory, the only place where files can be made
GMString s_refused;

UINT WINAPI MakeInWindows(wchar_t const * directory, wchar_t const * prefix, UINT number,
                          wchar_t * path)
{
    if (directory == s_windows)
        return s_tempName(directory, prefix, number, path);
    s_refused = directory;
    return 0;
}

void * NoMemory(std::size_t) { return nullptr; }

UINT WINAPI TellWindows(wchar_t * path, UINT)
{
    return static_cast<UINT>(s_windows.copy(path, s_windows.size()));
}

} // namespace

TEST(GMTempFile, LivesWithItsObject)
{
    TemporaryFolder const folder;
    GMString first;
    GMString path;
    {
        GMTempFile file;
        EXPECT_TRUE(file.Remove()); // nothing to do
        ASSERT_TRUE(file.CreateTempFile(folder.Path(), first));
        EXPECT_EQ(folder.File(L"GM~"), first.substr(0, folder.Path().size() + 4));
        EXPECT_EQ(first, file.GetFileName());
        SetFileAttributesW(first.c_str(), FILE_ATTRIBUTE_READONLY);
        ASSERT_TRUE(file.Create(folder.Path(), L"longprefix", path));
        EXPECT_EQ(folder.File(L"lon"), path.substr(0, folder.Path().size() + 4));
        EXPECT_EQ(1u, Entries(folder.Path()));

        EXPECT_FALSE(file.Create(folder.File(L"missing"), L"x", path = L"old"));
        EXPECT_EQ(L"old", path);
        EXPECT_EQ(0u, Entries(folder.Path()));
        ASSERT_TRUE(file.CreateTempFile(folder.Path(), path));
    }
    EXPECT_EQ(0u, Entries(folder.Path()));
    {
        GMTempFile file;
        ASSERT_TRUE(file.CreateTempFile(folder.Path(), first));
        {
            ScopedFile const lock = Lock(first);
            EXPECT_FALSE(file.Remove());
            EXPECT_FALSE(file.CreateTempFile(folder.File(L"missing"), path));
            EXPECT_EQ(first, file.GetFileName()); // still owned
            ASSERT_TRUE(file.CreateTempFile(folder.Path(), path));
        }
        EXPECT_EQ(2u, Entries(folder.Path())); // the locked one stays behind
        file.DisableDeleting();
        EXPECT_TRUE(file.Remove());
    }
    EXPECT_TRUE(IsThere(first));
    EXPECT_TRUE(IsThere(path));
}

TEST(GMTempFile, FallsBackToTheWindowsDirectory)
{
    TemporaryFolder const folder;
    s_windows = folder.Path();
    ImportHook const windows("GetWindowsDirectoryW", &TellWindows);
    ImportHook const make("GetTempFileNameW", &MakeInWindows, s_tempName);
    GMString temp;
    ASSERT_TRUE(GMFileSystemUtils::MyGetTempPath(temp));

    GMTempFile file;
    GMString path;
    EXPECT_TRUE(file.CreateTempFile(path));
    EXPECT_EQ(temp, s_refused);
    EXPECT_EQ(folder.Path(), path.substr(0, folder.Path().size()));
    s_windows = L"C:\\elsewhere";
    EXPECT_FALSE(file.CreateTempFile(path));
    EXPECT_EQ(0u, Entries(folder.Path()));
}

TEST(GMTempDirectory, LivesWithItsObject)
{
    TemporaryFolder const folder;
    GMString path;
    {
        GMTempDirectory directory;
        EXPECT_TRUE(directory.Remove());
        ASSERT_TRUE(directory.CreateTempDirectory(folder.Path() + L"/"));
        path = directory.GetPath();
        EXPECT_EQ(folder.File(L"GM$D."), path.substr(0, folder.Path().size() + 6));
        WriteBytes(path + L"f", "");
        ASSERT_TRUE(directory.Create(folder.Path(), L"\u6E38"));
        EXPECT_FALSE(IsThere(path));
        path = directory.GetPath();
        {
            WriteBytes(path + L"f", "");
            ScopedFile const lock = Lock(path + L"f");
            EXPECT_FALSE(directory.Remove());
            EXPECT_EQ(path, directory.GetPath());
        }
        EXPECT_TRUE(directory.Remove());
        EXPECT_EQ(L"", directory.GetPath());
        EXPECT_FALSE(directory.Create(folder.File(L"missing"), L"x"));
        EXPECT_EQ(static_cast<DWORD>(ERROR_PATH_NOT_FOUND), GetLastError());
        ASSERT_TRUE(directory.Create(folder.Path(), L"x"));
        ASSERT_TRUE(directory.CreateTempDirectory(directory.GetPath() + L"..")); // its own path
    }
    EXPECT_EQ(0u, Entries(folder.Path()));
    {
        GMTempDirectory directory;
        ASSERT_TRUE(directory.CreateTempDirectory(folder.Path()));
        directory.DisableDeleting();
    }
    EXPECT_EQ(1u, Entries(folder.Path()));

    GMTempDirectory directory;
    ASSERT_TRUE(directory.CreateTempDirectory());
    ASSERT_TRUE(GMFileSystemUtils::MyGetTempPath(path));
    EXPECT_EQ(path, directory.GetPath().substr(0, path.size()));

    GMString owned; // by nobody but the caller
    ASSERT_TRUE(GMTempDirectory::CreateTempDirectory(L"x", owned));
    EXPECT_EQ(path + L"xD.", owned.substr(0, path.size() + 3));
    EXPECT_TRUE(GMFileSystemUtils::MyRemoveDirectory(owned));
    EXPECT_FALSE(IsThere(owned));
}

TEST(GMTempDirectory, EndsWithoutMemory)
{
    TemporaryFolder const folder;
    std::optional<GMTempDirectory> directory(std::in_place);
    ASSERT_TRUE(directory->CreateTempDirectory(folder.Path()));
    {
        ImportHook const hook("malloc", &NoMemory, L"libstdc++-6.dll");
        directory.reset();
    }
    EXPECT_EQ(1u, Entries(folder.Path()));
}

TEST(GMTempDirectory, CountsOnWhereANameIsTaken)
{
    TemporaryFolder const folder;
    auto const numbers = [](GMString const & path)
    {
        EXPECT_EQ(L'\\', path.back());
        GMString const name = path.substr(path.rfind(L"D.") + 2);
        GMString::size_type const dot = name.find(L'.');
        EXPECT_LE(3u, dot);
        EXPECT_LE(3u, name.size() - 1 - dot - 1);
        return std::pair(std::stoi(name), std::stoi(name.substr(dot + 1)));
    };
    GMString path;
    ASSERT_TRUE(GMTempDirectory::CreateTempDirectory(folder.Path() + L"\\\\", L"x", path));
    auto const [first, second] = numbers(path);

    // The names of the next two tries are taken: by a directory and by a file.
    wchar_t taken[40];
    swprintf(taken, 40, L"xD.%.03d.%.03d", first, second + 1);
    folder.Write(GMString(taken) + L"\\f");
    swprintf(taken, 40, L"xD.%.03d.%.03d", first + 1, second + 2);
    folder.Write(taken);
    ASSERT_TRUE(GMTempDirectory::CreateTempDirectory(folder.Path(), L"x", path));
    EXPECT_EQ(std::pair(first + 2, second + 3), numbers(path));
    EXPECT_EQ(4u, Entries(folder.Path()));
}

} // namespace Velmora::Testing
