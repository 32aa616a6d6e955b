#include "VelmoraCommon/registry/GMRegUtils.h"

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/RegistrySandbox.h"

namespace Velmora::Testing
{

namespace
{

using ::testing::ElementsAre;

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
    EXPECT_EQ(L"text", GMRegUtils::GetStringValue(full, L"", L"else", KEY_WOW64_64KEY));
    EXPECT_EQ(L"more", GMRegUtils::GetStringValue(HKEY_CURRENT_USER, path, L"s", L"else", 0));
    EXPECT_EQ(1ul, GMRegUtils::GetIntValue(full + L"\\no", L"n", 1, 0));
    EXPECT_EQ(L"else", GMRegUtils::GetStringValue(full + L"\\no", L"", L"else", 0));
    EXPECT_EQ(1ul, GMRegUtils::GetIntValue(HKEY_CURRENT_USER, path, L"s", 1, 0)) << "too long";
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

    for (bool const onError : {false, true})
    {
        EXPECT_TRUE(GMRegUtils::CheckEmpty(full + L"\\A\\x", onError));
        EXPECT_FALSE(GMRegUtils::CheckEmpty(full + L"\\A", onError)) << "a sub-key";
        EXPECT_FALSE(GMRegUtils::CheckEmpty(full + L"\\B\\v", onError)) << "a value";
        EXPECT_EQ(onError, GMRegUtils::CheckEmpty(full + L"\\no", onError));
    }
}

TEST(GMRegUtils, ExpandsWildcards)
{
    ScratchKey const scratch;
    std::wstring const full = L"HKCU\\" + scratch.Path() + L"\\";
    MakeKeys(scratch.Path(), {L"A\\B1\\x1", L"A\\B1\\x2", L"A\\B2\\y", L"A\\C", L"W\\*?", L"W\\?*",
                              L"S\\a\\x", L"S\\ab\\x"});
    using Paths = std::vector<std::wstring>;
    for (auto const & [pattern, expected] : {
             std::pair(L"A\\*", Paths{L"A\\B1", L"A\\B2", L"A\\C"}),
             std::pair(L"A\\B*\\no", Paths{L"A\\B1\\no", L"A\\B2\\no"}), // the rest is text
             std::pair(L"A\\B?\\x*", Paths{L"A\\B1\\x1", L"A\\B1\\x2"}),
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
