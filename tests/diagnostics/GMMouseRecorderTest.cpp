// Recordings made by the real hook, and files made by hand, played onto a real window.
#include "VelmoraCommon/diagnostics/GMMouseRecorder.h"

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

using namespace std::string_literals;

namespace Velmora::Testing
{

namespace
{

constexpr wchar_t file[] = L"C:\\mouse-recorder-test.dat";
constexpr LONG longGap = 60000;           // milliseconds; a test that waits for it has failed
std::string const header = "XXMRF\0abc"s; // only the first six bytes count
HANDLE const s_signal = CreateEventW(nullptr, FALSE, FALSE, nullptr); // end or long gap
std::string s_log; // what the system, the window and the callback were told

void Note(std::string const & what, std::initializer_list<LONG> numbers)
{
    s_log += what;
    for (LONG const number : numbers)
        s_log += " " + std::to_string(number);
    s_log += "; ";
}

HWND MakeWindow(int x, int y)
{
    return CreateWindowW(L"Static", L"", WS_POPUP | WS_VISIBLE, x, y, 9, 9, nullptr, nullptr,
                         nullptr, nullptr);
}

// Made before any test: the system keeps keys open from a program's first window and mouse event on.
HWND const s_window = (mouse_event(MOUSEEVENTF_MOVE, 1, 1, 0, 0), MakeWindow(110, 70));

void TakeMessages()
{
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE); DispatchMessageW(&message))
        if (message.message >= WM_USER || message.message == WM_LBUTTONDOWN)
            Note("posted", {LONG(message.message), LONG(message.lParam)});
}

std::string Numbers(std::initializer_list<LONG> numbers)
{
    return {reinterpret_cast<char const *>(numbers.begin()), numbers.size() * sizeof(LONG)};
}

std::string Mouse(LONG time, LONG message, LONG x, LONG y)
{
    return Numbers({10, 20, 19, 29, time, message, x, y});
}

std::string Journal(LONG message, LONG x, LONG y, LONG time)
{
    return Numbers({110, 70, 119, 79, message, x, y, time, -2});
}

/// In place of the system's: a long gap lasts until the playback is stopped.
void WINAPI FakeSleep(DWORD time)
{
    Note("sleep", {LONG(time)});
    ScopedKernelObject const stop(OpenEventW(SYNCHRONIZE, FALSE, L"MouseRecordExitEvent"));
    if (time == longGap && SetEvent(s_signal))
        WaitForSingleObject(stop.Get(), longGap);
}

void WINAPI NoteMouseEvent(DWORD flags, DWORD x, DWORD y, DWORD data, ULONG_PTR)
{
    Note(x == 32767 && y == 255 ? "" : "elsewhere",
         {LONG(flags & 0xFFF), LONG(data)}); // 1024 x 768
}

struct Watcher : IMouseRecorderPlayCallback
{
    bool OnMouseMessage(HWND, unsigned long message, tagPOINT at) override
    {
        Note("told", {LONG(message), at.x, at.y});
        return false;
    }
    void OnEnd(bool stopped) override
    {
        s_log += stopped ? "stopped; " : "end; ";
        SetEvent(s_signal);
    }
};

/// Plays \p bytes to their end, or to a long gap.
std::string Play(std::string const & bytes)
{
    Watcher watcher;
    s_log.clear();
    WriteBytes(file, bytes);
    if (!GMMouseRecorder::StartPlayback(s_window, &watcher))
        return "refused";
    WaitForSingleObject(s_signal, longGap);
    GMMouseRecorder::StopPlayback();
    ResetEvent(s_signal);
    TakeMessages();
    return s_log;
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
    for (int i = 0; ReadBytes(file).size() < 73 && i != 2000; ++i, Sleep(1))
        TakeMessages();
    DestroyWindow(window);
    POINT at;
    GetCursorPos(&at);
    mouse_event(MOUSEEVENTF_LEFTUP, 0, 0, 0, 0);
    s_log.clear();
    TakeMessages();
    EXPECT_EQ("posted 2024 0; ", s_log);
    EXPECT_FALSE(GMMouseRecorder::IsRecord());
    std::string const bytes = ReadBytes(file);
    EXPECT_EQ(Mouse(0, WM_LBUTTONDOWN, at.x, at.y).replace(16, 4, bytes, 57, 4), bytes.substr(41));
}

TEST(GMMouseRecorder, PlaysFilesOfEveryLength)
{
    GMMouseRecorder::SetFileName(file);
    ImportHook const sleep("Sleep", &FakeSleep);
    std::string const first = header + Mouse(1, WM_LBUTTONDOWN, 15, 30);
    std::string const last = Mouse(longGap + 1, WM_USER, 10, 20);
    EXPECT_EQ("refused", Play("XXMRF"));
    EXPECT_EQ("refused", Play("XXMRG\0\0\0\0"s + last));
    EXPECT_EQ("told 513 115 80; end; posted 513 655365; ", Play(first + last.substr(0, 31)));
    EXPECT_EQ("told 513 115 80; sleep 60000; told 1024 110 70; stopped; posted 513 655365; "
              "posted 1024 0; ",
              Play(first + last + last));
    EXPECT_EQ("told 1024 99 -2147483598; told 1024 110 70; end; posted 1024 -1245195; "
              "posted 1024 0; ", // the sums wrap, and an earlier event comes at once
              Play(header + Mouse(9, WM_USER, -1, LONG_MIN) + Mouse(8, WM_USER, 10, 20)));
    ShowWindow(s_window, SW_HIDE);
    EXPECT_EQ("end; ", Play(first));
    ShowWindow(s_window, SW_SHOW);
}

TEST(GMMouseRecorder, JournalsAndPlaysAJournal)
{
    GMMouseRecorder::SetFileName(file);
    ASSERT_TRUE(GMMouseRecorder::StartRecord(s_window, nullptr));
    EVENTMSG event = {WM_LBUTTONDOWN, 512, 4, longGap, reinterpret_cast<HWND>(INT_PTR(-2))};
    GMMouseRecorder::JournalRecordProc(HC_ACTION, 0, LPARAM(&event));
    GMMouseRecorder::StopRecord(true);
    ASSERT_EQ(Journal(WM_LBUTTONDOWN, 512, 4, longGap), ReadBytes(file).substr(9));

    WriteBytes(file, ReadBytes(file) + Journal(WM_KEYDOWN, 5, 6, 0) + "rest");
    ASSERT_TRUE(GMMouseRecorder::StartJournalPlayback());
    event = {};
    LRESULT waits[4];
    for (LRESULT & wait : waits)
    {
        wait = GMMouseRecorder::JournalPlaybackProc(HC_GETNEXT, 0, LPARAM(&event));
        if (&wait != waits) // the same until it is skipped
            GMMouseRecorder::JournalPlaybackProc(HC_SKIP, 0, 0);
        EXPECT_EQ(&wait < waits + 2 ? 512u : 5u, event.paramL);
        --GMMouseRecorder::sm_dwStartTime;
    }
    EXPECT_TRUE(waits[0] > 0 && waits[0] <= longGap && waits[2] == 0 && waits[3] == 0);
    EXPECT_FALSE(GMMouseRecorder::IsPlayBack());

    std::string bytes = header + Journal(WM_USER, 9, 1, 70) + Journal(WM_USER, 8, 1, 40);
    for (LONG message = WM_MOUSEMOVE; message <= WM_MOUSEWHEEL; ++message)
        bytes += Journal(message, 512, 3, 50);
    WriteBytes(file, bytes + "rest");
    s_log.clear();
    ImportHook const sleep("Sleep", &FakeSleep);
    ImportHook const mouse("mouse_event", &NoteMouseEvent);
    ASSERT_TRUE(GMMouseRecorder::CheckFile());
    GMMouseRecorder::PlayWithEventFuncs(nullptr);
    TakeMessages();
    EXPECT_EQ("sleep 70; sleep 10;  1 0;  2 0;  4 0;  6 0;  6 0;  8 0;  16 0;  24 0;  24 0;  32 0; "
              " 64 0;  96 0;  96 0;  2048 120; posted 1024 9; posted 1024 8; ",
              s_log);
    EXPECT_TRUE(DeleteFileW(file)); // it is closed
}

} // namespace Velmora::Testing
