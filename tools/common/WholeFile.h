#pragma once

#include <cstddef>

#include "VelmoraCommon/frame/GMString.h"

namespace Tools
{

/// Puts a file in its place once it is written whole, so that nobody ever sees a part of it.
/// \throws Failure, with nothing left behind, also if \p path is there and \p replace isn't set
void WriteWholeFile(Velmora::GMString const & path, void const * data, std::size_t size,
                    bool replace);

} // namespace Tools
