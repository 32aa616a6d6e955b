#include "tools/common/ProgressLine.h"

#include <algorithm>
#include <cstdio>

#include "tools/common/Messages.h"

using namespace Velmora;

namespace Tools
{

void ProgressLine::Show(GMString line)
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info))
        return;
    // The last column stays free, for a line that fills it may go on in the next one.
    int const room = std::max(info.dwSize.X - 1, 0);
    line.resize(std::min(line.size(), static_cast<std::size_t>(room)));
    std::size_t const width = line.size();
    line.resize(std::max(width, m_width), L' '); // over the rest of a longer one
    Write(stdout, L"\r" + line + (width == 0 ? L"\r" : L""));
    m_width = width;
}

void ProgressLine::Clear()
{
    if (m_width != 0)
        Show(GMString());
}

} // namespace Tools
