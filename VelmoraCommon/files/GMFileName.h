#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Text operations on Windows paths: normalise, split, join and check.
///
/// Nothing here looks at the disk; GMFilePathUtils does. The directory delimiter is the backslash.
/// What an operation makes of a forward slash stands in its comment, for they differ.
class VELMORA_API GMFileName
{
public:
    /// What NormalizePath does, in the order in which it is done. Any combination is allowed.
    enum NormalizeFlags : unsigned int
    {
        smc_lowerCase = 0x00000001,
        smc_upperCase = 0x00000002,
        smc_unquote = 0x00000004,        ///< takes off `"` when it stands at both ends
        smc_endDelimiter = 0x00000010,   ///< one `\` at the end, unless nothing stands before it
        smc_noEndDelimiter = 0x00000020, ///< no `\` or `/` at the end, so a drive's root is "C:"
        smc_backslashes = 0x40000000     ///< every `/` becomes `\`
    };

    /// The backslash.
    static wchar_t GetDirDelimiter();

    /// The forward slash.
    static wchar_t GetPosixDirDelimiter();

    /// The star.
    static wchar_t GetAnyStringWildcard();

    /// The question mark, which separates directories in a list of them.
    static wchar_t GetDirsSplitChar();

    /// Applies \p flags (NormalizeFlags) to \p path; bits without a meaning are ignored.
    static void NormalizePath(GMString & path, unsigned int flags);

    /// Resolves the segments "." and ".." as `PathCanonicalizeW` does, on the text alone: an empty
    /// path becomes "\". A path of more than 259 units is left as it is.
    static void Canonicalize(GMString & path);

    /// Whether \p path is absolute: it begins with `\\`, or with any unit and a colon, behind which
    /// comes nothing, `\` or `/`.
    static bool IsCompletedPath(GMString const & path);

    /// \p name below \p directory, with one `\` between them; \p name alone when it is absolute or
    /// \p directory is empty. Quotes around either are taken off. Slashes inside stay.
    static GMString JoinFileName(GMString const & directory, GMString const & name);

    /// The text before the last `\`, after quotes and trailing `\` and `/` are taken off. A path
    /// without `\` is its own directory: "b.txt" gives "b.txt", "C:\" gives "C:".
    static GMString GetDirectory(GMString const & path);

    /// The directory above \p path, whether or not \p path ends in a delimiter. The top is its own
    /// parent: "C:\" gives "C:".
    static GMString GetParentDirectory(GMString const & path);

    /// Splits at the last `\`, which \p delimiter gets. Without one \p pure gets all of \p name, and
    /// \p delimiter and \p tail become empty.
    static void SplitNameToPureNameAndExtension(GMString const & name, GMString & pure,
                                                GMString & delimiter, GMString & tail);

    /// \p path between two `"`, also when it is quoted already.
    static GMString GetQuotedFilePath(GMString const & path);

    /// Whether \p path holds `*` or `?`.
    static bool HasWildcardChar(GMString const & path);

    /// Whether \p path is free of control units and of `*?<>|:"`; the colon of the drive in an
    /// absolute path is allowed. \p invalid gets the units found, as often as they occur, with
    /// blanks between.
    static bool CheckFilePath(GMString const & path, GMString & invalid);

    /// Whether no part of \p path between `\` and `/` is a device's name: CON, PRN, AUX or NUL in
    /// any case, with or without white space around. A name with an extension isn't one. \p invalid
    /// gets the names found, in upper case and with blanks between.
    static bool CheckFilePathParts(GMString const & path, GMString & invalid);

    /// Whether \p path passes both checks: true means that there is no error.
    static bool CheckFilePathError(GMString const & path);

    /// Puts \p replacement, which may be empty, in place of each unit that CheckFilePath refuses,
    /// and of the colon of a drive too.
    static void RepairInvalidPath(GMString & path, GMString const & replacement);

    /// The same for the name of a file, in which `\` and `/` are invalid as well.
    static void RepairInvalidFileName(GMString & name, GMString const & replacement);
};

} // namespace Velmora
