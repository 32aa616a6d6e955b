#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// One loaded module and its exports.
///
/// Owns at most one module and lets go of it in the destructor. A copy shares the module without
/// counting, so pass objects by reference. Use from one thread at a time.
class VELMORA_API GMSharedLibrary
{
public:
    GMSharedLibrary();

    /// Lets go of the module and leaves the last error as it was.
    ~GMSharedLibrary();

    /// Loads \p path in place of the module held so far.
    /// \return false if the system can't load it. The module held so far then stays loaded, and the
    ///     thread's last error tells the reason.
    bool LoadSharedLib(GMString const & path);

    /// The same with the flags of `LoadLibraryExW`.
    bool LoadSharedLibEx(GMString const & path, unsigned long flags);

    /// Lets go of the module.
    /// \return false when none is held, or when the system refuses: then it stays held.
    bool UnloadSharedLib();

    /// Whether a library is held.
    bool IsLoaded() const;

    /// The module held, null for none. It stays owned by this object.
    HMODULE GetHandle() const;

    /// An export by its name; null when no module is held, \p name is null or the module lacks it.
    FARPROC GetSharedLibProc(char const * name) const;

    /// Full path of a loaded module; null stands for the running program.
    /// \return at most 260 units; empty on failure or for a longer path
    static GMString GetModuleFullName(HMODULE module);

private:
    bool Keep(HMODULE loaded);

    HMODULE m_handle; // null when nothing is loaded
};

} // namespace Velmora
