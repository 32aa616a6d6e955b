#include "VelmoraCommon/diagnostics/GMWMIProcessEventHandler.h"

namespace Velmora
{

void GMWMIProcessEventHandler::OnProcessCreated(unsigned long, wchar_t const *) {}

void GMWMIProcessEventHandler::OnProcessClosed(unsigned long, wchar_t const *) {}

void GMWMIProcessEventHandler::OnProcessFound(unsigned long, wchar_t const *) {}

void GMWMIProcessEventHandler::OnProcessCreatedEx(ProcessInfo) {}

void GMWMIProcessEventHandler::OnProcessFoundEx(ProcessInfo) {}

void GMWMIProcessEventHandler::OnProcessClosedEx(ProcessInfo) {}

} // namespace Velmora
