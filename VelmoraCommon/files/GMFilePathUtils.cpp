#include "VelmoraCommon/files/GMFilePathUtils.h"

#include <cstdio>
#include <utility>

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/internal/DirectoryListing.h"
#include "VelmoraCommon/files/internal/Halves.h"
#include "VelmoraCommon/files/internal/PathText.h"
#include "VelmoraCommon/files/internal/TreeWalk.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/frame/internal/SystemText.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

// FILETIME counts 100 ns since 1601: its value at the start of 1970, and its ticks in a second.
constexpr __int64 fileTimeOf1970 = 116444736000000000;
constexpr __int64 fileTimePerSecond = 10000000;

/// The form in which a path is looked up and compared.
GMString PlainPath(GMString const & path) { return WithoutEndDelimiter(Unquoted(path)); }

bool Has(DWORD attributes, DWORD attribute)
{
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & attribute) != 0;
}

DWORD AttributesOf(GMString const & path) { return GetFileAttributesW(PlainPath(path).c_str()); }

void ClearReadOnly(GMString const & path, DWORD attributes)
{
    if (Has(attributes, FILE_ATTRIBUTE_READONLY))
        SetFileAttributesW(path.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
}

bool RemoveFileWith(DWORD attributes, GMString const & path)
{
    ClearReadOnly(path, attributes);
    return DeleteFileW(path.c_str()) != FALSE;
}

GMString::size_type FileNameStart(GMString const & path)
{
    return path.find_last_of(pathDelimiters) + 1; // none found: npos + 1 is 0
}

/// Where the extension of \p path begins: at its last dot, or at the end.
GMString::size_type ExtensionStart(GMString const & path)
{
    GMString::size_type const dot = path.rfind(L'.');
    return dot == GMString::npos || dot < FileNameStart(path) ? path.size() : dot;
}

/// Appends the paths of the entries of \p directory, at whose end is a delimiter, where \p listOf
/// says.
template <class ListOf>
void ListSons(GMString const & directory, ListOf listOf)
{
    for (DirectoryListing listing(directory); listing.Next();)
        listOf(listing).push_back(directory + listing.Name());
}

/// Deletes a link to a directory by a handle that is sure to be the link's: where the system opens
/// what the link leads to, nothing is deleted.
bool RemoveDirectoryLink(GMString const & path)
{
    ScopedFile const link(
        CreateFileW(path.c_str(), DELETE | FILE_READ_ATTRIBUTES,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    BY_HANDLE_FILE_INFORMATION opened = {};
    if (!link || !GetFileInformationByHandle(link.Get(), &opened) ||
        !Has(opened.dwFileAttributes, FILE_ATTRIBUTE_REPARSE_POINT))
    {
        return false;
    }
    ClearReadOnly(path, opened.dwFileAttributes);
    FILE_DISPOSITION_INFO disposition = {TRUE};
    return SetFileInformationByHandle(link.Get(), FileDispositionInfo, &disposition,
                                      sizeof disposition) != FALSE;
}

/// Whether a path to a directory is a link; also true if that can't be found out.
bool IsLinkItself(GMString const & path)
{
    WIN32_FIND_DATAW entry;
    ScopedFind const find(FindFirstFileW(path.c_str(), &entry));
    return !find || IsLink(entry);
}

/// Size of the file that a link leads to; 0 on failure.
unsigned __int64 SizeOfTarget(GMString const & link)
{
    ScopedFile const file(CreateFileW(link.c_str(), FILE_READ_ATTRIBUTES,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER size = {};
    return file && GetFileSizeEx(file.Get(), &size) ? static_cast<unsigned __int64>(size.QuadPart)
                                                    : 0;
}

GMString CurrentDirectory()
{
    return ReadSystemText([](wchar_t * buffer, unsigned long size)
                          { return GetCurrentDirectoryW(size, buffer); });
}

/// Deletes a directory that is empty by now, whatever its attributes.
bool RemoveEmptyDirectory(GMString const & path)
{
    // The system keeps the current directory open.
    if (path == CurrentDirectory())
    {
        // Without its delimiter a drive is the directory where the process stands on it.
        GMString const upper = GMFileName::GetParentDirectory(path) + GMFileName::GetDirDelimiter();
        SetCurrentDirectoryW(upper.c_str());
    }
    return RemoveDirectoryW(path.c_str()) ||
           (SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_DIRECTORY) &&
            RemoveDirectoryW(path.c_str()));
}

} // namespace

GMString GMFilePathUtils::FileName(GMString const & path)
{
    return path.substr(FileNameStart(path));
}

GMString GMFilePathUtils::BaseName(GMString const & path)
{
    GMString::size_type const start = FileNameStart(path);
    return path.substr(start, ExtensionStart(path) - start);
}

GMString GMFilePathUtils::Extension(GMString const & path)
{
    return path.substr(ExtensionStart(path));
}

GMString GMFilePathUtils::ChangeExtension(GMString const & path, GMString const & extension)
{
    GMString::size_type const start = FileNameStart(path);
    GMString name = BaseName(path) + extension;
    if (start <= 1)
        return name; // no directory, or an empty one
    return path.substr(0, start - 1) + GMFileName::GetDirDelimiter() + name;
}

bool GMFilePathUtils::IsExists(GMString const & path)
{
    return AttributesOf(path) != INVALID_FILE_ATTRIBUTES;
}

bool GMFilePathUtils::IsExistsFile(GMString const & path)
{
    DWORD const attributes = AttributesOf(path);
    return attributes != INVALID_FILE_ATTRIBUTES && !Has(attributes, FILE_ATTRIBUTE_DIRECTORY);
}

bool GMFilePathUtils::IsDirectory(GMString const & path)
{
    return Has(AttributesOf(path), FILE_ATTRIBUTE_DIRECTORY);
}

bool GMFilePathUtils::IsDriver(GMString const & path)
{
    GMString const plain = PlainPath(path);
    return plain.size() == 2 && plain[1] == L':' && IsDirectory(plain);
}

bool GMFilePathUtils::IsInCdRom(GMString const & path)
{
    return path.size() >= 2 && path[1] == L':' &&
           GetDriveTypeW(path.substr(0, 2).c_str()) == DRIVE_CDROM;
}

bool GMFilePathUtils::IsEmpty(GMString const & path)
{
    GMString const plain = PlainPath(path);
    DWORD const attributes = GetFileAttributesW(plain.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return true;
    if (!Has(attributes, FILE_ATTRIBUTE_DIRECTORY))
        return FileSize(plain) == 0;
    DirectoryListing listing(plain + GMFileName::GetDirDelimiter());
    return !listing.IsOpen() || (!listing.Next() && listing.Error() == ERROR_SUCCESS);
}

bool GMFilePathUtils::IsParentDirectory(GMString const & path, GMString const & parent)
{
    GMString const wanted = PlainPath(parent);
    GMString lower = PlainPath(path);
    GMString upper = PlainPath(GMFileName::GetParentDirectory(lower));
    while (!upper.empty() && upper != lower)
    {
        if (GMStringUtils::CompareNoCase(upper, wanted) == 0)
            return true;
        lower = std::exchange(upper, PlainPath(GMFileName::GetParentDirectory(upper)));
    }
    return false;
}

unsigned __int64 GMFilePathUtils::FileSize(GMString const & path)
{
    WIN32_FIND_DATAW entry;
    ScopedFind const find(FindFirstFileW(path.c_str(), &entry));
    if (!find || Has(entry.dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY))
        return 0;
    return JoinHalves(entry.nFileSizeHigh, entry.nFileSizeLow);
}

unsigned __int64 GMFilePathUtils::FileSizeRecursive(GMString const & path)
{
    GMString const root = PlainPath(path);
    DWORD const attributes = GetFileAttributesW(root.c_str());
    if (!Has(attributes, FILE_ATTRIBUTE_DIRECTORY))
        return FileSize(path);

    unsigned __int64 size = 0;
    TreeWalk walk(root + GMFileName::GetDirDelimiter(), TreeWalk::Links::followed);
    for (TreeStep step = walk.Next(); step != TreeStep::end; step = walk.Next())
    {
        if (step == TreeStep::directory)
            walk.Enter();
        else if (step == TreeStep::file)
            size += walk.IsLink() ? SizeOfTarget(walk.Path()) : walk.Size();
    }
    return size;
}

__int64 GMFilePathUtils::GetFileModifyTime(GMString const & path)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data))
        return 0;
    FILETIME const time = data.ftLastWriteTime;
    auto const ticks = static_cast<__int64>(JoinHalves(time.dwHighDateTime, time.dwLowDateTime));
    return ticks == 0 ? 0 : (ticks - fileTimeOf1970) / fileTimePerSecond;
}

void GMFilePathUtils::GetAllSons(GMString const & path, std::vector<GMString> & all)
{
    GMString const directory = WithEndDelimiter(path); // before that is cleared, if it is in all
    all.clear();
    ListSons(directory,
             [&all](DirectoryListing const &) -> std::vector<GMString> & { return all; });
}

void GMFilePathUtils::GetAllSons(GMString const & path, std::vector<GMString> & files,
                                 std::vector<GMString> & directories)
{
    GMString const directory = WithEndDelimiter(path);
    files.clear();
    directories.clear();
    ListSons(directory,
             [&](DirectoryListing const & entry) -> std::vector<GMString> &
             { return entry.IsDirectory() ? directories : files; });
}

bool GMFilePathUtils::CreateDirectories(GMString const & path)
{
    GMString::size_type end = path.find_first_of(pathDelimiters);
    for (; end != GMString::npos; end = path.find_first_of(pathDelimiters, end + 1))
    {
        GMString const upper = path.substr(0, end);
        if (!upper.empty() && !IsExists(upper))
            CreateDirectoryW(upper.c_str(), nullptr); // the last level tells whether all is well
    }
    if (!IsExists(path) && !CreateDirectoryW(path.c_str(), nullptr))
        return false;
    return IsDirectory(path);
}

bool GMFilePathUtils::CopyPathFile(GMString const & source, GMString const & target, bool overwrite)
{
    // Of a path without delimiter GetDirectory makes no directory but the target's own name.
    bool const namesDirectory = target.find(GMFileName::GetDirDelimiter()) != GMString::npos;
    GMString const directory = GMFileName::GetDirectory(target);
    if (namesDirectory && !IsExists(directory))
        CreateDirectories(directory);
    return CopyFileW(source.c_str(), target.c_str(), !overwrite) != FALSE;
}

bool GMFilePathUtils::MovePathFile(GMString const & source, GMString const & target,
                                   bool tolerateUndeleted, bool overwrite)
{
    if (!CopyPathFile(source, target, overwrite))
        return false;
    return RemoveFile(source) || tolerateUndeleted;
}

bool GMFilePathUtils::Rename(GMString const & from, GMString const & to)
{
    return _wrename(from.c_str(), to.c_str()) == 0;
}

bool GMFilePathUtils::RemoveFile(GMString const & path)
{
    return RemoveFileWith(GetFileAttributesW(path.c_str()), path);
}

unsigned __int64 GMFilePathUtils::RemoveAll(GMString const & path)
{
    GMString const root = WithoutEndDelimiter(path);
    DWORD const attributes = GetFileAttributesW(root.c_str());
    if (!Has(attributes, FILE_ATTRIBUTE_DIRECTORY))
        return 0;
    if (Has(attributes, FILE_ATTRIBUTE_REPARSE_POINT) && IsLinkItself(root))
        return RemoveDirectoryLink(root) ? 1 : 0;

    unsigned __int64 removed = 0;
    TreeWalk walk(root + GMFileName::GetDirDelimiter(), TreeWalk::Links::apart);
    for (;;)
    {
        switch (walk.Next())
        {
        case TreeStep::file:
            removed += RemoveFileWith(walk.Attributes(), walk.Path());
            break;
        case TreeStep::link:
            removed += RemoveDirectoryLink(walk.Path());
            break;
        case TreeStep::directory:
            walk.Enter();
            break;
        case TreeStep::left:
            removed += RemoveEmptyDirectory(walk.Path());
            break;
        case TreeStep::entered:
            break;
        case TreeStep::end:
            return removed;
        }
    }
}

bool GMFilePathUtils::RemoveOrRebootDelete(GMString const & path, unsigned int attempts)
{
    if (RemoveFile(path))
        return true;

    GMString const directory = GMFileName::GetDirectory(path);
    GMString const stem = BaseName(path) + L"_t";
    GMString const extension = Extension(path);
    unsigned int number = 0;
    do
    {
        GMString const numeral = number == 0 ? GMString() : GMStringUtils::ToString(number);
        GMString const aside = GMFileName::JoinFileName(directory, stem + numeral + extension);
        RemoveFile(aside);
        if (Rename(path, aside))
        {
            MoveFileExW(aside.c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
            return true;
        }
    } while (++number < attempts);
    return false;
}

} // namespace Velmora
