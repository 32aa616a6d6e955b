// Both registry views, as programs of both widths have them. The real local machine stands for them:
// under a redirected root the two are one.
#include <deque>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/registry/GMRegInstall.h"
#include "VelmoraCommon/registry/GMRegUtils.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/RegistrySnapshot.h"

namespace Velmora::Testing
{

namespace
{

constexpr REGSAM ownView = sizeof(void *) == 4 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
constexpr REGSAM allViews[] = {KEY_WOW64_32KEY, KEY_WOW64_64KEY};

/// A path below the local machine that both views have to themselves; without a key at first.
class RegistryViews : public ::testing::Test
{
protected:
    ~RegistryViews() override { Clear(); }

    void Clear() const
    {
        for (REGSAM const view : allViews)
            DeleteRegistryTree(HKEY_LOCAL_MACHINE, m_path, view);
    }

    std::wstring Full(wchar_t const * below = L"") const
    {
        return L"HKEY_LOCAL_MACHINE\\" + m_path + below;
    }

    /// Makes a key in both views, with a number of its own as "old".
    void MakeInBoth(DWORD in32, DWORD in64, wchar_t const * below = L"") const
    {
        for (REGSAM const view : allViews)
        {
            ScopedRegKey key;
            RegCreateKeyExW(HKEY_LOCAL_MACHINE, (m_path + below).c_str(), 0, nullptr, 0,
                            KEY_ALL_ACCESS | view, nullptr, key.Receive(), nullptr);
            DWORD const number = view == KEY_WOW64_32KEY ? in32 : in64;
            RegSetValueExW(key.Get(), L"old", 0, REG_DWORD, reinterpret_cast<BYTE const *>(&number),
                           sizeof number);
        }
    }

    std::string Tree(REGSAM view) const
    {
        return RegistrySnapshot(HKEY_LOCAL_MACHINE, m_path, view);
    }

    std::wstring const m_path =
        L"Software\\VelmoraCommonTest-" + std::to_wstring(GetCurrentProcessId());
};

REGSAM OtherThan(REGSAM view) { return view ^ (KEY_WOW64_32KEY | KEY_WOW64_64KEY); }

TEST_F(RegistryViews, AreReadWrittenAndDeletedOneByOne)
{
    // What the caller asks for, where a key that is there is found, where a missing one is made.
    std::tuple<char const *, REGSAM, REGSAM, REGSAM> const cases[] = {
        {"no view", 0, ownView, ownView},
        {"64-bit view", KEY_WOW64_64KEY, KEY_WOW64_64KEY, KEY_WOW64_64KEY},
        {"32-bit view", KEY_WOW64_32KEY, KEY_WOW64_32KEY, ownView},
    };
    for (auto const & [what, access, opened, made] : cases)
    {
        SCOPED_TRACE(what);
        EXPECT_TRUE(GMRegUtils::SetIntValue(Full(L"\\new"), L"n", 7, access));
        EXPECT_EQ("[]\n[\\new]\n  \"n\" type 4: 07 00 00 00\n", Tree(made));
        EXPECT_EQ("[] (missing)\n", Tree(OtherThan(made)));
        Clear();

        MakeInBoth(1, 2);
        unsigned long const old = opened == KEY_WOW64_32KEY ? 1 : 2;
        std::string const other = Tree(OtherThan(opened));
        EXPECT_EQ(old, GMRegUtils::GetIntValue(Full(), L"old", 0, access));
        EXPECT_TRUE(GMRegUtils::SetIntValue(Full(), L"n", 7, access));
        GMRegFile file;
        EXPECT_TRUE(file.OpenKey(Full(), KEY_READ | KEY_WRITE | access, false));
        EXPECT_EQ(7ul, file.GetUInt32Value(L"n", 0));
        EXPECT_TRUE(file.SetValue(L"o", 8ul));
        file.CloseKey();
        EXPECT_EQ(0, GMRegFile::DeleteValueEx(Full(), L"old", KEY_WRITE | access));
        EXPECT_EQ("[]\n  \"n\" type 4: 07 00 00 00\n  \"o\" type 4: 08 00 00 00\n", Tree(opened));
        EXPECT_EQ(other, Tree(OtherThan(opened)));
        Clear();

        MakeInBoth(1, 2);
        MakeInBoth(3, 4, L"\\a\\b");
        std::string const otherTree = Tree(OtherThan(opened));
        EXPECT_EQ(0, GMRegFile::DeleteKeyEx(Full(), access));
        EXPECT_EQ("[] (missing)\n", Tree(opened));
        EXPECT_EQ(otherTree, Tree(OtherThan(opened)));
        Clear();
    }
}

TEST_F(RegistryViews, AreInstalledByTypeAndRestored)
{
    constexpr bool ownIs32 = ownView == KEY_WOW64_32KEY;
    std::tuple<char const *, GMRegInstallType, bool, bool> const cases[] = {
        {"default view", GMRegInstallDefaultView, ownIs32, !ownIs32},
        {"64-bit view", GMRegInstall64BitView, false, true},
        // In a 64-bit program both passes go to the one view that it has.
        {"both views", GMRegInstallBothViews, ownIs32, true},
    };
    std::string const untouched = "[]\n  \"old\" type 4: 01 00 00 00\n";
    std::string const changed = "[]\n  \"n\" type 4: 08 00 00 00\n  \"old\" type 4: 07 00 00 00\n";

    GMRegKey change(Full());
    change.GetValues() = {GMRegValue(L"old", 7u), GMRegValue(L"n", 8u)};
    for (auto const & [what, type, in32, in64] : cases)
    {
        SCOPED_TRACE(what);
        MakeInBoth(1, 1);
        GMRegInstall installer(type);
        ASSERT_TRUE(installer.Install({change}, false));
        EXPECT_EQ(in32 ? changed : untouched, Tree(KEY_WOW64_32KEY));
        EXPECT_EQ(in64 ? changed : untouched, Tree(KEY_WOW64_64KEY));

        // Whoever installed in another view than the default one replays the records there.
        GMBuffer<unsigned char> buffer;
        installer.GetUninstallData(buffer);
        std::deque<GMRegKey> records;
        ASSERT_TRUE(GMRegInstall::DeserialRegFromBuffer(buffer, records));
        for (GMRegKey const & record : records)
            GMRegInstall::Install(record, true, false, type);
        if (type != GMRegInstallBothViews || ownIs32)
        {
            EXPECT_EQ(untouched, Tree(KEY_WOW64_32KEY));
            EXPECT_EQ(untouched, Tree(KEY_WOW64_64KEY));
        }
        Clear();
    }
}

TEST_F(RegistryViews, AreUndoneInTheDefaultViewAlone)
{
    MakeInBoth(1, 1);
    std::string const before = Tree(KEY_WOW64_64KEY);
    GMRegKey change(Full());
    change.GetValues() = {GMRegValue(L"old", 7u)};
    GMRegInstall installer(GMRegInstall64BitView);
    ASSERT_TRUE(installer.Install({change}, false));
    GMBuffer<unsigned char> buffer;
    installer.GetUninstallData(buffer);
    ASSERT_TRUE(GMRegInstall::Uninstall(buffer));
    EXPECT_EQ(before, Tree(KEY_WOW64_32KEY));
    EXPECT_EQ(ownView == KEY_WOW64_64KEY, Tree(KEY_WOW64_64KEY) == before);
}

TEST_F(RegistryViews, AreReadTogether)
{
    MakeInBoth(1, 2);
    constexpr unsigned int own = ownView == KEY_WOW64_32KEY ? 1 : 2;
    std::tuple<GMRegInstallType, std::vector<unsigned int>> const cases[] = {
        {GMRegInstallDefaultView, {own}},
        {GMRegInstall64BitView, {2}},
        {GMRegInstallBothViews, {own, 2}},
    };
    for (auto const & [type, expected] : cases)
    {
        GMRegKey key(Full());
        GMRegInstall::UpdateFromSystem(key, false, type);
        std::vector<unsigned int> numbers;
        for (GMRegValue const & value : key.GetValues())
            numbers.push_back(value.GetDoubleWord());
        EXPECT_EQ(expected, numbers) << "type " << type;
    }
}

} // namespace

} // namespace Velmora::Testing
