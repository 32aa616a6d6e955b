#include "VelmoraCommon/executable/GMPEDepend.h"

#include <climits>
#include <filesystem>

#include <gmock/gmock.h>

#include "tests/executable/IconBytes.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using Files = std::map<GMString, GMString>;

std::wstring s_systemFolder;
std::wstring s_windowsFolder;

UINT WINAPI GiveSystemFolder(wchar_t * buffer, UINT size)
{
    return static_cast<UINT>(s_systemFolder.copy(buffer, size));
}
UINT WINAPI GiveWindowsFolder(wchar_t * buffer, UINT size)
{
    return static_cast<UINT>(s_windowsFolder.copy(buffer, size));
}

} // namespace

TEST(GMPEDepend, WalksImportsToADepth)
{
    TemporaryFolder const folder;
    TemporaryFolder const extra;
    auto const write = [&](wchar_t const * name, std::string const & bytes)
    { WriteBytes(folder.File(name), bytes); };
    write(L"a.exe", ProgramBytes({"V-B.DLL", "v-none.dll", "v-b.dll"}, {"V-Late.dll"}));
    write(L"v-b.dll", ProgramBytes({"v-c.dll"}));
    write(L"v-c.dll", ProgramBytes({"v-b.dll", "v-d.dll"}));  // a circle
    write(L"v-late.dll", ProgramBytes({}, {"v-unseen.dll"})); // no imports, so no delay imports
    WriteBytes(extra.File(L"v-d.dll"), "not a program");

    std::wstring const root = folder.File(L"a.exe");
    Files expected;
    GMPEDepend depend;
    EXPECT_EQ(expected, depend.GetDependFiles(root, extra.Path(), 0));
    expected = {{L"v-b.dll", folder.File(L"v-b.dll")},
                {L"v-late.dll", folder.File(L"v-late.dll")},
                {L"v-none.dll", L""}};
    EXPECT_EQ(expected, depend.GetDependFiles(root, extra.Path(), 1));
    expected[L"v-c.dll"] = folder.File(L"v-c.dll");
    EXPECT_EQ(expected, depend.GetDependFiles(root, extra.Path(), 2));
    expected[L"v-d.dll"] = extra.File(L"v-d.dll");
    EXPECT_EQ(expected, depend.GetDependFiles(root, extra.Path(), 1000));

    Files result = {{L"v-b.dll", L"as it was"}}; // neither searched for nor walked
    GMPEDepend::GetDependFiles(root, root, L"", result, 5);
    EXPECT_EQ((Files{{L"v-b.dll", L"as it was"},
                     {L"v-late.dll", folder.File(L"v-late.dll")},
                     {L"v-none.dll", L""}}),
              result);
}

TEST(GMPEDepend, WalksALongChain)
{
    TemporaryFolder const folder;
    constexpr int length = 300;
    auto const name = [](int i) { return "chain" + std::to_string(i) + ".dll"; };
    for (int i = 0; i < length; ++i)
    {
        std::string const own = name(i);
        WriteBytes(folder.File(std::wstring(own.begin(), own.end())), ProgramBytes({name(i + 1)}));
    }
    GMPEDepend depend;
    EXPECT_EQ(std::size_t(length),
              depend.GetDependFiles(folder.File(L"chain0.dll"), L"", INT_MAX).size());
}

TEST(GMPEDepend, SearchesPlaceByPlace)
{
    TemporaryFolder const folders[4];
    s_systemFolder = folders[2].Path();
    s_windowsFolder = folders[3].Path();
    ImportHook const systemHook("GetSystemDirectoryW", &GiveSystemFolder);
    ImportHook const windowsHook("GetWindowsDirectoryW", &GiveWindowsFolder);
    std::wstring const root = folders[0].File(L"a.exe");
    auto const find = [&](wchar_t const * name)
    { return GMPEDepend::GetDllFullPath(name, root, folders[1].Path()); };

    // Behind the four comes the search path, in which Windows has a folder with this program.
    for (TemporaryFolder const & folder : folders)
        WriteBytes(folder.File(L"wmic.exe"), "");
    for (TemporaryFolder const & folder : folders)
    {
        EXPECT_EQ(folder.File(L"wmic.exe"), find(L"wmic.exe"));
        std::filesystem::remove(folder.File(L"wmic.exe"));
    }
    std::wstring const found = find(L"wmic.exe");
    EXPECT_TRUE(std::filesystem::path(found).is_absolute() && std::filesystem::exists(found));

    std::filesystem::create_directory(folders[1].File(L"v-folder.dll"));
    EXPECT_EQ(L"", find(L"v-folder.dll")); // folders aren't libraries
}

TEST(GMPEDepend, SearchesTheRuntimeFolderLast)
{
    TemporaryFolder const folder;
    for (wchar_t const * const file :
         {L"Microsoft.VC9990.CRT\\msvcr9990.dll", L"Microsoft.VC9990.CRT\\msvcp9990.dll",
          L"Microsoft.VC9990.CRT\\msvcx9990.dll", L"Microsoft.VC0.CRT\\msvcr0.dll"})
        folder.Write(file);
    std::pair<wchar_t const *, bool> const cases[] = {{L"msvcr9990.dll", true},
                                                      {L"msvcp9990.dll", true},
                                                      {L"msvcx9990.dll", false},
                                                      {L"msvcr0.dll", false},
                                                      {L"msvcp.dll", false}};
    std::wstring const root = folder.File(L"a.exe");
    for (auto const & [name, isFound] : cases)
    {
        std::wstring const path = folder.File(L"Microsoft.VC9990.CRT\\") + name;
        EXPECT_EQ(isFound ? path : L"", GMPEDepend::GetDllFullPath(name, root, folder.Path()));
        EXPECT_EQ(L"", GMPEDepend::GetDllFullPath(name, L"a.exe", folder.Path()));
    }
    folder.Write(L"msvcr9990.dll");
    EXPECT_EQ(folder.File(L"msvcr9990.dll"),
              GMPEDepend::GetDllFullPath(L"msvcr9990.dll", root, L""));
}

TEST(GMPEDepend, TakesNamesWithinTheFileOnly)
{
    // The name stands last and the file fills its pages: there is nothing behind it to read.
    TemporaryFolder const folder;
    for (std::size_t const length : {20u, 300u})
    {
        std::string bytes = ProgramBytes({"first.dll", std::string(length, 'x')});
        bytes.pop_back(); // the terminator
        Files expected = {{L"first.dll", L""}};
        if (length > 260)
            expected[GMString(260, L'x')] = L"";
        EXPECT_EQ(expected,
                  GMPEDepend().GetDependFiles(folder.Write(L"a.exe", AlignEnd(bytes)), L"", 1))
            << length;
    }
}

} // namespace Velmora::Testing
