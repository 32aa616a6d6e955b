#include "VelmoraCommon/files/internal/FileIdentity.h"

#include <algorithm>
#include <string_view>

#include "VelmoraCommon/files/internal/Halves.h"
#include "VelmoraCommon/files/internal/PathText.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/frame/internal/SystemText.h"

namespace Velmora
{

namespace
{

GMString FullPath(GMString const & path)
{
    return ReadSystemText([&path](wchar_t * buffer, unsigned long size)
                          { return GetFullPathNameW(path.c_str(), size, buffer, nullptr); });
}

/// The units of a full path that name its root: "C:\", "\\server\share\", "\\?\C:\",
/// "\\?\UNC\server\share\".
GMString::size_type RootLength(GMString const & path)
{
    struct Prefix
    {
        std::wstring_view text;
        int names; // that come behind it and belong to the root
    };
    constexpr Prefix prefixes[] = {
        {L"\\\\?\\UNC\\", 2}, {L"\\\\?\\", 1}, {L"\\\\.\\", 1}, {L"\\\\", 2}, {L"", 1}};
    for (Prefix const & prefix : prefixes)
    {
        if (path.compare(0, prefix.text.size(), prefix.text) != 0)
            continue;
        GMString::size_type end = prefix.text.size();
        for (int i = 0; i < prefix.names && end < path.size(); ++i)
            end = std::min(path.find_first_of(pathDelimiters, end), path.size() - 1) + 1;
        return end;
    }
    return path.size();
}

/// Cuts the last level off a full path, at whose end a delimiter may stand; false at its root.
bool GoUp(GMString & path)
{
    if (path.size() <= RootLength(path))
        return false;
    path.pop_back(); // the delimiter, which a root needs
    path.erase(path.find_last_of(pathDelimiters) + 1);
    return true;
}

} // namespace

FileIdentity::FileIdentity(GMString const & path)
{
    // Asking for nothing but attributes works on a file that others have locked, too.
    ScopedFile const file(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION information;
    if (!file || !GetFileInformationByHandle(file.Get(), &information))
        return;
    m_index = JoinHalves(information.nFileIndexHigh, information.nFileIndexLow);
    m_volume = information.dwVolumeSerialNumber;
}

bool LiesWithin(GMString const & path, FileIdentity const & directory)
{
    GMString upper = FullPath(path);
    if (!directory || upper.empty())
        return false;
    do
    {
        if (FileIdentity(upper) == directory)
            return true;
    } while (GoUp(upper));
    return false;
}

bool LeadsUpward(GMString const & link)
{
    GMString above = FullPath(link);
    return GoUp(above) && LiesWithin(above, FileIdentity(link));
}

} // namespace Velmora
