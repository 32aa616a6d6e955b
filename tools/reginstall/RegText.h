#pragma once

#include <deque>
#include <vector>

#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/registry/GMRegKey.h"

namespace Tools
{

using Keys = std::deque<Velmora::GMRegKey>;
using Bytes = std::vector<unsigned char>;

/// As the registry stores the data.
Bytes BytesOf(Velmora::GMRegValue const & value);

/// Reads a `.reg` file as the system's editor does, whatever ends its lines.
/// \throws Failure, with the line, for all that the editor would pass over or that can't be
///     recorded; also for a file without keys
Keys ReadRegFile(Velmora::GMString const & path);

/// Writes \p keys as a `.reg` file of version 5, in the forms that ReadRegFile and the system's
/// editor take alike.
void WriteRegFile(Velmora::GMString const & path, Keys const & keys);

} // namespace Tools
