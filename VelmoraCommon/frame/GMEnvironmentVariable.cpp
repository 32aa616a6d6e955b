#include "VelmoraCommon/frame/GMEnvironmentVariable.h"

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/frame/internal/SystemText.h"

namespace Velmora
{

GMString GMEnvironmentVariable::GetEnvironmentVar(wchar_t * name)
{
    return ReadSystemText([name](wchar_t * buffer, unsigned long size)
                          { return GetEnvironmentVariableW(name, buffer, size); });
}

} // namespace Velmora
