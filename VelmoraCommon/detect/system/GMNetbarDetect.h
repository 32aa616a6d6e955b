#pragma once

#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// Tells machines of internet cafes from others. Without state.
class VELMORA_API GMNetbarDetect
{
public:
    /// Whether the registry has a key of the software that manages machines of such venues. A key
    /// that the user mustn't read counts as missing; a 32-bit process sees its own view.
    bool IsNetBar();
};

} // namespace Velmora
