#include "VelmoraCommon/diagnostics/GMMouseRecorder.h"

#include <cstring>
#include <memory>

#include "VelmoraCommon/diagnostics/internal/MouseRecords.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{
namespace
{

constexpr unsigned int recordingEndedMessage = WM_USER + 1000;
constexpr wchar_t exitEventName[] = L"MouseRecordExitEvent"; // one for all programs of a session
constexpr unsigned int comparedHeaderBytes = 6;              // the letters and one zero

/// \p value as far from \p to as it was from \p from. The numbers come from a file: the sum wraps.
LONG Moved(LONG value, LONG from, LONG to) noexcept
{
    return static_cast<LONG>(static_cast<DWORD>(value) - static_cast<DWORD>(from) +
                             static_cast<DWORD>(to));
}

} // namespace

/// What the thread of a playback works with. The event and the file belong to StopPlayback.
struct GMMouseRecorder::PlaybackContext
{
    HANDLE m_exitEvent;
    IMouseRecorderPlayCallback * m_callback;
    HWND m_window;
    GMFile * m_file;
    std::atomic<bool> * m_isPlayBack;

    bool IsStopped() const { return WaitForSingleObject(m_exitEvent, 0) == WAIT_OBJECT_0; }
    bool Post(MouseRecord const & record) const;
};

char const GMMouseRecorder::smc_recordFileHeader[9] = {'X', 'X', 'M', 'R', 'F', 0, 0, 0, 0};

GMString GMMouseRecorder::sm_strFileName(L"record.dat");
GMFile GMMouseRecorder::sm_outFile;
HHOOK GMMouseRecorder::sm_recordHookHandle = nullptr;
HWND GMMouseRecorder::sm_hWnd = nullptr;
HWND GMMouseRecorder::sm_notifyWindow = nullptr;
std::atomic<bool> GMMouseRecorder::sm_bIsRecord(false);
std::atomic<bool> GMMouseRecorder::sm_bIsPlayBack(false);
GMMouseRecorder::PlaybackContext GMMouseRecorder::sm_playback = {};
HANDLE GMMouseRecorder::sm_playbackThread = nullptr;

bool GMMouseRecorder::IsRecord() { return sm_bIsRecord; }

bool GMMouseRecorder::IsPlayBack() { return sm_bIsPlayBack; }

GMString GMMouseRecorder::GetFileName() { return sm_strFileName; }

void GMMouseRecorder::SetFileName(wchar_t const * name) { sm_strFileName = name; }

bool GMMouseRecorder::HasHeader(GMFile & file)
{
    char header[sizeof smc_recordFileHeader];
    unsigned int read = 0;
    return file.Read(header, sizeof header, read) && read >= comparedHeaderBytes &&
           std::memcmp(header, smc_recordFileHeader, comparedHeaderBytes) == 0;
}

bool GMMouseRecorder::ValidateFile(wchar_t const * path)
{
    GMFile file;
    return file.Create(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL) &&
           HasHeader(file);
}

bool GMMouseRecorder::StartRecord(HWND window, HWND notifyWindow)
{
    if (sm_recordHookHandle != nullptr || !IsWindow(window))
        return false;
    if (!sm_outFile.Create(sm_strFileName, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS,
                           FILE_ATTRIBUTE_NORMAL) ||
        !WriteRecord(sm_outFile, smc_recordFileHeader))
    {
        return false;
    }

    sm_recordHookHandle =
        SetWindowsHookExW(WH_MOUSE_LL, &MouseHookProc, GetModuleHandleW(nullptr), 0);
    if (sm_recordHookHandle == nullptr)
        return false;
    sm_hWnd = window;
    sm_notifyWindow = notifyWindow;
    sm_bIsRecord = true;
    return true;
}

void GMMouseRecorder::StopRecord(bool silent)
{
    if (sm_recordHookHandle != nullptr)
        UnhookWindowsHookEx(sm_recordHookHandle);
    sm_recordHookHandle = nullptr;
    sm_outFile.Close();
    sm_bIsRecord = false;
    if (!silent && IsWindow(sm_notifyWindow))
        PostMessageW(sm_notifyWindow, recordingEndedMessage, 0, 0);
}

/// Ends a recording whose window is gone.
bool GMMouseRecorder::HasRecordedWindow()
{
    if (IsWindow(sm_hWnd))
        return true;
    StopRecord(false);
    return false;
}

// Runs for every mouse event of the desktop, so it does no more than this.
LRESULT CALLBACK GMMouseRecorder::MouseHookProc(int code, WPARAM wParam, LPARAM lParam)
{
    RECT place;
    if (code == HC_ACTION && HasRecordedWindow() && GetWindowRect(sm_hWnd, &place))
    {
        auto const & event = *reinterpret_cast<MSLLHOOKSTRUCT const *>(lParam);
        MouseRecord const record = {ToRecorded(place), event.time, static_cast<DWORD>(wParam),
                                    event.pt.x, event.pt.y};
        WriteRecord(sm_outFile, record);
    }
    return CallNextHookEx(sm_recordHookHandle, code, wParam, lParam);
}

bool GMMouseRecorder::StartPlayback(HWND window, IMouseRecorderPlayCallback * callback)
{
    if (sm_playbackThread != nullptr)
    {
        if (WaitForSingleObject(sm_playbackThread, 0) == WAIT_TIMEOUT)
            return false;
        StopPlayback(); // one that has ended
    }
    if (!ValidateFile(sm_strFileName.c_str()))
        return false;
    auto file = std::make_unique<GMFile>();
    if (!file->Create(sm_strFileName, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING,
                      FILE_ATTRIBUTE_NORMAL) ||
        !IsWindow(window))
    {
        return false;
    }
    ScopedKernelObject exitEvent(CreateEventW(nullptr, TRUE, FALSE, exitEventName));
    if (!exitEvent) // nothing could stop the thread
        return false;
    ResetEvent(exitEvent.Get()); // it may be another program's, and set

    sm_playback = {exitEvent.Get(), callback, window, file.get(), &sm_bIsPlayBack};
    sm_playbackThread = CreateThread(nullptr, 0, &PlayWithMessage, &sm_playback, 0, nullptr);
    if (sm_playbackThread == nullptr)
        return false;
    static_cast<void>(exitEvent.Release()); // both are StopPlayback's now
    static_cast<void>(file.release());
    return true;
}

void GMMouseRecorder::StopPlayback()
{
    if (sm_playbackThread == nullptr)
        return;
    SetEvent(sm_playback.m_exitEvent);
    WaitForSingleObject(sm_playbackThread, INFINITE);
    CloseHandle(sm_playbackThread);
    sm_playbackThread = nullptr;
    CloseHandle(sm_playback.m_exitEvent);
    delete sm_playback.m_file;
    *sm_playback.m_isPlayBack = false;
    sm_playback = {};
}

/// \return false if the window is gone or hidden
bool GMMouseRecorder::PlaybackContext::Post(MouseRecord const & record) const
{
    RECT place;
    if (!IsWindow(m_window) || !IsWindowVisible(m_window) || !GetWindowRect(m_window, &place))
        return false;
    POINT point = {Moved(record.x, record.window.left, place.left),
                   Moved(record.y, record.window.top, place.top)};
    if (m_callback != nullptr)
        m_callback->OnMouseMessage(m_window, record.message, point);
    ScreenToClient(m_window, &point);
    PostMessageW(m_window, record.message, 0, MAKELPARAM(point.x, point.y));
    return true;
}

unsigned long WINAPI GMMouseRecorder::PlayWithMessage(void * context)
{
    auto const & playback = *static_cast<PlaybackContext const *>(context);
    char header[sizeof smc_recordFileHeader];
    ReadRecord(*playback.m_file, header); // StartPlayback has looked at it
    *playback.m_isPlayBack = true;

    bool stopped = false;
    bool first = true;
    DWORD lastTime = 0;
    MouseRecord record;
    while (!(stopped = playback.IsStopped()) && ReadRecord(*playback.m_file, record))
    {
        if (!first && record.time > lastTime)
            Sleep(record.time - lastTime);
        first = false;
        lastTime = record.time;
        if (!playback.Post(record))
            break;
    }

    *playback.m_isPlayBack = false;
    if (playback.m_callback != nullptr)
        playback.m_callback->OnEnd(stopped);
    return 0;
}

} // namespace Velmora
