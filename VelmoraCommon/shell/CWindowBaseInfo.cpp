#include "VelmoraCommon/shell/CWindowBaseInfo.h"

#include <algorithm>
#include <new>

#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

constexpr int textSize = 260; // units with the NUL

void AppendLine(GMString & text, GMString const & line)
{
    if (!text.empty())
        text += L'\n';
    text += line;
}

} // namespace

CWindowBaseInfo::CWindowBaseInfo(HWND window, unsigned int level)
    : m_controlId(0),
      m_level(level),
      m_status(WindowNotLoaded),
      m_window(window),
      m_info(),
      m_processId(0),
      m_threadId(0)
{
    m_info.cbSize = sizeof(m_info);
}

bool CWindowBaseInfo::Load()
{
    wchar_t buffer[textSize] = {};
    m_text.assign(buffer, static_cast<std::size_t>(GetWindowTextW(m_window, buffer, textSize)));
    m_class.assign(buffer, static_cast<std::size_t>(GetClassNameW(m_window, buffer, textSize)));
    if (!GetWindowInfo(m_window, &m_info))
        return false;
    m_threadId = GetWindowThreadProcessId(m_window, &m_processId);
    if (IsChild())
        m_controlId = static_cast<unsigned int>(GetDlgCtrlID(m_window));
    m_status = IsIconic(m_window)   ? WindowMinimised
               : IsZoomed(m_window) ? WindowMaximised
                                    : WindowNormal;
    return true;
}

BOOL CALLBACK CWindowBaseInfo::EnumWindowProc(HWND window, LPARAM parent)
try
{
    auto & above = *reinterpret_cast<CWindowBaseInfo *>(parent);
    above.m_children.emplace_back(window, above.m_level + 1).Load();
    return TRUE;
}
catch (std::bad_alloc const &) // which the system's loop couldn't pass on
{
    return FALSE;
}

void CWindowBaseInfo::LoadChildWindow(int depth)
{
    if (depth < 0)
        return;
    EnumChildWindows(m_window, &EnumWindowProc, reinterpret_cast<LPARAM>(this));
    std::stable_sort(m_children.begin(), m_children.end(),
                     [](CWindowBaseInfo const & left, CWindowBaseInfo const & right)
                     { return left.m_info.rcClient.top < right.m_info.rcClient.top; });
    for (CWindowBaseInfo & child : m_children)
        child.LoadChildWindow(depth - 1);
}

GMString CWindowBaseInfo::ChildrenText() const
{
    GMString text;
    for (CWindowBaseInfo const & child : m_children)
    {
        if (!child.IsVisible())
            continue;
        if (!child.m_text.empty())
        {
            bool const button = child.m_class == L"Button";
            AppendLine(text, GMString(child.m_level, L' ') +
                                 (button ? L"[" + child.m_text + L"]" : child.m_text));
        }
        GMString const below = child.ChildrenText();
        if (!below.empty())
            AppendLine(text, below);
    }
    return text;
}

GMString const CWindowBaseInfo::ToString() const
{
    RECT const & rectangle = m_info.rcWindow;
    return GMStringUtils::FormatResult(
        L"window:0x%x class:%s title:%s rect:%x,%x,%x,%x id:%d style:0x%x exstyle:0x%x",
        HandleToUlong(m_window), // handles of windows have 32 bits in both widths
        m_class.c_str(), m_text.c_str(), rectangle.left, rectangle.top, rectangle.right,
        rectangle.bottom, m_controlId, m_info.dwStyle, m_info.dwExStyle);
}

std::string const CWindowBaseInfo::ToUtf8String() const
{
    return GMStringConvert::GMStringToUtf8(ToString());
}

HWND CWindowBaseInfo::GetHwnd() const { return m_window; }

GMString const & CWindowBaseInfo::GetClass() const { return m_class; }

GMString const & CWindowBaseInfo::GetText() const { return m_text; }

WINDOWINFO const & CWindowBaseInfo::GetBaseInfo() const { return m_info; }

unsigned int CWindowBaseInfo::GetControlId() const { return m_controlId; }

unsigned int CWindowBaseInfo::GetLevel() const { return m_level; }

unsigned int CWindowBaseInfo::GetPid() const { return m_processId; }

CWindowBaseInfo::WindowStatus CWindowBaseInfo::GetStatus() const { return m_status; }

std::vector<CWindowBaseInfo> const & CWindowBaseInfo::Children() const { return m_children; }

bool CWindowBaseInfo::IsVisible() const { return (m_info.dwStyle & WS_VISIBLE) != 0; }

bool CWindowBaseInfo::IsChild() const { return (m_info.dwStyle & WS_CHILD) != 0; }

} // namespace Velmora
