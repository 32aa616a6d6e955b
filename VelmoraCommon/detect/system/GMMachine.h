#pragma once

#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// Ends the user's session or the machine. Programs that don't agree keep it from ending.
///
/// Each takes the privilege to shut down for the process and answers whether the system has begun; it
/// goes on meanwhile, and the answer isn't the end.
class VELMORA_API GMMachine
{
public:
    /// Starts the machine anew.
    static bool Reboot();

    /// Ends the session of the user.
    static bool Logoff();

    /// Turns the power off, too.
    static bool ShutDown();

private:
    static bool ExitOperate(unsigned int flags);
};

} // namespace Velmora
