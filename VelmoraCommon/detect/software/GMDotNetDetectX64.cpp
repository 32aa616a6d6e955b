#include "VelmoraCommon/detect/software/GMDotNetDetectX64.h"

namespace Velmora
{

GMDotNetDetectX64::GMDotNetDetectX64() : GMDotNetDetect(KEY_WOW64_64KEY) {}

bool GMDotNetDetectX64::CheckDotnet_1_0() { return false; }

} // namespace Velmora
