#pragma once

#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// What a shortcut holds. A plain value.
struct GMShortCutInfo
{
    GMString target; // path or URL
    GMString arguments;
    GMString description;
    unsigned int hotKey = 0; // virtual key in the low byte, `HOTKEYF_` bits in the next
    GMString iconFile;
    int iconIndex = 0;
    int showCommand = 1; // of the `SW_` values
    GMString workingDirectory;
};

} // namespace Velmora
