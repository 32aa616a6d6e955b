#pragma once

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// What the system says of its version; all zero if it says nothing. To a program without a manifest
/// that names a newer system it says 6.2 at most.
/// \return false on failure
bool ReadSystemVersion(OSVERSIONINFOEXW & version);

/// The processor architecture of the system, a `PROCESSOR_ARCHITECTURE_` value, also under the emulation
/// of 32 bits.
WORD NativeArchitecture();

/// Whether this is Windows Server 2003 R2.
bool IsServer2003R2();

} // namespace Velmora
