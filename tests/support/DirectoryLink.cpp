#include "tests/support/DirectoryLink.h"

#include <memory>
#include <stdexcept>

#include "VelmoraCommon/frame/internal/SystemFunction.h"

namespace Velmora::Testing
{

namespace
{

constexpr wchar_t kernel[] = L"kernel32.dll";
using MakeLink = BOOLEAN WINAPI(wchar_t const *, wchar_t const *, DWORD);
using UnixName = char * CDECL(wchar_t const *);

bool IsLink(std::wstring const & path)
{
    WIN32_FIND_DATAW entry;
    ScopedFind const find(FindFirstFileW(path.c_str(), &entry));
    constexpr DWORD link = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    return find && (entry.dwFileAttributes & link) == link;
}

std::wstring QuotedHostPath(std::wstring const & path, UnixName * unixName)
{
    struct Release
    {
        void operator()(char * block) const { HeapFree(GetProcessHeap(), 0, block); }
    };
    std::unique_ptr<char, Release> const name(unixName(path.c_str()));
    if (!name)
        return std::wstring();
    wchar_t wide[4 * MAX_PATH] = {};
    MultiByteToWideChar(CP_UTF8, 0, name.get(), -1, wide, 4 * MAX_PATH - 1);
    return L" \"" + std::wstring(wide) + L"\"";
}

/// Runs a tool of the host on \p paths and waits until \p path is a link, or isn't one any more.
void RunOnHost(std::wstring const & tool, std::wstring const & paths, std::wstring const & path,
               bool becomesLink)
{
    // By way of a program of Wine's: started directly, each tool leaves a handle in this process.
    std::wstring command = L"start.exe /unix /bin/" + tool + paths;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process))
    {
        throw std::runtime_error("DirectoryLink: the host's tool doesn't start");
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    for (int i = 0; i < 1000 && IsLink(path) != becomesLink; ++i)
        Sleep(10);
}

} // namespace

DirectoryLink::DirectoryLink(std::wstring const & path, std::wstring const & target) : m_path(path)
{
    SystemFunction<UnixName> const unixName(kernel, "wine_get_unix_file_name");
    if (unixName)
    {
        RunOnHost(L"ln -s",
                  QuotedHostPath(target, unixName.Get()) + QuotedHostPath(path, unixName.Get()),
                  path, true);
    }
    else
    {
        SystemFunction<MakeLink> const makeLink(kernel, "CreateSymbolicLinkW");
        makeLink(path.c_str(), target.c_str(), SYMBOLIC_LINK_FLAG_DIRECTORY);
    }
    if (!Exists())
        throw std::runtime_error("DirectoryLink: no link came to be");
}

DirectoryLink::~DirectoryLink()
{
    if (Exists())
        Remove();
}

bool DirectoryLink::Exists() const { return IsLink(m_path); }

void DirectoryLink::Remove()
{
    SystemFunction<UnixName> const unixName(kernel, "wine_get_unix_file_name");
    if (unixName)
        RunOnHost(L"rm", QuotedHostPath(m_path, unixName.Get()), m_path, false);
    else
        RemoveDirectoryW(m_path.c_str());
}

} // namespace Velmora::Testing
