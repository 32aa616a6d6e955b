#include "VelmoraCommon/registry/GMRegFileWriter.h"

#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/registry/GMRegParser.h"
#include "tests/registry/RegText.h"
#include "tests/support/FailingCall.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

std::string Bytes(GMBuffer<unsigned char> const & buffer)
{
    return std::string(reinterpret_cast<char const *>(buffer.m_data), buffer.m_length);
}

/// What a writer of \p type makes of \p key behind its header, in the code page.
std::string Written(GMRegKey const & key, GMRegFileType type = GMRegFileTypeRegedit4)
{
    GMBuffer<unsigned char> buffer;
    GMRegFileWriter(buffer, type, L"\n").WriteRegKey(key);
    std::string const text = Bytes(buffer);
    return text.substr(text.find('\n') + 1);
}

/// A tree with sub-keys on two levels, a removed one among them, and values of several kinds.
GMRegKey Tree()
{
    GMRegKey inner(L"HKLM\\A\\B\\C");
    inner.GetValues().emplace_back(L"", GMString(L"c"));
    GMRegKey removed(L"-HKLM\\A\\X");
    removed.GetValues().emplace_back(L"not written", 1u);
    removed.GetSubKeys().push_back(inner);
    GMRegKey middle(L"HKLM\\A\\B");
    middle.GetSubKeys().push_back(inner);
    GMRegKey root(L"HKLM\\A");
    root.GetValues().emplace_back(L"a\"b\\c", GMString(L"d\"e\\f"));
    root.GetValues().emplace_back(L"gone", true);
    root.GetSubKeys() = {middle, removed, GMRegKey(L"HKLM\\A\\D")};
    return root;
}

char const treeText[] = "[HKEY_LOCAL_MACHINE\\A]\n"
                        "\"a\\\\\"b\\\\c\"=\"d\\\\\"e\\\\f\"\n"
                        "\"gone\"=-\n"
                        "\n"
                        "[HKEY_LOCAL_MACHINE\\A\\B]\n"
                        "\n"
                        "[HKEY_LOCAL_MACHINE\\A\\B\\C]\n"
                        "@=\"c\"\n"
                        "\n"
                        "[-HKEY_LOCAL_MACHINE\\A\\X]\n"
                        "[HKEY_LOCAL_MACHINE\\A\\D]\n"
                        "\n";

} // namespace

TEST(GMRegFileWriter, WritesKeysInOrder)
{
    EXPECT_EQ(treeText, Written(Tree()));
    GMBuffer<unsigned char> buffer;
    GMRegFileWriter const noVersion(buffer, static_cast<GMRegFileType>(7), L"\n");
    EXPECT_EQ("\n", Bytes(buffer));
    EXPECT_EQ("[]\n\n", Written(GMRegKey(HKEY_CLASSES_ROOT, L"A"))) << "a root without a name";
}

// Long enough to be written in several pieces, to a file below folders that are missing.
TEST(GMRegFileWriter, WritesFilesAndBuffersAlike)
{
    GMRegKey key(L"HKCU\\\x4E2D");
    for (unsigned int i = 0; i < 2'000; ++i)
        key.GetValues().emplace_back(L"value " + std::to_wstring(i), i);
    TemporaryFolder const folder;
    for (GMRegFileType const type : {GMRegFileTypeRegedit4, GMRegFileTypeVersion5})
    {
        GMBuffer<unsigned char> buffer;
        GMRegFileWriter(buffer, type, L"\r\n").WriteRegKey(key);
        GMRegFileWriter(folder.File(L"a\\b\\c.reg"), type, L"\r\n").WriteRegKey(key);
        EXPECT_EQ(Bytes(buffer), ReadBytes(folder.File(L"a\\b\\c.reg")));
        GMRegParser parser;
        parser.Load(buffer);
        EXPECT_EQ(2'000u, parser.GetRegList().at(0).GetValues().size());
        EXPECT_EQ(type == GMRegFileTypeVersion5, parser.GetRegList()[0].GetSubPath() == L"\x4E2D")
            << "the code page of the tests has no Chinese";
    }
}

TEST(GMRegFileWriter, KeepsWhatStandsBeforeAValueWithoutText)
{
    GMRegKey key(L"HKCU");
    key.GetValues().emplace_back(L"a", 1u);
    key.GetValues().emplace_back(L"n",
                                 GMString(L"b\0c", 3)); // in a code page the NUL ends its line
    key.GetValues().emplace_back(REG_DWORD_BIG_ENDIAN, L"b");
    GMBuffer<unsigned char> buffer;
    GMRegFileWriter writer(buffer, GMRegFileTypeRegedit4, L"\n");
    EXPECT_EQ("invalid_argument: \xB1\xA3\xB4\xE6\xD7\xA2\xB2\xE1\xB1\xED\xD6\xB5\xB3\xF6\xB4\xED",
              Failure([&] { writer.WriteRegKey(key); }));
    key.GetValues().pop_back();
    writer.WriteRegKey(key);
    std::string const text = "[HKEY_CURRENT_USER]\n\"a\"=dword:00000001\n\"n\"=\"b\n";
    EXPECT_EQ("REGEDIT4\n" + text + text + "\n", Bytes(buffer));
}

TEST(GMRegFileWriter, ThrowsWhatFails)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.File(L"a.reg");
    EXPECT_EQ(
        "runtime_error: \xD7\xA2\xB2\xE1\xB1\xED\xCE\xC4\xBC\xFE\xB4\xB4\xBD\xA8\xCA\xA7\xB0\xDC",
        Failure([&] { GMRegFileWriter(folder.Path(), GMRegFileTypeVersion5, L"\r\n"); }))
        << "a folder can't be made a file";

    FailingCall<0, decltype(&WriteFile)> const hook("WriteFile", FALSE);
    // The mark, the header and the key: each of the three fails once.
    EXPECT_EQ(3u,
              FailEachCall(
                  [&](unsigned int call)
                  {
                      FailureScope const scope(call);
                      auto const write = [&] {
                          GMRegFileWriter(path, GMRegFileTypeVersion5, L"\r\n").WriteRegKey(Tree());
                      };
                      EXPECT_EQ(call > 3, Failure(write) == "none");
                      EXPECT_TRUE(DeleteFileW(path.c_str())) << "nobody holds the file";
                  }));
    {
        GMRegFileWriter writer(path, GMRegFileTypeRegedit4, L"\n");
        FailureScope const scope(1);
        EXPECT_NE("none", Failure([&] { writer.WriteRegKey(GMRegKey(L"HKCU\\lost")); }));
        writer.WriteRegKey(Tree());
    }
    EXPECT_EQ(std::string("REGEDIT4\n") + treeText, ReadBytes(path)) << "goes on after a failure";
}

} // namespace Velmora::Testing
