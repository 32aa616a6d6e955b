#include "VelmoraCommon/frame/WindowsApi.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH)
        DisableThreadLibraryCalls(module); // nothing here depends on threads that come and go
    return TRUE;
}
