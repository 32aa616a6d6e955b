// Both registry views, as programs of both widths have them. The real local machine stands for them:
// under a redirected root the two are one.
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

    std::wstring Full() const { return L"HKEY_LOCAL_MACHINE\\" + m_path; }

    /// Makes a key in both views, with a number of its own as "old".
    void MakeInBoth(DWORD in32, DWORD in64) const
    {
        for (REGSAM const view : allViews)
        {
            ScopedRegKey key;
            RegCreateKeyExW(HKEY_LOCAL_MACHINE, m_path.c_str(), 0, nullptr, 0,
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

TEST_F(RegistryViews, AreReadWrittenAndDeletedOneByOne)
{
    // What the caller asks for, where a key that is there is found, where a missing one is made.
    std::tuple<REGSAM, REGSAM, REGSAM> const cases[] = {
        {0, ownView, ownView},
        {KEY_WOW64_64KEY, KEY_WOW64_64KEY, KEY_WOW64_64KEY},
        {KEY_WOW64_32KEY, KEY_WOW64_32KEY, ownView},
    };
    for (auto const & [access, opened, made] : cases)
    {
        SCOPED_TRACE(access);
        REGSAM const bits = KEY_WOW64_32KEY | KEY_WOW64_64KEY;
        EXPECT_TRUE(GMRegUtils::SetIntValue(Full(), L"n", 7, access));
        EXPECT_EQ("[]\n  \"n\" type 4: 07 00 00 00\n", Tree(made));
        EXPECT_EQ("[] (missing)\n", Tree(made ^ bits));
        Clear();

        MakeInBoth(1, 2);
        std::string const other = Tree(opened ^ bits);
        EXPECT_EQ(opened == KEY_WOW64_32KEY ? 1ul : 2ul,
                  GMRegUtils::GetIntValue(Full(), L"old", 0, access));
        EXPECT_EQ(0, GMRegFile::DeleteValueEx(Full(), L"old", KEY_WRITE | access));
        EXPECT_EQ(0, GMRegFile::DeleteValueEx(Full(), L"old", KEY_WRITE | access)); // has gone
        EXPECT_EQ("[]\n", Tree(opened));
        EXPECT_EQ(0, GMRegFile::DeleteKeyEx(Full(), access));
        EXPECT_EQ("[] (missing)\n", Tree(opened));
        EXPECT_EQ(other, Tree(opened ^ bits));
        Clear();
    }
}

TEST_F(RegistryViews, AreReadInstalledAndUndoneByType)
{
    constexpr bool ownIs32 = ownView == KEY_WOW64_32KEY;
    constexpr unsigned int own = ownIs32 ? 1 : 2;
    // What is read, and where it is installed. In a 64-bit program both passes go to one view.
    std::tuple<GMRegInstallType, std::vector<unsigned int>, bool, bool> const cases[] = {
        {GMRegInstallDefaultView, {own}, ownIs32, !ownIs32},
        {GMRegInstall64BitView, {2}, false, true},
        {GMRegInstallBothViews, {own, 2}, ownIs32, true},
    };
    GMRegKey change(Full());
    change.GetValues() = {GMRegValue(L"old", 7u), GMRegValue(L"n", 8u)};
    std::string const changed = "[]\n  \"n\" type 4: 08 00 00 00\n  \"old\" type 4: 07 00 00 00\n";
    for (auto const & [type, expected, in32, in64] : cases)
    {
        SCOPED_TRACE(type);
        MakeInBoth(1, 2);
        std::string const before[] = {Tree(KEY_WOW64_32KEY), Tree(KEY_WOW64_64KEY)};
        GMRegKey key(Full());
        GMRegInstall::UpdateFromSystem(key, false, type);
        std::vector<unsigned int> numbers;
        for (GMRegValue const & value : key.GetValues())
            numbers.push_back(value.GetDoubleWord());
        EXPECT_EQ(expected, numbers);

        GMRegInstall installer(type);
        ASSERT_TRUE(installer.Install({change}, false));
        EXPECT_EQ(in32 ? changed : before[0], Tree(KEY_WOW64_32KEY));
        EXPECT_EQ(in64 ? changed : before[1], Tree(KEY_WOW64_64KEY));

        // Records are replayed in the default view alone.
        GMBuffer<unsigned char> buffer;
        installer.GetUninstallData(buffer);
        ASSERT_TRUE(GMRegInstall::Uninstall(buffer));
        if (type == GMRegInstallDefaultView)
        {
            EXPECT_EQ(before[ownIs32 ? 0 : 1], Tree(ownView));
        }
        REGSAM const other = ownIs32 ? KEY_WOW64_64KEY : KEY_WOW64_32KEY;
        EXPECT_EQ((ownIs32 ? in64 : in32) ? changed : before[ownIs32 ? 1 : 0], Tree(other));
        Clear();
    }
}

} // namespace

} // namespace Velmora::Testing
