#pragma once

#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/internal/Com.h"

#include <shldisp.h>

namespace Velmora
{

/// Finds the entry \p file of \p folder and, in its menu, the verb \p name, which is compared exactly.
/// COM has to be ready on the thread.
/// \return the verb; null if there is none or a link of the chain fails
ComPtr<FolderItemVerb> FindVerb(IShellDispatch & shell, GMString const & folder,
                                GMString const & file, GMString const & name);

} // namespace Velmora
