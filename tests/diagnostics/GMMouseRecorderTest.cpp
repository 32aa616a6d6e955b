// Recordings made by the real hook, and files made by hand, played onto a real window.
#include "VelmoraCommon/diagnostics/GMMouseRecorder.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

using namespace std::string_literals;

namespace Velmora::Testing
{

namespace
{

std::string const header = "XXMRF\0\0\0\0"s;
constexpr wchar_t file[] = L"C:\\mouse-recorder-test.dat";
constexpr DWORD longGap = 60000; // milliseconds; a test that waits for it has failed
std::string s_calls;
HANDLE const s_signal = CreateEventW(nullptr, FALSE, FALSE, nullptr); // end or long gap

HWND MakeWindow(int x, int y)
{
    return CreateWindowW(L"Static", L"", WS_POPUP | WS_VISIBLE, x, y, 9, 9, nullptr, nullptr,
                         nullptr, nullptr);
}

// Made before any test: the system keeps keys open from a program's first window and mouse event on.
HWND const s_window = (mouse_event(MOUSEEVENTF_MOVE, 1, 1, 0, 0), MakeWindow(110, 70));

std::string Posted()
{
    std::string text;
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE); DispatchMessageW(&message))
        if (message.message >= WM_USER || message.message == WM_LBUTTONDOWN)
            text +=
                " " + std::to_string(message.message) + "/" + std::to_string(DWORD(message.lParam));
    return text;
}

std::string Numbers(std::vector<DWORD> const & numbers)
{
    return {reinterpret_cast<char const *>(numbers.data()), numbers.size() * sizeof(DWORD)};
}

std::string Mouse(DWORD time, DWORD message, DWORD x, DWORD y)
{
    return Numbers({10, 20, 19, 29, time, message, x, y});
}

std::string Journal(DWORD message, DWORD x, DWORD y, DWORD time)
{
    return Numbers({110, 70, 119, 79, message, x, y, time, 0xFFFFFFFE});
}

/// In place of the system's: a long gap lasts until the playback is stopped.
void WINAPI FakeSleep(DWORD time)
{
    s_calls += "sleep " + std::to_string(time) + " ";
    ScopedKernelObject const stop(OpenEventW(SYNCHRONIZE, FALSE, L"MouseRecordExitEvent"));
    if (time == longGap && SetEvent(s_signal))
        WaitForSingleObject(stop.Get(), longGap);
}

void WINAPI NoteMouseEvent(DWORD flags, DWORD x, DWORD y, DWORD data, ULONG_PTR)
{
    char text[64];
    std::snprintf(text, sizeof text, "%lX,%lu ", flags, data);
    s_calls += x == 32767 && y == 255 ? text : "elsewhere"; // of 1024 x 768
}

struct Watcher : IMouseRecorderPlayCallback
{
    std::string told;
    bool OnMouseMessage(HWND, unsigned long message, tagPOINT at) override
    {
        told +=
            std::to_string(message) + ":" + std::to_string(at.x) + "," + std::to_string(at.y) + " ";
        return false;
    }
    void OnEnd(bool stopped) override
    {
        told += stopped ? "stopped" : "end";
        SetEvent(s_signal);
    }
};

/// Plays \p bytes to their end, or to a long gap. \return the events of callback and window
std::string Play(std::string const & bytes)
{
    Watcher watcher;
    WriteBytes(file, bytes);
    ResetEvent(s_signal);
    if (!GMMouseRecorder::StartPlayback(s_window, &watcher))
        return "refused";
    WaitForSingleObject(s_signal, longGap);
    GMMouseRecorder::StopPlayback();
    return watcher.told + Posted();
}

} // namespace

TEST(GMMouseRecorder, RecordsUntilTheWindowIsGone)
{
    GMMouseRecorder::SetFileName(file);
    HWND const window = MakeWindow(10, 20);
    ASSERT_TRUE(GMMouseRecorder::StartRecord(window, s_window));
    EXPECT_FALSE(GMMouseRecorder::StartRecord(window, s_window));
    mouse_event(MOUSEEVENTF_ABSOLUTE | MOUSEEVENTF_MOVE, 32768, 16384, 0, 0);
    mouse_event(MOUSEEVENTF_LEFTDOWN, 0, 0, 0, 0);
    // The system hands the events to the hook while messages are taken, in its own time.
    for (DWORD begin = GetTickCount();
         ReadBytes(file).size() < 73 && GetTickCount() - begin < longGap;)
        Posted();
    DestroyWindow(window);
    POINT at;
    GetCursorPos(&at);
    mouse_event(MOUSEEVENTF_LEFTUP, 0, 0, 0, 0);
    EXPECT_EQ(" 2024/0", Posted());
    EXPECT_FALSE(GMMouseRecorder::IsRecord());
    std::string const bytes = ReadBytes(file);
    EXPECT_EQ(Mouse(0, WM_LBUTTONDOWN, DWORD(at.x), DWORD(at.y)).replace(16, 4, bytes, 57, 4),
              bytes.substr(41));
    std::string const moved = std::to_string(at.x + 100) + "," + std::to_string(at.y + 50);
    EXPECT_NE(std::string::npos, Play(bytes).find("513:" + moved + " "));
}

TEST(GMMouseRecorder, PlaysFilesOfEveryLength)
{
    GMMouseRecorder::SetFileName(file);
    ImportHook const sleep("Sleep", &FakeSleep);
    std::string const first = Mouse(1, WM_LBUTTONDOWN, 15, 30);
    std::string const last = Mouse(longGap + 1, WM_USER, 10, 20);
    std::pair<std::string, std::string> const rows[] = {
        {"XXMRF", "refused"},
        {"XXMRG"s + header.substr(5), "refused"},
        {"XXMRF\0abc"s + first, "513:115,80 end 513/655365"},
        {header + first + last.substr(0, 31), "513:115,80 end 513/655365"},
        {header + first + Mouse(0, WM_USER, 0xFFFFFFFF, 0x80000000),
         "513:115,80 1024:99,-2147483598 end 513/655365 1024/4293722101"},
        {header + first + last + first, "513:115,80 1024:110,70 stopped 513/655365 1024/0"},
    };
    s_calls.clear();
    for (auto const & [bytes, events] : rows)
        EXPECT_EQ(events, Play(bytes)) << bytes.size();
    EXPECT_EQ("sleep 60000 ", s_calls); // each of the others comes at once
    ShowWindow(s_window, SW_HIDE);
    EXPECT_EQ("end", Play(header + first));
    ShowWindow(s_window, SW_SHOW);
}

TEST(GMMouseRecorder, JournalsAndPlaysAJournal)
{
    GMMouseRecorder::SetFileName(file);
    ASSERT_TRUE(GMMouseRecorder::StartRecord(s_window, nullptr));
    EVENTMSG event = {WM_LBUTTONDOWN, 3, 4, longGap, reinterpret_cast<HWND>(INT_PTR(-2))};
    GMMouseRecorder::JournalRecordProc(HC_ACTION, 0, LPARAM(&event));
    GMMouseRecorder::JournalRecordProc(HC_SYSMODALON, 0, 0);
    GMMouseRecorder::StopRecord(true);
    EXPECT_EQ(header + Journal(WM_LBUTTONDOWN, 3, 4, longGap), ReadBytes(file));

    WriteBytes(file, ReadBytes(file) + Journal(WM_KEYDOWN, 5, 6, 0) + "rest");
    ASSERT_TRUE(GMMouseRecorder::StartJournalPlayback());
    auto const ask = [&](int code)
    { return GMMouseRecorder::JournalPlaybackProc(code, 0, LPARAM(&event)); };
    event = {};
    EXPECT_NEAR(double(longGap), double(ask(HC_GETNEXT)), longGap / 2.0);
    EXPECT_EQ(GMMouseRecorder::sm_dwStartTime + longGap, event.time);
    ask(HC_GETNEXT); // the same until it is skipped
    EXPECT_EQ(Journal(WM_LBUTTONDOWN, 3, 4, 0).substr(16),
              Numbers({event.message, event.paramL, event.paramH, 0, HandleToULong(event.hwnd)}));
    ask(HC_SKIP);
    GMMouseRecorder::sm_dwStartTime -= 1;
    EXPECT_EQ(0, ask(HC_GETNEXT)); // it is late
    EXPECT_EQ(5u, event.paramL);
    ask(HC_SKIP);
    EXPECT_EQ(0, ask(HC_GETNEXT));
    EXPECT_FALSE(GMMouseRecorder::IsPlayBack());

    std::string bytes = header + Journal(WM_USER, 9, 1, 70) + Journal(WM_USER, 8, 1, 40);
    for (DWORD message = WM_MOUSEMOVE; message <= WM_MOUSEWHEEL; ++message)
        bytes += Journal(message, 512, 3, 50);
    WriteBytes(file, bytes + "rest");
    s_calls.clear();
    ImportHook const sleep("Sleep", &FakeSleep);
    ImportHook const mouse("mouse_event", &NoteMouseEvent);
    ASSERT_TRUE(GMMouseRecorder::CheckFile());
    GMMouseRecorder::PlayWithEventFuncs(nullptr);
    EXPECT_EQ(
        "sleep 70 sleep 10 8001,0 8002,0 8004,0 8006,0 8006,0 8008,0 8010,0 8018,0 8018,0 8020,0 "
        "8040,0 8060,0 8060,0 8800,120 ",
        s_calls);
    EXPECT_EQ(" 1024/9 1024/8", Posted());
    EXPECT_TRUE(DeleteFileW(file)); // it is closed
}

} // namespace Velmora::Testing
