// Records the mouse while a window exists, plays a recording back, and shows what a file holds.
//
//   mouse_record record TITLE FILE   until the window of that title is closed
//   mouse_record play TITLE FILE     onto the window of that title
//   mouse_record show FILE           the events as text
//
// Ends with 0, with 1 if that can't be done, and with 2 if it was called wrongly.
#include <cstdint>
#include <cstdio>

#include "VelmoraCommon/diagnostics/GMMouseRecorder.h"
#include "VelmoraCommon/files/GMFile.h"

using namespace Velmora;

namespace
{

constexpr UINT recordingEnded = WM_USER + 1000; // what GMMouseRecorder posts

int Record(HWND window)
{
    // The recorder's hook runs while this thread takes messages; a window gets the one at the end.
    HWND const listener =
        CreateWindowExW(0, L"Static", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    if (!GMMouseRecorder::StartRecord(window, listener))
        return 1;
    std::puts("recording until the window is closed");
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0 && message.message != recordingEnded)
        DispatchMessageW(&message);
    DestroyWindow(listener);
    return 0;
}

/// Prints each event, and lets the program wait for the last.
class Printer : public IMouseRecorderPlayCallback
{
public:
    ~Printer() override { CloseHandle(m_ended); }

    bool OnMouseMessage(HWND, unsigned long message, tagPOINT point) override
    {
        std::printf("message 0x%lx at %ld, %ld\n", message, point.x, point.y);
        return true;
    }

    void OnEnd(bool stopped) override
    {
        std::puts(stopped ? "stopped" : "done");
        SetEvent(m_ended);
    }

    void Wait() const { WaitForSingleObject(m_ended, INFINITE); }

private:
    HANDLE const m_ended = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

int Play(HWND window)
{
    Printer printer;
    if (!GMMouseRecorder::StartPlayback(window, &printer))
        return 1;
    printer.Wait();
    GMMouseRecorder::StopPlayback(); // also after the end: it frees what the playback held
    return 0;
}

int Show(wchar_t const * path)
{
    constexpr unsigned int headerSize = 9;
    GMFile file;
    unsigned long long at = 0;
    if (!GMMouseRecorder::ValidateFile(path) ||
        !file.Create(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL) ||
        !file.Seek(headerSize, FILE_BEGIN, at))
    {
        return 1;
    }
    struct
    {
        std::int32_t left, top, right, bottom; // of the window
        std::uint32_t time, message;
        std::int32_t x, y;
    } event;
    unsigned int read = 0;
    while (file.Read(&event, sizeof event, read) && read == sizeof event)
        std::printf("%u ms: message 0x%x at %d, %d of the window\n", event.time, event.message,
                    event.x - event.left, event.y - event.top);
    return 0;
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    GMString const command = argc > 1 ? argv[1] : L"";
    int code = 2;
    if (argc == 3 && command == L"show")
        code = Show(argv[2]);
    else if (argc == 4 && (command == L"record" || command == L"play"))
    {
        GMMouseRecorder::SetFileName(argv[3]);
        HWND const window = FindWindowW(nullptr, argv[2]);
        code = command == L"play" ? Play(window) : Record(window);
    }
    if (code == 1)
        std::fputs("mouse_record: no such window, or the file can't be used\n", stderr);
    if (code == 2)
        std::fputs("usage: mouse_record record|play TITLE FILE\n       mouse_record show FILE\n",
                   stderr);
    return code;
}
