#include "VelmoraCommon/registry/GMRegParser.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/registry/GMRegFileParser.h"
#include "tests/registry/RegText.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/GuardBuffer.h"
#include "tests/support/ImportHook.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

std::string const version5 = Utf16Bytes(L"Windows Registry Editor Version 5.00\r\n");

std::string Version5Bytes(std::wstring const & body)
{
    return version5 + Utf16Bytes(body).substr(2);
}

GMRegParser Parsed(std::string const & bytes)
{
    GMRegParser parser;
    EXPECT_TRUE(parser.Load(ToBuffer(bytes)));
    return parser;
}

} // namespace

TEST(GMRegParser, TellsVersions)
{
    std::tuple<char const *, std::string, int, wchar_t const *> const cases[] = {
        {"version 4", "REGEDIT4\r\n[A]", 1, L"\r\n[A]"},
        {"blanks before, text behind", " \t REGEDIT4x", 1, L"x"},
        {"version 5", version5, 2, L"\r\n"},
        {"version 5 in UTF-8", "\xEF\xBB\xBFWindows Registry Editor Version 5.00\xC3\xA4", 2,
         L"\xE4"},
        {"line break before", " \t\r\nREGEDIT4", 0, L"\r\nREGEDIT4"},
        {"case counts", "Regedit4\r\n", 0, L"Regedit4\r\n"},
        {"header cut", "REGEDIT", 0, L"REGEDIT"},
        {"blanks alone", "\t ", 0, L""},
        {"nothing", "", 0, L""},
        {"UTF-16 big endian", std::string("\xFE\xFF\0R", 4), 0, L""},
        {"no ASCII at the start", "\x80REGEDIT4", 0, L""},
    };
    for (auto const & [what, bytes, version, rest] : cases)
    {
        SCOPED_TRACE(what);
        GMString text;
        EXPECT_EQ(version, GMRegParser::GetRegVersion(ToBuffer(bytes), text));
        EXPECT_EQ(rest, text);
    }
}

TEST(GMRegParser, ReadsKeysAndValues)
{
    std::tuple<char const *, wchar_t const *, char const *> const cases[] = {
        {"header alone", L"", ""},
        {"keys are flat", L"[HKLM\\A\\B]\r\n[HKCU\\A]\r\n[HKLM\\A\\B]\r\n",
         "<HKEY_LOCAL_MACHINE\\A\\B>\n<HKEY_CURRENT_USER\\A>\n<HKEY_LOCAL_MACHINE\\A\\B>\n"},
        {"removed key", L"[-HKLM\\A]\r\n", "<-HKEY_LOCAL_MACHINE\\A>\n"},
        {"unknown roots become the user's", L"[HKEY_CLASSES_ROOT\\A]\r\n\"a\"=\"b\"\r\n[-x]\r\n",
         "<HKEY_CURRENT_USER> <a>type 1 text <b>\n<-HKEY_CURRENT_USER>\n"},
        {"default value", L"[HKCU]\r\n@=\"a\"\r\n\"@\"=\"b\"\r\n\"\"=\"c\"\r\n",
         "<HKEY_CURRENT_USER> <>type 1 text <a> <>type 1 text <b> <>type 1 text <c>\n"},
        {"escapes in names",
         L"[HKCU]\r\n\"\\\\@\"=-\r\n\"a\\\\\\\\\\\\b\"=-\r\n\"\\\\\"c\"=-\r\n\"\\\"d\"=-\r\n",
         "<HKEY_CURRENT_USER> <\\@>- <a\\\\\\b>- <\"c>- <\"d>-\n"},
        {"names without their quotes", L"[HKCU]\r\na\\\\b=-\r\n\"a\" =-\r\n\"b=-\r\n",
         "<HKEY_CURRENT_USER> <a\\b>- <\"a\" >-\n"},
        {"data of no form", L"[HKCU]\r\n\"x\"= \"b\"\r\n\"y\"=HEX:01\r\n",
         "<HKEY_CURRENT_USER> <x>type 1 <y>type 1\n"},
        {"wrapped bytes", L"[HKCU]\r\n\"x\"=hex:01,02,\\\r\n  03\r\n\"y\"=dword:ff\r\n",
         "<HKEY_CURRENT_USER> <x>type 3 bytes 01 02 03 <y>type 4 dword ff\n"},
    };
    for (auto const & [what, text, keys] : cases)
    {
        SCOPED_TRACE(what);
        EXPECT_EQ(keys, Describe(Parsed(Version5Bytes(text)).GetRegList()));
    }
}

TEST(GMRegParser, SaysWhyItFails)
{
    std::tuple<char const *, std::string, char const *> const cases[] = {
        {"no header", "[HKCU\\A]\r\n", "runtime_error: Wrong file format"},
        {"value before any key", "REGEDIT4\r\n; a = b\r\n", "Keys list is empty"},
        {"continued string", "REGEDIT4\r\n[HKCU]\r\na=b\\\r\nc\r\n", noDataFailure},
        {"text ends in a piece", "REGEDIT4\r\n[HKCU]\r\na=hex:\\\r\n1\\", "out_of_range"},
    };
    for (auto const & [what, bytes, failure] : cases)
    {
        SCOPED_TRACE(what);
        GMRegParser parser;
        EXPECT_EQ(failure, Failure([&] { parser.Load(ToBuffer(bytes)); }));
    }

    GMRegParser parser = Parsed("REGEDIT4\r\n[HKCU\\A]\r\n");
    Failure([&] { parser.Load(ToBuffer("REGEDIT4\r\n[HKCU\\B]\r\n\"a\"=-\r\na=hex:\\\r\n1\\")); });
    EXPECT_EQ("<HKEY_CURRENT_USER\\A>\n<HKEY_CURRENT_USER\\B> <a>-\n",
              Describe(parser.GetRegList()))
        << "what was read before stays";
}

TEST(GMRegParser, GoesOnFromACopy)
{
    GMRegParser first = Parsed("REGEDIT4\r\n[HKCU\\A]\r\n");
    GMRegParser copy(first);
    first.GetRegList().clear();
    auto const body = ToBuffer("REGEDIT4\r\na=-\r\n");
    EXPECT_EQ("Keys list is empty", Failure([&] { first.Load(body); }));
    copy.Load(body);
    EXPECT_EQ("<HKEY_CURRENT_USER\\A> <a>-\n", Describe(copy.GetRegList()));
}

namespace
{

BOOL WINAPI UncalledReadFile(HANDLE, void *, DWORD, DWORD *, OVERLAPPED *)
{
    ADD_FAILURE() << "nothing may be read";
    return FALSE;
}

} // namespace

TEST(GMRegParser, ReadsWholeFiles)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.File(L"a.reg");
    GMBuffer<unsigned char> buffer;
    GMRegParser parser;

    EXPECT_FALSE(GMRegParser::ReadFile(path, buffer)) << "missing";
    EXPECT_EQ("runtime_error: Load file failed", Failure([&] { parser.Load(path); }));
    WriteBytes(path, "");
    EXPECT_FALSE(GMRegParser::ReadFile(path, buffer)) << "empty";

    WriteBytes(path, "REGEDIT4\r\n[HKCU\\A]");
    ASSERT_TRUE(GMRegParser::ReadFile(path, buffer));
    ASSERT_EQ(18u, buffer.m_length);
    ASSERT_EQ(21u, buffer.m_capacity);
    EXPECT_EQ("5d 00 00 00", Hex(buffer.m_data + 17, 4)) << "zeroes behind the content";
    EXPECT_TRUE(parser.Load(path));
    EXPECT_EQ("<HKEY_CURRENT_USER\\A>\n", Describe(parser.GetRegList()));

    // 32 bits would hold none of these sizes with the zeroes added; the file has no content on disk.
    ImportHook const hook("ReadFile", &UncalledReadFile);
    for (unsigned long long const size : {0xFFFFFFFDull, 0xFFFFFFFFull, 0x100000001ull})
    {
        GMFile file;
        ASSERT_TRUE(file.Create(path, GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL));
        ASSERT_TRUE(file.SetLength(size));
        ASSERT_TRUE(file.Close());
        EXPECT_FALSE(GMRegParser::ReadFile(path, buffer)) << size;
        EXPECT_EQ(18u, buffer.m_length) << "left alone";
    }
}

// --- Foreign and damaged texts ---

namespace
{

/// Loads bytes whose end touches an unreadable page, and checks what comes of it.
class HostileLoad
{
public:
    void operator()(std::string const & bytes)
    {
        ASSERT_LE(bytes.size() + 2, smc_room);
        m_meter.Restart();
        std::string const failure = Failure([&] { LoadFromRoom(bytes); });
        ASSERT_TRUE(failure == "none" || failure == "out_of_range" ||
                    failure == "Keys list is empty" || failure == noDataFailure ||
                    failure == "runtime_error: Wrong file format")
            << failure;
        ASSERT_LE(m_meter.Peak(), 64 * bytes.size() + (16u << 20)) << Hex(bytes);
    }

private:
    static constexpr std::size_t smc_room = 0x10000;

    void LoadFromRoom(std::string const & bytes)
    {
        GMBuffer<unsigned char> buffer;
        buffer.m_data = m_bytes.Data() + smc_room - bytes.size();
        buffer.m_capacity = static_cast<unsigned int>(bytes.size());
        buffer.SetLength(buffer.m_capacity);
        bytes.copy(reinterpret_cast<char *>(buffer.m_data), bytes.size());
        GMString text;
        int const version = GMRegParser::GetRegVersion(buffer, text);
        std::string const failure = Failure([&] { GMRegParser().Load(buffer); });
        buffer.m_data = nullptr; // lent only
        buffer.m_capacity = 0;
        ASSERT_EQ(version == 0, failure == "runtime_error: Wrong file format");
        if (version == 0)
            throw std::runtime_error("Wrong file format");

        wchar_t * const source = m_units.Data() + smc_room - text.size() - 1;
        std::copy_n(text.c_str(), text.size() + 1, source);
        GMRegParser parser;
        ASSERT_EQ(failure, Failure([&] { GMRegFileParser(&parser).Parse(source); }));
    }

    GuardBuffer<unsigned char> m_bytes{std::basic_string<unsigned char>(smc_room, 0)};
    GuardBuffer<wchar_t> m_units{std::wstring(smc_room, 0)};
    AllocationMeter m_meter;
};

wchar_t const sample[] =
    L"Windows Registry Editor Version 5.00\r\n\r\n"
    L"[HKEY_LOCAL_MACHINE\\Software\\A]\r\n@=\"text \\\"quoted\\\" C:\\\\dir\\\\\"\r\n"
    L"\"bytes\"=hex:00,01,02,03,\\\r\n  04,05,ff\r\n\"number\"=dword:0000000A\r\n"
    L"\"expand\"=hex(2):25,00,41,00,25,00,00,00\r\n\"multi\"=hex(7):41,00,00,00,42,00,\\\r\n"
    L"  00,00,00,00\r\n\"long\"=hex(b):1,2,3,4,5,6,7,8,9,a,b,c,d,e,f,10,11,12,13,14\r\n"
    L"\"other\"=hex(4294967296):01\r\n\"gone\"=-\r\n\r\n[-HKCU\\B]\r\n[HKEY_CLASSES_ROOT\\C]\r\n"
    L"; a = b\r\n\"x=y\"=\"hexagon\\\r\nz\"\r\n";

} // namespace

TEST(GMRegParser, SurvivesDamagedTexts)
{
    std::wstring const text = sample;
    std::string const narrow = "REGEDIT4" + std::string(text.begin() + 36, text.end());
    std::vector<std::wstring> const words = {L"\r\n",    L"\\\r\n",  L"\\",   L"\"",     L"=",
                                             L"[",       L"]",       L"hex:", L"dword:", L"hex(",
                                             L"):",      L",",       L"@=-",  L"[HKCU]", L"hex(b):",
                                             L"hex(7):", L"hex(2):", L"-",    L"\t"};
    std::vector<std::basic_string<unsigned char>> narrowWords;
    for (std::wstring const & word : words)
        narrowWords.emplace_back(word.begin(), word.end());

    HostileLoad load;
    Mutator<wchar_t> units(4711, words);
    Mutator<unsigned char> bytes(4712, narrowWords);
    for (unsigned int round = Rounds(50'000, 500'000); round != 0 && !HasFatalFailure(); --round)
    {
        load(Utf16Bytes(units.Mutate(text)));
        auto const mutant = bytes.Mutate({narrow.begin(), narrow.end()});
        load(std::string(mutant.begin(), mutant.end()));
    }
}

TEST(GMRegParser, SurvivesEveryPrefixOfARealText)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.File(L"export.reg");
    RunProgram(L"regedit.exe /E \"" + path + L"\" HKEY_LOCAL_MACHINE\\System");
    std::string const bytes = ReadBytes(path);
    std::size_t const longest = std::min<std::size_t>(bytes.size(), Rounds(16'000, 60'000));
    HostileLoad load;
    for (std::size_t size = 0; size <= longest && !HasFatalFailure(); ++size)
        load(bytes.substr(0, size));
}

} // namespace Velmora::Testing
