#include "VelmoraCommon/executable/GMPEDepend.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "tests/executable/SampleFiles.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using Files = std::map<GMString, GMString>;

/// Stands for the folder of Windows.
std::wstring s_windows;
UINT WINAPI GiveWindows(wchar_t * buffer, UINT size)
{
    return static_cast<UINT>(s_windows.copy(buffer, size));
}

} // namespace

TEST(GMPEDepend, WalksImportsToADepth)
{
    TemporaryFolder const folder, extra;
    std::wstring const root =
        folder.Write(L"a.exe", ProgramBytes({"V-B.DLL", "v-none.dll", "v-b.dll"}, {"V-Late.dll"}));
    std::wstring const b = folder.Write(L"v-b.dll", ProgramBytes({"v-c.dll"}));
    std::wstring const c = folder.Write(L"v-c.dll", ProgramBytes({"v-b.dll", "v-d.dll"}));
    std::wstring const late = folder.Write(L"v-late.dll", ProgramBytes({}, {"v-unseen.dll"}));
    std::wstring const d = extra.Write(L"v-d.dll", "not a program");
    Files const first = {{L"v-b.dll", b}, {L"v-late.dll", late}, {L"v-none.dll", L""}};
    Files second = first;
    second[L"v-c.dll"] = c;
    Files third = second; // where the circle is closed
    third[L"v-d.dll"] = d;
    GMPEDepend depend;
    for (auto const & [depth, expected] :
         {std::pair(0, Files()), {1, first}, {2, second}, {1000, third}})
        EXPECT_EQ(expected, depend.GetDependFiles(root, extra.Path(), depth)) << depth;

    Files result = {{L"v-b.dll", L"as it was"}}; // neither searched for nor walked
    GMPEDepend::GetDependFiles(root, root, L"", result, 5);
    EXPECT_EQ((Files{{L"v-b.dll", L"as it was"}, {L"v-late.dll", late}, {L"v-none.dll", L""}}),
              result);
}

TEST(GMPEDepend, SearchesPlaceByPlace)
{
    TemporaryFolder const folder, extra, windows;
    s_windows = windows.Path();
    ImportHook const hook("GetWindowsDirectoryW", &GiveWindows);
    wchar_t system[MAX_PATH] = {};
    GetSystemDirectoryW(system, MAX_PATH);
    auto const find = [&](std::wstring const & name)
    { return GMPEDepend::GetDllFullPath(name, folder.File(L"a.exe"), extra.Path()); };

    auto const finds = [&](std::filesystem::path const & path)
    { return find(path.filename()) == path.wstring(); };

    windows.Write(L"notepad.exe"); // the system's folder has one, too
    for (TemporaryFolder const * const each : {&folder, &extra})
    {
        extra.Write(L"notepad.exe");
        EXPECT_TRUE(finds(each->Write(L"notepad.exe")));
        std::filesystem::remove(each->File(L"notepad.exe"));
    }
    EXPECT_TRUE(finds(std::wstring(system) + L"\\notepad.exe"));
    EXPECT_TRUE(finds(windows.Write(L"wmic.exe")));
    std::filesystem::remove(windows.File(L"wmic.exe")); // another one is in the search path
    EXPECT_TRUE(std::filesystem::path(find(L"wmic.exe")).is_absolute());
    std::filesystem::create_directory(extra.File(L"v-folder.dll"));
    EXPECT_EQ(L"", find(L"v-folder.dll")); // folders aren't libraries

    // The folder of the run time comes last.
    std::wstring const runtime = L"Microsoft.VC9990.CRT\\";
    for (std::wstring const name : {L"msvcr9990.dll", L"msvcp9990.dll"})
    {
        EXPECT_TRUE(finds(folder.Write(runtime + name)));
        EXPECT_EQ(L"", GMPEDepend::GetDllFullPath(name, L"a.exe", extra.Path()));
        EXPECT_TRUE(finds(windows.Write(name)));
    }
    EXPECT_FALSE(finds(folder.Write(runtime + L"msvcx9990.dll")));
    EXPECT_FALSE(finds(folder.Write(L"Microsoft.VC0.CRT\\msvcp.dll")));
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
                  GMPEDepend().GetDependFiles(folder.Write(L"a.exe", AlignEnd(bytes)), L"", 1));
    }
}

} // namespace Velmora::Testing
