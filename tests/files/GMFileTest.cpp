#include "VelmoraCommon/files/GMFile.h"

#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/support/HandleCount.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

using namespace Velmora;
using namespace Velmora::Testing;

namespace
{

bool Open(GMFile & file, GMString const & path, unsigned int creationDisposition)
{
    return file.Create(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, creationDisposition,
                       FILE_ATTRIBUTE_NORMAL);
}

/// A new file, open to read and write.
class GMFileTest : public testing::Test
{
protected:
    GMFileTest() { EXPECT_TRUE(Open(file, folder.File(L"bytes"), CREATE_NEW)); }

    TemporaryFolder const folder;
    GMFile file;
};

TEST_F(GMFileTest, ReadsWhatItWroteAtEveryPosition)
{
    unsigned int count = 0;
    EXPECT_TRUE(file.Write("0123456789", 10, count));
    EXPECT_FALSE(file.Write(nullptr, 1, count) || file.Read(nullptr, 1, count));

    std::tuple<long long, unsigned int, bool, unsigned long long, char const *> const cases[] = {
        {3, FILE_BEGIN, true, 3, "3456789"},
        {-4, FILE_CURRENT, true, 6, "6789"},
        {0x100000005, FILE_BEGIN, true, 0x100000005, ""},
        {-0x100000000, FILE_CURRENT, true, 5, "56789"},
        {-11, FILE_END, false, 10, ""},
    };
    for (auto const & [offset, method, succeeds, expectedPosition, expectedRest] : cases)
    {
        SCOPED_TRACE(offset);
        unsigned long long position = 0;
        EXPECT_EQ(succeeds, file.Seek(offset, method, position));
        EXPECT_EQ(succeeds ? expectedPosition : 0, position);
        EXPECT_TRUE(file.GetPosition(position));
        EXPECT_EQ(expectedPosition, position);
        char rest[16] = {};
        EXPECT_TRUE(file.Read(rest, sizeof(rest), count)); // the end is no failure
        EXPECT_EQ(expectedRest, std::string(rest, count));
    }
}

TEST_F(GMFileTest, CutsAndGrows)
{
    for (unsigned long long const length : {10ull, 4ull, 0xFFFFFFFFull, 0x100000001ull})
    {
        EXPECT_TRUE(file.SetLength(length));
        SetLastError(NO_ERROR); // a size of 0xFFFFFFFF is told from a failure by this alone
        unsigned long long size = 0;
        unsigned long long position = 0;
        EXPECT_TRUE(file.GetSize(size) && file.GetPosition(position));
        EXPECT_EQ(length, size);
        EXPECT_EQ(length, position);
    }
    EXPECT_FALSE(file.SetLength(1ull << 63));
    EXPECT_TRUE(file.SeekBeginOfFile() && file.SetEndOfFile());
}

DWORD WINAPI FakeSetPointer(HANDLE, LONG, LONG * high, DWORD)
{
    *high = 2;
    return 0xFFFFFFFF;
}

DWORD WINAPI FakeGetSize(HANDLE, DWORD * high)
{
    *high = 2;
    return 0xFFFFFFFF;
}

TEST_F(GMFileTest, JudgesSetLowHalvesByTheLastError)
{
    ImportHook const pointerHook("SetFilePointer", &FakeSetPointer);
    ImportHook const sizeHook("GetFileSize", &FakeGetSize);
    for (DWORD const lastError : {NO_ERROR, ERROR_INVALID_PARAMETER}) // maybe of another call
    {
        unsigned long long position = 7;
        unsigned long long size = 7;
        SetLastError(lastError);
        EXPECT_EQ(lastError == NO_ERROR, file.Seek(1, FILE_BEGIN, position));
        EXPECT_EQ(lastError == NO_ERROR, file.GetSize(size));
        EXPECT_EQ(lastError == NO_ERROR ? 0x2FFFFFFFF : 7, position);
        EXPECT_EQ(position, size);
    }
    SetLastError(NO_ERROR);
    EXPECT_FALSE(file.SetLength(0xFFFFFFFF)); // it must stand where it was sent, high half too
}

BOOL WINAPI ShortWrite(HANDLE, void const *, DWORD, DWORD * written, OVERLAPPED *)
{
    *written = 3;
    return TRUE;
}

BOOL WINAPI RefusedClose(HANDLE)
{
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

TEST_F(GMFileTest, TellsOfShortWritesAndHandlesThatStay)
{
    HANDLE const handle = file.GetHandle();
    ImportHook const writeHook("WriteFile", &ShortWrite);
    ImportHook const closeHook("CloseHandle", &RefusedClose);
    unsigned int written = 0;
    EXPECT_FALSE(file.Write("1234", 4, written) || file.Close());
    EXPECT_EQ(3u, written);
    EXPECT_EQ(handle, file.GetHandle());
    SetLastError(ERROR_DISK_FULL);
    GMFile(static_cast<GMFile const &>(file)); // the copy goes without a trace
    EXPECT_EQ(DWORD{ERROR_DISK_FULL}, GetLastError());
}

TEST(GMFile, OpensInPlaceOfTheFileHeld)
{
    TemporaryFolder const folder;
    unsigned int const handles = HandleCount();
    GMFile file;
    ASSERT_TRUE(Open(file, folder.File(L"a"), CREATE_NEW));
    ASSERT_TRUE(Open(file, folder.File(L"b"), CREATE_NEW));
    EXPECT_EQ(handles + 1, HandleCount());
    EXPECT_FALSE(Open(file, folder.File(L"missing"), OPEN_EXISTING));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError());
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(handles, HandleCount());
}

TEST(GMFile, MakesTheDirectoriesAboveAFileToReplace)
{
    TemporaryFolder const folder;
    GMFile file;
    for (unsigned int const how : {CREATE_NEW, OPEN_ALWAYS})
        EXPECT_FALSE(Open(file, folder.File(L"a\\b\\file"), how));
    EXPECT_TRUE(Open(file, folder.File(L"a\\b\\file"), CREATE_ALWAYS));
    EXPECT_FALSE(Open(file, folder.File(L"a\\b\\file\\c"), CREATE_ALWAYS));
    EXPECT_FALSE(Open(file, L"velmora_no_such\\file", CREATE_ALWAYS)); // not for a relative path
}

} // namespace
