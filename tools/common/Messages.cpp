#include "tools/common/Messages.h"

#include <algorithm>

#include "VelmoraCommon/text/GMStringConvert.h"

using namespace Velmora;

namespace Tools
{
namespace
{

HANDLE HandleOf(FILE * stream)
{
    return GetStdHandle(stream == stderr ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
}

// By tone, on a black ground.
constexpr WORD colours[] = {0, FOREGROUND_GREEN | FOREGROUND_INTENSITY,
                            FOREGROUND_RED | FOREGROUND_GREEN | FOREGROUND_INTENSITY,
                            FOREGROUND_RED | FOREGROUND_INTENSITY};
constexpr WORD foreground =
    FOREGROUND_RED | FOREGROUND_GREEN | FOREGROUND_BLUE | FOREGROUND_INTENSITY;

void WriteToConsole(HANDLE console, GMString const & text)
{
    constexpr std::size_t atOnce = 8192; // older consoles take no more than 64 KB
    DWORD written = 0;
    for (std::size_t at = 0; at < text.size(); at += atOnce)
        WriteConsoleW(console, text.data() + at,
                      static_cast<DWORD>(std::min(atOnce, text.size() - at)), &written, nullptr);
}

} // namespace

bool IsConsole(FILE * stream)
{
    DWORD mode = 0;
    return GetConsoleMode(HandleOf(stream), &mode) != FALSE;
}

void Write(FILE * stream, GMString const & text, Tone tone)
{
    if (!IsConsole(stream))
    {
        std::fputs(GMStringConvert::GMStringToUtf8(text).c_str(), stream);
        return;
    }
    HANDLE const console = HandleOf(stream);
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    bool const isColoured = tone != Tone::plain && GetConsoleScreenBufferInfo(console, &info);
    if (isColoured)
        SetConsoleTextAttribute(console, static_cast<WORD>((info.wAttributes & ~foreground) |
                                                           colours[static_cast<int>(tone)]));
    WriteToConsole(console, text);
    if (isColoured)
        SetConsoleTextAttribute(console, info.wAttributes);
}

void Print(FILE * stream, GMString const & text, Tone tone) { Write(stream, text + L"\n", tone); }

GMString OnOneLine(GMString text)
{
    std::replace_if(
        text.begin(), text.end(), [](wchar_t unit) { return unit < L' ' || unit == 0x7F; }, L' ');
    return text;
}

GMString SystemMessage(unsigned long code)
{
    wchar_t text[512] = {};
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                   text, 512, nullptr);
    GMString message(text);
    GMStringUtils::TrimRight(message, L". \r\n");
    return GMStringUtils::FormatResult(L"%s (code %u)", message.c_str(), code);
}

void Require(bool isDone, GMString const & what)
{
    if (unsigned long const code = GetLastError(); !isDone)
        throw Failure{what + L": " + SystemMessage(code)};
}

} // namespace Tools
