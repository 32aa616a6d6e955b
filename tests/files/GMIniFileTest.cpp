#include "VelmoraCommon/files/GMIniFile.h"

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using Texts = std::vector<GMString>;
using Map = std::map<GMString, GMString>;

} // namespace

TEST(GMIniFile, KeepsTexts)
{
    TemporaryFolder const folder;
    Map const samples = {{L"b b", L"a=b;c [d]"}, {L"d", L"\x4E2D\xD83D\xDE00"}};
    for (wchar_t const * name : {L"new\\b/c.ini", L"utf16"})
    {
        bool const isUtf16 = name[0] == L'u'; // the last sample needs it
        GMIniFile const file(isUtf16 ? folder.Write(name, "\xFF\xFE") : folder.File(name));
        for (auto const & [key, value] : samples)
        {
            EXPECT_TRUE(file.SetStringValue(L"There", key, value));
            EXPECT_EQ(isUtf16 || key != L"d", value == file.GetStringValue(L"THERE", key, L""));
        }
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
        Texts keys, values, names;
        EXPECT_EQ(2 - over, file.GetKeyValues(keys, values, L"t"));

        // The list of names takes 2047 units with their ends.
        EXPECT_TRUE(file.SetStringValue(GMString(2042 + over, L'z'), L"k", L"v"));
        EXPECT_EQ(3u, file.GetSections(names));
        EXPECT_EQ(GMString(2042, L'z'), names[2]);
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
