#pragma once

#include "tools/reginstall/Records.h"

namespace Tools
{

/// Makes the file, which mustn't be there yet. \throws Failure, and then there is none
void SaveUndoFile(Velmora::GMString const & path, Histories const & histories);

/// \throws Failure for a file that isn't just as it was saved
Histories LoadUndoFile(Velmora::GMString const & path);

} // namespace Tools
