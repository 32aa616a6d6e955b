// Texts, records and undo buffers from anywhere. Whatever they hold, nothing behind them is read, and
// they take no more memory than their size allows.
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "VelmoraCommon/registry/GMRegFileParser.h"
#include "VelmoraCommon/registry/GMRegInstall.h"
#include "VelmoraCommon/registry/GMRegParser.h"
#include "tests/registry/RegText.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/GuardBuffer.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"

namespace Velmora::Testing
{

namespace
{

using Buffer = GMBuffer<unsigned char>;

wchar_t const sample[] =
    L"Windows Registry Editor Version 5.00\r\n\r\n"
    L"[HKEY_LOCAL_MACHINE\\Software\\A]\r\n@=\"text \\\"quoted\\\" C:\\\\dir\\\\\"\r\n"
    L"\"bytes\"=hex:00,01,02,03,\\\r\n  04,05,ff\r\n\"number\"=dword:0000000A\r\n"
    L"\"expand\"=hex(2):25,00,41,00,25,00,00,00\r\n\"multi\"=hex(7):41,00,00,00,42,00,\\\r\n"
    L"  00,00,00,00\r\n\"long\"=hex(b):1,2,3,4,5,6,7,8,9,a,b,c,d,e,f,10,11,12,13,14\r\n"
    L"\"other\"=hex(4294967296):01\r\n\"gone\"=-\r\n\r\n[-HKCU\\B]\r\n[HKEY_CLASSES_ROOT\\C]\r\n"
    L"; a = b\r\n\"x=y\"=\"hexagon\\\r\nz\"\r\n";

// Each tells whether the bytes could be read whole.

bool ReadText(Buffer const & bytes)
{
    std::string const failure = Failure([&] { GMRegParser().Load(bytes); });
    EXPECT_TRUE(failure == "none" || failure == "out_of_range" || failure == "Keys list is empty" ||
                failure == noDataFailure || failure == "runtime_error: Wrong file format")
        << failure;
    GMString text;
    if (GMRegParser::GetRegVersion(bytes, text) != 0)
    {
        GuardBuffer<wchar_t> const guarded(text.c_str(), text.size() + 1);
        GMRegParser parser;
        EXPECT_EQ(failure, Failure([&] { GMRegFileParser(&parser).Parse(guarded.Data()); }));
    }
    return failure == "none";
}

bool ReadRecord(Buffer const & bytes)
{
    GMRegKey key;
    bool const read = key.Deserial(bytes.m_data, bytes.m_length);
    key.Serial(); // what was read can be written
    return read;
}

bool ReadUndo(Buffer const & bytes)
{
    std::deque<GMRegKey> keys;
    return GMRegInstall::DeserialRegFromBuffer(bytes, keys);
}

std::string Content(Buffer const & buffer)
{
    return std::string(reinterpret_cast<char const *>(buffer.m_data), buffer.m_length);
}

} // namespace

TEST(HostileBytes, AreReadWithoutHarm)
{
    GMRegParser parser;
    std::wstring const text = std::wstring(sample).substr(0, std::wstring(sample).find(L"; a"));
    parser.Load(ToBuffer(Utf16Bytes(text)));
    std::deque<GMRegKey> keys = parser.GetRegList();
    keys[0].GetValues().erase(keys[0].GetValues().end() - 2); // of no type that records bring back
    keys[2].SetRoot(HKEY_USERS);
    GMRegKey tree = keys[0];
    tree.GetSubKeys() = {keys[1], keys[2]};
    tree.GetSubKeys()[1].GetSubKeys() = {keys[0], keys[2]};
    Buffer undo;
    GMRegInstall::SerialRegToBuffer({tree, keys[1]}, undo);
    std::string const record = Content(tree.Serial());
    std::vector<std::string> words;
    for (wchar_t const * word : {L"\r\n", L"\\\r\n", L"\"", L"=", L"[", L"]", L"hex:", L"dword:",
                                 L"hex(", L"):", L",", L"@=-", L"[HKCU]", L"hex(b):", L"hex(7):"})
        words.push_back(Utf16Bytes(word).substr(2));
    struct Case
    {
        char const * what;
        std::string sound;
        bool (*read)(Buffer const & bytes);
        bool isWholeOnly; // a part of it can't be read
        std::vector<std::string> words;
    };
    Case const cases[] = {
        {"UTF-16 text", Utf16Bytes(sample), &ReadText, false, words},
        {"key record", record, &ReadRecord, true, {record.substr(0, 60), std::string(4, '\0')}},
        {"undo buffer", Content(undo), &ReadUndo, true, {Content(undo).substr(0, 40)}},
    };
    AllocationMeter meter;
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        auto const read = [&](std::string const & bytes)
        {
            GuardBuffer<char> const guarded(bytes);
            Buffer lent;
            lent.m_data = reinterpret_cast<unsigned char *>(guarded.Data());
            lent.m_capacity = lent.m_length = static_cast<unsigned int>(bytes.size());
            meter.Restart();
            bool const isRead = each.read(lent);
            EXPECT_LE(meter.Peak(), 64 * bytes.size() + (16u << 20)) << Hex(bytes);
            lent.m_data = nullptr;
            lent.m_capacity = 0;
            return isRead;
        };
        EXPECT_EQ(each.isWholeOnly, read(each.sound) && each.isWholeOnly);
        for (std::size_t size = 0; size < each.sound.size() && !HasFailure(); ++size)
            EXPECT_FALSE(read(each.sound.substr(0, size)) && each.isWholeOnly) << size;
        Mutator mutator(4711, each.words);
        for (unsigned int i = Rounds(20'000, 1'000'000); i != 0 && !HasFailure(); --i)
            read(mutator.Mutate(each.sound));
    }
}

} // namespace Velmora::Testing
