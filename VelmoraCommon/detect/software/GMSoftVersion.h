#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// The version of a piece of software: four numbers. A plain value.
class VELMORA_API GMSoftVersion
{
public:
    /// 0.0.0.0
    GMSoftVersion();

    /// Reads numbers separated by "." into the fields, from `major` on, and gives a copy. Fields
    /// that \p text has no number for keep theirs; text behind the fourth counts for nothing. A
    /// piece is read up to its first unit that isn't a digit, and is 0 without any.
    GMSoftVersion FormatVersion(GMString const & text);

    /// Compares the fields from `major` on.
    bool operator<(GMSoftVersion const & other) const;

    int major;    ///< the highest
    int minor;    ///< the second
    int build;    ///< the third
    int revision; ///< the fourth
};

} // namespace Velmora
