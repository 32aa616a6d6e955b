#include "VelmoraCommon/files/GMFile.h"

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{
namespace
{

void MakeDirectoryOf(GMString const & path)
{
    if (!GMFileName::IsCompletedPath(path))
        return;
    GMString const directory = GMFileName::GetDirectory(path);
    if (!directory.empty() && !GMFilePathUtils::IsDirectory(directory))
        GMFilePathUtils::CreateDirectories(directory); // where it fails, creating the file tells
}

} // namespace

GMFile::GMFile() : m_handle(INVALID_HANDLE_VALUE) {}

GMFile::~GMFile()
{
    LastErrorKeeper const keeper;
    GMFile::Close();
}

bool GMFile::Create(GMString const & path, unsigned int desiredAccess, unsigned int shareMode,
                    unsigned int creationDisposition, unsigned int flagsAndAttributes)
{
    if (creationDisposition == CREATE_ALWAYS)
        MakeDirectoryOf(path);
    Close();
    m_handle = CreateFileW(path.c_str(), desiredAccess, shareMode, nullptr, creationDisposition,
                           flagsAndAttributes, nullptr);
    return IsOpen();
}

bool GMFile::Read(void * buffer, unsigned int toRead, unsigned int & read)
{
    if (buffer == nullptr || !IsOpen())
        return false;
    DWORD count = 0;
    bool const succeeded = ReadFile(m_handle, buffer, toRead, &count, nullptr) != FALSE;
    read = count;
    return succeeded;
}

bool GMFile::Write(void const * buffer, unsigned int toWrite, unsigned int & written)
{
    if (buffer == nullptr || !IsOpen())
        return false;
    DWORD count = 0;
    bool const succeeded = WriteFile(m_handle, buffer, toWrite, &count, nullptr) != FALSE;
    written = count;
    return succeeded && written == toWrite;
}

bool GMFile::Close()
{
    if (!IsOpen())
        return true;
    if (!CloseHandle(m_handle))
        return false;
    m_handle = INVALID_HANDLE_VALUE;
    return true;
}

bool GMFile::GetPosition(unsigned long long & position) const
{
    return Seek(0, FILE_CURRENT, position);
}

bool GMFile::GetSize(unsigned long long & size) const
{
    if (!IsOpen())
        return false;
    ULARGE_INTEGER result = {};
    result.LowPart = GetFileSize(m_handle, &result.HighPart);
    if (result.LowPart == INVALID_FILE_SIZE && GetLastError() != NO_ERROR)
        return false;
    size = result.QuadPart;
    return true;
}

bool GMFile::Seek(long long offset, unsigned int method, unsigned long long & newPosition) const
{
    if (!IsOpen())
        return false;
    LARGE_INTEGER position;
    position.QuadPart = offset;
    position.LowPart =
        SetFilePointer(m_handle, static_cast<LONG>(position.LowPart), &position.HighPart, method);
    if (position.LowPart == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR)
        return false;
    newPosition = static_cast<unsigned long long>(position.QuadPart);
    return true;
}

bool GMFile::SetTime(FILETIME creation, FILETIME access, FILETIME write)
{
    return IsOpen() && SetFileTime(m_handle, &creation, &access, &write);
}

bool GMFile::GetTime(FILETIME & creation, FILETIME & access, FILETIME & write)
{
    return IsOpen() && GetFileTime(m_handle, &creation, &access, &write);
}

bool GMFile::SeekBeginOfFile()
{
    unsigned long long position = 0;
    return Seek(0, FILE_BEGIN, position);
}

bool GMFile::SeekEndOfFile(unsigned long long & position) { return Seek(0, FILE_END, position); }

bool GMFile::SetEndOfFile() { return IsOpen() && ::SetEndOfFile(m_handle); }

bool GMFile::SetLength(unsigned long long length)
{
    unsigned long long position = 0;
    return Seek(static_cast<long long>(length), FILE_BEGIN, position) && position == length &&
           SetEndOfFile();
}

HANDLE GMFile::GetHandle() const { return m_handle; }

bool GMFile::IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }

} // namespace Velmora
