#include "VelmoraCommon/detect/software/GMSoftwareDetect.h"

#include "VelmoraCommon/detect/software/GMFlashDetect.h"
#include "VelmoraCommon/detect/software/GMJavaDetect.h"
#include "VelmoraCommon/detect/software/GMWowFsRedirectionHelper.h"
#include "VelmoraCommon/detect/software/internal/Components.h"
#include "VelmoraCommon/detect/software/internal/FileVersion.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/frame/GMEnvironmentVariable.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

/// Whether the Windows directory, as the environment names it, has a file.
bool HasWindowsFile(wchar_t const * path)
{
    GMWowFsRedirectionHelper const realDirectory;
    wchar_t variable[] = L"WINDIR";
    GMString const directory = GMEnvironmentVariable::GetEnvironmentVar(variable);
    return !directory.empty() && GMFilePathUtils::IsExistsFile(directory + path);
}

/// The description in the first language that \p file has.
GMString FirstDescription(GMString const & file)
{
    VersionBlock const block(file);
    auto const * const translation =
        static_cast<WORD const *>(block.Query(L"\\VarFileInfo\\Translation", 2 * sizeof(WORD)));
    if (translation == nullptr)
        return GMString();
    return block.QueryText(GMStringUtils::FormatResult(
        L"\\StringFileInfo\\%04x%04x\\FileDescription", translation[0], translation[1]));
}

} // namespace

bool GMSoftwareDetect::IsInstalled_FLASH()
{
    GMFlashDetect detector;
    detector.Detect();
    return detector.IsInstalled();
}

bool GMSoftwareDetect::IsInstalled_JAVA()
{
    GMJavaDetect detector;
    detector.Detect(false);
    return detector.IsInstalled();
}

bool GMSoftwareDetect::IsInstalled_MSXML_3_0()
{
    return CanMakeXmlDocument(L"msxml2.DOMDocument.3.0");
}

bool GMSoftwareDetect::IsInstalled_MSXML_3_0_X64()
{
    return HasWindowsFile(L"\\system32\\msxml3.dll");
}

bool GMSoftwareDetect::IsInstalled_MSXML_6_0()
{
    return CanMakeXmlDocument(L"msxml2.DOMDocument.6.0");
}

bool GMSoftwareDetect::IsInstalled_MSXML_6_0_X64()
{
    return HasWindowsFile(L"\\system32\\msxml6.dll");
}

bool GMSoftwareDetect::IsInstalled_MSXML_4_0_SP3()
{
    GMString directory;
    return CanMakeXmlDocument(L"msxml2.DOMDocument.4.0") &&
           GMFileSystemUtils::MyGetSystemDirectory(directory) &&
           FirstDescription(directory + L"\\msxml4.dll") == L"MSXML 4.0 SP3";
}

} // namespace Velmora
