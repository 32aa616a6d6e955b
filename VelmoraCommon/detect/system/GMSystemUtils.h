#pragma once

#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Small services of the system: firewall, dropped files, clipboard, texts of errors. Without state.
class VELMORA_API GMSystemUtils
{
public:
    /// Lets a program through the system's firewall, for which the caller has to be an administrator.
    /// \param path of the program, without quotes in it
    /// \param name what the list of rules shows
    /// \return from Windows Vista on whether the system's command has started, not what became of it;
    ///     before that whether the four lists of the registry have an entry, where one that is there
    ///     stays as it is. False for an empty argument
    static bool AddAppToFirewall(GMString const & path, GMString const & name);

    /// The paths of a drop, in its order.
    /// \param drop the `WPARAM` of `WM_DROPFILES`; the caller frees it by `DragFinish`
    static std::vector<GMString> QueryDropFiles(WPARAM drop);

    /// Puts a text in place of what the clipboard holds.
    /// \return false at once while another program has the clipboard open
    static bool SetClipboardText(GMString text);

    /// The system's text for an error in the user's language, without the line break and full stop at
    /// its end. For an unknown error, or one whose text has places to fill, a text with the number, in
    /// hexadecimal above 0xFFFF.
    /// \param code 0 stands for the calling thread's last error
    static GMString GetSystemErrorDesc(int code);

private:
    static bool WriteAppToFilewallByReg(GMString const & path, GMString const & name,
                                        GMString const & key);
};

} // namespace Velmora
