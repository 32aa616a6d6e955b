#include "VelmoraCommon/shell/GMShellUtils.h"

#include <algorithm>
#include <cwchar>
#include <map>
#include <memory>

#include "VelmoraCommon/files/GMFileMapping.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/shell/internal/ScrambledText.h"
#include "VelmoraCommon/text/GMStringUtils.h"

#include <shellapi.h>
#include <tlhelp32.h>

namespace Velmora
{

namespace
{

constexpr ScrambledText openVerb(L"open", 41);

constexpr INT_PTR lastShellError = 32; // what is greater means that the program runs

/// The memory in which a text is handed to a child, which ends in a NUL.
constexpr DWORD handoverSize = 2048;
constexpr std::size_t handoverUnits = handoverSize / sizeof(wchar_t);

/// Maps the block of \p name, and makes it if it isn't there. \return null on failure
std::shared_ptr<GMFileMapping> MapHandover(GMString const & name)
{
    auto block = std::make_shared<GMFileMapping>();
    if (!block->Create(name, PAGE_READWRITE, 0, handoverSize) ||
        !block->Mapping(FILE_MAP_ALL_ACCESS, 0, 0, handoverSize))
    {
        return nullptr;
    }
    return block;
}

bool KillProcess(DWORD id, bool & opened)
{
    ScopedKernelObject const process(OpenProcess(PROCESS_TERMINATE, FALSE, id));
    opened = static_cast<bool>(process);
    return opened && TerminateProcess(process.Get(), 0);
}

/// Kills each process that \p fits accepts by the image text of its entry.
/// \return false if the processes can't be listed, or one that was opened lives on
template <class Fits>
bool KillProcesses(Fits fits)
{
    ScopedFile const snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof(entry);
    if (!snapshot || !Process32FirstW(snapshot.Get(), &entry))
        return false;
    bool allDead = true;
    do
    {
        bool opened = false;
        if (fits(entry.szExeFile) && !KillProcess(entry.th32ProcessID, opened) && opened)
            allDead = false;
    } while (Process32NextW(snapshot.Get(), &entry));
    return allDead;
}

} // namespace

bool GMShellUtils::KillProcessById(unsigned int pid)
{
    bool opened = false;
    return KillProcess(pid, opened);
}

bool GMShellUtils::KillProcessByName(GMString const & name)
{
    return KillProcesses(
        [&name](wchar_t const * image)
        { return GMStringUtils::CompareNoCase(name, GMFilePathUtils::FileName(image)) == 0; });
}

bool GMShellUtils::KillProcessByPath(GMString const & path)
{
    return KillProcesses([&path](wchar_t const * image)
                         { return GMStringUtils::CompareNoCase(path, image) == 0; });
}

bool GMShellUtils::KillProcessByHwnd(HWND window, bool tryClose, unsigned int timeoutMs,
                                     WPARAM wParam, LPARAM lParam)
{
    DWORD_PTR answer = 0;
    if (window == nullptr)
        return true;
    if (tryClose &&
        SendMessageTimeoutW(window, WM_CLOSE, wParam, lParam, SMTO_NORMAL, timeoutMs, &answer) != 0)
    {
        return true;
    }
    DWORD id = 0;
    GetWindowThreadProcessId(window, &id);
    bool opened = false;
    return id == 0 || KillProcess(id, opened) || !opened;
}

HANDLE GMShellUtils::MyOpenProcess(unsigned long access, int inherit, unsigned long pid)
{
    return OpenProcess(access, inherit, pid);
}

bool GMShellUtils::RunAppliaction(GMString const & path, GMString const & parameters, bool show)
{
    return WinShellExecuteEx(openVerb().c_str(), path.c_str(), parameters.c_str(), nullptr, nullptr,
                             nullptr, 0, nullptr, show ? SW_SHOWDEFAULT : SW_HIDE);
}

bool GMShellUtils::WinShellExecuteEx(wchar_t const * verb, wchar_t const * file,
                                     wchar_t const * parameters, wchar_t const * directory,
                                     HANDLE * process, unsigned long * lastError,
                                     unsigned long mask, HWND hwnd, int show)
{
    SHELLEXECUTEINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = mask;
    info.hwnd = hwnd != nullptr ? hwnd : GetActiveWindow();
    info.lpVerb = verb;
    info.lpFile = file;
    info.lpParameters = parameters;
    info.lpDirectory = directory;
    info.nShow = show;
    if (process != nullptr)
    {
        *process = nullptr;
        info.fMask |= SEE_MASK_NOCLOSEPROCESS;
    }
    if (!ShellExecuteExW(&info))
    {
        if (lastError != nullptr)
            *lastError = GetLastError();
        return false;
    }
    if (process != nullptr)
        *process = info.hProcess;
    return reinterpret_cast<INT_PTR>(info.hInstApp) > lastShellError;
}

bool GMShellUtils::RunAppliactionLowKey(GMString const & path, GMString const & text,
                                        GMString const & blockName)
{
    static std::map<GMString, std::shared_ptr<GMFileMapping>> s_blocks; // for the child to find
    auto block = s_blocks.find(blockName);
    if (block == s_blocks.end())
    {
        auto made = MapHandover(blockName);
        if (made == nullptr)
            return false;
        block = s_blocks.emplace(blockName, std::move(made)).first;
    }
    auto * const units = static_cast<wchar_t *>(block->second->GetMapAddress());
    std::size_t const length = text.copy(units, handoverUnits - 1);
    std::fill(units + length, units + handoverUnits, L'\0');

    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESHOWWINDOW | STARTF_FORCEOFFFEEDBACK;
    startup.wShowWindow = SW_SHOW;
    PROCESS_INFORMATION started = {};
    GMString command = L"\"" + path + L"\"";
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &started))
    {
        return false;
    }
    CloseHandle(started.hThread);
    CloseHandle(started.hProcess);
    return true;
}

GMString GMShellUtils::GetApplicationLowKeyInfo(GMString const & blockName)
{
    auto const block = MapHandover(blockName);
    if (block == nullptr)
        return GMString();
    auto * const units = static_cast<wchar_t *>(block->GetMapAddress());
    GMString text(units, wcsnlen(units, handoverUnits)); // others may write it, too
    units[0] = L'\0';
    return text;
}

} // namespace Velmora
