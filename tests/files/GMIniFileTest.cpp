#include "VelmoraCommon/files/GMIniFile.h"

#include <gtest/gtest.h>

#include "tests/support/ChildProcess.h"
#include "tests/support/ChildTask.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using Texts = std::vector<GMString>;
using Map = std::map<GMString, GMString>;

// The last one needs a file in UTF-16.
Map const samples = {
    {L"a", L"plain"}, {L"b b", L"a=b;c [d]"}, {L"c", L"C:\\x y\\z"}, {L"d", L"\x4E2D\xD83D\xDE00"}};

/// The other process reads by the system's functions what this one wrote, and answers in another
/// section. Its result is the number of values that it found right.
int ReadAndAnswer(std::wstring const & path)
{
    int right = 0;
    for (auto const & [key, value] : samples)
    {
        wchar_t read[100];
        GetPrivateProfileStringW(L"There", key.c_str(), L"", read, 100, path.c_str());
        right += read == value;
        WritePrivateProfileStringW(L"Back", key.c_str(), value.c_str(), path.c_str());
    }
    return right;
}
ChildTask const readAndAnswer(L"ReadAndAnswerIni", &ReadAndAnswer);

} // namespace

TEST(GMIniFile, IsSharedWithOtherProcesses)
{
    TemporaryFolder const folder;
    for (wchar_t const * name : {L"new\\a.ini", L"new\\b/c.ini", L"utf16"})
    {
        bool const isUtf16 = name[0] == L'u';
        GMIniFile const file(isUtf16 ? folder.Write(name, "\xFF\xFE") : folder.File(name));
        for (auto const & [key, value] : samples)
            EXPECT_TRUE(file.SetStringValue(L"There", key, value));
        EXPECT_EQ(isUtf16 ? 4u : 3u, RunProgram(readAndAnswer.CommandLine(file.GetFileName())));
        for (auto const & [key, value] : samples)
            EXPECT_EQ(isUtf16 || key != L"d", value == file.GetStringValue(L"BACK", key, L""));
    }
    EXPECT_FALSE(GMIniFile(folder.File(L"utf16\\f")).SetStringValue(L"s", L"k", L"v"));
}

TEST(GMIniFile, CutsAtItsLimits)
{
    TemporaryFolder const folder;
    for (std::size_t const over : {0u, 1u})
    {
        GMIniFile const file(folder.File(L"a" + std::to_wstring(over)));
        EXPECT_TRUE(file.SetStringValue(L"s", L"k", GMString(4095 + over, L'x')));
        EXPECT_EQ(GMString(4095, L'x'), file.GetStringValue(L"s", L"k", L""));

        // A section takes 5998 units with the ends of its lines: one more, and the last is lost.
        EXPECT_TRUE(file.SetStringValue(L"t", L"a", GMString(4000, L'x')));
        EXPECT_TRUE(file.SetStringValue(L"t", L"b", GMString(5998 - 4003 - 3 + over, L'y')));
        Texts keys, values;
        EXPECT_EQ(2 - over, file.GetKeyValues(keys, values, L"t"));
        EXPECT_EQ(GMString(4000, L'x'), values[0]);

        // The list of names takes 2047 units with their ends; a name has no limit of its own.
        Texts names{L"s", L"t", GMString(260, L'y'), GMString(1781 + over, L'z')};
        EXPECT_TRUE(file.SetStringValue(names[2], L"k", L"v"));
        EXPECT_TRUE(file.SetStringValue(names[3], L"k", L"v"));
        names[3].resize(1781);
        Texts found;
        EXPECT_EQ(4u, file.GetSections(found));
        EXPECT_EQ(names, found);
    }
}

TEST(GMIniFile, ListsSectionsAndKeys)
{
    TemporaryFolder const folder;
    GMIniFile const file(folder.File(L"a.ini"));
    Texts sections(1), keys(1), values(1);
    EXPECT_EQ(0u, file.GetSections(sections) + file.GetKeyValues(keys, values, L"x"));
    EXPECT_EQ(3u, sections.size() + keys.size() + values.size()) << "not left alone";

    folder.Write(L"a.ini", "[x]\r\na=1\r\nA=0\r\na=b=c\r\nalone\r\n=v\r\n[y]\r\nq=1\r\n");
    EXPECT_EQ(2u, file.GetSections(sections));
    EXPECT_EQ((Texts{L"x", L"y"}), sections);
    EXPECT_EQ(5u, file.GetKeyValues(keys, values, L"x"));
    EXPECT_EQ((Texts{L"a", L"A", L"a", L"alone", L""}), keys);
    EXPECT_EQ((Texts{L"1", L"0", L"b=c", L"alone", L"v"}), values);
    Map map{{L"a", L"old"}, {L"kept", L""}};
    Map all{{L"", L"v"}, {L"A", L"0"}, {L"a", L"b=c"}, {L"alone", L"alone"}, {L"kept", L""}};
    EXPECT_EQ(5u, file.GetKeyValues(map, L"x"));
    EXPECT_EQ(all, map);

    EXPECT_TRUE(file.ClearSection(L"x", false));
    EXPECT_EQ(2u, file.GetKeyValues(keys, values, L"x") + file.GetSections(sections));
    EXPECT_TRUE(file.ClearSection(L"x", true));
    EXPECT_EQ(1u, file.GetSections(sections));
    EXPECT_EQ(L"none", file.GetStringValue(L"x", L"a", L"none"));
}

} // namespace Velmora::Testing
