#include "VelmoraCommon/files/GMTempFile.h"

#include <cwchar>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/files/GMTempDirectory.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/text/GMStringUtils.h"
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

void * NoMemory(std::size_t) { return nullptr; }

} // namespace

TEST(GMTempFile, LivesWithItsObject)
{
    TemporaryFolder const folder;
    GMString first;
    GMString path = L"old";
    {
        GMTempFile file;
        ASSERT_TRUE(file.CreateTempFile(folder.Path(), first));
        EXPECT_EQ(folder.File(L"GM~"), first.substr(0, folder.Path().size() + 4));
        SetFileAttributesW(first.c_str(), FILE_ATTRIBUTE_READONLY);
        EXPECT_FALSE(file.Create(folder.File(L"missing"), L"x", path));
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
            EXPECT_EQ(first, file.GetFileName()); // still owned
            ASSERT_TRUE(file.CreateTempFile(folder.Path(), path));
        }
        EXPECT_EQ(2u, Entries(folder.Path())); // the locked one stays behind
        file.DisableDeleting();
        EXPECT_TRUE(file.Remove());
    }
    EXPECT_TRUE(IsThere(first) && IsThere(path));
}

TEST(GMTempDirectory, LivesWithItsObject)
{
    TemporaryFolder const folder;
    {
        GMTempDirectory directory;
        ASSERT_TRUE(directory.CreateTempDirectory(folder.Path() + L"/"));
        GMString const path = directory.GetPath();
        EXPECT_EQ(folder.File(L"GM$D."), path.substr(0, folder.Path().size() + 6));
        WriteBytes(path + L"f", "");
        {
            ScopedFile const lock = Lock(path + L"f");
            EXPECT_FALSE(directory.Remove());
            EXPECT_EQ(path, directory.GetPath());
        }
        EXPECT_TRUE(directory.Remove());
        EXPECT_EQ(L"", directory.GetPath());
        EXPECT_FALSE(directory.Create(folder.File(L"missing"), L"x"));
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
    GMString temp;
    GMString owned; // by nobody but the caller
    ASSERT_TRUE(GMFileSystemUtils::MyGetTempPath(temp));
    ASSERT_TRUE(GMTempDirectory::CreateTempDirectory(L"x", owned));
    EXPECT_EQ(temp + L"xD.", owned.substr(0, temp.size() + 3));
    EXPECT_TRUE(GMFileSystemUtils::MyRemoveDirectory(owned));
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
    GMString path;
    ASSERT_TRUE(GMTempDirectory::CreateTempDirectory(folder.Path() + L"\\\\", L"x", path));
    int first = 0;
    int second = 0;
    ASSERT_EQ(2, std::swscanf(path.c_str() + path.rfind(L"xD."), L"xD.%d.%d\\", &first, &second));

    // The names of the next two tries are taken: by a directory and by a file.
    auto const name = [&](int add)
    { return GMStringUtils::FormatResult(L"xD.%.03d.%.03d", first + add, second + add + 1); };
    folder.Write(name(0) + L"\\f");
    folder.Write(name(1));
    ASSERT_TRUE(GMTempDirectory::CreateTempDirectory(folder.Path(), L"x", path));
    EXPECT_EQ(folder.File(name(2)) + L"\\", path);
}

} // namespace Velmora::Testing
