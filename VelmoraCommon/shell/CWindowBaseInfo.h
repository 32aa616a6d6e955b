#pragma once

#include <string>
#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// A snapshot of one window and of those below it.
///
/// Owns no window: the values are those of the moment of Load, and a copy is a copy of them.
class VELMORA_API CWindowBaseInfo
{
public:
    /// Whether the window was there when it was looked at.
    enum WindowStatus
    {
        WindowNotLoaded = 0,
        WindowNormal = 1,
        WindowMinimised = 2,
        WindowMaximised = 3
    };

    /// Looks at nothing yet.
    /// \param level depth in the tree, which ChildrenText indents by
    CWindowBaseInfo(HWND window, unsigned int level);

    /// Reads all fields but the children; texts are cut at 259 units.
    /// \return false if the window doesn't tell about itself; the texts are set all the same
    bool Load();

    /// Adds the windows below this one, each with those below itself, \p depth levels further down;
    /// nothing for a negative \p depth. They are ordered by the top edge of the client area. The
    /// system lists all that are below a window, however deep, so one that is two levels down stands
    /// here directly and below its parent, too. If memory ends, the list ends.
    void LoadChildWindow(int depth);

    /// The texts of the visible windows below this one, a line each, indented by as many blanks as
    /// their level; those of buttons in square brackets. What is below a hidden window is left out.
    GMString ChildrenText() const;

    /// Handle, class, text, rectangle, control id and styles in one line.
    GMString const ToString() const;
    std::string const ToUtf8String() const;

    /// The window itself.
    HWND GetHwnd() const;

    /// The name of its class, as Load found it.
    GMString const & GetClass() const;

    /// Its title, as Load found it.
    GMString const & GetText() const;

    /// Rectangles in screen coordinates, styles and frame.
    WINDOWINFO const & GetBaseInfo() const;

    /// Of child windows; 0 for others.
    unsigned int GetControlId() const;
    unsigned int GetLevel() const;
    unsigned int GetPid() const;
    WindowStatus GetStatus() const;
    std::vector<CWindowBaseInfo> const & Children() const;
    bool IsVisible() const;
    bool IsChild() const;

    /// For `EnumChildWindows`: adds \p window to the CWindowBaseInfo that \p parent points at.
    /// \return FALSE, which ends the list, if memory ends
    static BOOL CALLBACK EnumWindowProc(HWND window, LPARAM parent);

private:
    unsigned int m_controlId;
    unsigned int m_level;
    std::vector<CWindowBaseInfo> m_children;
    WindowStatus m_status;
    HWND m_window;
    WINDOWINFO m_info;
    GMString m_class;
    GMString m_text;
    DWORD m_processId;
    DWORD m_threadId;
};

} // namespace Velmora
