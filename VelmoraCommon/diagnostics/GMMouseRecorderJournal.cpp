// Recording and playback by the journal hooks and by `mouse_event`.
#include "VelmoraCommon/diagnostics/GMMouseRecorder.h"

#include <algorithm>
#include <iterator>

#include "VelmoraCommon/diagnostics/internal/MouseRecords.h"

namespace Velmora
{
namespace
{

JournalRecord s_currentEvent; // of the playback hook, which the system asks more than once for it

/// What `mouse_event` gets for the mouse messages from `WM_MOUSEMOVE` on.
struct EventRow
{
    DWORD flags;
    int calls;
    DWORD data;
};

constexpr DWORD leftClick = MOUSEEVENTF_LEFTDOWN | MOUSEEVENTF_LEFTUP;
constexpr DWORD rightClick = MOUSEEVENTF_RIGHTDOWN | MOUSEEVENTF_RIGHTUP;
constexpr DWORD middleClick = MOUSEEVENTF_MIDDLEDOWN | MOUSEEVENTF_MIDDLEUP;
constexpr EventRow
    eventRows[] =
        {
            {MOUSEEVENTF_MOVE, 1, 0},
            {MOUSEEVENTF_LEFTDOWN, 1, 0},
            {MOUSEEVENTF_LEFTUP, 1, 0},
            {leftClick, 2, 0},
            {MOUSEEVENTF_RIGHTDOWN, 1, 0},
            {MOUSEEVENTF_RIGHTUP, 1, 0},
            {rightClick, 2, 0},
            {MOUSEEVENTF_MIDDLEDOWN, 1, 0},
            {MOUSEEVENTF_MIDDLEUP, 1, 0},
            {middleClick, 2, 0},
            {MOUSEEVENTF_WHEEL, 1, WHEEL_DELTA}, // a record doesn't tell the direction
};

/// \p pixel in the units of `mouse_event`, in which a screen is 65,535 wide and high.
DWORD ToAbsolute(DWORD pixel, int screenSize) noexcept
{
    constexpr DWORD absoluteSize = 65535;
    return screenSize == 0 ? 0 : pixel * absoluteSize / static_cast<DWORD>(screenSize);
}

} // namespace

GMFile GMMouseRecorder::sm_recordFile;
HHOOK GMMouseRecorder::sm_playHookHandle = nullptr;
bool GMMouseRecorder::sm_bMoveNext = true;
unsigned long GMMouseRecorder::sm_dwStartTime = 0;
int const GMMouseRecorder::sm_screenWidith = GetSystemMetrics(SM_CXSCREEN);
int const GMMouseRecorder::sm_screenHeight = GetSystemMetrics(SM_CYSCREEN);

bool GMMouseRecorder::CheckFile()
{
    if (sm_recordFile.Create(sm_strFileName, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                             OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL) &&
        HasHeader(sm_recordFile))
    {
        return true;
    }
    sm_recordFile.Close();
    return false;
}

bool GMMouseRecorder::StartJournalPlayback()
{
    if (sm_playHookHandle != nullptr || !CheckFile())
        return false;
    sm_dwStartTime = GetTickCount();
    sm_playHookHandle =
        SetWindowsHookExW(WH_JOURNALPLAYBACK, &JournalPlaybackProc, GetModuleHandleW(nullptr), 0);
    if (sm_playHookHandle == nullptr)
    {
        sm_recordFile.Close(); // or nothing could be recorded into it
        return false;
    }
    sm_bMoveNext = true;
    sm_bIsPlayBack = true;
    return true;
}

void GMMouseRecorder::StopJournalPlayback()
{
    if (sm_playHookHandle != nullptr)
        UnhookWindowsHookEx(sm_playHookHandle);
    sm_playHookHandle = nullptr;
    sm_recordFile.Close();
    sm_bIsPlayBack = false;
    sm_bMoveNext = true;
}

LRESULT CALLBACK GMMouseRecorder::JournalPlaybackProc(int code, WPARAM wParam, LPARAM lParam)
{
    if (code == HC_GETNEXT)
    {
        if (sm_bMoveNext && !ReadRecord(sm_recordFile, s_currentEvent))
        {
            StopJournalPlayback();
            return 0;
        }
        sm_bMoveNext = false;
        DWORD const time = s_currentEvent.time + sm_dwStartTime;
        auto & event = *reinterpret_cast<EVENTMSG *>(lParam);
        event.message = s_currentEvent.message;
        event.paramL = s_currentEvent.paramL;
        event.paramH = s_currentEvent.paramH;
        event.time = time;
        event.hwnd = static_cast<HWND>(LongToHandle(static_cast<LONG>(s_currentEvent.target)));
        return std::max<LONG>(static_cast<LONG>(time - GetTickCount()), 0);
    }
    if (code == HC_SKIP)
        sm_bMoveNext = true;
    return CallNextHookEx(sm_playHookHandle, code, wParam, lParam);
}

LRESULT CALLBACK GMMouseRecorder::JournalRecordProc(int code, WPARAM wParam, LPARAM lParam)
{
    RECT place;
    if (GetKeyState(VK_PAUSE) >= 0 && code == HC_ACTION && HasRecordedWindow() &&
        GetWindowRect(sm_hWnd, &place))
    {
        auto const & event = *reinterpret_cast<EVENTMSG const *>(lParam);
        JournalRecord const record = {
            ToRecorded(place), event.message, event.paramL,
            event.paramH,      event.time,    static_cast<DWORD>(HandleToULong(event.hwnd))};
        WriteRecord(sm_outFile, record);
    }
    return CallNextHookEx(sm_recordHookHandle, code, wParam, lParam);
}

unsigned long WINAPI GMMouseRecorder::PlayWithEventFuncs(void *)
{
    DWORD lastTime = 0;
    JournalRecord record;
    while (ReadRecord(sm_recordFile, record))
    {
        if (record.time > lastTime)
            Sleep(record.time - lastTime);
        lastTime = record.time;

        DWORD const row = record.message - WM_MOUSEMOVE;
        if (row >= std::size(eventRows))
        {
            PostMessageW(sm_hWnd, record.message, record.paramH,
                         static_cast<LPARAM>(record.paramL));
            continue;
        }
        EventRow const & event = eventRows[row];
        for (int call = 0; call != event.calls; ++call)
            mouse_event(MOUSEEVENTF_ABSOLUTE | event.flags,
                        ToAbsolute(record.paramL, sm_screenWidith),
                        ToAbsolute(record.paramH, sm_screenHeight), event.data, 0);
    }
    sm_recordFile.Close();
    sm_bIsPlayBack = false;
    return 0;
}

} // namespace Velmora
