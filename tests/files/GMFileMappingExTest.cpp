#include "VelmoraCommon/files/GMFileMappingEx.h"

#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/TemporaryFolder.h"

using namespace Velmora;
using namespace Velmora::Testing;

namespace
{

using Access = GMFileMappingEx::GMDesiredAccess;
constexpr Access readAccess = GMFileMappingEx::GMAccessRead;
constexpr Access writeAccess = GMFileMappingEx::GMAccessWrite;
constexpr Access copyAccess = GMFileMappingEx::GMAccessCopy;
constexpr Access executeAccess = GMFileMappingEx::GMAccessExecute;

constexpr DWORD hindering = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_SYSTEM;

class GMFileMappingExTest : public testing::Test
{
protected:
    GMFileMappingExTest() : path(folder.File(L"bytes")) { WriteBytes(path, "content"); }

    DWORD Attributes() const { return GetFileAttributesW(path.c_str()); }

    TemporaryFolder const folder;
    GMString const path;
};

TEST_F(GMFileMappingExTest, MapsTheWholeFileAndMeansWhatItsFlagsSay)
{
    std::tuple<Access, unsigned long, unsigned long, unsigned long> const cases[] = {
        {readAccess, 0x80000000, 2, 4},
        {copyAccess, 0xC0000000, 8, 1},
        {executeAccess | readAccess, 0xE0000000, 64, 36},
        {readAccess | writeAccess, 0xC0000000, 4, 6},
        {readAccess | writeAccess | copyAccess | executeAccess, 0xE0000000, 64, 39},
    };
    for (auto const & [access, fileAccess, pageProtect, mapAccess] : cases)
    {
        SCOPED_TRACE(access);
        GMFileMappingEx mapping;
        ASSERT_TRUE(mapping.MappingRawFile(path, access)) << GetLastError();
        EXPECT_EQ("content", std::string(static_cast<char *>(mapping.GetMapAddress()), 7));
        unsigned long values[] = {7, 7, 7};
        mapping.CalcDesiredAccess(values[0], values[1], values[2]);
        EXPECT_EQ(std::tuple(fileAccess, pageProtect, mapAccess),
                  std::tuple(values[0], values[1], values[2]));
    }
}

TEST_F(GMFileMappingExTest, GivesTheAttributesBackAtClose)
{
    for (Access const access : {readAccess, writeAccess, executeAccess | readAccess})
    {
        SCOPED_TRACE(access);
        ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_ARCHIVE | hindering));
        for (bool const byDestructor : {false, true})
        {
            GMFileMappingEx mapping;
            ASSERT_TRUE(mapping.MappingRawFile(path, access)) << GetLastError();
            EXPECT_EQ(access == readAccess ? hindering : 0, Attributes() & hindering);
            EXPECT_FALSE(mapping.ModifyFileAttributes()); // nothing is left to take off
            if (byDestructor)
                continue;
            mapping.Close();
            EXPECT_EQ(FILE_ATTRIBUTE_ARCHIVE | hindering, Attributes());
            EXPECT_EQ('c', *static_cast<char *>(mapping.GetMapAddress())); // the view stays
        }
        EXPECT_EQ(FILE_ATTRIBUTE_ARCHIVE | hindering, Attributes());
        SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    }
}

TEST_F(GMFileMappingExTest, LeavesNothingBehindWhenItFails)
{
    WriteBytes(folder.File(L"empty"), "");
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
    ScopedFile const reader(
        CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    {
        GMFileMappingEx mapping;
        EXPECT_FALSE(mapping.MappingRawFile(folder.File(L"missing"), writeAccess));
        EXPECT_FALSE(mapping.MappingRawFile(path, writeAccess));
        EXPECT_EQ(DWORD{ERROR_SHARING_VIOLATION}, GetLastError());
        EXPECT_EQ(0u, Attributes() & hindering); // until Close
        GMFileMappingEx empty;
        EXPECT_FALSE(empty.MappingRawFile(folder.File(L"empty"), writeAccess));
        SetLastError(ERROR_DISK_FULL);
    }
    EXPECT_EQ(DWORD{ERROR_DISK_FULL}, GetLastError());
    EXPECT_EQ(DWORD{FILE_ATTRIBUTE_READONLY}, Attributes() & hindering);
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
}

} // namespace
