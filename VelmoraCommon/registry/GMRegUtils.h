#pragma once

#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Single reads and writes of the registry, each with a key opened and closed for it.
///
/// Paths, value names and views are as in GMRegFile; \p access needs no more than a view, for the
/// right to read or to write is added. Writing makes missing keys. Nothing here throws of itself.
class VELMORA_API GMRegUtils
{
public:
    /// A value of at most 4 bytes, \p defaultValue if it can't be read.
    static unsigned long GetIntValue(GMString const & fullPath, GMString const & name,
                                     unsigned long defaultValue, REGSAM access);
    static unsigned long GetIntValue(HKEY root, GMString const & subKey, GMString const & name,
                                     unsigned long defaultValue, REGSAM access);

    /// A value of at most 1024 bytes as text, \p defaultValue if it can't be read.
    static GMString GetStringValue(GMString const & fullPath, GMString const & name,
                                   GMString const & defaultValue, REGSAM access);
    static GMString GetStringValue(HKEY root, GMString const & subKey, GMString const & name,
                                   GMString const & defaultValue, REGSAM access);

    /// Stores a `REG_DWORD`.
    static bool SetIntValue(GMString const & fullPath, GMString const & name, unsigned long value,
                            REGSAM access);
    static bool SetIntValue(HKEY root, GMString const & subKey, GMString const & name,
                            unsigned long value, REGSAM access);

    /// Stores a `REG_SZ` without its terminator.
    static bool SetStringValue(GMString const & fullPath, GMString const & name,
                               GMString const & text, REGSAM access);
    static bool SetStringValue(HKEY root, GMString const & subKey, GMString const & name,
                               GMString const & text, REGSAM access);

    /// Puts the names of the sub-keys in place of \p names.
    /// \return the system's code; \p names is untouched unless it is 0
    static unsigned long EnumSubKeys(GMString const & fullPath, std::vector<GMString> & names);

    /// Whether a key has neither sub-keys nor values; \p resultOnError if it can't be listed.
    static bool CheckEmpty(GMString const & fullPath, bool resultOnError);

    /// The keys that a path with `*` and `?` in its components stands for; the root can't have any.
    ///
    /// Only what the wildcards stand for is looked up: what follows the last of them is put behind the
    /// names found, whether or not such a key exists. A name that stands literally in the wildcard
    /// component itself gets the rest as it is, wildcards included.
    static std::vector<GMString> GetMatchKeys(GMString const & pattern);

    /// Moves the ASCII letters by half the alphabet; twice gives the text back.
    static void Rot13(GMString & text);

    /// The same for 8-bit text, up to its NUL.
    static void Rot13(char * text);
};

} // namespace Velmora
