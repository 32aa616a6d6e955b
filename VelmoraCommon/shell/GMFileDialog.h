#pragma once

#include <utility>
#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// What a dialog of GMFileDialog shows.
struct PickerOptions
{
    bool multiSelect = false;                           ///< several may be chosen
    GMString title;                                     // the system's if empty
    GMString folder;                                    // to start in; the last one used if empty
    GMString fileName;                                  // proposed, for saving only
    std::vector<std::pair<GMString, GMString>> filters; // name and pattern ("*.png;*.jpg")
    HWND owner = nullptr; ///< stays disabled while the dialog is shown; may be null
};

/// The dialogs of the system, since Windows Vista, to choose files and folders.
///
/// They block, and COM has to be ready on the thread (single-threaded). Only places of the file system
/// can be chosen. Every result is empty if the user gave up or the dialog couldn't be shown.
class VELMORA_API GMFileDialog
{
public:
    /// \return the path to save as
    static GMString SaveFileDialog(PickerOptions const & options);

    /// \return full paths of existing files, in the dialog's order
    static std::vector<GMString> SelectFiles(PickerOptions const & options);
    static std::vector<GMString> SelectFolders(PickerOptions const & options);
};

} // namespace Velmora
