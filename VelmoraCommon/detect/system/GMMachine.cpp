#include "VelmoraCommon/detect/system/GMMachine.h"

#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

bool GMMachine::Reboot() { return ExitOperate(EWX_REBOOT); }

bool GMMachine::Logoff() { return ExitOperate(EWX_LOGOFF); }

bool GMMachine::ShutDown() { return ExitOperate(EWX_SHUTDOWN | EWX_POWEROFF); }

bool GMMachine::ExitOperate(unsigned int flags)
{
    ScopedKernelObject token;
    TOKEN_PRIVILEGES state = {};
    state.PrivilegeCount = 1;
    state.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    return OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY,
                            token.Receive()) &&
           LookupPrivilegeValueW(nullptr, SE_SHUTDOWN_NAME, &state.Privileges[0].Luid) &&
           AdjustTokenPrivileges(token.Get(), FALSE, &state, 0, nullptr, nullptr) &&
           ExitWindowsEx(flags, 0);
}

} // namespace Velmora
