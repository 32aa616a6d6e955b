#include "VelmoraCommon/files/GMFileMappingEx.h"

#include <utility>

#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{
namespace
{

struct AccessRow
{
    GMFileMappingEx::GMDesiredAccess flag;
    unsigned long fileAccess;
    unsigned long pageProtect;
    unsigned long mapAccess;
};

// The last row whose flag is set decides about the file and its pages.
constexpr AccessRow accessRows[] = {
    {GMFileMappingEx::GMAccessRead, GENERIC_READ, PAGE_READONLY, FILE_MAP_READ},
    {GMFileMappingEx::GMAccessWrite, GENERIC_READ | GENERIC_WRITE, PAGE_READWRITE, FILE_MAP_WRITE},
    {GMFileMappingEx::GMAccessCopy, GENERIC_READ | GENERIC_WRITE, PAGE_WRITECOPY, FILE_MAP_COPY},
    {GMFileMappingEx::GMAccessExecute, GENERIC_READ | GENERIC_WRITE | GENERIC_EXECUTE,
     PAGE_EXECUTE_READWRITE, FILE_MAP_EXECUTE},
};

constexpr unsigned int changingFlags = GMFileMappingEx::GMAccessWrite |
                                       GMFileMappingEx::GMAccessCopy |
                                       GMFileMappingEx::GMAccessExecute;
constexpr DWORD hinderingAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_SYSTEM;

/// Gives a file its attributes back while a view of it may still be there.
void RestoreAttributes(GMString const & path, DWORD attributes)
{
    if (SetFileAttributesW(path.c_str(), attributes))
        return;
    // Not every system lets that call share the file with a view that can write to it.
    ScopedFile const file(CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr));
    FILE_BASIC_INFO information = {}; // times of 0 stay as they are
    information.FileAttributes = attributes;
    if (file)
        SetFileInformationByHandle(file.Get(), FileBasicInfo, &information, sizeof(information));
}

} // namespace

GMFileMappingEx::GMFileMappingEx()
    : m_fileHandle(INVALID_HANDLE_VALUE),
      m_desiredAccess(),
      m_savedAttributes(INVALID_FILE_ATTRIBUTES)
{
}

GMFileMappingEx::~GMFileMappingEx()
{
    LastErrorKeeper const keeper;
    GMFileMappingEx::Close();
}

bool GMFileMappingEx::MappingRawFile(GMString const & path, GMDesiredAccess access)
{
    if (!GMFilePathUtils::IsExistsFile(path))
        return false;
    m_fileName = path;
    m_desiredAccess = access;
    unsigned long fileAccess = 0;
    unsigned long pageProtect = 0;
    unsigned long mapAccess = 0;
    CalcDesiredAccess(fileAccess, pageProtect, mapAccess);

    ModifyFileAttributes(); // where it fails, opening the file tells
    m_fileHandle = CreateFileW(path.c_str(), fileAccess, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                               FILE_ATTRIBUTE_NORMAL, nullptr);
    return m_fileHandle != INVALID_HANDLE_VALUE && Create(m_fileHandle, pageProtect, 0, 0) &&
           Mapping(mapAccess, 0, 0, 0);
}

void GMFileMappingEx::CalcDesiredAccess(unsigned long & fileAccess, unsigned long & pageProtect,
                                        unsigned long & mapAccess)
{
    fileAccess = 0;
    mapAccess = 0;
    for (AccessRow const & row : accessRows)
    {
        if ((m_desiredAccess & row.flag) == 0)
            continue;
        fileAccess = row.fileAccess;
        pageProtect = row.pageProtect;
        mapAccess |= row.mapAccess;
    }
}

bool GMFileMappingEx::ModifyFileAttributes()
{
    if ((m_desiredAccess & changingFlags) == 0)
        return false;
    DWORD const attributes = GetFileAttributesW(m_fileName.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & hinderingAttributes) == 0)
        return false;
    m_savedAttributes = attributes;
    return SetFileAttributesW(m_fileName.c_str(), attributes & ~hinderingAttributes) != FALSE;
}

void GMFileMappingEx::Close()
{
    if (m_fileHandle != INVALID_HANDLE_VALUE)
        CloseHandle(std::exchange(m_fileHandle, INVALID_HANDLE_VALUE));
    if (m_savedAttributes != INVALID_FILE_ATTRIBUTES)
        RestoreAttributes(m_fileName, std::exchange(m_savedAttributes, INVALID_FILE_ATTRIBUTES));
}

} // namespace Velmora
