// peinspect: shows why a 32-bit program doesn't start, and what its file says about itself.

#include <algorithm>

#include "VelmoraCommon/executable/GMIconConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "tools/common/CommandLine.h"
#include "tools/common/Messages.h"
#include "tools/peinspect/Report.h"

// GDI+ expects what WindowsApi.h leaves out.
#include <objidl.h>
namespace Gdiplus
{
using std::max;
using std::min;
} // namespace Gdiplus
#include <gdiplus.h>

using namespace Velmora;
using namespace Tools;

namespace
{

struct Options
{
    GMString file;
    GMString icon;
    GMString png;
    bool json = false;
};

GMString FullPath(GMString const & path)
{
    wchar_t full[32768]; // of the longest path, with its NUL
    unsigned long const length = GetFullPathNameW(path.c_str(), 32768, full, nullptr);
    if (length == 0 || length >= 32768)
        throw Failure{L"isn't a path"};
    return GMString(full, length);
}

/// Whether the icon could be saved.
bool SavePng(GMIconExtract & icons, GMString const & path)
{
    Gdiplus::GdiplusStartupInput const input;
    ULONG_PTR token = 0;
    if (Gdiplus::GdiplusStartup(&token, &input, nullptr) != Gdiplus::Ok)
        return false;
    HICON const icon = icons.GetDefultIcon();
    bool const saved = GMIconConvert::GdiplusSaveHIconToPng(icon, path.c_str());
    DestroyIcon(icon);
    Gdiplus::GdiplusShutdown(token);
    return saved;
}

void SaveIcon(Options const & options, GMIconExtract & icons)
{
    if (icons.GetIconNums() == 0 && !(options.icon + options.png).empty())
        throw Failure{L"has no icon"};
    GMString icon = options.icon;
    if (!icon.empty() && !icons.SaveIcon(icon))
        throw Failure{L"its icon can't be saved as " + icon};
    if (!options.png.empty() && !SavePng(icons, options.png))
        throw Failure{L"its icon can't be saved as " + options.png};
}

ExitCode Inspect(Options const & options)
{
    GMString const path = FullPath(options.file);
    for (GMString const & output : {options.icon, options.png})
    {
        if (!output.empty() && GMStringUtils::CompareNoCase(path, FullPath(output)) == 0)
            throw Failure{L"would be overwritten by its icon"};
    }
    Image const image(path);
    if (!image.IsExecutable())
        throw Failure{L"isn't an executable file"};
    Search const search(path);
    Tree const tree(path, image, search);
    Imprint const imprint(path);
    GMIconExtract icons(path);
    Report const report = {path, image, search, tree, imprint, IconGroups(icons)};
    if (options.json)
        TellAsJson(report);
    else
        Tell(report);
    SaveIcon(options, icons);
    return tree.Problems().empty() ? done : notAll;
}

/// Failures are those of the file.
ExitCode InspectNamed(Options const & options)
{
    try
    {
        return Inspect(options);
    }
    catch (Failure const & failure)
    {
        throw Failure{options.file + L": " + failure.text};
    }
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    Options options;
    CommandLine line(
        "peinspect",
        "Tells which libraries a 32-bit program or library lacks, and what else it says\n"
        "about itself: its version, its icons, who signed it, and the tree of the\n"
        "libraries that it needs. Of 64-bit files the libraries aren't looked at.");
    AddText(line, "FILE", options.file, "")->required();
    line.add_flag("--json", options.json, "Tells the same as JSON");
    AddText(line, "--icon", options.icon, "Saves its first icon in all sizes as OUT.ico");
    AddText(line, "--png", options.png, "Saves its first icon as a picture, OUT.png");
    return line.Run(argc, argv, [&] { return InspectNamed(options); });
}
