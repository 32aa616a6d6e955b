#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Order of version texts, and the versions of files.
class VELMORA_API GMVersionUtils
{
public:
    /// Orders versions number by number. Units other than digits end a number, and a field without
    /// digits is 0. ",", "." and "-" separate fields; several in a row, or some at the start, count
    /// as one, and one at the end has an empty field behind it. Numbers count modulo 2^32.
    /// \return below, above or equal to 0 as \p a is the lower version, the higher one or neither:
    ///     the difference of the first two numbers that differ, within the limits of int; else
    ///     that of the counts of fields, so "1.2" is lower than "1.2.0"
    static int VersionCompare(GMString const & a, GMString const & b);

    /// Orders two files by their versions; one without a version is the lower.
    static int FileVersionCompare(GMString const & a, GMString const & b);

    /// Reads the fixed file version from the version resource of \p path, as "1.2.3.4".
    /// \return false if there is none; \p version is left as it was
    static bool GetFileVersion(GMString const & path, GMString & version);

    /// The file version of the running program; empty if it has none.
    static GMString GetCurrentVersion();
};

} // namespace Velmora
