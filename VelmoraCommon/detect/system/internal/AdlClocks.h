#pragma once

#include <optional>

namespace Velmora
{

/// What the library of AMD's driver tells of its first active adapter.
struct AdlClocks
{
    int adapter;     // its number there
    int memoryClock; // the greatest one, in units of 10 kHz
    int coreClock;   // the same
};

enum class AdlAnswer
{
    Done = 0,
    NoLibrary = 1,
    Failed = 2
};

/// Asks the driver's library, which then stays loaded and started. \p clocks is left empty if there
/// is no such adapter, or if it doesn't tell.
AdlAnswer ReadAdlClocks(std::optional<AdlClocks> & clocks);

} // namespace Velmora
