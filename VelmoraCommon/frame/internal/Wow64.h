#pragma once

namespace Velmora
{

/// Whether this process is a 32-bit one on a 64-bit system. The first caller asks the system; the
/// answer serves the process from then on.
bool RunsUnderWow64();

} // namespace Velmora
