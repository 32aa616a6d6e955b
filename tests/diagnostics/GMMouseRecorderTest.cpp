// Recordings made by the real hook, and files made by hand, played onto real windows.
#include "VelmoraCommon/diagnostics/GMMouseRecorder.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/FailingCall.h"
#include "tests/support/HandleCount.h"
#include "tests/support/TemporaryFolder.h"

using namespace std::string_literals;

namespace Velmora::Testing
{

// No public operation leads to these two. An explicit instantiation may name private members.
using HookProcedure = LRESULT(CALLBACK *)(int, WPARAM, LPARAM);
using ThreadProcedure = unsigned long(WINAPI *)(void *);
HookProcedure JournalRecordProc();
ThreadProcedure PlayWithEventFuncs();
template <HookProcedure record, ThreadProcedure play>
struct Reach
{
    friend HookProcedure JournalRecordProc() { return record; }
    friend ThreadProcedure PlayWithEventFuncs() { return play; }
};
template struct Reach<&GMMouseRecorder::JournalRecordProc, &GMMouseRecorder::PlayWithEventFuncs>;

namespace
{

std::string const header = "XXMRF\0\0\0\0"s;
constexpr DWORD longGap = 60000; // milliseconds; a test that waits for it has failed
HANDLE s_inGap;
HookProcedure s_procedure;
std::string s_calls;

HWND MakeWindow(int x, int y)
{
    return CreateWindowExW(0, L"Static", L"", WS_POPUP | WS_VISIBLE, x, y, 100, 100, nullptr,
                           nullptr, nullptr, nullptr);
}

std::string Posted()
{
    std::string text;
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);)
    {
        if (message.message >= WM_USER || message.message == WM_LBUTTONDOWN)
            text += " " + std::to_string(message.message) + "/" +
                    std::to_string(short(LOWORD(message.lParam))) + "," +
                    std::to_string(short(HIWORD(message.lParam)));
        DispatchMessageW(&message);
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

class GMMouseRecorderTest : public testing::Test, public IMouseRecorderPlayCallback
{
protected:
    ~GMMouseRecorderTest() override { DestroyWindow(m_window); }

    void Use(std::string const & bytes) const
    {
        GMMouseRecorder::SetFileName(m_folder.Write(L"record.dat", bytes).c_str());
    }

    /// Plays \p bytes to their end. \return the callback's and the window's events
    std::string Play(std::string const & bytes)
    {
        m_told.clear();
        Use(bytes);
        if (!GMMouseRecorder::StartPlayback(m_window, this))
            return "refused";
        WaitForSingleObject(m_event.Get(), longGap);
        GMMouseRecorder::StopPlayback();
        return m_told + Posted();
    }

    bool OnMouseMessage(HWND window, unsigned long message, tagPOINT point) override
    {
        EXPECT_EQ(m_window, window);
        m_told += std::to_string(message) + ":" + std::to_string(point.x) + "," +
                  std::to_string(point.y) + " ";
        return false;
    }

    void OnEnd(bool stopped) override
    {
        EXPECT_FALSE(GMMouseRecorder::IsPlayBack());
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
    mouse_event(MOUSEEVENTF_LEFTUP, 0, 0, 0, 0);
    Posted();
    EXPECT_TRUE(GMMouseRecorder::IsRecord());
    DestroyWindow(window);
    POINT at;
    GetCursorPos(&at);
    mouse_event(MOUSEEVENTF_MOVE, 1, 1, 0, 0);
    EXPECT_EQ(" 2024/0,0", Posted());
    EXPECT_FALSE(GMMouseRecorder::IsRecord());

    std::string const bytes = ReadBytes(GMMouseRecorder::GetFileName());
    DWORD time = 0;
    ASSERT_EQ(header.size() + 3 * 32, bytes.size());
    bytes.copy(reinterpret_cast<char *>(&time), sizeof time, header.size() + 32 + 16);
    EXPECT_LT(GetTickCount() - time, longGap);
    EXPECT_EQ(Mouse(time, WM_LBUTTONDOWN, DWORD(at.x), DWORD(at.y)),
              bytes.substr(header.size() + 32, 32));
    std::string const moved = std::to_string(at.x + 100) + "," + std::to_string(at.y + 50);
    EXPECT_NE(std::string::npos, Play(bytes).find("513:" + moved + " "));
}

TEST_F(GMMouseRecorderTest, PlaysFilesOfEveryLength)
{
    std::string const first = Mouse(longGap, WM_LBUTTONDOWN, 15, 30);
    std::string const earlier = Mouse(5, WM_USER + 7, 0xFFFFFFFF, 0x80000000);
    std::string const last = Mouse(6, WM_USER + 8, 10, 20);
    std::string const played = "513:115,80 ";
    struct Row
    {
        std::string bytes;
        std::string events;
    };
    Row const rows[] = {
        {"XXMRF", "refused"},
        {"XXMRG"s + header.substr(5), "refused"},
        {header.substr(0, 6), "end"},
        {"XXMRF\0abc"s + first, played + "end 513/5,10"},
        {header + first.substr(0, 20), "end"},
        {header + first + first.substr(0, 31), played + "end 513/5,10"},
        {header + first + earlier + last,
         played + "1031:99,-2147483598 1032:110,70 end 513/5,10 1031/-11,-20 1032/0,0"},
    };
    for (Row const & row : rows)
        EXPECT_EQ(row.events, Play(row.bytes)) << row.bytes.size();
    ShowWindow(m_window, SW_HIDE);
    EXPECT_EQ("end", Play(header + first));
}

TEST_F(GMMouseRecorderTest, StopsAfterTheGapItIsIn)
{
    GMMouseRecorder::StopPlayback(); // of none
    s_inGap = m_event.Get();
    ImportHook const sleep(
        "Sleep",
        +[](DWORD time) WINAPI -> void
        {
            EXPECT_EQ(longGap, time);
            SetEvent(s_inGap);
            ScopedKernelObject const stop(OpenEventW(SYNCHRONIZE, FALSE, L"MouseRecordExitEvent"));
            WaitForSingleObject(stop.Get(), longGap);
        });
    Use(header + Mouse(1, WM_LBUTTONDOWN, 15, 30) + Mouse(longGap + 1, WM_LBUTTONDOWN, 15, 30) +
        Mouse(0, WM_LBUTTONDOWN, 15, 30));
    ASSERT_TRUE(GMMouseRecorder::StartPlayback(m_window, this));
    WaitForSingleObject(m_event.Get(), longGap);
    EXPECT_TRUE(GMMouseRecorder::IsPlayBack());
    EXPECT_FALSE(GMMouseRecorder::StartPlayback(m_window, this));
    GMMouseRecorder::StopPlayback();
    EXPECT_EQ("513:115,80 513:115,80 stopped", m_told);
}

TEST_F(GMMouseRecorderTest, LeavesNothingOfAStartThatFails)
{
    FailingCall<0, decltype(&CreateFileW)> const open("CreateFileW", INVALID_HANDLE_VALUE);
    FailingCall<1, decltype(&CreateEventW)> const event("CreateEventW", nullptr);
    FailingCall<2, decltype(&CreateThread)> const thread("CreateThread", nullptr);
    FailingCall<3, decltype(&WriteFile)> const write("WriteFile", FALSE);
    FailingCall<4, decltype(&SetWindowsHookExW)> const hook("SetWindowsHookExW", nullptr);
    bool (*const starts[])(HWND) = {
        [](HWND window) { return GMMouseRecorder::StartRecord(window, nullptr); },
        [](HWND window) { return GMMouseRecorder::StartPlayback(window, nullptr); },
        [](HWND) { return GMMouseRecorder::StartJournalPlayback(); }};
    for (auto const start : starts)
    {
        FailEachCall(
            [&](unsigned int call)
            {
                Use(header);
                unsigned int const before = HandleCount();
                FailureScope const failure(call);
                bool const started = start(m_window);
                EXPECT_EQ(g_callsSeen < call, started) << call;
                GMMouseRecorder::StopRecord(true); // a start that failed may keep the file
                GMMouseRecorder::StopPlayback();
                EXPECT_TRUE(DeleteFileW(GMMouseRecorder::GetFileName().c_str()) ||
                            GMMouseRecorder::IsPlayBack());
                GMMouseRecorder::StopJournalPlayback();
                EXPECT_EQ(before, HandleCount()) << call;
            });
    }
}

TEST_F(GMMouseRecorderTest, JournalsAndPlaysAJournal)
{
    ImportHook const hook(
        "SetWindowsHookExW",
        +[](int, HOOKPROC procedure, HINSTANCE, DWORD) WINAPI -> HHOOK
        {
            s_procedure = procedure;
            return reinterpret_cast<HHOOK>(1);
        });
    Use("");
    ASSERT_TRUE(GMMouseRecorder::StartRecord(m_window, nullptr));
    EVENTMSG event = {WM_LBUTTONDOWN, 3, 4, longGap, reinterpret_cast<HWND>(INT_PTR(-2))};
    JournalRecordProc()(HC_ACTION, 0, LPARAM(&event));
    JournalRecordProc()(HC_SYSMODALON, 0, 0);
    GMMouseRecorder::StopRecord(true);
    std::string const recorded = header + Journal(WM_LBUTTONDOWN, 3, 4, longGap);
    EXPECT_EQ(recorded, ReadBytes(GMMouseRecorder::GetFileName()));

    Use(recorded + Journal(WM_KEYDOWN, 5, 6, 0) + "rest");
    ASSERT_TRUE(GMMouseRecorder::StartJournalPlayback());
    EXPECT_FALSE(GMMouseRecorder::StartJournalPlayback());
    auto const ask = [&](int code) { return s_procedure(code, 0, LPARAM(&event)); };
    for (int times = 0; times != 2; ++times) // until it is skipped
    {
        event = {};
        DWORD const before = GetTickCount();
        LRESULT const delay = ask(HC_GETNEXT);
        EXPECT_LE(event.time - GetTickCount(), DWORD(delay));
        EXPECT_LE(DWORD(delay), event.time - before);
        EXPECT_EQ(
            Journal(WM_LBUTTONDOWN, 3, 4, 0).substr(16),
            Numbers({event.message, event.paramL, event.paramH, 0, HandleToULong(event.hwnd)}));
    }
    ask(HC_SKIP);
    Sleep(2);
    EXPECT_EQ(0, ask(HC_GETNEXT)); // it is late
    EXPECT_EQ(UINT(WM_KEYDOWN), event.message);
    EXPECT_TRUE(GMMouseRecorder::IsPlayBack());
    ask(HC_SKIP);
    EXPECT_EQ(0, ask(HC_GETNEXT));
    EXPECT_FALSE(GMMouseRecorder::IsPlayBack());
    EXPECT_TRUE(DeleteFileW(GMMouseRecorder::GetFileName().c_str())); // it is closed

    std::string bytes = header;
    for (DWORD message = WM_MOUSEMOVE; message <= WM_MOUSEWHEEL; ++message)
        bytes += Journal(message, 512, 3, 0);
    bytes += Journal(WM_USER, 9, 1, 70) + Journal(WM_USER, 8, 1, 40) + Journal(WM_USER, 7, 1, 50);
    Use(bytes + "rest");
    s_calls.clear();
    ImportHook const sleep(
        "Sleep",
        +[](DWORD time) WINAPI -> void { s_calls += "sleep " + std::to_string(time) + " "; });
    ImportHook const mouse(
        "mouse_event",
        +[](DWORD flags, DWORD x, DWORD y, DWORD data, ULONG_PTR) WINAPI -> void
        {
            EXPECT_EQ("32767,255", std::to_string(x) + "," + std::to_string(y));
            std::ostringstream call;
            call << std::hex << flags << "/" << std::dec << data << " ";
            s_calls += call.str();
        });
    ASSERT_TRUE(GMMouseRecorder::StartJournalPlayback());
    EXPECT_EQ(0ul, PlayWithEventFuncs()(nullptr));
    EXPECT_EQ("8001/0 8002/0 8004/0 8006/0 8006/0 8008/0 8010/0 8018/0 8018/0 8020/0 8040/0 8060/0 "
              "8060/0 8800/120 sleep 70 sleep 10 ",
              s_calls);
    EXPECT_EQ(" 1024/9,0 1024/8,0 1024/7,0", Posted());
    GMMouseRecorder::StopJournalPlayback();
}

} // namespace Velmora::Testing
