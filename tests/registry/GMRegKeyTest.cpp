#include "VelmoraCommon/registry/GMRegKey.h"

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/registry/RegModelText.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/GuardBuffer.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"

namespace Velmora::Testing
{

namespace
{

using Bytes = std::basic_string<unsigned char>;

/// Far more levels than a stack has room for; fewer under the guard heap, for the system runs out of
/// mappings.
unsigned int DeepLevels() { return Rounds(40'000, 40'000); }

/// Writes records by hand, so that they can be wrong.
class RecordText
{
public:
    RecordText & Number(unsigned int number)
    {
        for (int shift = 0; shift < 32; shift += 8)
            bytes += static_cast<unsigned char>(number >> shift);
        return *this;
    }

    RecordText & Units(GMString const & text)
    {
        for (wchar_t const unit : text)
            (bytes += static_cast<unsigned char>(unit)) += static_cast<unsigned char>(unit >> 8);
        return *this;
    }

    RecordText & Text(GMString const & text)
    {
        return Number(static_cast<unsigned int>(text.size())).Units(text);
    }

    /// A path that is known, and the number of sub-keys.
    RecordText & Head(unsigned int subKeys) { return Text(L"HKCU").Number(subKeys); }

    /// Everything of a value but its data.
    RecordText & Value(GMString const & name, unsigned char type, unsigned int dataSize)
    {
        Text(name).bytes.append({type, 0});
        return Number(dataSize);
    }

    RecordText & Append(Bytes const & more)
    {
        bytes += more;
        return *this;
    }

    Bytes bytes;
};

/// \p levels keys inside one another, each claiming \p subKeys sub-keys but the innermost.
Bytes NestedRecord(unsigned int levels, unsigned int subKeys = 1)
{
    GMString const path = L"HKEY_CURRENT_USER\\K";
    unsigned int const own = static_cast<unsigned int>(12 + path.size() * sizeof(wchar_t));
    RecordText record;
    for (unsigned int level = levels; level != 0; --level)
    {
        record.Text(path).Number(level > 1 ? subKeys : 0);
        if (level > 1)
            record.Number((level - 1) * own + (level - 2) * 4);
    }
    for (unsigned int level = levels; level != 0; --level)
        record.Number(0);
    return record.bytes;
}

DWORD WINAPI Run(void * work)
{
    (*static_cast<std::function<void()> *>(work))();
    return 0;
}

/// Runs \p work with the stack of a small program. Wine ends a thread that runs over its stack
/// without a word, so the end of the work is looked for.
void RunOnSmallStack(std::function<void()> const & work)
{
    bool finished = false;
    std::function<void()> noted = [&]
    {
        work();
        finished = true;
    };
    HANDLE const thread =
        CreateThread(nullptr, 1 << 20, &Run, &noted, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    ASSERT_NE(nullptr, thread);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    EXPECT_TRUE(finished) << "the stack was too small";
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

/// A tree with every type that a record takes back.
GMRegKey RandomTree(Random & random, unsigned int depth)
{
    static std::vector<HKEY> const roots = {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS};
    static std::vector<unsigned int> const types = {0, 1, 2, 3, 4, 5, 7, 11, 255};
    unsigned char bytes[] = {'a', 0, 0, 0, 0, 0, 'b', 0, 0x2D, 0x4E, 0, 0};
    GMRegKey key(random.Pick(roots), GMString(random.Below(30), L'k'));
    key.SetRemoveFlag(random.OneIn(5));
    for (std::size_t count = random.Below(5); count != 0; --count)
    {
        GMRegValue value(random.Pick(types), GMString(random.Below(12), L'v'));
        value.ParseValue(bytes,
                         value.GetType() == REG_DWORD || value.GetType() == REG_DWORD_BIG_ENDIAN
                             ? 4
                             : static_cast<unsigned int>(random.Below(sizeof bytes + 1)));
        key.GetValues().push_back(value);
    }
    for (std::size_t count = depth == 0 ? 0 : random.Below(4); count != 0; --count)
        key.GetSubKeys().push_back(RandomTree(random, depth - 1));
    return key;
}

} // namespace

TEST(GMRegKey, ReadsAndPrintsFullPaths)
{
    struct Case
    {
        wchar_t const * text;
        char const * printed; // null: no root fits
    };
    Case const cases[] = {
        {L"HKCU", "<HKEY_CURRENT_USER>"},
        {L"HKCU\\", "<HKEY_CURRENT_USER>"},
        {L"HKCU\\\\a", "<HKEY_CURRENT_USER\\\\a>"},
        {L"HKEY_CURRENT_USER\\a\\b", "<HKEY_CURRENT_USER\\a\\b>"},
        {L"HKEY_CURRENT_CONFIG\\a", "<HKEY_CURRENT_CONFIG\\a>"},
        {L"HKEY_USERS_OLD\\x", "<HKEY_USERS\\OLD\\x>"},
        {L"HKEY_LOCAL_MACHINE", "<HKEY_LOCAL_MACHINE>"},
        {L"HKLMX", "<HKEY_LOCAL_MACHINE>"},
        {L"-HKLM\\Software\\A", "<-HKEY_LOCAL_MACHINE\\Software\\A>"},
        {L"HKEY_PERFORMANCE_DATA\\a", "<HKEY_PERFORMANCE_DATA\\a>"},
        {L"HKEY_DYN_DATA\\a", "<HKEY_DYN_DATA\\a>"},
        {L"HKEY_CLASSES_ROOT\\x", nullptr},
        {L"hkcu\\x", nullptr},
        {L" HKCU\\x", nullptr},
        {L"--HKCU\\x", nullptr},
        {L"HKC", nullptr},
        {L"-", nullptr},
        {L"", nullptr},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(Show(each.text));
        bool const marked = each.text[0] == L'-';
        GMRegKey key(HKEY_USERS, L"before");
        key.SetRemoveFlag(!marked);
        EXPECT_EQ(each.printed != nullptr, key.ParseRegFullPath(each.text));
        EXPECT_EQ(marked, key.GetRemoveFlag());
        if (each.printed == nullptr)
        {
            EXPECT_EQ(L"HKEY_USERS\\before", key.GetRegFullPath(false));
            EXPECT_EQ(L"HKEY_CURRENT_USER", GMRegKey(GMString(each.text)).GetRegFullPath(false));
            continue;
        }
        EXPECT_EQ(each.printed, Show(key.GetRegFullPath(true)));
        EXPECT_EQ(key.GetRegFullPath(true).substr(marked ? 1 : 0), key.GetRegFullPath(false));
    }
    EXPECT_EQ(L"", GMRegKey(HKEY_CLASSES_ROOT, L"x").GetRegFullPath(true));
}

TEST(GMRegKey, KnowsRootsByName)
{
    HKEY root = HKEY_USERS;
    EXPECT_TRUE(GMRegKey::StringToHKEY(L"hklm", root));
    EXPECT_EQ(HKEY_LOCAL_MACHINE, root);
    EXPECT_TRUE(GMRegKey::StringToHKEY(L"hkey_Dyn_Data", root));
    EXPECT_EQ(HKEY_DYN_DATA, root);
    for (wchar_t const * each : {L"HKLM\\", L"HKL", L"HKEY_CLASSES_ROOT", L""})
        EXPECT_FALSE(GMRegKey::StringToHKEY(each, root));
    EXPECT_EQ(HKEY_DYN_DATA, root);
    EXPECT_EQ(L"HKEY_CURRENT_USER", GMRegKey::HKEYToString(HKEY_CURRENT_USER));
    EXPECT_EQ(L"", GMRegKey::HKEYToString(HKEY_CLASSES_ROOT));
    EXPECT_EQ(L"", GMRegKey::HKEYToString(nullptr));
    // The number without the sign that a 64-bit handle extends.
    EXPECT_EQ(L"HKEY_USERS", GMRegKey::HKEYToString(reinterpret_cast<HKEY>(ULONG_PTR{0x80000003})));
}

TEST(GMRegKey, JoinsPaths)
{
    EXPECT_EQ(L"a\\b", GMRegKey::JoinPath(L"a", L"b"));
    EXPECT_EQ(L"a\\b", GMRegKey::JoinPath(L"a\\", L"b"));
    EXPECT_EQ(L"\\b", GMRegKey::JoinPath(L"", L"b"));
}

TEST(GMRegKey, MovesTheWholeTree)
{
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
    EXPECT_EQ(12u + 34u, key.SerialSize());
    key.GetValues() = {GMRegValue(L"n", L"t"), Removed(GMRegValue())};
    key.GetSubKeys() = {{HKEY_LOCAL_MACHINE, L"s"}};
    key.GetSubKeys()[0].SetRemoveFlag(true);
    key.GetSubKeys()[0].GetValues().emplace_back(L"", 0x01020304u);

    RecordText subKey;
    subKey.Text(L"-HKEY_LOCAL_MACHINE\\s").Number(0);
    subKey.Number(1).Value(L"", 4, 4).Append({4, 3, 2, 1});
    RecordText record;
    record.Text(L"HKEY_CURRENT_USER").Number(1);
    record.Number(static_cast<unsigned int>(subKey.bytes.size())).Append(subKey.bytes);
    record.Number(2).Value(L"n", 1, 4).Append({'t', 0, 0, 0});
    record.Value(L"", 255, 2).Append({0, 0});
    EXPECT_EQ(Hex(record.bytes), Hex(Write(key)));
}

TEST(GMRegKey, ComesBackFromItsRecord)
{
    Random random(42);
    for (unsigned int round = Rounds(300, 10'000); round != 0; --round)
    {
        GMRegKey const key = RandomTree(random, 4);
        Bytes const record = Write(key);
        GMRegKey read;
        ASSERT_TRUE(Read(read, record));
        ASSERT_EQ(ShowTree(key), ShowTree(read));
        // What stands behind a record doesn't count.
        GMRegKey again;
        ASSERT_TRUE(Read(again, record + Bytes(3, 0xFF)));
        ASSERT_EQ(ShowTree(key), ShowTree(again));
    }
    GMRegKey removed;
    removed.GetValues() = {Removed(GMRegValue(L"n", L"text"))};
    GMRegKey read;
    EXPECT_TRUE(Read(read, Write(removed)));
    EXPECT_EQ("type 255 removed", ShowFields(read.GetValues().at(0)));
}

TEST(GMRegKey, RefusesEveryPrefixOfARecord)
{
    Random random(43);
    GMRegKey const key = RandomTree(random, 4);
    Bytes const record = Write(key);
    ASSERT_LT(500u, record.size());
    for (std::size_t size = 0; size < record.size(); ++size)
    {
        GMRegKey read;
        ASSERT_FALSE(Read(read, record.substr(0, size))) << size;
    }
    GMRegKey read;
    EXPECT_FALSE(read.Deserial(nullptr, 100));
}

TEST(GMRegKey, RefusesWhatDoesNotFit)
{
    Bytes const whole = RecordText().Head(0).Number(0).bytes;
    unsigned int const wholeSize = static_cast<unsigned int>(whole.size());
    std::string const head = "<HKEY_CURRENT_USER>\n";
    struct Case
    {
        char const * what;
        RecordText record;
        std::string left; // of the key
    };
    std::vector<Case> cases = {
        {"unknown root", RecordText().Text(L"HKCR\\a").Number(0).Number(0), head},
        {"no path", RecordText().Text(L"").Number(0).Number(0), head},
        {"path length wraps to 0", RecordText().Number(0x80000000).Head(0), head},
        {"path length wraps to 4", RecordText().Number(0x80000004).Units(L"HKCU").Number(0), head},
        {"sub-keys without end", RecordText().Head(0xFFFFFFFF), head},
        {"a sub-key less", RecordText().Head(2).Number(wholeSize).Append(whole),
         head + "    " + head},
        {"sub-key size wraps", RecordText().Head(1).Number(0xFFFFFFFC).Append(whole), head},
        {"sub-key reaches past its entry",
         RecordText().Head(1).Number(wholeSize - 4).Append(whole).Number(0), head},
        {"sub-key breaks off below",
         RecordText().Head(1).Number(wholeSize + 4).Head(1).Number(wholeSize).Append(whole), head},
    };
    // Behind a sound value, which stays.
    std::pair<char const *, RecordText> const values[] = {
        {"fewer values than counted", RecordText()},
        {"name length wraps", RecordText().Number(0x80000000).Append(Bytes(16, 0))},
        {"data size wraps", RecordText().Value(L"b", 3, 0xFFFFFFFF).Append(Bytes(16, 0))},
        {"type without a form", RecordText().Value(L"b", 8, 0)},
        {"number of 3 bytes", RecordText().Value(L"b", 4, 3).Append(Bytes(3, 1))},
    };
    for (auto const & [what, value] : values)
    {
        RecordText record = RecordText().Head(0).Number(0x7FFFFFFF).Value(L"a", 4, 4);
        record.Append({1, 0, 0, 0}).Append(value.bytes);
        cases.push_back({what, record, head + "  <a> = type 4 dword 1\n"});
    }
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        AllocationMeter const meter;
        GMRegKey key;
        EXPECT_FALSE(Read(key, each.record.bytes));
        EXPECT_EQ(each.left, ShowTree(key));
        EXPECT_LT(meter.Peak(), 1u << 20);
    }
}

TEST(GMRegKey, ReadsDamagedRecordsWithoutHarm)
{
    Random random(44);
    std::vector<Bytes> records;
    for (int i = 0; i < 20; ++i)
        records.push_back(Write(RandomTree(random, 3)));
    Mutator<unsigned char> mutator(45, records);
    GuardBuffer<unsigned char> const room(Bytes(1 << 16, 0));
    AllocationMeter meter;
    unsigned int accepted = 0;
    for (unsigned int round = Rounds(100'000, 3'000'000); round != 0; --round)
    {
        Bytes const record = mutator.Mutate(random.Pick(records));
        ASSERT_LE(record.size(), room.Size());
        unsigned char * const begin = room.Data() + room.Size() - record.size();
        std::copy(record.begin(), record.end(), begin);
        meter.Restart();
        GMRegKey key;
        bool const read = key.Deserial(begin, static_cast<unsigned int>(record.size()));
        ASSERT_LE(meter.Peak(), record.size() * 64 + (16u << 20));
        accepted += read ? 1 : 0;
        if (read)
            Write(key); // what was read can be written
    }
    EXPECT_LT(0u, accepted);
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
            key = GMRegKey();
            key = copy;
            copy = std::move(key);
            EXPECT_TRUE(record == Write(copy));
            // Paths grow with every level, so a move of the whole depth would need gigabytes.
            GMRegKey shorter;
            ASSERT_TRUE(Read(shorter, NestedRecord(DeepLevels() / 10)));
            EXPECT_TRUE(shorter.SetFullPath(L"HKLM\\A"));
            for (GMRegKey const * at = &shorter; at != nullptr;
                 at = at->GetSubKeys().empty() ? nullptr : &at->GetSubKeys()[0])
                ASSERT_EQ(HKEY_LOCAL_MACHINE, at->GetRoot());
        });
}

TEST(GMRegKey, TakesNoMemoryForWhatARecordOnlyClaims)
{
    Bytes const record = NestedRecord(DeepLevels(), 0xFFFFFFFF);
    AllocationMeter const meter;
    GMRegKey key;
    EXPECT_FALSE(Read(key, record));
    EXPECT_LE(meter.Peak(), record.size() * 64);
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
