#include <gtest/gtest.h>

#include "VelmoraCommon/detect/software/GMSoftVersion.h"
#include "VelmoraCommon/detect/software/GMSoftwareDetect.h"

namespace Velmora::Testing
{

namespace
{

using Libs = GMDependSoftLib::GMLibs;

std::string Words(Libs const & libs)
{
    return std::to_string(libs.m_words[0]) + " " + std::to_string(libs.m_words[1]);
}

Libs Make(unsigned int first, unsigned int second)
{
    Libs libs;
    libs.m_words[0] = first;
    libs.m_words[1] = second;
    return libs;
}

} // namespace

TEST(GMDependSoftLib, ReadsAndWritesBothForms)
{
    struct Case
    {
        wchar_t const * text;
        Libs libs;
        wchar_t const * compact;
    };
    Case const cases[] = {
        {L"", Make(0, 0), L"0"},
        {L"5", Make(9, 0), L"5"},
        {L"131088", Make(0, 0), L"0"}, // bits that stand for nothing
        {L"A", Make(0, 0), L"0"},
        {L"A1,1F,20,23", Make(0x40000001, 0x12), L"81921"},
        {L"A24,0,xyz,,-1", Make(0, 0), L"0"},
        {L"A9", Make(0x100, 0), L"0"}, // without a compact bit
        {L"a1", Make(0, 0), L"0"},
        {L"B1", Make(0, 0), L"0"},
    };
    for (Case const & each : cases)
    {
        GMDependSoftLib set(each.text);
        EXPECT_EQ(Words(each.libs), Words(set.m_libs)) << each.text;
        EXPECT_EQ(each.compact, set.FormatToString());
    }

    wchar_t const * const ids[] = {L"1", L"3", L"4",  L"5", L"",   L"17", L"B",  L"8", L"6",
                                   L"7", L"E", L"18", L"2", L"11", L"20", L"22", L"23"};
    for (std::size_t bit = 0; bit < std::size(ids); ++bit)
    {
        GMDependSoftLib set;
        set.ParseVA(ids[bit]);
        std::wstring const number = std::to_wstring(bit == 4 ? 0 : 1u << bit);
        EXPECT_EQ(number, set.FormatToString());
        EXPECT_EQ(Words(GMDependSoftLib(number.c_str()).m_libs), Words(set.m_libs));
        set.ParseV0(L"1"); // adds
        set.ParseVA(L"9");
        EXPECT_EQ(0x101u, set.m_libs.m_words[0] & 0x101);
    }
}

TEST(GMDependSoftLib, CopiesItsFlagsAndNoMore)
{
    Libs source = Make(0x80000000, 0xFFFFFF61);
    Libs target = Make(3, 0x80000012);
    EXPECT_EQ(Words(Make(0x80000003, 0xFFFFFF73)), Words(target | source));
    EXPECT_EQ(Words(Make(0, 0x80000000)), Words(target & source));
    EXPECT_TRUE(target & source);
    EXPECT_TRUE(Make(0x80000000, 0));
    EXPECT_FALSE(Make(0, 0));
    target = source;
    EXPECT_EQ(Words(Make(0x80000000, 0x80000021)), Words(target));
}

TEST(GMSoftwareDetect, IsTheClientsRecord)
{
    EXPECT_FALSE(GMSoftwareDetect().m_isInstalled());
    GMSoftwareDetect record(GMDependSoftLib(L"A1F").m_libs, 7, 8, L"Game", [] { return true; });
    EXPECT_FALSE(record.GetParamIsInstalled());
    record.SetParamIsInstalled(true);
    GMSoftwareDetect assigned;
    assigned = record;
    EXPECT_TRUE(assigned.m_number1 == 7 && assigned.m_number2 == 8 && assigned.m_name == L"Game" &&
                assigned.m_isInstalled());
    EXPECT_EQ("1073741824 0", Words(assigned.m_libs));
    EXPECT_FALSE(assigned.GetParamIsInstalled());
    EXPECT_TRUE(GMSoftwareDetect(record).GetParamIsInstalled());
}

TEST(GMSoftVersion, OrdersItsNumbersAndKeepsThoseThatATextLacks)
{
    GMSoftVersion version;
    version.FormatVersion(L"1.2.3.4.5");
    version.FormatVersion(L"11.0");
    version.FormatVersion(L"");
    EXPECT_TRUE(version.major == 11 && version.minor == 0 && version.build == 3 &&
                version.revision == 4);
    wchar_t const * const rising[] = {L"-1.9.9.9", L"1.2.3.4", L"1.2.3.5",
                                      L"1.2.4.0",  L"1.3.0.0", L"2.0.0.0"};
    for (auto const & left : rising)
    {
        for (auto const & right : rising)
            EXPECT_EQ(&left < &right,
                      GMSoftVersion().FormatVersion(left) < GMSoftVersion().FormatVersion(right));
    }
}

} // namespace Velmora::Testing
