#include "VelmoraCommon/files/internal/LinkLoop.h"

#include "VelmoraCommon/files/internal/PathText.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/frame/internal/SystemText.h"

namespace Velmora
{

namespace
{

/// Asks for what tells a directory from all others; follows links.
bool Identify(GMString const & path, BY_HANDLE_FILE_INFORMATION & identity)
{
    ScopedFile const directory(CreateFileW(
        path.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    return directory && GetFileInformationByHandle(directory.Get(), &identity);
}

bool IsSame(BY_HANDLE_FILE_INFORMATION const & left, BY_HANDLE_FILE_INFORMATION const & right)
{
    return left.dwVolumeSerialNumber == right.dwVolumeSerialNumber &&
           left.nFileIndexHigh == right.nFileIndexHigh && left.nFileIndexLow == right.nFileIndexLow;
}

GMString FullPath(GMString const & path)
{
    return ReadSystemText([&path](wchar_t * buffer, unsigned long size)
                          { return GetFullPathNameW(path.c_str(), size, buffer, nullptr); });
}

} // namespace

bool LeadsUpward(GMString const & link)
{
    BY_HANDLE_FILE_INFORMATION target;
    if (!Identify(link, target))
        return false;

    GMString above = FullPath(link);
    while (!above.empty())
    {
        above.pop_back(); // the delimiter, which a drive's root needs
        above.erase(above.find_last_of(pathDelimiters) + 1);
        BY_HANDLE_FILE_INFORMATION directory;
        if (Identify(above, directory) && IsSame(target, directory))
            return true;
    }
    return false;
}

} // namespace Velmora
