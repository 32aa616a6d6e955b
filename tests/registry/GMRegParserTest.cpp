#include "VelmoraCommon/registry/GMRegParser.h"

#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "tests/registry/RegText.h"
#include "tests/support/ImportHook.h"
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
        {"blanks before, text behind", " \t REGEDIT4x", 1, L"x"},
        {"version 5", version5, 2, L"\r\n"},
        {"version 5 in UTF-8", "\xEF\xBB\xBFWindows Registry Editor Version 5.00\xC3\xA4", 2,
         L"\xE4"},
        {"line break before", " \t\r\nREGEDIT4", 0, L"\r\nREGEDIT4"},
        {"case counts", "Regedit4\r\n", 0, L"Regedit4\r\n"},
        {"blanks alone", "\t ", 0, L""},
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
        {"names without their quotes", L"[HKCU]\r\na\\\\b=-\r\n\"a\" =-\r\n",
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
    for (auto const & [bytes, failure] :
         {std::pair("[HKCU\\A]\r\n", "runtime_error: Wrong file format"),
          std::pair("REGEDIT4\r\n; a = b\r\n", "Keys list is empty")})
        EXPECT_EQ(failure, Failure([text = bytes] { GMRegParser().Load(ToBuffer(text)); }));

    GMRegParser parser = Parsed("REGEDIT4\r\n[HKCU\\A]\r\n");
    Failure([&] { parser.Load(ToBuffer("REGEDIT4\r\n[HKCU\\B]\r\n\"a\"=-\r\na=hex:\\\r\n1\\")); });
    EXPECT_EQ("<HKEY_CURRENT_USER\\A>\n<HKEY_CURRENT_USER\\B> <a>-\n",
              Describe(parser.GetRegList()))
        << "what was read before stays";
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

    WriteBytes(path, "REGEDIT4\r\n[HKCU\\A]");
    ASSERT_TRUE(GMRegParser::ReadFile(path, buffer));
    ASSERT_EQ(18u, buffer.m_length);
    ASSERT_EQ(21u, buffer.m_capacity);
    EXPECT_EQ("5d 00 00 00", Hex(buffer.m_data + 17, 4)) << "zeroes behind the content";
    EXPECT_TRUE(parser.Load(path));
    EXPECT_EQ("<HKEY_CURRENT_USER\\A>\n", Describe(parser.GetRegList()));

    // 32 bits would hold none of these sizes with the zeroes added; the file has no content on disk.
    ImportHook const hook("ReadFile", &UncalledReadFile);
    for (unsigned long long const size : {0xFFFFFFFDull, 0x100000001ull})
    {
        ASSERT_TRUE(GMFileSystemUtils::CreateEmptyFile(path, size));
        EXPECT_FALSE(GMRegParser::ReadFile(path, buffer)) << size;
    }
    EXPECT_EQ(18u, buffer.m_length) << "left alone";
}

} // namespace Velmora::Testing
