#include "VelmoraCommon/registry/GMRegUtils.h"

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/ImportHook.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/RegistrySnapshot.h"

namespace Velmora::Testing
{

namespace
{

using ::testing::ElementsAre;

LSTATUS g_answer;
LSTATUS WINAPI AnswerInfo(HKEY, LPWSTR, LPDWORD, LPDWORD, LPDWORD, LPDWORD, LPDWORD, LPDWORD,
                          LPDWORD, LPDWORD, LPDWORD, PFILETIME)
{
    return g_answer;
}

void MakeKeys(std::wstring const & parent, std::vector<std::wstring> const & names)
{
    for (std::wstring const & name : names)
    {
        ScopedRegKey key;
        RegCreateKeyExW(HKEY_CURRENT_USER, (parent + L"\\" + name).c_str(), 0, nullptr, 0, KEY_READ,
                        nullptr, key.Receive(), nullptr);
    }
}

TEST(GMRegUtils, WritesAndReadsByPathAndByRoot)
{
    ScratchKey const scratch;
    std::wstring const full = L"HKCU\\" + scratch.Path() + L"\\made\\here";
    std::wstring const path = scratch.Path() + L"\\made";
    EXPECT_TRUE(GMRegUtils::SetIntValue(full, L"n", 7, 0));
    EXPECT_TRUE(GMRegUtils::SetStringValue(full, L"", L"text", KEY_WOW64_64KEY));
    EXPECT_TRUE(GMRegUtils::SetIntValue(HKEY_CURRENT_USER, path, L"n", 8, 0));
    EXPECT_TRUE(GMRegUtils::SetStringValue(HKEY_CURRENT_USER, path, L"s", L"more", 0));
    EXPECT_EQ(7ul, GMRegUtils::GetIntValue(full, L"n", 1, 0));
    EXPECT_EQ(8ul, GMRegUtils::GetIntValue(HKEY_CURRENT_USER, path, L"n", 1, 0));
    EXPECT_EQ(L"text", GMRegUtils::GetStringValue(full, L"", L"default", KEY_WOW64_64KEY));
    EXPECT_EQ(L"more", GMRegUtils::GetStringValue(HKEY_CURRENT_USER, path, L"s", L"default", 0));

    // No key, no value, no room for the value.
    EXPECT_EQ(1ul, GMRegUtils::GetIntValue(full + L"\\no", L"n", 1, 0));
    EXPECT_EQ(1ul, GMRegUtils::GetIntValue(HKEY_CURRENT_USER, path, L"s", 1, 0));
    EXPECT_EQ(L"default", GMRegUtils::GetStringValue(full, L"no", L"default", 0));
    EXPECT_EQ(L"default",
              GMRegUtils::GetStringValue(HKEY_CURRENT_USER, path + L"\\no", L"s", L"default", 0));
    EXPECT_FALSE(GMRegUtils::SetIntValue(nullptr, path, L"n", 1, 0));
}

TEST(GMRegUtils, TellsWhatAKeyHolds)
{
    ScratchKey const scratch;
    std::wstring const full = L"HKCU\\" + scratch.Path();
    MakeKeys(scratch.Path(), {L"A\\x", L"B"});
    GMRegUtils::SetIntValue(full + L"\\B\\v", L"n", 1, 0);

    std::vector<GMString> names = {L"as it was"};
    EXPECT_EQ(2ul, GMRegUtils::EnumSubKeys(full + L"\\no", names));
    EXPECT_THAT(names, ElementsAre(L"as it was"));
    EXPECT_EQ(0ul, GMRegUtils::EnumSubKeys(full, names));
    EXPECT_THAT(names, ElementsAre(L"A", L"B"));
    EXPECT_EQ(0ul, GMRegUtils::EnumSubKeys(full + L"\\A\\x", names));
    EXPECT_TRUE(names.empty());

    for (bool const onError : {false, true})
    {
        EXPECT_TRUE(GMRegUtils::CheckEmpty(full + L"\\A\\x", onError));
        EXPECT_FALSE(GMRegUtils::CheckEmpty(full + L"\\A", onError)) << "a sub-key";
        EXPECT_FALSE(GMRegUtils::CheckEmpty(full + L"\\B\\v", onError)) << "a value";
        EXPECT_EQ(onError, GMRegUtils::CheckEmpty(full + L"\\no", onError));
    }

    ImportHook const hook("RegQueryInfoKeyW", &AnswerInfo);
    g_answer = ERROR_ACCESS_DENIED;
    EXPECT_TRUE(GMRegUtils::CheckEmpty(full, false)) << "what mustn't be read counts as empty";
    g_answer = ERROR_BADKEY;
    EXPECT_FALSE(GMRegUtils::CheckEmpty(full, false));
    EXPECT_TRUE(GMRegUtils::CheckEmpty(full, true));
}

TEST(GMRegUtils, ExpandsWildcards)
{
    ScratchKey const scratch;
    std::wstring const full = L"HKCU\\" + scratch.Path() + L"\\";
    MakeKeys(scratch.Path(), {L"A\\B1\\x1", L"A\\B1\\x2", L"A\\B2\\y", L"A\\C", L"W\\*?", L"W\\?*",
                              L"S\\a\\x", L"S\\ab\\x"});
    using Paths = std::vector<std::wstring>;
    for (auto const & [pattern, expected] : {
             std::pair(L"no\\where", Paths{L"no\\where"}),
             std::pair(L"A\\*", Paths{L"A\\B1", L"A\\B2", L"A\\C"}),
             std::pair(L"A\\B*\\no", Paths{L"A\\B1\\no", L"A\\B2\\no"}), // the rest is text
             std::pair(L"A\\B?\\x*", Paths{L"A\\B1\\x1", L"A\\B1\\x2"}),
             std::pair(L"no\\*", Paths()),
             // "a" stands in the pattern "a*" itself, so what follows it isn't looked up.
             std::pair(L"S\\a*\\x*", Paths{L"S\\a\\x*", L"S\\ab\\x"}),
             // Each of these names is a pattern that fits the other one.
             std::pair(L"W\\*\\x", Paths{L"W\\*?\\x", L"W\\?*\\x"}),
         })
    {
        Paths found;
        for (std::wstring const & path : GMRegUtils::GetMatchKeys(full + pattern))
            found.push_back(path.substr(full.size()));
        EXPECT_EQ(expected, found);
    }
    EXPECT_TRUE(GMRegUtils::GetMatchKeys(L"HK*").empty());
}

TEST(GMRegUtils, RotatesLetters)
{
    std::wstring text = L"AMNZ amnz @[`{ 5\u00C0";
    GMRegUtils::Rot13(text);
    EXPECT_EQ(L"NZAM nzam @[`{ 5\u00C0", text);
    char bytes[] = "Az\xC1";
    GMRegUtils::Rot13(bytes);
    EXPECT_STREQ("Nm\xC1", bytes);
}

} // namespace

} // namespace Velmora::Testing
