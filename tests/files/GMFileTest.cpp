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

TEST(GMFile, FailsEverythingButCloseWhenClosed)
{
    GMFile file;
    char byte = 0;
    unsigned int count = 0;
    unsigned long long position = 0;
    FILETIME time = {};
    EXPECT_FALSE(file.Read(&byte, 1, count) || file.Write(&byte, 1, count));
    EXPECT_FALSE(file.GetPosition(position) || file.GetSize(position));
    EXPECT_FALSE(file.SeekBeginOfFile() || file.SeekEndOfFile(position));
    EXPECT_FALSE(file.SetEndOfFile() || file.SetLength(0));
    EXPECT_FALSE(file.SetTime(time, time, time) || file.GetTime(time, time, time));
    EXPECT_TRUE(file.Close());
}

TEST_F(GMFileTest, ReadsWhatItWroteAtEveryPosition)
{
    unsigned int count = 0;
    EXPECT_TRUE(file.Write("0123456789", 10, count));
    EXPECT_FALSE(file.Write(nullptr, 1, count) || file.Read(nullptr, 1, count));

    std::tuple<long long, unsigned int, bool, unsigned long long, char const *> const cases[] = {
        {3, FILE_BEGIN, true, 3, "3456789"},
        {-4, FILE_CURRENT, true, 6, "6789"},
        {-1, FILE_END, true, 9, "9"},
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
    for (unsigned long long const length : {10ull, 4ull, 0ull, 0xFFFFFFFFull, 0x100000001ull})
    {
        SCOPED_TRACE(length);
        EXPECT_TRUE(file.SetLength(length));
        SetLastError(NO_ERROR); // a size of 0xFFFFFFFF is told from a failure by this alone
        unsigned long long value = 0;
        EXPECT_TRUE(file.GetSize(value));
        EXPECT_EQ(length, value);
        EXPECT_TRUE(file.GetPosition(value));
        EXPECT_EQ(length, value);
    }
    EXPECT_FALSE(file.SetLength(1ull << 63));
    EXPECT_TRUE(file.SeekBeginOfFile() && file.SetEndOfFile());
    unsigned long long end = 7;
    EXPECT_TRUE(file.SeekEndOfFile(end));
    EXPECT_EQ(0u, end);
}

// The halves that the replaced calls answer with.
DWORD lowHalf = 0;
LONG highHalf = 0;

DWORD WINAPI FakeSetPointer(HANDLE, LONG, LONG * high, DWORD)
{
    *high = highHalf;
    return lowHalf;
}

DWORD WINAPI FakeGetSize(HANDLE, DWORD * high)
{
    *high = static_cast<DWORD>(highHalf);
    return lowHalf;
}

TEST_F(GMFileTest, JudgesSetLowHalvesByTheLastError)
{
    constexpr unsigned long long untouched = 7; // after a failure
    std::tuple<DWORD, LONG, DWORD, unsigned long long> const cases[] = {
        {0xFFFFFFFF, 2, NO_ERROR, 0x2FFFFFFFF},
        {0xFFFFFFFF, 0, ERROR_INVALID_PARAMETER, untouched}, // left over from another call
        {0xFFFFFFFE, 1, ERROR_INVALID_PARAMETER, 0x1FFFFFFFE},
    };
    ImportHook const pointerHook("SetFilePointer", &FakeSetPointer);
    ImportHook const sizeHook("GetFileSize", &FakeGetSize);
    for (auto const & [low, high, lastError, expected] : cases)
    {
        SCOPED_TRACE(expected);
        lowHalf = low;
        highHalf = high;
        for (bool const seeks : {true, false})
        {
            unsigned long long answer = untouched;
            SetLastError(lastError);
            EXPECT_EQ(expected != untouched,
                      seeks ? file.Seek(1, FILE_BEGIN, answer) : file.GetSize(answer));
            EXPECT_EQ(expected, answer);
        }
    }
    EXPECT_FALSE(file.SetLength(0xFFFFFFFE)); // it must stand where it was sent, high half too
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
    {
        ImportHook const writeHook("WriteFile", &ShortWrite);
        ImportHook const closeHook("CloseHandle", &RefusedClose);
        unsigned int written = 0;
        EXPECT_FALSE(file.Write("1234", 4, written));
        EXPECT_EQ(3u, written);
        EXPECT_FALSE(file.Close());
        EXPECT_EQ(handle, file.GetHandle());
        SetLastError(ERROR_DISK_FULL);
        GMFile(static_cast<GMFile const &>(file)); // the copy goes without a trace
        EXPECT_EQ(DWORD{ERROR_DISK_FULL}, GetLastError());
    }
    EXPECT_TRUE(file.Close());
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
    std::tuple<wchar_t const *, unsigned int, bool> const cases[] = {
        {L"a\\b\\file", CREATE_ALWAYS, true},  {L"a\\b\\file", CREATE_ALWAYS, true},
        {L"c\\b\\file", CREATE_NEW, false},    {L"c\\b\\file", OPEN_ALWAYS, false},
        {L"c\\b\\file", OPEN_EXISTING, false}, {L"a\\b\\file\\c", CREATE_ALWAYS, false},
    };
    TemporaryFolder const folder;
    for (auto const & [name, creationDisposition, succeeds] : cases)
    {
        SCOPED_TRACE(creationDisposition);
        GMFile file;
        EXPECT_EQ(succeeds, Open(file, folder.File(name), creationDisposition));
    }
    GMFile file;
    EXPECT_FALSE(Open(file, L"velmora_no_such\\file", CREATE_ALWAYS)); // not for a relative path
}

TEST_F(GMFileTest, KeepsItsTimes)
{
    FILETIME const given[] = {{0, 0x01C00000}, {0, 0x01C80000}, {0, 0x01D00000}};
    FILETIME times[3] = {};
    ASSERT_TRUE(file.SetTime(given[0], given[1], given[2]));
    ASSERT_TRUE(file.GetTime(times[0], times[1], times[2]));
    EXPECT_EQ(given[1].dwHighDateTime, times[1].dwHighDateTime);
    EXPECT_EQ(given[2].dwHighDateTime, times[2].dwHighDateTime); // some disks keep no other time
}

} // namespace
