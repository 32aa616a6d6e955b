#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Watches a playback of GMMouseRecorder. Both operations run on the playback's thread: neither may
/// call GMMouseRecorder::StopPlayback, let an exception out, or wait for a lock that the caller of
/// StopPlayback holds.
class VELMORA_API IMouseRecorderPlayCallback
{
public:
    virtual ~IMouseRecorderPlayCallback() = default;

    /// Each event, before it is posted to \p hwnd.
    /// \param message the mouse message, such as `WM_LBUTTONDOWN`
    /// \param point in screen coordinates, moved to where the window is now
    /// \return without effect
    virtual bool OnMouseMessage(HWND hwnd, unsigned long message, tagPOINT point)
    {
        static_cast<void>(hwnd);
        static_cast<void>(message);
        static_cast<void>(point);
        return true;
    }

    /// The playback has ended; nothing follows.
    /// \param stopped whether StopPlayback ended it, and not the end of the file, a read that failed or
    ///     a window that is gone or hidden
    virtual void OnEnd(bool stopped) { static_cast<void>(stopped); }
};

} // namespace Velmora
