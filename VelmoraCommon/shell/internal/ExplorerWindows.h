#pragma once

#include "VelmoraCommon/frame/internal/Com.h"

#include <exdisp.h>
#include <shlobj.h>

namespace Velmora
{

/// The open windows of Explorer. COM has to be ready on the thread.
/// \return the system's code; \p windows is set on success
HRESULT OpenExplorerWindows(ComPtr<IShellWindows> & windows);

/// What the window \p index of \p windows shows at present; null if it is gone or shows no folder.
ComPtr<IShellView> ActiveView(IShellWindows & windows, long index);

} // namespace Velmora
