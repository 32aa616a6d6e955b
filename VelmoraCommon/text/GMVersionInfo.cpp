#include "VelmoraCommon/text/GMVersionInfo.h"

#include <tuple>

#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/internal/LibraryVersion.h"

namespace Velmora
{

GMVersionInfo::GMVersionInfo() : m_major(0), m_minor(0), m_build(0), m_revision(0) {}

void GMVersionInfo::InitLocalVersion()
{
    m_major = libraryVersionMajor;
    m_minor = libraryVersionMinor;
    m_build = libraryVersionBuild;
    m_revision = libraryVersionRevision;
}

GMString GMVersionInfo::Format() const
{
    return GMStringUtils::FormatResult(L"%d.%d.%d.%d", m_major, m_minor, m_build, m_revision);
}

bool GMVersionInfo::operator<(GMVersionInfo const & other) const
{
    return std::tie(m_major, m_minor, m_build, m_revision) <
           std::tie(other.m_major, other.m_minor, other.m_build, other.m_revision);
}

} // namespace Velmora
