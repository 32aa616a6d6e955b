#pragma once

#include "VelmoraCommon/detect/software/GMDotNetDetect.h"

namespace Velmora
{

/// The same in the 64-bit view of the registry.
class VELMORA_API GMDotNetDetectX64 : public GMDotNetDetect
{
public:
    GMDotNetDetectX64();

    /// False: 1.0 has no 64-bit form.
    bool CheckDotnet_1_0() override;
};

} // namespace Velmora
