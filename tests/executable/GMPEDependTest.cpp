#include "VelmoraCommon/executable/GMPEDepend.h"

#include <climits>
#include <filesystem>

#include <gtest/gtest.h>

#include "tests/executable/IconBytes.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using Files = std::map<GMString, GMString>;

/// Stands for the system's folder (0) and that of Windows (1).
template <int Number>
struct Stand
{
    static inline std::wstring s_folder;
    static UINT WINAPI Give(wchar_t * buffer, UINT size)
    {
        return static_cast<UINT>(s_folder.copy(buffer, size));
    }
};

} // namespace

TEST(GMPEDepend, WalksImportsToADepth)
{
    TemporaryFolder const folder;
    TemporaryFolder const extra;
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

    constexpr int length = 300; // of a chain
    for (int i = 0; i < length; ++i)
        folder.Write(L"chain" + std::to_wstring(i) + L".dll",
                     ProgramBytes({"chain" + std::to_string(i + 1) + ".dll"}));
    EXPECT_EQ(std::size_t(length),
              depend.GetDependFiles(folder.File(L"chain0.dll"), L"", INT_MAX).size());
}

TEST(GMPEDepend, SearchesPlaceByPlace)
{
    TemporaryFolder const folders[4];
    Stand<0>::s_folder = folders[2].Path();
    Stand<1>::s_folder = folders[3].Path();
    ImportHook const systemHook("GetSystemDirectoryW", &Stand<0>::Give);
    ImportHook const windowsHook("GetWindowsDirectoryW", &Stand<1>::Give);
    std::wstring const root = folders[0].File(L"a.exe");
    auto const find = [&](std::wstring const & name)
    { return GMPEDepend::GetDllFullPath(name, root, folders[1].Path()); };

    // Behind the four comes the search path, in which Windows has a folder with this program.
    for (TemporaryFolder const & folder : folders)
        folder.Write(L"wmic.exe");
    for (TemporaryFolder const & folder : folders)
    {
        EXPECT_EQ(folder.File(L"wmic.exe"), find(L"wmic.exe"));
        std::filesystem::remove(folder.File(L"wmic.exe"));
    }
    std::filesystem::path const found = find(L"wmic.exe");
    EXPECT_TRUE(found.is_absolute() && std::filesystem::exists(found));
    std::filesystem::create_directory(folders[1].File(L"v-folder.dll"));
    EXPECT_EQ(L"", find(L"v-folder.dll")); // folders aren't libraries

    // The folder of the run time comes last.
    std::pair<std::wstring, bool> const cases[] = {{L"Microsoft.VC9990.CRT\\msvcr9990.dll", true},
                                                   {L"Microsoft.VC9990.CRT\\msvcp9990.dll", true},
                                                   {L"Microsoft.VC9990.CRT\\msvcx9990.dll", false},
                                                   {L"Microsoft.VC0.CRT\\msvcp.dll", false}};
    for (auto const & [file, isFound] : cases)
    {
        std::wstring const path = folders[0].Write(file);
        std::wstring const name = file.substr(file.find(L'\\') + 1);
        EXPECT_EQ(isFound ? path : L"", find(name));
        EXPECT_EQ(L"", GMPEDepend::GetDllFullPath(name, L"a.exe", folders[1].Path()));
    }
    std::wstring const inWindows = folders[3].Write(L"msvcr9990.dll");
    EXPECT_EQ(inWindows, find(L"msvcr9990.dll"));
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
