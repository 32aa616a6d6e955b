#include "VelmoraCommon/files/GMTempFile.h"

#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

namespace
{

constexpr wchar_t filePrefix[] = L"GM~";

} // namespace

GMTempFile::GMTempFile() : m_autoDelete(false) {}

GMTempFile::~GMTempFile()
{
    LastErrorKeeper const keeper;
    Remove();
}

bool GMTempFile::Create(GMString const & directory, GMString const & prefix, GMString & path)
{
    Remove();
    if (!GMFileSystemUtils::MyGetTempFileName(directory, prefix, path))
        return false;
    m_path = path;
    m_autoDelete = true;
    return true;
}

bool GMTempFile::Create(GMString const & prefix, GMString & path)
{
    GMString directory;
    if (!GMFileSystemUtils::MyGetTempPath(directory))
        return false;
    return Create(directory, prefix, path) ||
           (GMFileSystemUtils::MyGetWindowsDirectory(directory) && Create(directory, prefix, path));
}

bool GMTempFile::CreateTempFile(GMString & path) { return Create(filePrefix, path); }

bool GMTempFile::CreateTempFile(GMString const & directory, GMString & path)
{
    return Create(directory, filePrefix, path);
}

bool GMTempFile::Remove()
{
    if (m_autoDelete && GMFileSystemUtils::DeleteFileAlways(m_path))
        m_autoDelete = false;
    return !m_autoDelete;
}

void GMTempFile::DisableDeleting() { m_autoDelete = false; }

GMString const & GMTempFile::GetFileName() const { return m_path; }

} // namespace Velmora
