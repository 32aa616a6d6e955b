#pragma once

#include "VelmoraCommon/frame/internal/Com.h"

#include <shlobj.h>

namespace Velmora
{

/// The shell's object for `.lnk` files, by its two faces.
struct LinkObject
{
    /// Gives the thread COM if it has none yet.
    LinkObject();

    explicit operator bool() const noexcept { return file != nullptr; }

    ComPtr<IShellLinkW> link;
    ComPtr<IPersistFile> file; // null if the object can't be had
};

} // namespace Velmora
