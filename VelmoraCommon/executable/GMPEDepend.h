#pragma once

#include <map>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// The libraries that a 32-bit program needs, its libraries need, and so on, each with the file in
/// which the program would find it.
///
/// Files are mapped and read, never loaded; imports and delay imports count alike. Of a name 260 units
/// count. Nothing tells why a file couldn't be read: it merely adds no libraries. A file that was made
/// to be slow, or to fill the memory, adds a part of them. A 64-bit file gives no meaningful list. A
/// copy has its own table. Use an object from one thread at a time; the static operations may be
/// called from any thread.
class VELMORA_API GMPEDepend
{
public:
    /// Walks the imports of \p file, the imports of the files found, and so on through \p depth
    /// levels: 1 gives what \p file imports itself, 0 and below nothing. Every library is searched
    /// for from the folder of \p file, as GetDllFullPath does.
    /// \return from the name in lower case to the full path, which is empty for a library that was
    ///     not found; belongs to this object and is valid until its next walk, so that a loop over
    ///     the result of a temporary object reads what is gone
    std::map<GMString, GMString> const & GetDependFiles(GMString const & file,
                                                        GMString const & extraDirectory, int depth);

    /// The same walk, which adds to \p result and searches from the folder of \p rootFile. A
    /// library that is in \p result already is neither searched for nor walked, so a circle of
    /// imports ends.
    static void GetDependFiles(GMString const & file, GMString const & rootFile,
                               GMString const & extraDirectory,
                               std::map<GMString, GMString> & result, int depth);

    /// The file that a program \p rootFile would load as \p name: the first that exists in the
    /// folder of \p rootFile, \p extraDirectory, the system and the Windows directory, the entries
    /// of the environment variable "path" as they were at the first search of this process. Last,
    /// for names such as "msvcr90.dll" and "msvcp90.dll", comes the private run time folder
    /// "Microsoft.VC90.CRT" in the folder of \p rootFile.
    /// \param rootFile without a folder it has none to search in
    /// \param extraDirectory empty stands for the current directory
    /// \return an empty text if there is none
    static GMString GetDllFullPath(GMString const & name, GMString const & rootFile,
                                   GMString const & extraDirectory);

private:
    std::map<GMString, GMString> m_dependFiles;
};

} // namespace Velmora
