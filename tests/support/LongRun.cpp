#include "tests/support/LongRun.h"

#include <cwchar>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "tests/support/GuardHeap.h"

namespace Velmora::Testing
{

bool IsLongRun() { return std::wcsstr(GetCommandLineW(), L" --long") != nullptr; }

unsigned int Rounds(unsigned int shortRun, unsigned int longRun)
{
    if (IsLongRun())
        return longRun;
    return IsGuardHeapInstalled() ? (shortRun + 9) / 10 : shortRun;
}

} // namespace Velmora::Testing
