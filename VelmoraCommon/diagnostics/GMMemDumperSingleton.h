#pragma once

#include "VelmoraCommon/diagnostics/GMMemDumper.h"
#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMNonCopyAble.h"

namespace Velmora
{

/// The one object that GMMemDumper::DefaultExceptHanler reads.
class VELMORA_API GMMemDumperSingleton : public GMNonCopyAble
{
public:
    /// Made at the first call, and destroyed while the library is unloaded.
    static GMMemDumper & Instance();
};

} // namespace Velmora
