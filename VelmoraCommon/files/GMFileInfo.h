#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// What a directory records of one entry, as a search finds it.
///
/// A plain value. Times are in UTC, in units of 100 ns since 1601; a time that the file system
/// doesn't keep is 0. The tests read the attributes alone.
class VELMORA_API GMFileInfo
{
public:
    /// In bytes; 0 for a directory.
    unsigned __int64 GetSize() const { return m_size; }
    void SetSize(unsigned __int64 size) { m_size = size; }

    /// When it was made, in UTC.
    FILETIME const & GetCreateTime() const { return m_createTime; }
    void SetCreateTime(FILETIME const & time) { m_createTime = time; }

    /// When it was read or written last, in UTC.
    FILETIME const & GetAccessTime() const { return m_accessTime; }
    void SetAccessTime(FILETIME const & time) { m_accessTime = time; }

    /// When it was written last, in UTC.
    FILETIME const & GetModifyTime() const { return m_modifyTime; }
    void SetModifyTime(FILETIME const & time) { m_modifyTime = time; }

    /// The system's `FILE_ATTRIBUTE_` bits.
    unsigned __int64 GetAttribuite() const { return m_attributes; }
    void SetAttribuite(unsigned __int64 attributes) { m_attributes = attributes; }

    /// Without directory.
    GMString const & GetFileName() const { return m_fileName; }
    void SetFileName(GMString const & name) { m_fileName = name; }

    /// Whether the attributes have the bit of this name.
    bool IsReadOnly() const { return Has(FILE_ATTRIBUTE_READONLY); }
    bool IsHidden() const { return Has(FILE_ATTRIBUTE_HIDDEN); }
    bool IsSystem() const { return Has(FILE_ATTRIBUTE_SYSTEM); }
    bool IsDir() const { return Has(FILE_ATTRIBUTE_DIRECTORY); }
    bool IsArchived() const { return Has(FILE_ATTRIBUTE_ARCHIVE); }
    bool IsNormal() const { return Has(FILE_ATTRIBUTE_NORMAL); }
    bool IsTemporary() const { return Has(FILE_ATTRIBUTE_TEMPORARY); }
    bool IsCompressed() const { return Has(FILE_ATTRIBUTE_COMPRESSED); }
    bool IsEncrypted() const { return Has(FILE_ATTRIBUTE_ENCRYPTED); }

    /// Whether this is the entry "." or "..", which stands for the directory or the one above it.
    bool IsDots() const { return IsDir() && (m_fileName == L"." || m_fileName == L".."); }

private:
    bool Has(DWORD attribute) const { return (m_attributes & attribute) != 0; }

    unsigned __int64 m_size = 0;
    FILETIME m_createTime = {};
    FILETIME m_accessTime = {};
    FILETIME m_modifyTime = {};
    unsigned __int64 m_attributes = 0;
    GMString m_fileName;
};

} // namespace Velmora
