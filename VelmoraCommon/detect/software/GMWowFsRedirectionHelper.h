#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Lets a 32-bit process on a 64-bit system see the real system directory for a scope; in any other
/// process it does nothing.
///
/// Redirection of the file system is off for the calling thread alone, so an object must go on the
/// thread that made it. Keep the scope short: a library that is loaded meanwhile is looked for in
/// the real system directory, too, where all have the wrong width.
class VELMORA_API GMWowFsRedirectionHelper
{
public:
    GMWowFsRedirectionHelper();
    ~GMWowFsRedirectionHelper();
    GMWowFsRedirectionHelper(GMWowFsRedirectionHelper const &) = delete;
    GMWowFsRedirectionHelper & operator=(GMWowFsRedirectionHelper const &) = delete;

private:
    decltype(::Wow64DisableWow64FsRedirection) * m_disable; // null when missing, like the next
    decltype(::Wow64RevertWow64FsRedirection) * m_revert;
    void * m_oldValue;
    bool m_isWow64;
};

} // namespace Velmora
