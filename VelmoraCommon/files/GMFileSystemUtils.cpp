#include "VelmoraCommon/files/GMFileSystemUtils.h"

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/internal/Halves.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

// The longest path that most operations take or give, and that of the two with a larger buffer.
constexpr DWORD longestPath = 260;
constexpr DWORD longestFullPath = 519;

constexpr unsigned int lastAutoNumber = 0x100000;

/// Has \p fill, which gets a buffer and its size in units, write a text of 1 to \p Longest units.
/// \p text changes on success alone.
template <DWORD Longest, class Fill>
bool ReadPath(GMString & text, Fill fill)
{
    wchar_t buffer[Longest + 2];
    DWORD const length = fill(buffer, Longest + 1);
    if (length == 0 || length > Longest)
        return false;
    text.assign(buffer, length);
    return true;
}

wchar_t const * TextOrNull(GMString const & text) { return text.empty() ? nullptr : text.c_str(); }

/// Makes \p path absolute; \p filePart gets the index of the file name, npos without one.
bool MakeFull(GMString const & path, GMString & fullPath, GMString::size_type & filePart)
{
    return ReadPath<longestFullPath>(
        fullPath,
        [&](wchar_t * buffer, DWORD size)
        {
            wchar_t * name = nullptr;
            DWORD const length = GetFullPathNameW(path.c_str(), size, buffer, &name);
            bool const hasName = name != nullptr && length < size;
            filePart = hasName ? static_cast<GMString::size_type>(name - buffer) : GMString::npos;
            return length;
        });
}

} // namespace

GMString GMFileSystemUtils::s_tempFolder;

bool GMFileSystemUtils::MyCreateDirectory(GMString const & path)
{
    return CreateDirectoryW(path.c_str(), nullptr) != FALSE;
}

bool GMFileSystemUtils::CreateComplexDirectory(GMString const & path)
{
    return GMFilePathUtils::CreateDirectories(path);
}

bool GMFileSystemUtils::MyRemoveDirectory(GMString const & path)
{
    return RemoveDirectoryW(path.c_str()) != FALSE;
}

bool GMFileSystemUtils::RemoveDirectoryWithSubItems(GMString const & path)
{
    GMFilePathUtils::RemoveAll(path);
    LastErrorKeeper const keeper; // why something is left, not that it was found
    return !GMFilePathUtils::IsExists(path);
}

bool GMFileSystemUtils::MySetFileAttributes(GMString const & path, unsigned long attributes)
{
    return SetFileAttributesW(path.c_str(), attributes) != FALSE;
}

bool GMFileSystemUtils::MyMoveFile(GMString const & from, GMString const & to)
{
    return MoveFileW(from.c_str(), to.c_str()) != FALSE;
}

bool GMFileSystemUtils::MySetCurrentDirectory(GMString const & path)
{
    return SetCurrentDirectoryW(path.c_str()) != FALSE;
}

bool GMFileSystemUtils::MyGetSystemDirectory(GMString & path)
{
    return ReadPath<longestPath>(path, &GetSystemDirectoryW);
}

bool GMFileSystemUtils::MyGetWindowsDirectory(GMString & path)
{
    return ReadPath<longestPath>(path, &GetWindowsDirectoryW);
}

bool GMFileSystemUtils::MyGetCurrentDirectory(GMString & path)
{
    path.clear();
    DWORD const needed = GetCurrentDirectoryW(0, nullptr);
    if (needed == 0 || needed > longestFullPath)
        return false;
    return ReadPath<longestFullPath>(path, [](wchar_t * buffer, DWORD size)
                                     { return GetCurrentDirectoryW(size, buffer); });
}

bool GMFileSystemUtils::MyGetTempFileName(GMString const & directory, GMString const & prefix,
                                          GMString & path)
{
    wchar_t buffer[longestPath + 2];
    if (GetTempFileNameW(directory.c_str(), prefix.c_str(), 0, buffer) == 0)
        return false;
    path = buffer;
    return true;
}

bool GMFileSystemUtils::MySearchPath(GMString const & searchPath, GMString const & fileName,
                                     GMString const & extension, GMString & path, int & filePart)
{
    return ReadPath<longestPath>(
        path,
        [&](wchar_t * buffer, DWORD size)
        {
            wchar_t * name = nullptr;
            DWORD const length = SearchPathW(TextOrNull(searchPath), fileName.c_str(),
                                             TextOrNull(extension), size, buffer, &name);
            if (length != 0 && length < size)
                filePart = name ? static_cast<int>(name - buffer) : static_cast<int>(length);
            return length;
        });
}

bool GMFileSystemUtils::MyGetFullPathName(GMString const & path, GMString & fullPath,
                                          int & filePart)
{
    GMString const input = path; // the result may go into it
    fullPath.clear();
    GMString::size_type start = 0;
    if (!MakeFull(input, fullPath, start))
        return false;
    filePart = static_cast<int>(start == GMString::npos ? input.size() : start);
    return true;
}

bool GMFileSystemUtils::GetOnlyDirPrefix(GMString const & path, GMString & directory)
{
    GMString full;
    GMString::size_type start = 0;
    bool const isMade = MakeFull(path, full, start);
    directory = full.substr(0, start);
    return isMade;
}

bool GMFileSystemUtils::GetOnlyName(GMString const & path, GMString & name)
{
    GMString full;
    GMString::size_type start = 0;
    bool const isMade = MakeFull(path, full, start);
    name = start < full.size() ? full.substr(start) : GMString();
    return isMade;
}

bool GMFileSystemUtils::SetDirTime(GMString const & path, FILETIME const * creation,
                                   FILETIME const * access, FILETIME const * write)
{
    ScopedFile const file(CreateFileW(path.c_str(), GENERIC_WRITE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    return file && SetFileTime(file.Get(), creation, access, write);
}

bool GMFileSystemUtils::DoesFileExist(GMString const & path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

unsigned __int64 GMFileSystemUtils::GetFileSize(GMString const & path)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data))
        return 0;
    return JoinHalves(data.nFileSizeHigh, data.nFileSizeLow);
}

bool GMFileSystemUtils::DeleteFileAlways(GMString const & path)
{
    return SetFileAttributesW(path.c_str(), 0) && DeleteFileW(path.c_str());
}

bool GMFileSystemUtils::CreateEmptyFile(GMString const & path, __int64 size)
{
    GMFile file;
    if (!file.Create(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, CREATE_ALWAYS,
                     FILE_ATTRIBUTE_NORMAL))
    {
        return false;
    }
    LARGE_INTEGER end;
    end.QuadPart = size;
    if (SetFilePointerEx(file.GetHandle(), end, nullptr, FILE_BEGIN) && file.SetEndOfFile())
        return true;
    LastErrorKeeper const keeper;
    file.Close();
    DeleteFileAlways(path);
    return false;
}

bool GMFileSystemUtils::MakeAutoName(GMString const & base, GMString const & extension,
                                     unsigned int number, GMString & name)
{
    name = base + L"(" + GMStringUtils::ToString(number) + L")" + extension;
    return DoesFileExist(name);
}

bool GMFileSystemUtils::AutoRenamePath(GMString & path)
{
    GMString const extension = GMFilePathUtils::Extension(path);
    GMString const base = path.substr(0, path.size() - extension.size());
    GMString candidate;
    for (unsigned int number = 1; number <= lastAutoNumber; ++number)
    {
        if (MakeAutoName(base, extension, number, candidate))
            continue;
        path = candidate;
        return true;
    }
    return false;
}

bool GMFileSystemUtils::MyMoveFileEx(GMString const & from, GMString const & to)
{
    if (MoveFileExW(from.c_str(), to.c_str(),
                    MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED | MOVEFILE_WRITE_THROUGH))
    {
        return true;
    }
    GMString aside = to;
    {
        LastErrorKeeper const keeper; // why the move failed, not that nothing is in its way
        if (!DoesFileExist(to) || !AutoRenamePath(aside))
            return false;
    }
    if (!MyMoveFile(to, aside))
        return false;
    if (MyMoveFile(from, to))
    {
        DeleteFileAlways(aside);
        return true;
    }
    LastErrorKeeper const keeper;
    MyMoveFile(aside, to);
    return false;
}

void GMFileSystemUtils::MySetTempPath(GMString const & path)
{
    if (path.empty())
    {
        s_tempFolder.clear();
        return;
    }
    GMString testFile;
    if (!MyGetTempFileName(path, L"~GM", testFile))
        return;
    DeleteFileAlways(testFile);
    s_tempFolder = path;
    if (s_tempFolder.back() != GMFileName::GetDirDelimiter())
        s_tempFolder += GMFileName::GetDirDelimiter();
}

bool GMFileSystemUtils::MyGetTempPath(GMString & path)
{
    if (!s_tempFolder.empty())
    {
        path = s_tempFolder;
        return true;
    }
    GMString shortForm;
    if (!ReadPath<longestPath>(shortForm, [](wchar_t * buffer, DWORD size)
                               { return GetTempPathW(size, buffer); }))
    {
        return false;
    }
    path = shortForm;
    ReadPath<longestFullPath>(path, [&](wchar_t * buffer, DWORD size)
                              { return GetLongPathNameW(shortForm.c_str(), buffer, size); });
    return true;
}

} // namespace Velmora
