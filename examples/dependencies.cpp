// dependencies: lists what a 32-bit program imports, what of it is there, and its version. Try
//     dependencies C:\Games\game.exe
// For a program that follows libraries to what they need themselves see the tool peinspect.

#include <cstdio>
#include <vector>

#include "VelmoraCommon/executable/GMDependsFinder.h"
#include "VelmoraCommon/executable/GMFileCertificate.h"
#include "VelmoraCommon/executable/GMPEDepend.h"
#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMVersionUtils.h"

using namespace Velmora;

namespace
{

void Print(GMString const & line) { std::puts(GMStringConvert::GMStringToUtf8(line).c_str()); }

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    if (argc != 2)
    {
        std::fputs("dependencies FILE\n", stderr);
        return 2;
    }
    GMString const path = argv[1]; // a full one, since libraries are looked for beside it

    // Nothing is loaded: the names come from the file's tables.
    std::vector<GMString> libraries;
    if (!GMDependsFinder::GetDependLibrarys(path, libraries))
    {
        Print(path + L": isn't a 32-bit program, or is damaged");
        return 1;
    }
    bool isWhole = true;
    for (GMString const & library : libraries)
    {
        // Where the system would find it: beside the program, in the system's folders, in PATH.
        GMString const found =
            GMPEDepend::GetDllFullPath(library, path, GMFileName::GetDirectory(path));
        Print(L"  " + library + L": " + (found.empty() ? L"MISSING" : found));
        isWhole = isWhole && !found.empty();
    }

    GMString version;
    if (GMVersionUtils::GetFileVersion(path, version))
        Print(L"version " + version);
    GMFileCertificate::SignerInfo signer;
    GMFileCertificate(path).GetFileSigner(signer);
    Print(signer.name.empty() ? L"not signed" : L"signed by " + signer.name + L" (not verified)");
    return isWhole ? 0 : 1;
}
