#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/shell/GMShortCutInfo.h"

namespace Velmora
{

/// Creates and reads shortcuts: `.lnk` files of the shell and `.url` files.
///
/// Without state. COM is used on the calling thread. A thread that has none yet gets a single-threaded
/// apartment when it is first needed, which stays to the thread's end. Failures give false and no more.
class VELMORA_API GMQuickLaunch
{
public:
    GMQuickLaunch();
    ~GMQuickLaunch();

    /// Writes a `.lnk` file. Directories that are missing above it are made, and stay if a later step
    /// fails. A read-only file of its name loses that mark and is replaced.
    /// \param linkPath gets ".lnk" behind it unless it ends so in any case: "a.b" makes "a.b.lnk"
    /// \param iconFile gives its first icon, whatever \p iconIndex says. When it is empty, the target
    ///     gives the one with \p iconIndex; a negative number leaves the choice to the shell
    /// \param workingDirectory null for the directory of \p target
    /// \param overwrite whether an old file is deleted first, and so is gone if writing fails
    bool CreateQuickLaunch(GMString const & target, GMString const & arguments,
                           GMString const & description, GMString const & linkPath,
                           GMString const & iconFile, int iconIndex,
                           wchar_t const * workingDirectory, bool overwrite);

    /// The same in place of an old file. Hot key and show command aren't written.
    bool CreateQuickLaunch(GMString const & linkPath, GMShortCutInfo & info);

    /// Writes a `.lnk` file \p linkName into a special folder, in place of an old one.
    /// \param specialFolder a `CSIDL_` number
    /// \param subFolder below it; empty for none
    bool CreateSpecialQuickLaunch(GMString const & target, GMString const & arguments,
                                  GMString const & description, GMString const & linkName,
                                  int specialFolder, int iconIndex, GMString const & subFolder,
                                  wchar_t const * workingDirectory);

    /// Writes a `.url` file; another extension of \p path is replaced.
    /// \param iconFile whose first icon it shows; empty for none
    static bool CreateUrlFile(GMString const & path, GMString const & url,
                              GMString const & iconFile);

    /// Reads a `.lnk` or `.url` file. Fields that the file or the shell doesn't give keep what they
    /// held, but for the target, which is empty on failure. References to environment variables in the
    /// target of a `.lnk` file are expanded. A target without a path, such as a control panel item,
    /// gives its display name.
    /// \return whether there is a target
    bool ParseLinkFile(GMString const & link, GMShortCutInfo & info);

    // These read the same. If the target isn't a file that exists, but the one that the link file's own
    // list of items leads to exists, that one is taken. They clear their results first.

    bool ParseLinkFile(GMString const & link, GMString & target, GMString & arguments,
                       GMString & workingDirectory);

    bool ParseLinkFile(GMString const & link, GMString & target);

    /// \param attributes the `FILE_ATTRIBUTE_` bits of the target that the shell names; 0 if it isn't
    ///     there
    bool ParseLinkFile(GMString const & link, GMString & target, unsigned long & attributes);

    /// Reads the target out of the bytes of a `.lnk` file: the path of its list of items, as a 32-bit
    /// program may need it for a target in a folder that the system redirects.
    /// \return false, with \p target as it was, if the file has no such list or it has no path
    bool ParseLinkFile64(GMString const & link, GMString & target);

    /// Reads the target of a shortcut that Windows Installer has made, which names a product's component
    /// in place of a path. \return false, with \p target as it was, if it isn't installed or isn't one
    bool ParseMsiLinkFile(GMString const & link, GMString & target);

private:
    bool ParseLinkFile(GMString const & link, GMString & target, GMString & arguments,
                       GMString & workingDirectory, unsigned long & attributes);
};

} // namespace Velmora
