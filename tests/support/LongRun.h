#pragma once

namespace Velmora::Testing
{

/// How often a randomised test goes round: \p shortRun as a rule, \p longRun when the program was
/// started with `--long`. Under the guard heap, which makes every block slow, a short run is a tenth.
unsigned int Rounds(unsigned int shortRun, unsigned int longRun);

/// True when the program was started with `--long`.
bool IsLongRun();

} // namespace Velmora::Testing
