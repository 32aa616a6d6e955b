#include "tests/support/DirectoryLink.h"

#include <stdexcept>

#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "tests/support/HostShell.h"

namespace Velmora::Testing
{

namespace
{

using MakeLink = BOOLEAN WINAPI(wchar_t const *, wchar_t const *, DWORD);

/// Empty on a real Windows.
std::string QuotedHostPath(std::wstring const & path)
{
    std::string const host = HostPath(path);
    return host.empty() ? host : " '" + host + "'";
}

} // namespace

DirectoryLink::DirectoryLink(std::wstring const & path, std::wstring const & target) : m_path(path)
{
    std::string const hostTarget = QuotedHostPath(target);
    if (hostTarget.empty())
    {
        SystemFunction<MakeLink> const makeLink(L"kernel32.dll", "CreateSymbolicLinkW");
        makeLink(path.c_str(), target.c_str(), SYMBOLIC_LINK_FLAG_DIRECTORY);
    }
    else
    {
        RunOnHost("ln -s" + hostTarget + QuotedHostPath(path));
    }
    if (!Exists())
        throw std::runtime_error("DirectoryLink: no link came to be");
}

DirectoryLink::~DirectoryLink()
{
    if (Exists())
        Remove();
}

bool DirectoryLink::Exists() const
{
    WIN32_FIND_DATAW entry;
    ScopedFind const find(FindFirstFileW(m_path.c_str(), &entry));
    constexpr DWORD link = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    return find && (entry.dwFileAttributes & link) == link;
}

void DirectoryLink::Remove()
{
    std::string const host = QuotedHostPath(m_path);
    if (host.empty())
        RemoveDirectoryW(m_path.c_str());
    else
        RunOnHost("rm" + host);
}

} // namespace Velmora::Testing
