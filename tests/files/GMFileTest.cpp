#include "VelmoraCommon/files/GMFile.h"

#include <string>

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

TEST(GMFile, FailsEverythingButCloseWhenClosed)
{
    GMFile file;
    char byte = 0;
    unsigned int count = 7;
    unsigned long long position = 7;
    FILETIME time = {};
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(INVALID_HANDLE_VALUE, file.GetHandle());
    EXPECT_FALSE(file.Read(&byte, 1, count));
    EXPECT_FALSE(file.Write(&byte, 1, count));
    EXPECT_FALSE(file.GetPosition(position));
    EXPECT_FALSE(file.GetSize(position));
    EXPECT_FALSE(file.Seek(0, FILE_BEGIN, position));
    EXPECT_FALSE(file.SetTime(time, time, time));
    EXPECT_FALSE(file.GetTime(time, time, time));
    EXPECT_FALSE(file.SeekBeginOfFile());
    EXPECT_FALSE(file.SeekEndOfFile(position));
    EXPECT_FALSE(file.SetEndOfFile());
    EXPECT_FALSE(file.SetLength(0));
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(7u, count);
    EXPECT_EQ(7u, position);
}

TEST(GMFile, ReadsWhatItWroteAtEveryPosition)
{
    TemporaryFolder const folder;
    GMFile file;
    ASSERT_TRUE(Open(file, folder.File(L"bytes"), CREATE_NEW));
    unsigned int count = 0;
    EXPECT_TRUE(file.Write("0123456789", 10, count));
    EXPECT_EQ(10u, count);
    EXPECT_FALSE(file.Write(nullptr, 1, count));

    struct Case
    {
        long long offset;
        unsigned int method;
        bool succeeds;
        unsigned long long position;
        char const * rest;
    };
    Case const cases[] = {
        {3, FILE_BEGIN, true, 3, "3456789"},
        {-4, FILE_CURRENT, true, 6, "6789"},
        {-1, FILE_END, true, 9, "9"},
        {0x100000005, FILE_BEGIN, true, 0x100000005, ""},
        {-0x100000000, FILE_CURRENT, true, 5, "56789"},
        {-11, FILE_END, false, 10, ""},
        {0, 3, false, 10, ""},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.offset);
        unsigned long long position = 0;
        EXPECT_EQ(each.succeeds, file.Seek(each.offset, each.method, position));
        EXPECT_EQ(each.succeeds ? each.position : 0, position);
        EXPECT_TRUE(file.GetPosition(position));
        EXPECT_EQ(each.position, position);

        char rest[16] = {};
        EXPECT_TRUE(file.Read(rest, sizeof(rest), count)); // the end is no failure
        EXPECT_EQ(each.rest, std::string(rest, count));
    }
    EXPECT_FALSE(file.Read(nullptr, 1, count));

    ASSERT_TRUE(
        file.Create(folder.File(L"bytes"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, 0));
    count = 7;
    EXPECT_FALSE(file.Write("x", 1, count));
    EXPECT_EQ(0u, count);
}

TEST(GMFile, CutsAndGrows)
{
    TemporaryFolder const folder;
    GMFile file;
    ASSERT_TRUE(Open(file, folder.File(L"bytes"), CREATE_NEW));
    for (unsigned long long const length : {10ull, 4ull, 0ull, 0xFFFFFFFFull, 0x100000001ull})
    {
        SCOPED_TRACE(length);
        EXPECT_TRUE(file.SetLength(length));
        SetLastError(NO_ERROR); // a size of 0xFFFFFFFF is told from a failure by this alone
        unsigned long long size = 0;
        EXPECT_TRUE(file.GetSize(size));
        EXPECT_EQ(length, size);
        EXPECT_TRUE(file.GetPosition(size));
        EXPECT_EQ(length, size);
    }
    EXPECT_FALSE(file.SetLength(1ull << 63));

    EXPECT_TRUE(file.SeekBeginOfFile());
    EXPECT_TRUE(file.SetEndOfFile());
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

TEST(GMFile, JudgesSetLowHalvesByTheLastError)
{
    TemporaryFolder const folder;
    GMFile file;
    ASSERT_TRUE(Open(file, folder.File(L"bytes"), CREATE_NEW));
    struct Case
    {
        DWORD low;
        LONG high;
        DWORD lastError;
        bool succeeds;
    };
    Case const cases[] = {{0xFFFFFFFF, 0, NO_ERROR, true},
                          {0xFFFFFFFF, 2, NO_ERROR, true},
                          {0xFFFFFFFF, 0, ERROR_INVALID_PARAMETER, false},
                          {0xFFFFFFFE, 1, ERROR_INVALID_PARAMETER, true}};
    ImportHook const pointerHook("SetFilePointer", &FakeSetPointer);
    ImportHook const sizeHook("GetFileSize", &FakeGetSize);
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.lastError);
        lowHalf = each.low;
        highHalf = each.high;
        auto const expected =
            each.succeeds ? static_cast<unsigned long long>(each.high) << 32 | each.low : 7;
        unsigned long long position = 7;
        SetLastError(each.lastError);
        EXPECT_EQ(each.succeeds, file.Seek(1, FILE_BEGIN, position));
        EXPECT_EQ(expected, position);
        unsigned long long size = 7;
        SetLastError(each.lastError);
        EXPECT_EQ(each.succeeds, file.GetSize(size));
        EXPECT_EQ(expected, size);
    }
    lowHalf = 8;
    highHalf = 1;
    EXPECT_FALSE(file.SetLength(8)); // it must stand where it was sent, high half too
}

BOOL WINAPI ShortWrite(HANDLE, void const *, DWORD, DWORD * written, OVERLAPPED *)
{
    *written = 3;
    return TRUE;
}

TEST(GMFile, TakesAShortWriteForAFailure)
{
    TemporaryFolder const folder;
    GMFile file;
    ASSERT_TRUE(Open(file, folder.File(L"bytes"), CREATE_NEW));
    ImportHook const hook("WriteFile", &ShortWrite);
    unsigned int written = 0;
    EXPECT_FALSE(file.Write("1234", 4, written));
    EXPECT_EQ(3u, written);
    EXPECT_TRUE(file.Write("123", 3, written));
}

TEST(GMFile, OpensInPlaceOfTheFileHeld)
{
    TemporaryFolder const folder;
    GMFile file;
    unsigned int const handles = HandleCount();
    ASSERT_TRUE(Open(file, folder.File(L"a"), CREATE_NEW));
    ASSERT_TRUE(Open(file, folder.File(L"b"), CREATE_NEW));
    EXPECT_EQ(handles + 1, HandleCount());

    EXPECT_FALSE(Open(file, folder.File(L"missing"), OPEN_EXISTING));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError());
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(handles, HandleCount());
}

/// Another current directory for a scope.
class CurrentDirectoryScope
{
public:
    explicit CurrentDirectoryScope(GMString const & path)
    {
        GetCurrentDirectoryW(MAX_PATH, m_before);
        SetCurrentDirectoryW(path.c_str());
    }
    ~CurrentDirectoryScope() { SetCurrentDirectoryW(m_before); }
    CurrentDirectoryScope(CurrentDirectoryScope const &) = delete;
    CurrentDirectoryScope & operator=(CurrentDirectoryScope const &) = delete;

private:
    wchar_t m_before[MAX_PATH] = {};
};

TEST(GMFile, MakesTheDirectoriesAboveANewFile)
{
    struct Case
    {
        char const * what;
        bool complete;
        unsigned int creationDisposition;
        GMString name;
        bool succeeds;
    };
    Case const cases[] = {
        {"replacing", true, CREATE_ALWAYS, L"a\\b\\file", true},
        {"replacing again", true, CREATE_ALWAYS, L"a\\b\\file", true},
        {"making", true, CREATE_NEW, L"c\\b\\file", false},
        {"opening or making", true, OPEN_ALWAYS, L"c\\b\\file", false},
        {"opening", true, OPEN_EXISTING, L"c\\b\\file", false},
        {"relative", false, CREATE_ALWAYS, L"c\\b\\file", false},
        {"relative, there", false, CREATE_ALWAYS, L"a\\b\\other", true},
        {"below a file", true, CREATE_ALWAYS, L"a\\b\\file\\c\\file", false},
    };
    TemporaryFolder const folder;
    CurrentDirectoryScope const scope(folder.Path());
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        GMFile file;
        EXPECT_EQ(each.succeeds, Open(file, each.complete ? folder.File(each.name) : each.name,
                                      each.creationDisposition));
        EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesW(folder.File(L"c").c_str()));
    }
}

BOOL WINAPI RefusedClose(HANDLE)
{
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

TEST(GMFile, KeepsTheHandleThatCannotBeClosed)
{
    TemporaryFolder const folder;
    GMFile file;
    ASSERT_TRUE(Open(file, folder.File(L"bytes"), CREATE_NEW));
    HANDLE const handle = file.GetHandle();
    {
        ImportHook const hook("CloseHandle", &RefusedClose);
        EXPECT_FALSE(file.Close());
        EXPECT_EQ(handle, file.GetHandle());

        SetLastError(ERROR_DISK_FULL);
        {
            GMFile const copy = file; // goes without success and without a trace
        }
        EXPECT_EQ(DWORD{ERROR_DISK_FULL}, GetLastError());
    }
    EXPECT_TRUE(file.Close());
}

FILETIME givenCreation = {};
decltype(&SetFileTime) originalSetTime = nullptr;

BOOL WINAPI NotingSetTime(HANDLE file, FILETIME const * creation, FILETIME const * access,
                          FILETIME const * write)
{
    givenCreation = *creation;
    return originalSetTime(file, creation, access, write);
}

TEST(GMFile, KeepsItsTimes)
{
    TemporaryFolder const folder;
    GMFile file;
    ASSERT_TRUE(Open(file, folder.File(L"bytes"), CREATE_NEW));
    FILETIME const times[] = {{0, 0x01C00000}, {0, 0x01C80000}, {0, 0x01D00000}};
    {
        // Not every file system keeps the time of creation.
        ImportHook const hook("SetFileTime", &NotingSetTime, originalSetTime);
        ASSERT_TRUE(file.SetTime(times[0], times[1], times[2]));
        EXPECT_EQ(0, CompareFileTime(&times[0], &givenCreation));
    }
    FILETIME creation = {};
    FILETIME access = {};
    FILETIME write = {};
    ASSERT_TRUE(file.GetTime(creation, access, write));
    EXPECT_NE(0u, creation.dwHighDateTime);
    EXPECT_EQ(0, CompareFileTime(&times[1], &access));
    EXPECT_EQ(0, CompareFileTime(&times[2], &write));
}

} // namespace
