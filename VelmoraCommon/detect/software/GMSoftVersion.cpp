#include "VelmoraCommon/detect/software/GMSoftVersion.h"

#include <tuple>

#include "VelmoraCommon/detect/software/internal/FileVersion.h"

namespace Velmora
{

GMSoftVersion::GMSoftVersion() : major(0), minor(0), build(0), revision(0) {}

GMSoftVersion GMSoftVersion::FormatVersion(GMString const & text)
{
    ParseVersionText(text, *this);
    return *this;
}

bool GMSoftVersion::operator<(GMSoftVersion const & other) const
{
    return std::tie(major, minor, build, revision) <
           std::tie(other.major, other.minor, other.build, other.revision);
}

} // namespace Velmora
