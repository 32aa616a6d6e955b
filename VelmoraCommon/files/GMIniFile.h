#pragma once

#include <map>
#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// One `.ini` file, read and written by the system's functions for private profiles.
///
/// Format, comparison of names (without case) and encoding are the system's. A file that begins
/// with the UTF-16 mark keeps all text; any other one, a new one too, holds the process's ANSI code
/// page, and what that lacks is lost. The system looks for a bare file name in the Windows
/// directory, so give a full path.
///
/// Nothing is kept here but the path: every operation works on the file as it is then. A missing
/// file reads as an empty one. Failures leave the reason in the thread's last error.
class VELMORA_API GMIniFile
{
public:
    /// The file need not exist.
    explicit GMIniFile(GMString const & fileName);

    /// The file as it was given.
    GMString GetFileName() const;

    /// The value of \p key, without quotes around it and blanks at its ends; cut to 4095 units.
    /// \return \p defaultValue, with blanks at its end cut off, if section or key is missing
    GMString GetStringValue(GMString const & section, GMString const & key,
                            GMString const & defaultValue) const;

    /// Sets or adds a value. Makes the file, and the directories above it, if they are missing.
    /// \return false if a directory can't be made, and then nothing is written, or if the file
    ///     can't be
    bool SetStringValue(GMString const & section, GMString const & key,
                        GMString const & value) const;

    /// Removes the keys of a section, and the section itself when \p remove is true.
    bool ClearSection(GMString const & section, bool remove) const;

    /// Puts the keys and values of a section in place of what the vectors held, in the order of the
    /// file and with keys that come twice; blanks around the `=` are left as the system gives them.
    /// A line without `=` is both key and value. Lines that don't fit 5998 units, with one for each
    /// line's end, are left out, and so is all behind them. A section that is missing or empty
    /// leaves the vectors unchanged.
    /// \return the number of keys
    unsigned int GetKeyValues(std::vector<GMString> & keys, std::vector<GMString> & values,
                              GMString const & section) const;

    /// Puts them into \p map, over what it holds already; of a key that comes twice the last counts.
    /// \return the number of entries in \p map, old ones counted
    unsigned int GetKeyValues(std::map<GMString, GMString> & map, GMString const & section) const;

    /// Puts the names of the sections in place of what the vector held. The system cuts the list,
    /// in the middle of a name too, where it doesn't fit 2047 units with one for each name's end.
    /// \return the number of names; when 0 the vector is unchanged
    unsigned int GetSections(std::vector<GMString> & sections) const;

private:
    GMString m_fileName;
};

} // namespace Velmora
