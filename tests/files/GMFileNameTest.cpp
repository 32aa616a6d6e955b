#include "VelmoraCommon/files/GMFileName.h"

#include <gtest/gtest.h>

namespace Velmora::Testing
{

TEST(GMFileName, Normalizes)
{
    struct Case
    {
        wchar_t const * path;
        unsigned int flags;
        wchar_t const * result;
    };
    Case const cases[] = {
        {LR"(C:\a)", 0x10, LR"(C:\a\)"},
        {LR"(C:\a\\/)", 0x10, LR"(C:\a\)"},
        {L"", 0x10, L""},
        {L"\\", 0x10, L""},
        {LR"(C:\a\)", 0x20, LR"(C:\a)"},
        {LR"(C:\)", 0x20, L"C:"},
        {L"\\//", 0x20, L""},
        {LR"("")", 4, L""},
        {LR"("a)", 4, LR"("a)"},
        {LR"(")", 4, LR"(")"},
        {LR"(""a"")", 4, LR"("a")"},
        {LR"("C:\a\")", 36, LR"(C:\a)"},
        {LR"("C:\a"\)", 36, LR"("C:\a")"}, // quotes are looked for first
        {LR"(C:\a)", 0x30, LR"(C:\a)"},
        {L"a/b\\c/", 0x40000000, LR"(a\b\c\)"},
        {L"a/b/", 0x40000010, LR"(a\b\)"},
        {L"aB", 1, L"ab"},
        {L"aB", 3, L"AB"},
        {L"a/\"", 0x3FFFFFC8, L"a/\""}, // none of these bits means anything
    };
    for (Case const & each : cases)
    {
        GMString path = each.path;
        GMFileName::NormalizePath(path, each.flags);
        EXPECT_EQ(each.result, path) << testing::PrintToString(each.path) << each.flags;
    }
}

TEST(GMFileName, Canonicalizes)
{
    GMString path = LR"(C:\a\.\b\..\c)";
    GMFileName::Canonicalize(path);
    EXPECT_EQ(LR"(C:\a\c)", path);

    GMString const longest = LR"(C:\.\)" + GMString(254, L'x');
    path = longest;
    GMFileName::Canonicalize(path);
    EXPECT_EQ(L"C:\\" + GMString(254, L'x'), path);

    path = longest + L'x'; // more than the system's buffer holds
    GMFileName::Canonicalize(path);
    EXPECT_EQ(longest + L'x', path);
}

TEST(GMFileName, TellsAbsolutePaths)
{
    for (wchar_t const * const path : {L"C:", L"C:\\x", L"C:/x", L"\\\\srv\\s", L"\\\\", L"1:"})
        EXPECT_TRUE(GMFileName::IsCompletedPath(path)) << testing::PrintToString(path);
    for (wchar_t const * const path : {L"", L"C", L"C:x", L"\\x", L"x", L"//srv", L"\\/x"})
        EXPECT_FALSE(GMFileName::IsCompletedPath(path)) << testing::PrintToString(path);
}

TEST(GMFileName, Joins)
{
    struct Case
    {
        wchar_t const * directory;
        wchar_t const * name;
        wchar_t const * joined;
    };
    Case const cases[] = {
        {LR"(C:\a)", L"b.txt", LR"(C:\a\b.txt)"},
        {LR"(C:\a\)", LR"(\b.txt)", LR"(C:\a\b.txt)"},
        {LR"(C:\a//)", LR"(/\b/c)", LR"(C:\a\b/c)"},
        {LR"(C:\a)", LR"(D:\b)", LR"(D:\b)"},
        {LR"(C:\a)", LR"("D:\b")", LR"(D:\b)"},
        {LR"(C:\a)", LR"(\\srv\b)", LR"(\\srv\b)"},
        {L"", L"b", L"b"},
        {L"\\", L"\\b", L"b"},
        {LR"(C:\a)", L"", LR"(C:\a\)"},
        {LR"(C:\a)", L"//", LR"(C:\a\)"},
        {LR"("C:\a")", LR"("b")", LR"(C:\a\b)"},
    };
    for (Case const & each : cases)
        EXPECT_EQ(each.joined, GMFileName::JoinFileName(each.directory, each.name));
}

TEST(GMFileName, FindsDirectories)
{
    struct Case
    {
        wchar_t const * path;
        wchar_t const * directory;
        wchar_t const * parent;
    };
    Case const cases[] = {
        {LR"(C:\a\b.txt)", LR"(C:\a)", LR"(C:\a)"},
        {LR"(C:\a\b\)", LR"(C:\a)", LR"(C:\a)"},
        {LR"("C:\a\b")", LR"(C:\a)", LR"(C:\a)"},
        {LR"("C:\a\b"\)", LR"("C:\a)", LR"(C:\a)"}, // only the parent loses the delimiter first
        {L"b.txt", L"b.txt", L"b.txt"},
        {L"a/b", L"a/b", L"a/b"},
        {L"a\\b/c", L"a", L"a"},
        {LR"(C:\)", L"C:", L"C:"},
        {LR"(\a)", L"", L""},
        {L"", L"", L""},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.path));
        EXPECT_EQ(each.directory, GMFileName::GetDirectory(each.path));
        EXPECT_EQ(each.parent, GMFileName::GetParentDirectory(each.path));
    }
}

TEST(GMFileName, SplitsAtTheLastDelimiter)
{
    struct Case
    {
        wchar_t const * name;
        wchar_t const * pure;
        wchar_t const * delimiter;
        wchar_t const * tail;
    };
    Case const cases[] = {
        {L"a.txt", L"a.txt", L"", L""},
        {LR"(C:\x\a.txt)", LR"(C:\x)", L"\\", L"a.txt"},
        {LR"(C:\x\)", LR"(C:\x)", L"\\", L""},
        {L"\\", L"", L"\\", L""},
        {L"a/b", L"a/b", L"", L""},
    };
    for (Case const & each : cases)
    {
        GMString pure = each.name; // also the text that is split
        GMString delimiter = L"old";
        GMString tail = L"old";
        GMFileName::SplitNameToPureNameAndExtension(pure, pure, delimiter, tail);
        EXPECT_EQ(each.pure, pure);
        EXPECT_EQ(each.delimiter, delimiter);
        EXPECT_EQ(each.tail, tail);
    }
}

TEST(GMFileName, ChecksPaths)
{
    struct Case
    {
        wchar_t const * path;
        wchar_t const * invalidUnits;
        wchar_t const * invalidParts;
    };
    Case const cases[] = {
        {L"", L"", L""},
        {LR"(C:\a)", L"", L""},
        {L"C:", L"", L""},
        {L"a:b", L":", L""},
        {L"ab:c:", L": :", L""},
        {L":a", L":", L""},
        {L"a*b?", L"* ?", L""},
        {L"\t<>|\"\x1F", L"\t < > | \" \x1F", L""},
        {LR"(C:\con\x)", L"", L"CON"},
        {LR"(C:\CON.txt)", L"", L""},
        {L"nul ", L"", L"NUL"},
        {L"aux/x\\ Prn\\nul", L"", L"AUX PRN NUL"},
        {L"aux\\AUX", L"", L"AUX AUX"},
        {L"COM1\\LPT1\\contra", L"", L""},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.path));
        GMString const noUnits;
        GMString invalid = L"old";
        EXPECT_EQ(each.invalidUnits == noUnits, GMFileName::CheckFilePath(each.path, invalid));
        EXPECT_EQ(each.invalidUnits, invalid);
        invalid = L"old";
        EXPECT_EQ(each.invalidParts == noUnits, GMFileName::CheckFilePathParts(each.path, invalid));
        EXPECT_EQ(each.invalidParts, invalid);
        EXPECT_EQ(each.invalidUnits == noUnits && each.invalidParts == noUnits,
                  GMFileName::CheckFilePathError(each.path));
    }
}

TEST(GMFileName, RepairsNames)
{
    struct Case
    {
        wchar_t const * text;
        wchar_t const * replacement;
        wchar_t const * path;
        wchar_t const * fileName;
    };
    Case const cases[] = {
        {L"a/b:c", L"", L"a/bc", L"abc"},
        {L"a/b:c", L"_", L"a/b_c", L"a_b_c"},
        {LR"(C:\a)", L"_", LR"(C_\a)", L"C__a"},
        {L"*\x1F?", L"<>", L"<><><>", L"<><><>"},
        {L"fine name", L"_", L"fine name", L"fine name"},
    };
    for (Case const & each : cases)
    {
        GMString path = each.text;
        GMFileName::RepairInvalidPath(path, each.replacement);
        EXPECT_EQ(each.path, path);
        GMString fileName = each.text;
        GMFileName::RepairInvalidFileName(fileName, each.replacement);
        EXPECT_EQ(each.fileName, fileName);
    }
}

} // namespace Velmora::Testing
