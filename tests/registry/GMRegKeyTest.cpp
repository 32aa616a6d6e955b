#include "VelmoraCommon/registry/GMRegKey.h"

#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "VelmoraCommon/registry/GMRegFileWriter.h"
#include "tests/registry/RegModelText.h"
#include "tests/registry/SmallStack.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/GuardBuffer.h"
#include "tests/support/LongRun.h"

namespace Velmora::Testing
{

namespace
{

using Bytes = std::basic_string<unsigned char>;

/// Far more levels than a stack has room for; fewer under the guard heap, for the system runs out of
/// mappings.
unsigned int DeepLevels() { return Rounds(40'000, 40'000); }

// The pieces of a record, written by hand, so that they can be wrong.

Bytes Number(unsigned int number)
{
    Bytes bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<unsigned char>(number >> shift);
    return bytes;
}

Bytes Size(Bytes const & bytes) { return Number(static_cast<unsigned int>(bytes.size())); }

Bytes Text(GMString const & text)
{
    auto const units = reinterpret_cast<unsigned char const *>(text.data());
    return Number(static_cast<unsigned int>(text.size())) +
           Bytes(units, text.size() * sizeof(wchar_t));
}

/// A path that is known, and the number of sub-keys.
Bytes Head(unsigned int subKeys) { return Text(L"HKCU") + Number(subKeys); }

/// Everything of a value but its data.
Bytes Value(GMString const & name, unsigned char type, unsigned int dataSize)
{
    return Text(name) + Bytes{type, 0} + Number(dataSize);
}

/// \p levels keys inside one another, each claiming \p subKeys sub-keys but the innermost.
Bytes NestedRecord(unsigned int levels, unsigned int subKeys = 1)
{
    Bytes const path = Text(L"HKEY_CURRENT_USER\\K");
    auto const own = static_cast<unsigned int>(path.size() + 8);
    Bytes record;
    for (unsigned int level = levels; level > 1; --level)
        record += path + Number(subKeys) + Number((level - 1) * own + (level - 2) * 4);
    record += path + Number(0);
    return record + Bytes(levels * std::size_t(4), 0); // no values
}

bool Read(GMRegKey & key, Bytes const & record)
{
    GuardBuffer<unsigned char> const guarded(record);
    return key.Deserial(guarded.Data(), static_cast<unsigned int>(guarded.Size()));
}

Bytes Write(GMRegKey const & key)
{
    GMBuffer<unsigned char> const record = key.Serial();
    EXPECT_EQ(key.SerialSize(), record.m_length);
    EXPECT_EQ(record.m_capacity, record.m_length);
    return Bytes(record.m_data, record.m_length);
}

GMRegValue Removed(GMRegValue value)
{
    value.SetRemoveFlag(true);
    return value;
}

} // namespace

TEST(GMRegKey, ReadsAndPrintsFullPaths)
{
    std::pair<wchar_t const *, char const *> const cases[] = {
        {L"HKCU", "<HKEY_CURRENT_USER>"},
        {L"HKCU\\", "<HKEY_CURRENT_USER>"},
        {L"HKEY_CURRENT_USER\\a\\b", "<HKEY_CURRENT_USER\\a\\b>"},
        {L"HKEY_USERS_OLD\\x", "<HKEY_USERS\\OLD\\x>"},
        {L"-HKLM\\Software\\A", "<-HKEY_LOCAL_MACHINE\\Software\\A>"},
        {L"HKEY_CLASSES_ROOT\\x", nullptr}, // no root fits
        {L"hkcu\\x", nullptr},
        {L"", nullptr},
    };
    for (auto const & [text, printed] : cases)
    {
        SCOPED_TRACE(Show(text));
        bool const marked = text[0] == L'-';
        GMRegKey key(HKEY_USERS, L"before");
        key.SetRemoveFlag(!marked);
        EXPECT_EQ(printed != nullptr, key.ParseRegFullPath(text));
        EXPECT_EQ(marked, key.GetRemoveFlag());
        if (printed == nullptr)
        {
            EXPECT_EQ(L"HKEY_USERS\\before", key.GetRegFullPath(false));
            EXPECT_EQ(L"HKEY_CURRENT_USER", GMRegKey(GMString(text)).GetRegFullPath(false));
            continue;
        }
        EXPECT_EQ(printed, Show(key.GetRegFullPath(true)));
        EXPECT_EQ(key.GetRegFullPath(true).substr(marked ? 1 : 0), key.GetRegFullPath(false));
    }
    EXPECT_EQ(L"", GMRegKey(HKEY_CLASSES_ROOT, L"x").GetRegFullPath(true));
    HKEY root = HKEY_USERS;
    EXPECT_TRUE(GMRegKey::StringToHKEY(L"hklm", root) && root == HKEY_LOCAL_MACHINE);
    // The number without the sign that a 64-bit handle extends.
    EXPECT_EQ(L"HKEY_USERS", GMRegKey::HKEYToString(reinterpret_cast<HKEY>(ULONG_PTR{0x80000003})));
}

TEST(GMRegKey, MovesTheWholeTree)
{
    EXPECT_EQ(L"a\\b", GMRegKey::JoinPath(L"a\\", L"b"));
    EXPECT_EQ(L"\\b", GMRegKey::JoinPath(L"", L"b"));
    GMRegKey key(HKEY_CURRENT_USER, L"A\\B");
    key.GetSubKeys() = {{HKEY_CURRENT_USER, L"A\\B\\C"}, {HKEY_USERS, L"D"}};
    key.GetSubKeys()[0].GetSubKeys() = {{HKEY_CURRENT_USER, L"elsewhere\\E"}};
    std::string const before = ShowTree(key);
    EXPECT_FALSE(key.SetFullPath(L""));
    EXPECT_FALSE(key.SetFullPath(L"HKEY_CLASSES_ROOT\\Z"));
    EXPECT_EQ(before, ShowTree(key));
    EXPECT_TRUE(key.SetFullPath(L"-HKLM\\Z"));
    EXPECT_EQ("<-HKEY_LOCAL_MACHINE\\Z>\n"
              "    <-HKEY_LOCAL_MACHINE\\Z\\C>\n"
              "        <-HKEY_LOCAL_MACHINE\\Z\\C\\E>\n"
              "    <-HKEY_LOCAL_MACHINE\\Z\\D>\n",
              ShowTree(key));
}

TEST(GMRegKey, MayBecomeAKeyOfItsOwnTree)
{
    GMRegKey key(HKEY_CURRENT_USER, L"A");
    key.GetSubKeys().emplace_back(HKEY_USERS, L"A\\B");
    key.GetSubKeys()[0].GetSubKeys().emplace_back(HKEY_USERS, L"A\\B\\C");
    GMRegKey copy(key);
    std::string const inner = ShowTree(key.GetSubKeys()[0]);
    copy = copy.GetSubKeys()[0];
    EXPECT_EQ(inner, ShowTree(copy));
    key = std::move(key.GetSubKeys()[0]);
    EXPECT_EQ(inner, ShowTree(key));
}

TEST(GMRegKey, WritesItsRecordByteForByte)
{
    GMRegKey key(HKEY_CURRENT_USER);
    key.GetValues() = {GMRegValue(L"n", L"t"), Removed(GMRegValue())};
    key.GetSubKeys() = {{HKEY_LOCAL_MACHINE, L"s"}};
    key.GetSubKeys()[0].SetRemoveFlag(true);
    key.GetSubKeys()[0].GetValues().emplace_back(L"", 0x01020304u);

    Bytes const subKey = Text(L"-HKEY_LOCAL_MACHINE\\s") + Number(0) + Number(1) +
                         Value(L"", 4, 4) + Bytes{4, 3, 2, 1};
    Bytes const values =
        Number(2) + Value(L"n", 1, 4) + Bytes{'t', 0, 0, 0} + Value(L"", 255, 2) + Bytes{0, 0};
    EXPECT_EQ(Hex(Text(L"HKEY_CURRENT_USER") + Number(1) + Size(subKey) + subKey + values),
              Hex(Write(key)));
}

TEST(GMRegKey, ComesBackFromItsRecord)
{
    unsigned char const bytes[] = {'a', 0, 0, 0};
    GMRegKey key(HKEY_USERS, L"k");
    for (unsigned int const type : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 11u})
        key.GetValues().emplace_back(type, L"v").ParseValue(bytes, sizeof bytes);
    GMRegKey const inner = key;
    key.GetSubKeys() = {inner, inner};
    key.GetSubKeys()[0].SetRemoveFlag(true);
    GMRegKey read;
    EXPECT_TRUE(Read(read, Write(key) + Bytes(3, 0xFF))); // what stands behind doesn't count
    EXPECT_EQ(ShowTree(key), ShowTree(read));

    GMRegKey removed;
    removed.GetValues() = {Removed(GMRegValue(L"n", L"text"))};
    GMRegKey readRemoved;
    EXPECT_TRUE(Read(readRemoved, Write(removed)));
    EXPECT_EQ("type 255 removed", ShowFields(readRemoved.GetValues().at(0)));
    EXPECT_FALSE(GMRegKey().Deserial(nullptr, 100));
}

TEST(GMRegKey, RefusesWhatDoesNotFit)
{
    Bytes const whole = Head(0) + Number(0);
    auto const wholeSize = static_cast<unsigned int>(whole.size());
    // A sound value, which stays, and the count of many more.
    Bytes const sound = Head(0) + Number(0x7FFFFFFF) + Value(L"a", 4, 4) + Bytes{1, 0, 0, 0};
    std::string const head = "<HKEY_CURRENT_USER>\n";
    std::string const withSound = head + "  <a> = type 4 dword 1\n";
    std::tuple<char const *, Bytes, std::string> const cases[] = {
        {"unknown root", Text(L"HKCR\\a") + Number(0) + Number(0), head},
        {"path length wraps to 4", Number(0x80000004) + whole.substr(4), head},
        {"a sub-key less", Head(2) + Number(wholeSize) + whole, head + "    " + head},
        {"sub-key size wraps", Head(1) + Number(0xFFFFFFFC) + whole, head},
        {"sub-key reaches past its entry", Head(1) + Number(wholeSize - 4) + whole + Number(0),
         head},
        {"sub-key breaks off below",
         Head(1) + Number(wholeSize + 4) + Head(1) + Number(wholeSize) + whole, head},
        {"fewer values than counted", sound, withSound},
        {"name length wraps", sound + Number(0x80000000) + Bytes(16, 0), withSound},
        {"data size wraps", sound + Value(L"b", 3, 0xFFFFFFFF) + Bytes(16, 0), withSound},
        {"type without a form", sound + Value(L"b", 8, 0), withSound},
    };
    for (auto const & [what, record, left] : cases)
    {
        SCOPED_TRACE(what);
        AllocationMeter const meter;
        GMRegKey key;
        EXPECT_FALSE(Read(key, record));
        EXPECT_EQ(left, ShowTree(key));
        EXPECT_LT(meter.Peak(), 1u << 20);
    }
}

TEST(GMRegKey, NestsDeeperThanTheStack)
{
    Bytes const record = NestedRecord(DeepLevels());
    RunOnSmallStack(
        [&]
        {
            GMRegKey key;
            ASSERT_TRUE(Read(key, record));
            GMRegKey copy(key);
            key = copy;
            copy = std::move(key);
            EXPECT_TRUE(record == Write(copy));
            GMBuffer<unsigned char> text;
            GMRegFileWriter(text, GMRegFileTypeRegedit4, L"\n").WriteRegKey(copy);
            EXPECT_LT(DeepLevels() * sizeof("[HKEY_CURRENT_USER\\K]"), text.m_length);
            // Paths grow with every level, so a move of the whole depth would need gigabytes.
            GMRegKey shorter;
            ASSERT_TRUE(Read(shorter, NestedRecord(DeepLevels() / 10)));
            EXPECT_TRUE(shorter.SetFullPath(L"HKLM\\A"));
        });
    Bytes const claiming = NestedRecord(DeepLevels(), 0xFFFFFFFF);
    AllocationMeter const meter;
    GMRegKey key;
    EXPECT_FALSE(Read(key, claiming));
    EXPECT_LE(meter.Peak(), claiming.size() * 64) << "no memory for what is only claimed";
}

TEST(GMRegKey, RefusesToWriteFourGigabytes)
{
    GMRegKey key;
    GMBuffer<unsigned char> & bytes = key.GetValues().emplace_back(REG_BINARY).GetBinary();
    // Measuring doesn't look at the bytes, which aren't there.
    bytes.m_length = 0xFFFFFFFF - 12 - 34 - 10;
    EXPECT_EQ(0xFFFFFFFF, key.SerialSize());
    ++bytes.m_length;
    EXPECT_THROW(key.SerialSize(), std::length_error);
    EXPECT_THROW(key.Serial(), std::length_error);
    bytes.m_length = 0;
}

} // namespace Velmora::Testing
