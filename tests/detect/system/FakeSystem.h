#pragma once

#include <cstring>

#include "tests/support/ImportHook.h"

namespace Velmora::Testing
{

/// Has the library hear what a test says of the system, while it lives. One at a time.
class FakeSystem
{
public:
    FakeSystem()
        : m_getVersion("GetVersionExW", &GetVersion),
          m_getInfo("GetSystemInfo", &GetInfo),
          m_getMetrics("GetSystemMetrics", &GetMetrics),
          m_findExport("GetProcAddress", &FindFunction, s_findExport)
    {
        s_system = this;
    }
    FakeSystem(FakeSystem const &) = delete;
    FakeSystem & operator=(FakeSystem const &) = delete;

    OSVERSIONINFOEXW version = {};
    BOOL answers = TRUE;
    SYSTEM_INFO info = {};
    int r2 = 0;
    DWORD productType = 0;
    char const * missing = ""; // the export that isn't there

private:
    static BOOL WINAPI GetVersion(OSVERSIONINFOW * version)
    {
        if (version->dwOSVersionInfoSize != sizeof(s_system->version))
            return FALSE;
        std::memcpy(version, &s_system->version, s_system->answers ? sizeof(s_system->version) : 0);
        return s_system->answers;
    }
    static void WINAPI GetInfo(SYSTEM_INFO * info) { *info = s_system->info; }
    static int WINAPI GetMetrics(int number)
    {
        return number == SM_SERVERR2 ? s_system->r2 : GetSystemMetrics(number);
    }
    static BOOL WINAPI GetProduct(DWORD, DWORD, DWORD, DWORD, DWORD * type)
    {
        *type = s_system->productType;
        return TRUE;
    }
    static FARPROC WINAPI FindFunction(HMODULE module, char const * name)
    {
        if (std::strcmp(name, s_system->missing) == 0)
            return nullptr;
        if (std::strcmp(name, "GetNativeSystemInfo") == 0)
            return reinterpret_cast<FARPROC>(reinterpret_cast<void *>(&GetInfo));
        if (std::strcmp(name, "GetProductInfo") == 0)
            return reinterpret_cast<FARPROC>(reinterpret_cast<void *>(&GetProduct));
        return s_findExport(module, name);
    }

    static inline FakeSystem * s_system = nullptr;
    static inline decltype(&GetProcAddress) s_findExport = nullptr;
    ImportHook m_getVersion;
    ImportHook m_getInfo;
    ImportHook m_getMetrics;
    ImportHook m_findExport;
};

} // namespace Velmora::Testing
