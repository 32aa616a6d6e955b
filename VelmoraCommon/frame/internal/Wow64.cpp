#include "VelmoraCommon/frame/internal/Wow64.h"

#include "VelmoraCommon/frame/internal/SystemFunction.h"

namespace Velmora
{

namespace
{

/// A system without the question has no 64-bit sibling.
bool AskSystem()
{
    auto * const isWow64Process =
        FindExport<decltype(::IsWow64Process)>(GetModuleHandleW(L"kernel32.dll"), "IsWow64Process");
    BOOL isWow64 = FALSE;
    return isWow64Process != nullptr && isWow64Process(GetCurrentProcess(), &isWow64) && isWow64;
}

} // namespace

bool RunsUnderWow64()
{
    static bool const answer = AskSystem();
    return answer;
}

} // namespace Velmora
