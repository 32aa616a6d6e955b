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
    GMString absolute;
    for (wchar_t const * const path : {L"C:", L"C:/x", L"\\\\s", L"", L"C", L"C:x", L"\\x", L"//s"})
        absolute += GMFileName::IsCompletedPath(path) ? path : L"";
    EXPECT_EQ(L"C:C:/x\\\\s", absolute);
}

TEST(GMFileName, Joins)
{
    wchar_t const * const cases[][3] = {
        {L"C:\\a", L"b.txt", L"C:\\a\\b.txt"},
        {L"C:\\a//", L"/\\b/c", L"C:\\a\\b/c"},
        {L"C:\\a", L"D:\\b", L"D:\\b"},
        {L"C:\\a", L"\"D:\\b\"", L"D:\\b"},
        {L"", L"\\b", L"b"},
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
    GMString text = L"C:\\x\\a/b.txt"; // also where one result goes
    GMString delimiter, tail;
    GMFileName::SplitNameToPureNameAndExtension(text, text, delimiter, tail);
    EXPECT_EQ(L"C:\\x|\\|a/b.txt", text + L'|' + delimiter + L'|' + tail);
    GMFileName::SplitNameToPureNameAndExtension(tail, text, delimiter, tail);
    EXPECT_EQ(L"a/b.txt||", text + L'|' + delimiter + L'|' + tail);
}

TEST(GMFileName, ChecksPaths)
{
    wchar_t const * const cases[][3] = {
        // path, invalid units, invalid parts
        {L"", L"", L""},
        {L"ab:c:", L": :", L""},
        {L"a*b?", L"* ?", L""},
        {L"\t<>|\"\x1F", L"\t < > | \" \x1F", L""},
        {L"C:\\con\\x", L"", L"CON"},
        {L"C:\\CON.txt\\contra", L"", L""},
        {L"aux/x\\ Prn\\nul ", L"", L"AUX PRN NUL"},
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
    GMString path = L"C:\\a/b\x1F?";
    GMString name = path;
    GMFileName::RepairInvalidPath(path, L"<>");
    EXPECT_EQ(L"C<>\\a/b<><>", path);
    GMFileName::RepairInvalidFileName(name, L"");
    EXPECT_EQ(L"Cab", name);
}

} // namespace Velmora::Testing
