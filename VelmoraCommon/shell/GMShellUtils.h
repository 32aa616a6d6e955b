#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// The shell and the desktop: special folders and the environment in paths.
class VELMORA_API GMShellUtils
{
public:
    /// \p path with its references to environment variables (`%NAME%`) expanded; \p path itself
    /// when it holds no "%" or the system fails.
    static GMString GetEnvironmentRealPath(GMString const & path);

    /// Path of a special folder by its `CSIDL_` number; it isn't made if it is missing.
    /// \return at most 259 units; empty on failure
    static GMString GetSpecialFolderPath(int folder);

    // Windows.

    /// Hook for the classic file dialogs (`OFN_ENABLEHOOK` with `OFN_EXPLORER`): centres the dialog
    /// on its owner and hides "open as read-only". \return 0, so that the dialog goes on
    static UINT_PTR CALLBACK OFNCenterWindow(HWND dialog, UINT message, WPARAM, LPARAM);
};

} // namespace Velmora
