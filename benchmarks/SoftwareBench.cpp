#include <iterator>
#include <string>
#include <tuple>
#include <vector>

#include "VelmoraCommon/detect/software/GMSoftwareDetect.h"
#include "VelmoraCommon/detect/software/GMVCRedistDetect.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "benchmarks/CallCounter.h"
#include "benchmarks/Families.h"

#include <msi.h>
#include <shlobj.h>

namespace Velmora::Benchmarks
{

namespace
{

using Detect = GMSoftwareDetect;

/// Those that neither make components nor ask the installer, whose time would hide all else.
bool (*const tests[])() = {
    Detect::IsInstalled_VC2005,        Detect::IsInstalled_VC2005_X64,
    Detect::IsInstalled_VC2008,        Detect::IsInstalled_VC2008_X64,
    Detect::IsInstalled_VC2010,        Detect::IsInstalled_VC2010_X64,
    Detect::IsInstalled_VC2012,        Detect::IsInstalled_VC2012_X64,
    Detect::IsInstalled_VC2013,        Detect::IsInstalled_VC2013_X64,
    Detect::IsInstalled_VC2015,        Detect::IsInstalled_VC2015_X64,
    Detect::IsInstalled_DOTNET_10,     Detect::IsInstalled_DOTNET_11_SP1,
    Detect::IsInstalled_DOTNET_35_SP1, Detect::IsInstalled_DOTNET_35_SP1_X64,
    Detect::IsInstalled_DOTNET_40,     Detect::IsInstalled_DOTNET_40_X64,
    Detect::IsInstalled_DOTNET_45,     Detect::IsInstalled_Microsoft_Silverlight,
    Detect::IsInstalled_DIRECTX,       Detect::IsInstalled_XNA_31,
    Detect::IsInstalled_XNA_40,        Detect::IsInstalled_OPENAL,
    Detect::IsInstalled_XLIVE,         Detect::IsInstalled_PHYSX,
    Detect::IsInstalled_JAVA,          Detect::IsInstalled_MSXML_3_0_X64,
    Detect::IsInstalled_MSXML_6_0_X64,
};

void RunTests()
{
    for (auto const test : tests)
    {
        bool const isInstalled = test();
        Use(&isInstalled);
    }
}

/// The system calls that the tests make, noted with what they ask for, to be made again by
/// themselves.
struct Questions
{
    std::vector<int> folders;
    std::vector<std::wstring> paths;
    std::vector<std::wstring> patterns;
    std::vector<std::wstring> versions;
    std::vector<std::tuple<HKEY, std::wstring, REGSAM>> keys;

    void Ask() const;
};
Questions g_questions;

HRESULT(WINAPI * g_folder)(HWND, int, HANDLE, DWORD, LPWSTR);
HRESULT WINAPI NoteFolder(HWND window, int folder, HANDLE token, DWORD flags, LPWSTR path)
{
    g_questions.folders.push_back(folder);
    return g_folder(window, folder, token, flags, path);
}

DWORD(WINAPI * g_attributes)(LPCWSTR);
DWORD WINAPI NoteAttributes(LPCWSTR path)
{
    g_questions.paths.push_back(path);
    return g_attributes(path);
}

HANDLE(WINAPI * g_find)(LPCWSTR, WIN32_FIND_DATAW *);
HANDLE WINAPI NoteFind(LPCWSTR pattern, WIN32_FIND_DATAW * entry)
{
    g_questions.patterns.push_back(pattern);
    return g_find(pattern, entry);
}

DWORD(WINAPI * g_versionSize)(LPCWSTR, DWORD *);
DWORD WINAPI NoteVersion(LPCWSTR path, DWORD * ignored)
{
    g_questions.versions.push_back(path);
    return g_versionSize(path, ignored);
}

LSTATUS(WINAPI * g_openKey)(HKEY, LPCWSTR, DWORD, REGSAM, HKEY *);
LSTATUS WINAPI NoteKey(HKEY root, LPCWSTR path, DWORD options, REGSAM access, HKEY * key)
{
    g_questions.keys.emplace_back(root, path, access);
    return g_openKey(root, path, options, access, key);
}

/// Makes the same calls again, with nothing around them.
void Questions::Ask() const
{
    for (int const folder : folders)
    {
        wchar_t path[MAX_PATH];
        SHGetFolderPathW(nullptr, folder, nullptr, 0, path);
    }
    for (std::wstring const & path : paths)
        GetFileAttributesW(path.c_str());
    for (std::wstring const & pattern : patterns)
    {
        WIN32_FIND_DATAW entry;
        ScopedFind const find(FindFirstFileW(pattern.c_str(), &entry));
    }
    for (std::wstring const & path : versions)
    {
        DWORD ignored = 0;
        std::vector<char> block(GetFileVersionInfoSizeW(path.c_str(), &ignored));
        if (!block.empty())
            GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data());
    }
    for (auto const & [root, path, access] : keys)
    {
        ScopedRegKey key;
        RegOpenKeyExW(root, path.c_str(), 0, access, key.Receive());
    }
}

/// The barest way to ask for the packages of Visual C++: one load, and the codes that Detect asks.
std::vector<std::wstring> g_codes;
INSTALLSTATE WINAPI NoteProduct(LPCWSTR code)
{
    g_codes.push_back(code);
    return INSTALLSTATE_UNKNOWN;
}

FARPROC(WINAPI * g_export)(HMODULE, LPCSTR);
FARPROC WINAPI NoteExport(HMODULE module, LPCSTR name)
{
    return std::string(name) == "MsiQueryProductStateW"
               ? reinterpret_cast<FARPROC>(reinterpret_cast<void *>(&NoteProduct))
               : g_export(module, name);
}

void AskInstaller()
{
    SystemFunction<decltype(::MsiQueryProductStateW)> const query(L"msi.dll",
                                                                  "MsiQueryProductStateW");
    for (std::wstring const & code : g_codes)
    {
        INSTALLSTATE const state = query ? query(code.c_str()) : INSTALLSTATE_UNKNOWN;
        Use(&state);
    }
}

void DetectPackages()
{
    GMVCRedistDetect detector;
    detector.Detect();
    Use(&detector);
}

unsigned int CallsOf(void (*work)())
{
    CallCounter<0, decltype(&GetFileAttributesW)> const files("GetFileAttributesW");
    CallCounter<1, decltype(&FindFirstFileW)> const finds("FindFirstFileW");
    CallCounter<2, decltype(&GetFileVersionInfoSizeW)> const versions("GetFileVersionInfoSizeW");
    CallCounter<3, decltype(&RegOpenKeyExW)> const keys("RegOpenKeyExW");
    CallCounter<4, decltype(&RegQueryValueExW)> const values("RegQueryValueExW");
    g_calls = 0;
    work();
    return g_calls;
}

unsigned int LoadsOf(void (*work)())
{
    CallCounter<5, decltype(&LoadLibraryW)> const loads("LoadLibraryW");
    g_calls = 0;
    work();
    return g_calls;
}

} // namespace

void MeasureSoftware(Report & report)
{
    std::string const name = "software: all tests but those of components";
    if (report.IsWanted(name))
    {
        {
            Testing::ImportHook const folders("SHGetFolderPathW", &NoteFolder, g_folder);
            Testing::ImportHook const paths("GetFileAttributesW", &NoteAttributes, g_attributes);
            Testing::ImportHook const finds("FindFirstFileW", &NoteFind, g_find);
            Testing::ImportHook const versions("GetFileVersionInfoSizeW", &NoteVersion,
                                               g_versionSize);
            Testing::ImportHook const keys("RegOpenKeyExW", &NoteKey, g_openKey);
            RunTests();
        }
        report.Measure({name,
                        static_cast<double>(std::size(tests)),
                        "tests",
                        &RunTests,
                        {{"the bare calls", [] { g_questions.Ask(); }, Bar::TimeAtMost(1.2)}}});
        report.Figure("software: system calls of a test",
                      CallsOf(&RunTests) / static_cast<double>(std::size(tests)), "calls", 8);
        report.Figure("software: library loads of all of them", LoadsOf(&RunTests), "loads", 2);
    }
    std::string const packages = "software: packages of Visual C++, by the installer";
    if (report.IsWanted(packages))
    {
        {
            Testing::ImportHook const exports("GetProcAddress", &NoteExport, g_export);
            DetectPackages();
        }
        report.Measure(
            {packages,
             static_cast<double>(g_codes.size()),
             "codes",
             &DetectPackages,
             {{"one load and the bare questions", &AskInstaller, Bar::TimeAtMost(1.2)}}});
        report.Figure("software: library loads of it beyond one a code",
                      static_cast<double>(LoadsOf(&DetectPackages)) -
                          static_cast<double>(g_codes.size()),
                      "loads", 1);
    }
}

} // namespace Velmora::Benchmarks
