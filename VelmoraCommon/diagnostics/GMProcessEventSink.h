#pragma once

#include <atomic>

#include "VelmoraCommon/diagnostics/GMWMIProcessEventHandler.h"
#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/WindowsApi.h"

#include <objbase.h>

// Its declarations need the ones above.
#include <wbemcli.h>

namespace Velmora
{

/// Receives what an asynchronous call of WMI delivers, and tells a handler which of it are processes:
/// objects of `Win32_Process` are found ones; `__InstanceCreationEvent` and `__InstanceDeletionEvent`
/// tell of one in their `TargetInstance`. The client makes the queries.
///
/// Make it by `new`, count it by AddRef, and hand it to `ExecQueryAsync` or
/// `ExecNotificationQueryAsync`. The last Release deletes it.
class VELMORA_API GMProcessEventSink : public IWbemObjectSink
{
public:
    /// Nobody holds it yet. \param handler stays the caller's and outlives the sink
    explicit GMProcessEventSink(GMWMIProcessEventHandler * handler);

    /// Knows `IUnknown` and `IWbemObjectSink`.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void ** object) override;

    /// \return the references that there are now
    ULONG STDMETHODCALLTYPE AddRef() override;

    /// Deletes the object with its last reference. \return the references that are left
    ULONG STDMETHODCALLTYPE Release() override;

    /// Calls the handler for each process among \p objects, in order; passes over what can't be read.
    /// \return `S_OK`
    /// \throws _com_error for want of memory
    HRESULT STDMETHODCALLTYPE Indicate(long count, IWbemClassObject ** objects) override;

    /// Does nothing.
    HRESULT STDMETHODCALLTYPE SetStatus(long flags, HRESULT result, BSTR text,
                                        IWbemClassObject * object) override;

    virtual ~GMProcessEventSink(); // last, behind the slots of the interface

    /// Reads a `Win32_Process`. A property that can't be read leaves 0 or an empty text, and the
    /// command line as it was.
    static void GetProcessInfo(IWbemClassObject * object,
                               GMWMIProcessEventHandler::ProcessInfo & info);

private:
    long m_count;
    std::atomic<bool> m_isDone; // destroyed
    GMWMIProcessEventHandler * m_handler;
};

} // namespace Velmora
