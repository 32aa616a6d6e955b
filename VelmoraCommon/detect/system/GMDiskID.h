#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// A text that stands for this machine, as long as it keeps its disk.
class VELMORA_API GMDiskID
{
public:
    /// The serial number of the first fixed disk that has one, without blanks around it; empty if none
    /// can be read. Most ways to the drives need an administrator.
    GMString GetDiskID();
};

} // namespace Velmora
