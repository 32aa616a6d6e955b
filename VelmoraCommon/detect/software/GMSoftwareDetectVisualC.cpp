#include "VelmoraCommon/detect/software/GMSoftwareDetect.h"

#include "VelmoraCommon/detect/software/GMVCRedistDetect.h"
#include "VelmoraCommon/detect/software/GMWowFsRedirectionHelper.h"
#include "VelmoraCommon/detect/software/internal/SystemFolders.h"
#include "VelmoraCommon/detect/software/internal/VisualCRuntimeFiles.h"
#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFindFile.h"
#include "VelmoraCommon/frame/WindowsApi.h"

#include <shlobj.h>

#ifdef _MSC_VER
#pragma warning(disable : 4996) // GetVersionExW, whose answer to this program is the one wanted
#endif

namespace Velmora
{

namespace
{

bool HasFiles(GMString const & directory, FileList const & files)
{
    for (auto name = files.names; *name != nullptr; ++name)
    {
        if (!GMFilePathUtils::IsExistsFile(directory + *name))
            return false;
    }
    return true;
}

// ---- 2010 and later ----------------------------------------------------------------------------

bool HasRuntime(GMString const & directory, FileRuntime const & runtime)
{
    if (directory.empty() || !HasFiles(directory, runtime.files))
        return false;
    GMString file = directory + runtime.versionFile;
    GMString minimum = runtime.minimum;
    return GMSoftwareDetect::CheckVersion(file, minimum);
}

bool HasRuntimeX64(FileRuntime const & runtime)
{
    GMWowFsRedirectionHelper const realDirectory; // before the folder is asked for
    return HasRuntime(FolderPath(CSIDL_WINDOWS, L"\\system32"), runtime);
}

// ---- 2005 and 2008 -----------------------------------------------------------------------------

enum class Layout
{
    xWw,
    none,
    fusion
};

struct Layouts
{
    Layout x86;
    Layout x64;
};

struct LayoutRow
{
    DWORD major;
    DWORD minor; // or anyMinor
    DWORD leastBuild;
    Layouts layouts;
};
constexpr DWORD anyMinor = MAXDWORD;
// The first row that fits.
constexpr LayoutRow layoutRows[] = {
    {10, anyMinor, 22000, {Layout::fusion, Layout::fusion}},
    {10, 0, 0, {Layout::none, Layout::none}},
    {6, 1, 0, {Layout::none, Layout::none}},
    {5, anyMinor, 0, {Layout::xWw, Layout::xWw}},
};
constexpr Layouts layoutsOfOtherSystems = {Layout::none, Layout::xWw};

Layouts LayoutsOf(OSVERSIONINFOW const & system)
{
    for (LayoutRow const & row : layoutRows)
    {
        if (row.major == system.dwMajorVersion &&
            (row.minor == anyMinor || row.minor == system.dwMinorVersion) &&
            row.leastBuild <= system.dwBuildNumber)
            return row.layouts;
    }
    return layoutsOfOtherSystems;
}

/// Whether the first directory that fits each pattern holds the files of its assembly.
bool FindOtherVersion(GMString const & directory, AssemblyFiles const & files,
                      GMString const & atlPattern, GMString const & crtPattern,
                      GMString const & mfcPattern)
{
    GMString const * const patterns[assemblyCount] = {&atlPattern, &crtPattern, &mfcPattern};
    GMFindFile find;
    GMFileInfo match;
    for (unsigned int i = 0; i < assemblyCount; ++i)
    {
        if (!find.FindFirst(directory + *patterns[i], match) ||
            !HasFiles(GMFileName::JoinFileName(directory, match.GetFileName()), files.files[i]))
            return false;
    }
    return true;
}

/// Whether any directory that fits \p pattern holds \p file.
bool FindOtherFusionVersion(GMString const & directory, GMString const & pattern,
                            wchar_t const * file)
{
    GMFindFile find;
    GMFileInfo match;
    for (bool found = find.FindFirst(directory + pattern, match); found;
         found = find.FindNext(match))
    {
        GMString const other = GMFileName::JoinFileName(directory, match.GetFileName());
        if (GMFilePathUtils::IsExistsFile(GMFileName::JoinFileName(other, file)))
            return true;
    }
    return false;
}

bool HasFusionRuntime(GMString const & sideBySide, AssemblyRuntime const & runtime)
{
    GMString const directory = sideBySide + runtime.fusionDirectory;
    return GMFilePathUtils::IsExists(directory + runtime.fusionFile) ||
           FindOtherFusionVersion(directory, runtime.fusionPattern, runtime.files.fusionFile);
}

bool HasAssemblies(GMString const & sideBySide, AssemblyRuntime const & runtime,
                   wchar_t const * const (&directories)[assemblyCount])
{
    AssemblyFiles const & files = runtime.files;
    GMString const atlDirectory = sideBySide + directories[assemblyATL];
    if (!GMFilePathUtils::IsExists(atlDirectory))
        return FindOtherVersion(sideBySide, files, runtime.patterns[assemblyATL],
                                runtime.patterns[assemblyCRT], runtime.patterns[assemblyMFC]);
    // This version it is, and no other, even if some of its files are gone.
    return GMFilePathUtils::IsExistsFile(atlDirectory + runtime.exactAtlFile) &&
           HasFiles(sideBySide + directories[assemblyCRT], files.files[assemblyCRT]) &&
           HasFiles(sideBySide + directories[assemblyMFC], files.files[assemblyMFC]);
}

bool HasRuntime(AssemblyRuntime const & runtime, Layout Layouts::*width)
{
    GMString const sideBySide = FolderPath(CSIDL_WINDOWS, L"\\WinSxS\\");
    OSVERSIONINFOW system = {};
    system.dwOSVersionInfoSize = sizeof system;
    if (sideBySide.empty() || !GetVersionExW(&system))
        return false;
    switch (LayoutsOf(system).*width)
    {
    case Layout::fusion:
        return HasFusionRuntime(sideBySide, runtime);
    case Layout::none:
        return HasAssemblies(sideBySide, runtime, runtime.noneDirectories);
    default:
        return HasAssemblies(sideBySide, runtime, runtime.xWwDirectories);
    }
}

// ---- Service packs -----------------------------------------------------------------------------

bool IsPackageInstalled(unsigned int bit)
{
    GMVCRedistDetect detector;
    detector.Detect();
    return (detector.GetVCRedistVersion() & bit) != 0;
}

} // namespace

bool GMSoftwareDetect::IsInstalled_VC2005() { return HasRuntime(assembly2005, &Layouts::x86); }

bool GMSoftwareDetect::IsInstalled_VC2005_X64()
{
    return HasRuntime(assembly2005X64, &Layouts::x64);
}

bool GMSoftwareDetect::IsInstalled_VC2008() { return HasRuntime(assembly2008, &Layouts::x86); }

bool GMSoftwareDetect::IsInstalled_VC2008_X64()
{
    return HasRuntime(assembly2008X64, &Layouts::x64);
}

bool GMSoftwareDetect::IsInstalled_VC2010()
{
    return HasRuntime(FolderPath(CSIDL_SYSTEM), runtime2010);
}

bool GMSoftwareDetect::IsInstalled_VC2010_X64() { return HasRuntimeX64(runtime2010); }

bool GMSoftwareDetect::IsInstalled_VC2012()
{
    return HasRuntime(FolderPath(CSIDL_SYSTEM), runtime2012);
}

bool GMSoftwareDetect::IsInstalled_VC2012_X64() { return HasRuntimeX64(runtime2012); }

bool GMSoftwareDetect::IsInstalled_VC2013()
{
    return HasRuntime(FolderPath(CSIDL_SYSTEM), runtime2013);
}

bool GMSoftwareDetect::IsInstalled_VC2013_X64() { return HasRuntimeX64(runtime2013); }

bool GMSoftwareDetect::IsInstalled_VC2015() { return HasRuntime(LibraryFolder(), runtime2015); }

bool GMSoftwareDetect::IsInstalled_VC2015_X64() { return HasRuntimeX64(runtime2015); }

bool GMSoftwareDetect::IsInstalled_VC2005_SP1() { return IsPackageInstalled(2); }

bool GMSoftwareDetect::IsInstalled_VC2008_SP1() { return IsPackageInstalled(8); }

bool GMSoftwareDetect::IsInstalled_VC2010_SP1() { return IsPackageInstalled(32); }

bool GMSoftwareDetect::FindOtherVersionVC2005File(GMString const & directory,
                                                  GMString const & atlPattern,
                                                  GMString const & crtPattern,
                                                  GMString const & mfcPattern)
{
    return FindOtherVersion(directory, files2005, atlPattern, crtPattern, mfcPattern);
}

bool GMSoftwareDetect::FindOtherVersionVC2008File(GMString const & directory,
                                                  GMString const & atlPattern,
                                                  GMString const & crtPattern,
                                                  GMString const & mfcPattern)
{
    return FindOtherVersion(directory, files2008, atlPattern, crtPattern, mfcPattern);
}

bool GMSoftwareDetect::FindOtherVersionVC2005FileByWin11(GMString const & directory,
                                                         GMString const & pattern)
{
    return FindOtherFusionVersion(directory, pattern, files2005.fusionFile);
}

bool GMSoftwareDetect::FindOtherVersionVC2008FileByWin11(GMString const & directory,
                                                         GMString const & pattern)
{
    return FindOtherFusionVersion(directory, pattern, files2008.fusionFile);
}

} // namespace Velmora
