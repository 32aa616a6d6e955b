#pragma once

#include <atomic>

#include "VelmoraCommon/diagnostics/IMouseRecorderPlayCallback.h"
#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Records what the mouse does while a window exists, and plays it back onto that window, wherever it
/// stands by then.
///
/// There is one recording and one playback in a process. Both hooks run on the thread that set them,
/// and only while it pumps messages. Except for IsRecord and IsPlayBack, call from one thread at a time.
///
/// The file is a header of 9 bytes ("XXMRF" and zeros), followed by records up to its end, of 32 bytes
/// for the mouse or of 36 bytes for a journal. Nothing in it says which: keep the two kinds apart.
class VELMORA_API GMMouseRecorder
{
public:
    /// Records every mouse event of the desktop into the file, which is made anew, with the place of
    /// \p window. Ends by StopRecord, or by itself when \p window is gone.
    /// \param notifyWindow gets message 2024 (`WM_USER` + 1000) when the recording ends; may be null
    /// \return false also while a recording runs, which goes on, or if the file can't be written. An
    ///     event that later can't be written is left out without a word
    static bool StartRecord(HWND window, HWND notifyWindow);

    /// Ends the recording and closes the file. \param silent whether no window is told
    static void StopRecord(bool silent);

    /// Posts the recorded events to \p window at their pace, on a thread of its own. The events move
    /// with the window, but aren't scaled to its size; keys and buttons held are not replayed. It ends
    /// at the end of the file, or when \p window is gone or hidden; call StopPlayback in each case.
    /// \param callback stays the caller's, until StopPlayback has returned; may be null
    /// \return false also while a playback runs
    /// \throws std::bad_alloc
    static bool StartPlayback(HWND window, IMouseRecorderPlayCallback * callback);

    /// Stops the playback, waits for it without limit (a gap between two events isn't cut short), and
    /// releases what it held. Does nothing without one.
    ///
    /// The event that tells the thread has a name, so that it stops the playbacks of all programs of
    /// the session.
    static void StopPlayback();

    /// Gives the events of a journal recording to the system in place of the user's. Ends by itself at
    /// the end of the file. Windows from 10 on needs special rights for this hook.
    static bool StartJournalPlayback();
    static void StopJournalPlayback();

    /// Whether the file at \p path is there and begins as a recording does.
    static bool ValidateFile(wchar_t const * path);

    /// Whether a recording runs.
    static bool IsRecord();

    /// Of both kinds of playback. Set by the playback's thread, so maybe not yet when StartPlayback
    /// returns.
    static bool IsPlayBack();

    /// The file of all operations: "record.dat" in the current directory at first.
    static GMString GetFileName();
    static void SetFileName(wchar_t const * name);

private:
    struct PlaybackContext;

    GMMouseRecorder() = default;

    static bool HasHeader(GMFile & file);
    static bool CheckFile();
    static bool HasRecordedWindow();
    static LRESULT CALLBACK MouseHookProc(int code, WPARAM wParam, LPARAM lParam);
    static LRESULT CALLBACK JournalRecordProc(int code, WPARAM wParam, LPARAM lParam);
    static LRESULT CALLBACK JournalPlaybackProc(int code, WPARAM wParam, LPARAM lParam);
    static unsigned long WINAPI PlayWithMessage(void * context);
    static unsigned long WINAPI PlayWithEventFuncs(void * context);

    static char const smc_recordFileHeader[9];

    static GMString sm_strFileName;
    static GMFile sm_recordFile; // of journal playback
    static GMFile sm_outFile;    // being recorded
    static HHOOK sm_recordHookHandle;
    static HHOOK sm_playHookHandle; // of journal playback
    static HWND sm_hWnd;            // the recorded window
    static HWND sm_notifyWindow;
    static std::atomic<bool> sm_bIsRecord;
    static std::atomic<bool> sm_bIsPlayBack;
    static bool sm_bMoveNext;            // journal playback must fetch the next record
    static unsigned long sm_dwStartTime; // of journal playback, in ticks
    static int const sm_screenWidith;    // pixels of the primary screen when the library was loaded
    static int const sm_screenHeight;
    static PlaybackContext sm_playback;
    static HANDLE sm_playbackThread;
};

} // namespace Velmora
