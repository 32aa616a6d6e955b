#include "VelmoraCommon/files/GMFileName.h"

#include <tuple>

#include <gtest/gtest.h>

namespace Velmora::Testing
{

TEST(GMFileName, Normalizes)
{
    std::tuple<wchar_t const *, unsigned int, wchar_t const *> const cases[] = {
        {L"C:\\a", 0x10, L"C:\\a\\"},
        {L"\\", 0x10, L""},
        {L"\\//", 0x20, L""},
        {L"\"\"", 4, L""},
        {L"\"a", 4, L"\"a"},
        {L"\"C:\\a\\\"", 36, L"C:\\a"},
        {L"\"C:\\a\"\\", 36, L"\"C:\\a\""}, // quotes are looked for first
        {L"C:\\a", 0x30, L"C:\\a"},
        {L"a/b\\c/", 0x40000000, L"a\\b\\c\\"},
        {L"aB", 1, L"ab"},
        {L"aB", 3, L"AB"},
        {L"a/\"", 0x3FFFFFC8, L"a/\""}, // none of these bits means anything
    };
    for (auto const & [text, flags, result] : cases)
    {
        GMString path = text;
        GMFileName::NormalizePath(path, flags);
        EXPECT_EQ(result, path) << testing::PrintToString(text) << flags;
    }
}

TEST(GMFileName, Canonicalizes)
{
    GMString path = L"C:\\a\\.\\b\\..\\c";
    GMFileName::Canonicalize(path);
    EXPECT_EQ(L"C:\\a\\c", path);

    GMString const longest = L"C:\\.\\" + GMString(254, L'x');
    path = longest;
    GMFileName::Canonicalize(path);
    EXPECT_EQ(L"C:\\" + GMString(254, L'x'), path);

    path = longest + L'x'; // more than the system's buffer holds
    GMFileName::Canonicalize(path);
    EXPECT_EQ(longest + L'x', path);
}

TEST(GMFileName, TellsAbsolutePaths)
{
    for (wchar_t const * const path : {L"C:", L"C:\\x", L"C:/x", L"\\\\srv\\s", L"1:"})
        EXPECT_TRUE(GMFileName::IsCompletedPath(path)) << testing::PrintToString(path);
    for (wchar_t const * const path : {L"", L"C", L"C:x", L"\\x", L"x", L"//srv"})
        EXPECT_FALSE(GMFileName::IsCompletedPath(path)) << testing::PrintToString(path);
}

TEST(GMFileName, Joins)
{
    wchar_t const * const cases[][3] = {
        {L"C:\\a", L"b.txt", L"C:\\a\\b.txt"},
        {L"C:\\a//", L"/\\b/c", L"C:\\a\\b/c"},
        {L"C:\\a", L"D:\\b", L"D:\\b"},
        {L"C:\\a", L"\"D:\\b\"", L"D:\\b"},
        {L"", L"\\b", L"b"},
        {L"\\", L"b", L"b"},
        {L"C:\\a", L"", L"C:\\a\\"},
        {L"\"C:\\a\"", L"\"b\"", L"C:\\a\\b"},
    };
    for (auto const & [directory, name, joined] : cases)
        EXPECT_EQ(joined, GMFileName::JoinFileName(directory, name));
}

TEST(GMFileName, FindsDirectories)
{
    wchar_t const * const cases[][3] = {
        {L"C:\\a\\b\\", L"C:\\a", L"C:\\a"},
        {L"\"C:\\a\\b\"", L"C:\\a", L"C:\\a"},
        {L"\"C:\\a\\b\"\\", L"\"C:\\a", L"C:\\a"}, // the parent loses the delimiter first
        {L"b.txt", L"b.txt", L"b.txt"},
        {L"a/b", L"a/b", L"a/b"},
        {L"C:\\", L"C:", L"C:"},
        {L"\\a", L"", L""},
    };
    for (auto const & [path, directory, parent] : cases)
    {
        EXPECT_EQ(directory, GMFileName::GetDirectory(path));
        EXPECT_EQ(parent, GMFileName::GetParentDirectory(path));
    }
}

TEST(GMFileName, SplitsAtTheLastDelimiter)
{
    wchar_t const * const cases[][4] = {
        {L"a/b.txt", L"a/b.txt", L"", L""},
        {L"C:\\x\\a.txt", L"C:\\x", L"\\", L"a.txt"},
    };
    for (auto const & [name, expectedPure, expectedDelimiter, expectedTail] : cases)
    {
        GMString pure = name; // also the text that is split
        GMString delimiter = L"old";
        GMString tail = L"old";
        GMFileName::SplitNameToPureNameAndExtension(pure, pure, delimiter, tail);
        EXPECT_EQ(expectedPure, pure);
        EXPECT_EQ(expectedDelimiter, delimiter);
        EXPECT_EQ(expectedTail, tail);
    }
}

TEST(GMFileName, ChecksPaths)
{
    wchar_t const * const cases[][3] = {
        // path, invalid units, invalid parts
        {L"", L"", L""},
        {L"C:", L"", L""},
        {L"a:b", L":", L""},
        {L"ab:c:", L": :", L""},
        {L"a*b?", L"* ?", L""},
        {L"\t<>|\"\x1F", L"\t < > | \" \x1F", L""},
        {L"C:\\con\\x", L"", L"CON"},
        {L"C:\\CON.txt\\contra", L"", L""},
        {L"aux/x\\ Prn\\nul ", L"", L"AUX PRN NUL"},
        {L"aux\\AUX\\COM1", L"", L"AUX AUX"},
    };
    for (auto const & [path, units, parts] : cases)
    {
        SCOPED_TRACE(testing::PrintToString(path));
        GMString invalid = L"old";
        EXPECT_EQ(*units == 0, GMFileName::CheckFilePath(path, invalid));
        EXPECT_EQ(units, invalid);
        invalid = L"old";
        EXPECT_EQ(*parts == 0, GMFileName::CheckFilePathParts(path, invalid));
        EXPECT_EQ(parts, invalid);
        EXPECT_EQ(*units == 0 && *parts == 0, GMFileName::CheckFilePathError(path));
    }
}

TEST(GMFileName, RepairsNames)
{
    wchar_t const * const cases[][4] = {
        {L"a/b:c", L"", L"a/bc", L"abc"},
        {L"C:\\a", L"_", L"C_\\a", L"C__a"},
        {L"*\x1F?", L"<>", L"<><><>", L"<><><>"},
    };
    for (auto const & [text, replacement, expectedPath, expectedName] : cases)
    {
        GMString path = text;
        GMFileName::RepairInvalidPath(path, replacement);
        EXPECT_EQ(expectedPath, path);
        GMString name = text;
        GMFileName::RepairInvalidFileName(name, replacement);
        EXPECT_EQ(expectedName, name);
    }
}

} // namespace Velmora::Testing
