#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "VelmoraCommon/frame/GMSharedLibrary.h"
#include "VelmoraCommon/frame/internal/Com.h"
#include "VelmoraCommon/shell/CWindowBaseInfo.h"
#include "VelmoraCommon/shell/GMProcessShell.h"
#include "VelmoraCommon/shell/GMQuickLaunch.h"
#include "benchmarks/Families.h"
#include "tests/support/TemporaryFolder.h"

#include <shlobj.h>

namespace Velmora::Benchmarks
{

namespace
{

constexpr std::size_t floodSize = std::size_t(16) << 20; // bytes on each stream
constexpr int linkCount = 50;

std::wstring FloodCommand()
{
    return L"\"" + GMSharedLibrary::GetModuleFullName(nullptr) + L"\" " + floodOption;
}

void CheckSize(std::size_t size)
{
    if (size != 2 * floodSize)
        std::printf("  LOST: %zu bytes of %zu came\n", size, 2 * floodSize);
}

void CatchOutput()
{
    GMProcessShell shell(L"", FloodCommand());
    std::string out;
    std::string err;
    if (shell.Start(""))
        shell.ReadJoin(out, err, INFINITE);
    CheckSize(out.size() + err.size());
}

/// The fastest there is: a thread for each stream, which blocks in reads of 64 KB to the end.
void CatchOutputBlocking()
{
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    HANDLE reads[2] = {};
    HANDLE writes[2] = {};
    for (int i = 0; i < 2; ++i)
    {
        CreatePipe(&reads[i], &writes[i], &inherited, 0);
        SetHandleInformation(reads[i], HANDLE_FLAG_INHERIT, 0);
    }
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = writes[0];
    startup.hStdError = writes[1];
    PROCESS_INFORMATION started = {};
    std::wstring command = FloodCommand();
    CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                   &started);
    std::string texts[2];
    auto const read = [&](int i)
    {
        CloseHandle(writes[i]);
        char buffer[65536];
        DWORD got = 0;
        while (ReadFile(reads[i], buffer, sizeof(buffer), &got, nullptr) && got != 0)
            texts[i].append(buffer, got);
        CloseHandle(reads[i]);
    };
    std::thread other(read, 1);
    read(0);
    other.join();
    WaitForSingleObject(started.hProcess, INFINITE);
    CloseHandle(started.hThread);
    CloseHandle(started.hProcess);
    CheckSize(texts[0].size() + texts[1].size());
}

/// What reading the same fields takes of the shell's object.
void ReadLinkBare(std::wstring const & path)
{
    ComPtr<IShellLinkW> link;
    ComPtr<IPersistFile> file;
    wchar_t text[1024];
    int number = 0;
    WORD hotKey = 0;
    GetFileAttributesW(path.c_str());
    CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER,
                     IID_PPV_ARGS(link.GetAddressOf()));
    link.As(&file);
    file->Load(path.c_str(), STGM_SHARE_DENY_READ);
    link->GetPath(text, MAX_PATH, nullptr, SLGP_RAWPATH);
    link->GetWorkingDirectory(text, MAX_PATH);
    link->GetArguments(text, 1024);
    link->GetDescription(text, 1024);
    link->GetIconLocation(text, MAX_PATH, &number);
    link->GetHotkey(&hotKey);
    link->GetShowCmd(&number);
}

/// Opens the file, reads it whole and asks the shell for the path of the list in it.
void ReadBytesBare(std::wstring const & path)
{
    char bytes[4096];
    DWORD got = 0;
    HANDLE const file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, 0, nullptr);
    GetFileSize(file, nullptr);
    ReadFile(file, bytes, sizeof(bytes), &got, nullptr);
    CloseHandle(file);
    wchar_t found[MAX_PATH];
    SHGetPathFromIDListW(reinterpret_cast<LPCITEMIDLIST>(bytes + 78), found);
}

BOOL CALLBACK DescribeBare(HWND window, LPARAM)
{
    wchar_t text[260];
    WINDOWINFO info = {};
    info.cbSize = sizeof(info);
    GetWindowTextW(window, text, 260);
    GetClassNameW(window, text, 260);
    GetWindowInfo(window, &info);
    GetWindowThreadProcessId(window, nullptr);
    GetDlgCtrlID(window);
    return TRUE;
}

} // namespace

int Flood()
{
    std::string const bytes(65536, 'x');
    for (std::size_t written = 0; written < floodSize; written += bytes.size())
    {
        for (DWORD stream : {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE})
        {
            DWORD done = 0;
            WriteFile(GetStdHandle(stream), bytes.data(), DWORD(bytes.size()), &done, nullptr);
        }
    }
    return 0;
}

void MeasureShell(Report & report)
{
    Work capture = {"process shell, 16 MiB on both streams",
                    2.0 * floodSize / 1e6,
                    "MB",
                    &CatchOutput,
                    {{"blocking reads of 64 KB", &CatchOutputBlocking, Bar::RateAtLeast(0.5)}}};
    capture.turns = 5;
    report.Measure(capture);

    ComApartment const apartment(COINIT_APARTMENTTHREADED);
    Testing::TemporaryFolder const folder;
    std::wstring const target = folder.Write(L"game.exe");
    std::vector<std::wstring> paths;
    GMQuickLaunch links;
    for (int i = 0; i < linkCount; ++i)
    {
        paths.push_back(folder.File(std::to_wstring(i) + L".lnk"));
        links.CreateQuickLaunch(target, L"-x", L"A game", paths.back(), L"", 0, nullptr, true);
    }
    auto const each = [&paths](auto read)
    {
        return [&paths, read]
        {
            for (std::wstring const & path : paths)
                read(path);
        };
    };
    report.Measure({"shortcuts read",
                    linkCount,
                    "files",
                    each(
                        [&links](std::wstring const & path)
                        {
                            GMShortCutInfo info;
                            links.ParseLinkFile(path, info);
                        }),
                    {{"bare link object", each(&ReadLinkBare), Bar::TimeAtMost(1.1)}}});
    report.Measure(
        {"shortcuts read from their bytes",
         linkCount,
         "files",
         each(
             [&links](std::wstring const & path)
             {
                 GMString found;
                 links.ParseLinkFile64(path, found);
             }),
         {{"open, read, and ask the shell", each(&ReadBytesBare), Bar::TimeAtMost(1.5)}}});

    HWND const top =
        CreateWindowW(L"Static", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    constexpr int windowCount = 100;
    for (int i = 0; i < windowCount; ++i)
        CreateWindowW(L"Static", L"text", WS_CHILD, 0, i, 9, 9, top, nullptr, nullptr, nullptr);
    report.Measure({"window tree, one level",
                    windowCount,
                    "windows",
                    [top]
                    {
                        CWindowBaseInfo info(top, 0);
                        info.Load();
                        info.LoadChildWindow(0);
                    },
                    {{"one EnumChildWindows", [top] { EnumChildWindows(top, &DescribeBare, 0); },
                      Bar::TimeAtMost(1.3)}}});
    DestroyWindow(top);
}

} // namespace Velmora::Benchmarks
