#pragma once

#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// What a shortcut holds. A plain value.
struct GMShortCutInfo
{
    GMString target;           // path or URL
    GMString arguments;        ///< behind the program on its command line
    GMString description;      ///< shown as a tip
    unsigned int hotKey = 0;   // virtual key in the low byte, `HOTKEYF_` bits in the next
    GMString iconFile;         ///< empty for the target's own icon
    int iconIndex = 0;         ///< in the icon file, from 0
    int showCommand = 1;       // of the `SW_` values
    GMString workingDirectory; ///< the current directory of the program
};

} // namespace Velmora
