#pragma once

#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// A folder by its `CSIDL_` number, followed by \p below; empty if the system doesn't tell.
GMString FolderPath(int folder, wchar_t const * below = L"");

/// The system directory with the libraries of this process's width, by its real name: "SysWOW64"
/// for a 32-bit process on a 64-bit system. Empty if the system doesn't tell.
GMString LibraryFolder();

} // namespace Velmora
