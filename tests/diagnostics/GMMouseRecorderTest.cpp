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
constexpr DWORD longGap = 60000; // milliseconds; a test that waits for it has failed
std::string s_calls;

HWND MakeWindow(int x, int y)
{
    return CreateWindowExW(0, L"Static", L"", WS_POPUP | WS_VISIBLE, x, y, 100, 100, nullptr,
                           nullptr, nullptr, nullptr);
}

std::string Posted()
{
    std::string text;
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE); DispatchMessageW(&message))
    {
        if (message.message >= WM_USER || message.message == WM_LBUTTONDOWN)
            text +=
                " " + std::to_string(message.message) + "/" + std::to_string(int(message.lParam));
    }
    return text;
}

// The system keeps keys open from a program's first window and mouse event on.
bool const s_used =
    (DestroyWindow(MakeWindow(0, 0)), mouse_event(MOUSEEVENTF_MOVE, 1, 1, 0, 0), Posted().empty());

std::string Numbers(std::vector<DWORD> const & numbers)
{
    return {reinterpret_cast<char const *>(numbers.data()), numbers.size() * sizeof(DWORD)};
}

/// A record of a window at 10, 20.
std::string Mouse(DWORD time, DWORD message, DWORD x, DWORD y)
{
    return Numbers({10, 20, 110, 120, time, message, x, y});
}

/// A record of a window at 110, 70, where that of the tests is.
std::string Journal(DWORD message, DWORD x, DWORD y, DWORD time)
{
    return Numbers({110, 70, 210, 170, message, x, y, time, 0xFFFFFFFE});
}

HANDLE s_inLongGap;

/// In place of the system's: for a long gap it waits until the playback is stopped.
void WINAPI FakeSleep(DWORD time)
{
    s_calls += "sleep " + std::to_string(time) + " ";
    ScopedKernelObject const stop(OpenEventW(SYNCHRONIZE, FALSE, L"MouseRecordExitEvent"));
    if (time == longGap && SetEvent(s_inLongGap))
        WaitForSingleObject(stop.Get(), longGap);
}

void WINAPI NoteMouseEvent(DWORD flags, DWORD x, DWORD y, DWORD data, ULONG_PTR)
{
    char text[64];
    std::snprintf(text, sizeof text, "%lX/%lu,%lu/%lu ", flags, x, y, data);
    s_calls += text;
}

class GMMouseRecorderTest : public testing::Test, public IMouseRecorderPlayCallback
{
protected:
    ~GMMouseRecorderTest() override { DestroyWindow(m_window); }

    void Use(std::string const & bytes) const
    {
        GMMouseRecorder::SetFileName(m_folder.Write(L"record.dat", bytes).c_str());
    }

    /// Plays \p bytes to their end, or stops in a long gap.
    /// \return the callback's and the window's events
    std::string Play(std::string const & bytes)
    {
        m_told.clear();
        ResetEvent(m_event.Get());
        Use(bytes);
        if (!GMMouseRecorder::StartPlayback(m_window, this))
            return "refused";
        WaitForSingleObject(m_event.Get(), longGap);
        GMMouseRecorder::StopPlayback();
        EXPECT_FALSE(GMMouseRecorder::IsPlayBack());
        return m_told + Posted();
    }

    bool OnMouseMessage(HWND, unsigned long message, tagPOINT point) override
    {
        m_told += std::to_string(message) + ":" + std::to_string(point.x) + "," +
                  std::to_string(point.y) + " ";
        return false;
    }

    void OnEnd(bool stopped) override
    {
        m_told += stopped ? "stopped" : "end";
        SetEvent(m_event.Get());
    }

    TemporaryFolder const m_folder;
    std::string m_told;
    ScopedKernelObject const m_event{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    HWND const m_window = MakeWindow(110, 70);
};

} // namespace

TEST_F(GMMouseRecorderTest, RecordsUntilTheWindowIsGone)
{
    Use("");
    HWND const window = MakeWindow(10, 20);
    EXPECT_FALSE(GMMouseRecorder::StartRecord(nullptr, m_window));
    ASSERT_TRUE(GMMouseRecorder::StartRecord(window, m_window));
    EXPECT_FALSE(GMMouseRecorder::StartRecord(window, m_window));
    mouse_event(MOUSEEVENTF_ABSOLUTE | MOUSEEVENTF_MOVE, 32768, 16384, 0, 0);
    mouse_event(MOUSEEVENTF_LEFTDOWN, 0, 0, 0, 0);
    // The system hands the events to the hook while messages are taken, in its own time.
    for (DWORD begin = GetTickCount(); GetTickCount() - begin < longGap;)
    {
        Posted();
        if (ReadBytes(GMMouseRecorder::GetFileName()).size() == header.size() + 2 * 32)
            break;
    }
    DestroyWindow(window);
    POINT at;
    GetCursorPos(&at);
    mouse_event(MOUSEEVENTF_LEFTUP, 0, 0, 0, 0);
    EXPECT_EQ(" 2024/0", Posted());
    EXPECT_FALSE(GMMouseRecorder::IsRecord());

    std::string const bytes = ReadBytes(GMMouseRecorder::GetFileName());
    ASSERT_EQ(header.size() + 2 * 32, bytes.size());
    EXPECT_EQ(Mouse(0, WM_LBUTTONDOWN, DWORD(at.x), DWORD(at.y)).replace(16, 4, bytes, 57, 4),
              bytes.substr(41));
    std::string const moved = std::to_string(at.x + 100) + "," + std::to_string(at.y + 50);
    EXPECT_NE(std::string::npos, Play(bytes).find("513:" + moved + " "));
}

TEST_F(GMMouseRecorderTest, PlaysFilesOfEveryLength)
{
    ImportHook const sleep("Sleep", &FakeSleep);
    std::string const first = Mouse(1, WM_LBUTTONDOWN, 15, 30);
    std::string const last = Mouse(longGap + 1, WM_LBUTTONDOWN, 15, 30);
    std::string const played = "513:115,80 ";
    std::pair<std::string, std::string> const rows[] = {
        {"XXMRF", "refused"},
        {"XXMRG"s + header.substr(5), "refused"},
        {header.substr(0, 6), "end"},
        {"XXMRF\0abc"s + first, played + "end 513/655365"},
        {header + first + last.substr(0, 31), played + "end 513/655365"},
        {header + first + Mouse(0, WM_USER + 7, 0xFFFFFFFF, 0x80000000),
         played + "1031:99,-2147483598 end 513/655365 1031/-1245195"},
        {header + Mouse(1, WM_USER, 10, 20) + last + first,
         "1024:110,70 " + played + "stopped 1024/0 513/655365"},
    };
    s_calls.clear();
    s_inLongGap = m_event.Get();
    for (auto const & [bytes, events] : rows)
        EXPECT_EQ(events, Play(bytes)) << bytes.size();
    EXPECT_EQ("sleep 60000 ", s_calls); // each of the others comes at once
    ShowWindow(m_window, SW_HIDE);
    EXPECT_EQ("end", Play(header + first));
}

TEST_F(GMMouseRecorderTest, JournalsAndPlaysAJournal)
{
    Use("");
    ASSERT_TRUE(GMMouseRecorder::StartRecord(m_window, nullptr));
    EVENTMSG event = {WM_LBUTTONDOWN, 3, 4, longGap, reinterpret_cast<HWND>(INT_PTR(-2))};
    GMMouseRecorder::JournalRecordProc(HC_ACTION, 0, LPARAM(&event));
    GMMouseRecorder::JournalRecordProc(HC_SYSMODALON, 0, 0);
    GMMouseRecorder::StopRecord(true);
    EXPECT_EQ("", Posted());
    std::string const recorded = header + Journal(WM_LBUTTONDOWN, 3, 4, longGap);
    EXPECT_EQ(recorded, ReadBytes(GMMouseRecorder::GetFileName()));

    Use(recorded + Journal(WM_KEYDOWN, 5, 6, 0) + "rest");
    ASSERT_TRUE(GMMouseRecorder::StartJournalPlayback());
    auto const ask = [&](int code)
    { return GMMouseRecorder::JournalPlaybackProc(code, 0, LPARAM(&event)); };
    for (int times = 0; times != 2; ++times) // until it is skipped
    {
        event = {};
        EXPECT_NEAR(double(longGap), double(ask(HC_GETNEXT)), longGap / 2.0);
        EXPECT_EQ(GMMouseRecorder::sm_dwStartTime + longGap, event.time);
        EXPECT_EQ(recorded.substr(header.size() + 16),
                  Numbers({event.message, event.paramL, event.paramH, longGap,
                           HandleToULong(event.hwnd)}));
    }
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
    Use(bytes + "rest");
    s_calls.clear();
    ImportHook const sleep("Sleep", &FakeSleep);
    ImportHook const mouse("mouse_event", &NoteMouseEvent);
    ASSERT_TRUE(GMMouseRecorder::CheckFile());
    GMMouseRecorder::PlayWithEventFuncs(nullptr);
    EXPECT_EQ(
        "sleep 70 sleep 10 8001/32767,255/0 8002/32767,255/0 8004/32767,255/0 8006/32767,255/0 "
        "8006/32767,255/0 8008/32767,255/0 8010/32767,255/0 8018/32767,255/0 8018/32767,255/0 "
        "8020/32767,255/0 8040/32767,255/0 8060/32767,255/0 8060/32767,255/0 8800/32767,255/120 ",
        s_calls);
    EXPECT_EQ(" 1024/9 1024/8", Posted());
    EXPECT_TRUE(DeleteFileW(GMMouseRecorder::GetFileName().c_str())); // it is closed
}

} // namespace Velmora::Testing
