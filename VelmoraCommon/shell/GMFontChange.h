#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Installs fonts for all users, and tells whether they are installed.
///
/// A font is installed when the system's list, below the local machine in the 64-bit view, has its
/// display name with the file's name, and the file lies in the font folder. Writing takes an elevated
/// process. Without state; any thread may use it.
class VELMORA_API GMFontChange
{
public:
    GMFontChange();
    ~GMFontChange();

    /// Path of the font file \p file, a bare name, in the system's font folder.
    GMString GetFontFileName(GMString const & file);

    /// Enters \p file, a bare name, in the list of fonts under the display name \p name.
    bool ChangeFontReg(GMString const & name, GMString const & file);

    /// Installs a font: enters it in the list, copies \p source into the font folder as \p file unless
    /// a file of that name is there, and has the system load it. Running programs see it once they
    /// are told so (WM_FONTCHANGE), others at their start.
    /// \param name display name, for example "Game Sans (TrueType)"
    /// \param source path of the font file; empty to write the entry alone
    /// \return false if the entry can't be written or the file not copied; the entry then stays
    bool ChangeFont(GMString const & name, GMString const & file, GMString const & source);

    /// Whether the list has \p file, in any case, under \p name, and the file is there. An entry of
    /// more than 130 units counts as none.
    bool CheckFont(GMString const & name, GMString const & file);
};

} // namespace Velmora
