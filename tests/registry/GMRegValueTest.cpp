#include "VelmoraCommon/registry/GMRegValue.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "tests/registry/RegModelText.h"
#include "tests/registry/RegText.h"
#include "tests/support/GuardBuffer.h"

namespace Velmora::Testing
{

namespace
{

constexpr unsigned int resourceList = 8; // a type without a form of its own

GMRegValue Strings(std::initializer_list<wchar_t const *> strings)
{
    GMString units;
    for (wchar_t const * each : strings)
        units.append(each).append(1, L'\0');
    units += L'\0';
    GMRegValue value(REG_MULTI_SZ);
    value.ParseValue(reinterpret_cast<unsigned char const *>(units.data()),
                     static_cast<unsigned int>(units.size() * sizeof(wchar_t)));
    return value;
}

GMRegValue Typed(unsigned int type, GMRegValue value)
{
    value.SetType(type);
    return value;
}

} // namespace

// A literal is a text, though it would turn into a bool more readily.
TEST(GMRegValue, SecondArgumentChoosesTheType)
{
    EXPECT_EQ("type 1 text <text>", ShowFields(GMRegValue(L"name", L"text")));
    EXPECT_EQ("type 1 removed", ShowFields(GMRegValue(L"name", true)));
    EXPECT_EQ("type 0", ShowFields(GMRegValue(REG_NONE, L"name")));
}

TEST(GMRegValue, ExpandsTextsOfTheExpandingType)
{
    ASSERT_TRUE(SetEnvironmentVariableW(L"VELMORA_VALUE_TEST", L"there"));
    GMRegValue value;
    value.SetString(L"%VELMORA_VALUE_TEST%", true);
    EXPECT_EQ(L"there", value.GetString());
    value.SetType(REG_SZ);
    EXPECT_EQ(L"%VELMORA_VALUE_TEST%", value.GetString());
    SetEnvironmentVariableW(L"VELMORA_VALUE_TEST", nullptr);
}

TEST(GMRegValue, ReadsDataText)
{
    // A null text means that the data is refused.
    std::tuple<GMString, char const *> const cases[] = {
        {L"-", "type 6 removed"},
        {L"Dword:1", nullptr},
        {L" \"b\"", nullptr},
        {LR"("a\"b")", R"(type 1 text <a"b>)"},
        {LR"("a\\"b")", R"(type 1 text <a"b>)"},
        {LR"("a\\\"b")", R"(type 1 text <a\"b>)"},
        {LR"("\)", R"(type 1 text <"\>)"},
        {LR"("\")", R"(type 1 text <\>)"},
        {L"dword:0x123456789", "type 4 dword 12345678"},
        {L"hex:", "type 3"},
        {L"hex:1ff, 0x0xA,0X7 f,g1,1\t2,0123456789", "type 3 bytes ff 00 7f 00 01 67"},
        {L"hex:01,\\\r\n  02,0\\\r\n3,0\r4,\n05,\\", "type 3 bytes 01 02 03 04 05 00"},
        {L"hex:01,\\\r 02,\\", "type 3 bytes 01 00 00"},
        {L"hex(b):1ff,02", "type 11 qword 3ff"},
        {L"hex(b):01,01,01,01,01,01,01,01,01,01", "type 11 qword 101010101010101"},
        {L"hex(2):41,00,00,00", "type 2 text <A{0}>"},
        {L"hex(2):41,00,42", "type 2 text <A>"},
        {L"hex(7):41,00,00,00,42,00,00,00,00,00", "type 7 text <A{0}B{0}{0}> strings <A> <B>"},
        {L"hex(4):01,00,00,00", "type 4 bytes 01 00 00 00"},
        {L"hex(a):07", "type 0 bytes 07"},
        {L"hex(1\\\r\n 0 )x:07,\\\r\n08", "type 10 bytes 07 08"},
        {L"hex(3)01", "type 3"},
    };
    for (auto const & [text, expected] : cases)
    {
        SCOPED_TRACE(Show(text));
        GMRegValue value(6);
        bool const read = value.ParseValue(text);
        EXPECT_EQ(expected != nullptr, read);
        EXPECT_EQ(expected != nullptr ? expected : "type 6", ShowFields(value));
        EXPECT_EQ(value.GetBinary().m_length, value.GetBinary().m_capacity);
    }
    // Lists of units are added to what an earlier text left; everything else takes its place.
    GMRegValue value;
    for (wchar_t const * text : {L"\"x\"", L"hex(7):61,00,00,00", L"hex(7):62,00,00,00", L"hex:01",
                                 L"hex:02", L"hex(2):63,00"})
        EXPECT_TRUE(value.ParseValue(text));
    EXPECT_EQ("type 2 text <xa{0}b{0}c> strings <a> <b> bytes 02", ShowFields(value));
}

TEST(GMRegValue, ReadsStoreData)
{
    std::tuple<unsigned int, std::vector<unsigned char>, bool, char const *> const cases[] = {
        {REG_SZ, {'a'}, true, "type 1"},
        {REG_SZ, {'a', 0, 0, 0}, true, "type 1 text <a>"},
        {REG_EXPAND_SZ, {'a', 0, 'b', 0, 'c'}, true, "type 2 text <a>"},
        {REG_DWORD, {1, 2, 3, 4}, true, "type 4 dword 4030201"},
        {REG_DWORD, {1, 2, 3}, false, "type 4"},
        {REG_DWORD_BIG_ENDIAN, {1, 2, 3, 4}, true, "type 5 dword 1020304"},
        {REG_MULTI_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0, 0, 0}, true, "type 7 strings <a> <b>"},
        {REG_MULTI_SZ, {'a', 0, 0, 0, 0, 0, 'b', 0, 0, 0, 0, 0}, true, "type 7 strings <a> <> <b>"},
        {REG_MULTI_SZ, {'a', 0, 0, 0, 'b', 0}, true, "type 7 strings <a>"},
        {REG_MULTI_SZ, {0, 0, 0, 0, 1}, true, "type 7 strings <>"},
        {REG_QWORD, {1, 2}, true, "type 11 qword 201"},
        {REG_QWORD, {1, 2, 3, 4, 5, 6, 7, 8, 9}, true, "type 11 qword 807060504030201"},
        {255, {1, 2}, true, "type 255 removed"},
        {resourceList, {1, 2}, false, "type 8 bytes 01 02"},
    };
    for (auto const & [type, bytes, read, expected] : cases)
    {
        SCOPED_TRACE(std::string(expected) + " from " + Hex(bytes));
        GuardBuffer<unsigned char> const data(bytes.data(), bytes.size());
        GMRegValue value(type);
        EXPECT_EQ(read, value.ParseValue(data.Data(), static_cast<unsigned int>(data.Size())));
        EXPECT_EQ(expected, ShowFields(value));
        EXPECT_TRUE(value.ParseValue(nullptr, 4));
        EXPECT_EQ(expected, ShowFields(value));
    }
}

TEST(GMRegValue, WritesEachForm)
{
    GMRegValue removed(L"", L"text");
    removed.SetRemoveFlag(true);
    GMRegValue expanding;
    expanding.SetString(L"A\x4E2D", true);
    GMBuffer<unsigned char> const bytes = ToBuffer(std::string("\0\x1A\xFF", 3));
    // As in a file and as shown (null: refused), and the bytes in the store.
    std::tuple<GMRegValue, wchar_t const *, wchar_t const *, char const *> const cases[] = {
        {removed, L"-", L"-", "74 00 65 00 78 00 74 00 00 00"},
        {GMRegValue(), L"\"\"", L"", "00 00"},
        {GMRegValue(L"", LR"(a"b\)"), LR"("a\\"b\\")", LR"(a"b\)", "61 00 22 00 62 00 5c 00 00 00"},
        {expanding, L"hex(2):41,00,2D,4E,00,00", L"A\x4E2D", "41 00 2d 4e 00 00"},
        {GMRegValue(L"", bytes), L"hex:00,1A,FF", L"hex:00,1A,FF", "00 1a ff"},
        {Typed(10, GMRegValue(L"", bytes)), L"hex(10):00,1A,FF", L"hex(10):00,1A,FF", "00 1a ff"},
        {GMRegValue(L"", 0x1ABu), L"dword:000001AB", L"000001AB", "ab 01 00 00"},
        {Typed(REG_DWORD_BIG_ENDIAN, GMRegValue(L"", 0x1ABu)), nullptr, nullptr, "00 00 01 ab"},
        {Strings({}), L"hex(7):00,00", L"", "00 00"},
        {Strings({L"a", L"", L"b"}), L"hex(7):61,00,00,00,62,00,00,00,00,00", L"a  b",
         "61 00 00 00 00 00 62 00 00 00 00 00"},
        {GMRegValue(L"", 0x0102030405060708ull), L"hex(b):08,07,06,05,04,03,02,01", L"05060708",
         "08 07 06 05 04 03 02 01"},
    };
    for (auto const & [value, literal, display, stored] : cases)
    {
        SCOPED_TRACE(ShowFields(value));
        GMString text = L"before ";
        EXPECT_EQ(literal != nullptr, value.SaveValueToLiteral(text));
        EXPECT_EQ(GMString(L"before ") + (literal != nullptr ? literal : L""), text);

        text.clear();
        EXPECT_EQ(display != nullptr, value.SaveValueToString(text));
        EXPECT_EQ(display != nullptr ? display : L"", text);

        GMBuffer<unsigned char> buffer(4); // grows, but never shrinks
        EXPECT_TRUE(value.ValueSerial(buffer));
        EXPECT_EQ(stored, Hex(buffer.m_data, buffer.m_length));
        EXPECT_EQ(std::max(4u, buffer.m_length), buffer.m_capacity);
    }
}

} // namespace Velmora::Testing
