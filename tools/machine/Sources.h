// What the machine's report needs beside the library's detection.
#pragma once

#include <map>

#include "VelmoraCommon/frame/GMString.h"

namespace Tools
{

/// Reads lines of the form "NAME = SCORE"; blank ones and such as begin with "#" don't count.
/// \return the scores by name, in tenths, as GMHardwareDetect takes them
/// \throws Failure with the first line that can't be read
std::map<Velmora::GMString, unsigned int> ReadScores(Velmora::GMString const & path);

/// Bytes of memory by the name of the graphics driver, as the drivers enter it in the registry. WMI
/// ends at 4 GB.
std::map<Velmora::GMString, unsigned __int64> ReadVideoMemory();

} // namespace Tools
