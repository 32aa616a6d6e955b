#include "tests/support/RegistrySandbox.h"
#include "tests/tools/ToolTest.h"

namespace Velmora::Testing
{

using Readiness = ToolTest;

TEST_F(Readiness, AnswersForWhatAFileAsksFor)
{
    struct Case
    {
        char const * file;
        DWORD code;
        char const * says;
    };
    Case const cases[] = {
        {"needs = A20,22 # both are part of Wine", 0, "MSXML 6.0  any"},
        {"directx = 9\r\n\r\n", 0, "ready"},
        {"msxml3 = 99.1\ndirectx=", 1, "not ready"},
        {"java = 1.8\nneeds = 8", 1, "Java runtime"},
        {"# nothing", 3, "asks for nothing"},
        {"game = x\nneeds = A1,24", 3, "line 2: \"A1,24\""}, // no such id
        {"needs = 16", 3, "no set"},                         // stands for nothing
        {"flesh = 1", 3, "isn't known"},
        {"java = one", 3, "isn't a version"},
        {"physx = 2.8", 3, "isn't a version"}, // whose version isn't told
    };
    for (Case const & each : cases)
    {
        m_folder.Write(L"needs.txt", each.file);
        Run(each.code, L"readiness", L"needs.txt", each.says);
    }
    Run(2, L"readiness", L"", "FILE is required");
    Run(3, L"readiness", L"missing.txt", "can't be read");
    Run(0, L"readiness", L"--list", " 2  vc14-x64");
}

TEST_F(Readiness,
       FindsTheNewRunTimesByTheirSetup) // in the real registry, where nobody else has them
{
    wchar_t const * const keys[] = {L"SOFTWARE\\Microsoft\\VisualStudio\\14.0\\VC\\Runtimes\\x86",
                                    L"SOFTWARE\\dotnet\\Setup\\InstalledVersions\\x64\\sharedfx\\"
                                    L"Microsoft.WindowsDesktop.App"};
    std::pair<wchar_t const *, DWORD> const values[] = {{L"Installed", 1}, {L"Major", 14},
                                                        {L"Minor", 9},     {L"Bld", 5},
                                                        {L"8.0.9", 1},     {L"8.0.10", 1}};
    for (wchar_t const * const path : keys)
    {
        HKEY key = nullptr;
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_ALL_ACCESS | KEY_WOW64_32KEY,
                        nullptr, &key, nullptr);
        for (auto const & [name, number] : values)
            RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<BYTE const *>(&number),
                           sizeof number);
        RegCloseKey(key);
    }
    m_folder.Write(L"needs.txt", "game = <b>&\nvc14 = 14.9.5\ndotnet-desktop-x64 = 8.0.10");
    std::string const json =
        Run(0, L"readiness", L"needs.txt --json --html page.html", "\"8.0.10\"");
    EXPECT_NE(json.npos, json.find("\"version\": \"14.9.5\""));
    EXPECT_NE(json.npos, ReadBytes(L"page.html").find("<h1>&lt;b&gt;&amp;</h1>"));
    m_folder.Write(L"needs.txt", "vc14 = 14.10");
    Run(1, L"readiness", L"needs.txt", "14.9.5");
    for (wchar_t const * const path : keys)
        DeleteRegistryTree(HKEY_LOCAL_MACHINE, path, KEY_WOW64_32KEY);
}

} // namespace Velmora::Testing
