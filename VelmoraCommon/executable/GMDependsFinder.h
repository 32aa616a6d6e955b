#pragma once

#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// The names that one 32-bit executable file imports, by reading no more of it than needed.
///
/// GMPEDepend follows them to their files. Every operation is false for a file that can't be read
/// or isn't a program or library; a 64-bit file gives no meaningful list. Of a name 259 units count.
/// Lists of a file that was made to be slow, or to fill the memory, end early. May be used from any
/// thread.
class VELMORA_API GMDependsFinder
{
public:
    /// Appends the names of the libraries that \p path imports, and of those that it imports at
    /// first use, in the order and in the case of the file, repeated ones too.
    /// \return true also when the list ends early, as a name in it can't be read
    static bool GetDependLibrarys(GMString const & path, std::vector<GMString> & names);

    /// Whether \p path imports \p name, in whatever case.
    static bool CheckDependLibrary(GMString const & path, GMString name);

    /// Sets \p found to one answer for each of \p names.
    /// \return whether any is true. If the file can't be read, \p found stays as it was.
    static bool CheckDependLibrarys(GMString const & path, std::vector<GMString> names,
                                    std::vector<bool> & found);
};

} // namespace Velmora
