#include "VelmoraCommon/shell/GMFontChange.h"

#include <gtest/gtest.h>

#include "VelmoraCommon/registry/GMRegFile.h"
#include "tests/support/ImportHook.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

static std::wstring s_windows; // stands for the Windows directory
static std::wstring s_loaded;  // the font that the system was told to load

TEST(GMFontChange, InstallsAndChecks)
{
    RegistrySandbox const machine(HKEY_LOCAL_MACHINE);
    TemporaryFolder const folder;
    s_loaded.clear();
    s_windows = folder.Path() + L'\0';
    ImportHook const windows(
        "GetWindowsDirectoryW",
        +[](wchar_t * path, UINT) WINAPI { return UINT(s_windows.copy(path, MAX_PATH)); });
    ImportHook const load(
        "AddFontResourceW",
        +[](wchar_t const * path) WINAPI { return int((s_loaded = path).empty()); });
    GMFontChange fonts;
    EXPECT_FALSE(fonts.ChangeFont(L"Sans", L"a.ttf", L"")); // no list
    GMRegFile list;
    ASSERT_TRUE(list.CreateKey(HKEY_LOCAL_MACHINE,
                               L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Fonts", false));

    EXPECT_TRUE(fonts.ChangeFont(L"Sans", L"a.ttf", L"")); // the entry alone
    EXPECT_FALSE(fonts.CheckFont(L"Sans", L"a.ttf"));
    EXPECT_FALSE(fonts.ChangeFont(L"Sans", L"a.ttf", folder.File(L"missing.ttf")));
    EXPECT_EQ(L"", s_loaded);
    folder.Write(L"Fonts\\b.ttf", "old");
    EXPECT_TRUE(fonts.ChangeFont(L"Serif", L"b.ttf", folder.Write(L"new.ttf", "new")));
    EXPECT_EQ("old", ReadBytes(s_loaded));
    EXPECT_TRUE(fonts.ChangeFont(L"Sans", L"a.ttf", folder.File(L"new.ttf")));
    EXPECT_EQ("new", ReadBytes(folder.File(L"Fonts\\a.ttf")));
    EXPECT_TRUE(fonts.CheckFont(L"Sans", L"A.TTF"));
    EXPECT_FALSE(fonts.CheckFont(L"Sans", L"b.ttf"));

    std::wstring const name(130, L'x'); // 260 bytes, so no NUL is read behind it
    folder.Write(L"Fonts\\" + name);
    RegSetValueExW(list.GetKey(), L"Long", 0, REG_BINARY,
                   reinterpret_cast<BYTE const *>(name.data()), 260);
    EXPECT_TRUE(fonts.CheckFont(L"Long", name));
}

} // namespace Velmora::Testing
