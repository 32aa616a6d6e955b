// Creates shortcuts and reads them.
//
//   shortcut create LINK TARGET [ARGUMENTS]   a .lnk file; with a URL as the target a .url file
//   shortcut read LINK                        what it holds, a line each
//   shortcut resolve LINK                     the file that it leads to, also by Windows Installer
//
// Ends with 0, with 1 if that isn't possible, and with 2 if it was called wrongly.
#include <cstdio>
#include <string>

#include "VelmoraCommon/shell/GMQuickLaunch.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"

using namespace Velmora;

namespace
{

void Print(char const * what, GMString const & text)
{
    std::printf("%s%s\n", what, GMStringConvert::GMStringToUtf8(text).c_str());
}

bool Create(GMString const & link, GMString const & target, GMString const & arguments)
{
    bool const isUrl = target.find(L"://") != GMString::npos;
    return isUrl ? GMQuickLaunch::CreateUrlFile(link, target, L"")
                 : GMQuickLaunch().CreateQuickLaunch(target, arguments, L"", link, L"", 0, nullptr,
                                                     true);
}

bool Read(GMString const & link)
{
    GMShortCutInfo info;
    if (!GMQuickLaunch().ParseLinkFile(link, info))
        return false;
    Print("target: ", info.target);
    Print("arguments: ", info.arguments);
    Print("directory: ", info.workingDirectory);
    Print("description: ", info.description);
    Print("icon: ", info.iconFile + L"," + GMStringUtils::ToString(info.iconIndex));
    return true;
}

bool Resolve(GMString const & link)
{
    GMQuickLaunch links;
    GMString target;
    if (!links.ParseMsiLinkFile(link, target) && !links.ParseLinkFile(link, target))
        return false;
    Print("", target);
    return true;
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    GMString const command = argc < 3 ? L"" : argv[1];
    bool done = false;
    if (command == L"create" && (argc == 4 || argc == 5))
        done = Create(argv[2], argv[3], argc == 5 ? argv[4] : L"");
    else if (command == L"read" && argc == 3)
        done = Read(argv[2]);
    else if (command == L"resolve" && argc == 3)
        done = Resolve(argv[2]);
    else
    {
        std::fputs("usage: shortcut create LINK TARGET [ARGUMENTS]\n"
                   "       shortcut read LINK\n"
                   "       shortcut resolve LINK\n",
                   stderr);
        return 2;
    }
    if (!done)
        std::fprintf(stderr, "shortcut: can't %ls %ls\n", argv[1], argv[2]);
    return done ? 0 : 1;
}
