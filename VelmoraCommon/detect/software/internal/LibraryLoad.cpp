#include "VelmoraCommon/detect/software/internal/LibraryLoad.h"

#include "VelmoraCommon/detect/software/internal/FileVersion.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

namespace
{

/// Turns the system's dialogs off for a scope, and every bit of the error mode at its end.
class QuietErrors
{
public:
    QuietErrors() noexcept { SetErrorMode(SEM_FAILCRITICALERRORS); }
    ~QuietErrors() { SetErrorMode(0); }
    QuietErrors(QuietErrors const &) = delete;
    QuietErrors & operator=(QuietErrors const &) = delete;
};

} // namespace

bool CanLoadLibrary(wchar_t const * path, char const * procName)
{
    QuietErrors const quiet; // also while the module's own code runs as it goes
    if (path == nullptr)
        return false;
    ScopedModule const module(LoadLibraryW(path));
    return module && (procName == nullptr || GetProcAddress(module.Get(), procName) != nullptr);
}

void DetectLibrary(wchar_t const * library, GMSoftVersion & version, bool & isLoadable)
{
    if (ReadFileProductVersion(library, version))
        isLoadable = CanLoadLibrary(library, nullptr);
}

} // namespace Velmora
