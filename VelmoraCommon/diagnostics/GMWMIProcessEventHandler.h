#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Hears from a GMProcessEventSink of processes that were found, created or closed.
///
/// The operations run on the threads of WMI, several at once, and the handler does its own locking.
/// Each event comes in two forms, the short one first. Whoever made the handler destroys it, after the
/// sink.
class VELMORA_API GMWMIProcessEventHandler
{
public:
    /// What WMI doesn't tell is 0 or empty.
    struct ProcessInfo
    {
        unsigned long m_processId = 0; ///< 0 if it isn't told
        GMString m_name;               ///< of the file, without its path
        GMString m_executablePath;     ///< empty if it isn't told
        GMString m_commandLine;        ///< empty if it isn't told
    };

    // \p name is valid during the call.

    virtual void OnProcessCreated(unsigned long id, wchar_t const * name);
    virtual void OnProcessClosed(unsigned long id, wchar_t const * name);
    virtual void OnProcessFound(unsigned long id, wchar_t const * name);
    virtual void OnProcessCreatedEx(ProcessInfo info);
    virtual void OnProcessFoundEx(ProcessInfo info);
    virtual void OnProcessClosedEx(ProcessInfo info);
};

} // namespace Velmora
