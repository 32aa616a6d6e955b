#include "VelmoraCommon/files/GMDiskUtils.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <utility>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/GMStringUtils.h"

#include <shellapi.h>

namespace Velmora
{

namespace
{

constexpr wchar_t const * supportedFileSystems[] = {L"NTFS", L"FAT32", L"exFAT", L"FAT"};

bool HasFloppyLetter(GMString const & drive) { return drive.find_first_of(L"ABab") == 0; }

/// Keeps the system from asking the user for a medium, for this thread and a scope.
class NoPrompts
{
public:
    NoPrompts() { SetThreadErrorMode(GetThreadErrorMode() | SEM_FAILCRITICALERRORS, &m_mode); }
    ~NoPrompts() { SetThreadErrorMode(m_mode, nullptr); }
    NoPrompts(NoPrompts const &) = delete;
    NoPrompts & operator=(NoPrompts const &) = delete;

private:
    DWORD m_mode = 0; // as it was before
};

/// The text before the first `\` of \p path.
GMString DriveOf(GMString const & path) { return path.substr(0, path.find(L'\\')); }

/// Appends the texts of \p list, each of which ends with a NUL.
void SplitAtNuls(GMString const & list, std::vector<GMString> & texts)
{
    for (GMString::size_type start = 0; start < list.size();)
    {
        GMString::size_type const end = std::min(list.find(L'\0', start), list.size());
        if (end > start)
            texts.push_back(list.substr(start, end - start));
        start = end + 1;
    }
}

/// The letter of the drive with the most free bytes among those that \p isWanted accepts.
template <class IsWanted>
bool FindMostFree(GMString & letter, IsWanted isWanted)
{
    std::vector<GMString> drives;
    if (!GMDiskUtils::GetLogicalDriveList(drives))
        return false;
    unsigned __int64 most = 0;
    for (GMString const & drive : drives)
    {
        GMDiskUtils::GMDiskInfo info;
        if (!isWanted(drive) || !GMDiskUtils::GetLogicalDriveInfo(drive, info) || !info.m_ready ||
            !GMDiskUtils::IsSystemSupport(info.m_fileSystem) || info.m_freeBytes <= most)
        {
            continue;
        }
        most = info.m_freeBytes;
        letter = drive.substr(0, 1);
    }
    return most > 0;
}

} // namespace

bool GMDiskUtils::GetLogicalDriveList(std::vector<GMString> & drives)
{
    GMString list(1022, L'\0');
    DWORD length = GetLogicalDriveStringsW(static_cast<DWORD>(list.size()), list.data());
    if (length == 0)
        return false;
    if (length > list.size()) // the size it takes
    {
        list.resize(std::size_t{length} + 2);
        length = GetLogicalDriveStringsW(static_cast<DWORD>(list.size()), list.data());
        if (length == 0 || length > list.size())
            return false;
    }
    list.resize(length);
    SplitAtNuls(list, drives);
    return true;
}

bool GMDiskUtils::GetLogicalDriveInfo(GMString const & drive, GMDiskInfo & info)
{
    NoPrompts const noPrompts;
    SHFILEINFOW shell = {};
    if (SHGetFileInfoW(drive.c_str(), 0, &shell, sizeof shell,
                       SHGFI_TYPENAME | SHGFI_DISPLAYNAME | SHGFI_USEFILEATTRIBUTES) == 0)
    {
        return false;
    }
    GMDiskInfo asked;
    asked.m_displayName = shell.szDisplayName;
    asked.m_typeName = shell.szTypeName;

    wchar_t volume[MAX_PATH] = {};
    wchar_t fileSystem[MAX_PATH] = {};
    if (GetVolumeInformationW(drive.c_str(), volume, MAX_PATH, nullptr, nullptr, nullptr,
                              fileSystem, MAX_PATH))
    {
        asked.m_fileSystem = fileSystem;
        asked.m_ready = true;
        DWORD sectors = 0; // of a cluster
        DWORD bytes = 0;   // of a sector
        DWORD freeClusters = 0;
        DWORD clusters = 0;
        if (GetDiskFreeSpaceW(drive.c_str(), &sectors, &bytes, &freeClusters, &clusters))
        {
            unsigned __int64 const clusterSize = static_cast<unsigned __int64>(sectors) * bytes;
            asked.m_clusterSize = static_cast<unsigned int>(clusterSize);
            asked.m_totalBytes = clusters * clusterSize;
            asked.m_freeBytes = freeClusters * clusterSize;
        }
    }
    info = std::move(asked);
    return true;
}

bool GMDiskUtils::GetLogicalDriveInfoOfPath(GMString const & path, GMDiskInfo & info)
{
    GMString drive = DriveOf(path);
    if (drive.empty())
        return false;
    if (drive.back() == L':')
        drive += L'\\';
    return GetLogicalDriveInfo(drive, info);
}

bool GMDiskUtils::DriveIsPhysical(GMString const & drive)
{
    if (drive.empty())
        return false;
    switch (GetDriveTypeW(drive.c_str()))
    {
    case DRIVE_FIXED:
        return true;
    case DRIVE_REMOVABLE:
        return !HasFloppyLetter(drive);
    default:
        return false;
    }
}

bool GMDiskUtils::DirectoryDriveIsPhysical(GMString const & path)
{
    return DriveIsPhysical(DriveOf(path));
}

bool GMDiskUtils::IsSystemSupport(GMString const & fileSystem)
{
    return std::any_of(std::begin(supportedFileSystems), std::end(supportedFileSystems),
                       [&](wchar_t const * name)
                       { return GMStringUtils::CompareNoCase(fileSystem, name) == 0; });
}

bool GMDiskUtils::GetMaxFreeBytesDrive(GMString & letter)
{
    return FindMostFree(letter, &DriveIsPhysical);
}

bool GMDiskUtils::GetMaxFreeBytesDrive(GMString & letter, std::vector<GMString> exclude)
{
    return FindMostFree(letter,
                        [&exclude](GMString const & drive)
                        {
                            return GetDriveTypeW(drive.c_str()) == DRIVE_FIXED &&
                                   std::find(exclude.begin(), exclude.end(), drive) ==
                                       exclude.end();
                        });
}

} // namespace Velmora
