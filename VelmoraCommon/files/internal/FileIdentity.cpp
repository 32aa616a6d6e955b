#include "VelmoraCommon/files/internal/FileIdentity.h"

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

/// Cuts the last level off a full path, at whose end a delimiter may stand; the drive's root gives
/// an empty path.
void GoUp(GMString & path)
{
    path.pop_back(); // the delimiter, which a drive's root needs
    path.erase(path.find_last_of(pathDelimiters) + 1);
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
    if (!directory)
        return false;
    for (GMString upper = FullPath(path); !upper.empty(); GoUp(upper))
    {
        if (FileIdentity(upper) == directory)
            return true;
    }
    return false;
}

bool LeadsUpward(GMString const & link)
{
    GMString above = FullPath(link);
    if (above.empty())
        return false;
    GoUp(above);
    return !above.empty() && LiesWithin(above, FileIdentity(link));
}

} // namespace Velmora
