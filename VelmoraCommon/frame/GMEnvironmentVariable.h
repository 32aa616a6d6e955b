#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// The environment of this process.
class VELMORA_API GMEnvironmentVariable
{
public:
    /// The value of the variable \p name; empty when it isn't set or \p name is null.
    static GMString GetEnvironmentVar(wchar_t * name);
};

} // namespace Velmora
