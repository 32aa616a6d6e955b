#include "tools/treecopy/Paths.h"

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "tools/common/Messages.h"

using namespace Velmora;

namespace Tools
{
namespace
{

constexpr unsigned long pathSize = 32768; // of the longest path, with its NUL

/// What a system call wrote, without `\` at its end; empty if it failed or the text didn't fit.
GMString Written(wchar_t const * text, unsigned long length)
{
    GMString path(text, length < pathSize ? length : 0);
    GMStringUtils::TrimRight(path, L"\\");
    return path;
}

} // namespace

GMString Shown(GMString const & path)
{
    GMString const prefix = L"\\\\?\\";
    GMString const serverPrefix = prefix + L"UNC";
    if (GMStringUtils::BeginWith(path, serverPrefix))
        return L"\\" + path.substr(serverPrefix.size());
    return GMStringUtils::BeginWith(path, prefix) ? path.substr(prefix.size()) : path;
}

GMString FinalPath(GMString const & directory)
{
    GMFile file;
    wchar_t path[pathSize];
    if (!file.Create(directory + L"\\", 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                     OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS))
        return GMString();
    return Written(path, GetFinalPathNameByHandleW(file.GetHandle(), path, pathSize, 0));
}

GMString RealPath(GMString const & path)
{
    wchar_t full[pathSize];
    GMString existing = Written(full, GetFullPathNameW(path.c_str(), pathSize, full, nullptr));
    GMString missing;
    for (;;)
    {
        GMString const real = existing.empty() ? existing : FinalPath(existing);
        if (!real.empty())
            return real + missing;
        GMString::size_type const end = existing.rfind(L'\\');
        Require(end != GMString::npos, path); // above a drive or a server there is nothing
        missing.insert(0, existing, end);
        existing.erase(end);
        GMStringUtils::TrimRight(existing, L"\\");
    }
}

bool IsWithin(GMString const & path, GMString const & directory)
{
    return GMStringUtils::BeginWithNoCase(path + L"\\", directory + L"\\");
}

bool IsRealDirectory(GMString const & path)
{
    DWORD const attributes = GetFileAttributesW((path + L"\\").c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

} // namespace Tools
