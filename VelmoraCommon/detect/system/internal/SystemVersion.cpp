#include "VelmoraCommon/detect/system/internal/SystemVersion.h"

#include "VelmoraCommon/frame/internal/SystemFunction.h"

namespace Velmora
{

bool ReadSystemVersion(OSVERSIONINFOEXW & version)
{
    version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    return GetVersionExW(reinterpret_cast<OSVERSIONINFOW *>(&version)) != FALSE;
}

WORD NativeArchitecture()
{
    SYSTEM_INFO info = {};
    auto * const getNative = FindExport<decltype(::GetNativeSystemInfo)>(
        GetModuleHandleW(L"kernel32.dll"), "GetNativeSystemInfo");
    if (getNative != nullptr)
        getNative(&info);
    else
        GetSystemInfo(&info);
    return info.wProcessorArchitecture;
}

bool IsServer2003R2() { return GetSystemMetrics(SM_SERVERR2) != 0; }

} // namespace Velmora
