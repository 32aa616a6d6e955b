#include "tools/readiness/Prerequisites.h"

#include "VelmoraCommon/detect/software/GMDirectXDetect.h"
#include "VelmoraCommon/detect/software/GMFlashDetect.h"
#include "VelmoraCommon/detect/software/GMJavaDetect.h"
#include "VelmoraCommon/detect/software/GMWowFsRedirectionHelper.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/registry/GMRegUtils.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/GMVersionUtils.h"

using namespace Velmora;

namespace Tools
{
namespace
{

using Detect = GMSoftwareDetect;

GMString LibraryPath(wchar_t const * name)
{
    GMString directory;
    return GMFileSystemUtils::MyGetSystemDirectory(directory) ? directory + L"\\" + name
                                                              : GMString();
}

/// File version of a library of the system directory; empty without one.
GMString LibraryVersion(wchar_t const * name)
{
    GMString version;
    GMVersionUtils::GetFileVersion(LibraryPath(name), version);
    return version;
}

/// The same in the directory that 64-bit programs see.
GMString RealLibraryVersion(wchar_t const * name)
{
    GMWowFsRedirectionHelper const realDirectory;
    return LibraryVersion(name);
}

GMString DotNetVersion(wchar_t const * key, REGSAM view)
{
    return GMRegUtils::GetStringValue(
        HKEY_LOCAL_MACHINE, GMString(L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\") + key,
        L"Version", L"", KEY_QUERY_VALUE | view);
}

// ---- What the library has no test for ----------------------------------------------------------

/// Version of the common run time of Visual C++ 2015 to 2022, as its setup records it for a width.
GMString VisualC14Version(wchar_t const * width)
{
    GMString const path =
        GMString(L"SOFTWARE\\Microsoft\\VisualStudio\\14.0\\VC\\Runtimes\\") + width;
    for (REGSAM const view : {REGSAM(KEY_WOW64_32KEY), REGSAM(KEY_WOW64_64KEY)})
    {
        GMRegFile key;
        unsigned long installed = 0;
        if (key.OpenKey(HKEY_LOCAL_MACHINE, path, KEY_QUERY_VALUE | view, false) &&
            key.GetValue(L"Installed", installed) && installed != 0)
            return GMStringUtils::FormatResult(L"%u.%u.%u", key.GetUInt32Value(L"Major", 0),
                                               key.GetUInt32Value(L"Minor", 0),
                                               key.GetUInt32Value(L"Bld", 0));
    }
    return GMString();
}

GMString VisualC14VersionX86() { return VisualC14Version(L"x86"); }
GMString VisualC14VersionX64() { return VisualC14Version(L"x64"); }

bool IsInstalledVisualC14X86() { return !VisualC14VersionX86().empty(); }

/// The second file came with 14.28: a setup that was rolled back may leave the key without it.
bool IsInstalledVisualC14X64()
{
    GMString const version = VisualC14VersionX64();
    GMWowFsRedirectionHelper const realDirectory;
    return !version.empty() && (GMVersionUtils::VersionCompare(version, L"14.28") < 0 ||
                                GMFilePathUtils::IsExistsFile(LibraryPath(L"vcruntime140_1.dll")));
}

/// The latest shared framework of .NET (not .NET Framework) for a width, whose versions are names of
/// values in the 32-bit view.
GMString SharedFrameworkVersion(wchar_t const * width, wchar_t const * framework)
{
    GMRegFile key;
    std::vector<GMString> versions;
    GMString latest;
    if (key.OpenKey(
            HKEY_LOCAL_MACHINE,
            GMStringUtils::FormatResult(
                L"SOFTWARE\\dotnet\\Setup\\InstalledVersions\\%s\\sharedfx\\%s", width, framework),
            KEY_QUERY_VALUE | KEY_WOW64_32KEY, false))
        key.EnumValueNames(versions);
    for (GMString const & version : versions)
    {
        if (latest.empty() || GMVersionUtils::VersionCompare(version, latest) > 0)
            latest = version;
    }
    return latest;
}

GMString DesktopVersionX86()
{
    return SharedFrameworkVersion(L"x86", L"Microsoft.WindowsDesktop.App");
}
GMString DesktopVersionX64()
{
    return SharedFrameworkVersion(L"x64", L"Microsoft.WindowsDesktop.App");
}
bool IsInstalledDesktopX86() { return !DesktopVersionX86().empty(); }
bool IsInstalledDesktopX64() { return !DesktopVersionX64().empty(); }

// ---- Versions that detectors tell --------------------------------------------------------------

GMString DirectXVersion()
{
    GMDirectXDetect detector;
    unsigned long major = 0;
    unsigned long minor = 0;
    wchar_t letter = L' ';
    detector.GetDXVersion(&major, &minor, &letter);
    return GMStringUtils::FormatResult(L"%u.%u", major, minor);
}

GMString Format(GMSoftVersion const & version)
{
    return GMStringUtils::FormatResult(L"%d.%d.%d.%d", version.major, version.minor, version.build,
                                       version.revision);
}

GMString FlashVersion()
{
    GMFlashDetect detector;
    detector.Detect();
    return Format(detector.GetVersion());
}

GMString JavaVersion()
{
    GMJavaDetect detector;
    GMSoftVersion version;
    detector.Detect(false);
    detector.GetJavaVersion(version);
    return Format(version);
}

struct Row
{
    unsigned int id;
    wchar_t const * word;
    wchar_t const * title;
    wchar_t const * titleChinese;
    bool (*test)();
    GMString (*version)();
};
// The ids are this program's: files that games bring name them, so they stay as they are.
// clang-format off
Row const rows[] = {
    {0x01, L"vc14", L"Visual C++ 2015-2022 (x86)", L"Visual C++ 2015-2022 运行库 (x86)", IsInstalledVisualC14X86, VisualC14VersionX86},
    {0x02, L"vc14-x64", L"Visual C++ 2015-2022 (x64)", L"Visual C++ 2015-2022 运行库 (x64)", IsInstalledVisualC14X64, VisualC14VersionX64},
    {0x03, L"vc2013", L"Visual C++ 2013 (x86)", L"Visual C++ 2013 运行库 (x86)", Detect::IsInstalled_VC2013, [] { return LibraryVersion(L"mfc120.dll"); }},
    {0x04, L"vc2013-x64", L"Visual C++ 2013 (x64)", L"Visual C++ 2013 运行库 (x64)", Detect::IsInstalled_VC2013_X64, [] { return RealLibraryVersion(L"mfc120.dll"); }},
    {0x05, L"vc2012", L"Visual C++ 2012 (x86)", L"Visual C++ 2012 运行库 (x86)", Detect::IsInstalled_VC2012, [] { return LibraryVersion(L"mfc110.dll"); }},
    {0x06, L"vc2012-x64", L"Visual C++ 2012 (x64)", L"Visual C++ 2012 运行库 (x64)", Detect::IsInstalled_VC2012_X64, [] { return RealLibraryVersion(L"mfc110.dll"); }},
    {0x07, L"vc2010", L"Visual C++ 2010 (x86)", L"Visual C++ 2010 运行库 (x86)", Detect::IsInstalled_VC2010, [] { return LibraryVersion(L"mfc100.dll"); }},
    {0x08, L"vc2010-x64", L"Visual C++ 2010 (x64)", L"Visual C++ 2010 运行库 (x64)", Detect::IsInstalled_VC2010_X64, [] { return RealLibraryVersion(L"mfc100.dll"); }},
    {0x09, L"vc2008", L"Visual C++ 2008 (x86)", L"Visual C++ 2008 运行库 (x86)", Detect::IsInstalled_VC2008, nullptr},
    {0x0A, L"vc2008-x64", L"Visual C++ 2008 (x64)", L"Visual C++ 2008 运行库 (x64)", Detect::IsInstalled_VC2008_X64, nullptr},
    {0x0B, L"vc2005", L"Visual C++ 2005 (x86)", L"Visual C++ 2005 运行库 (x86)", Detect::IsInstalled_VC2005, nullptr},
    {0x0C, L"vc2005-x64", L"Visual C++ 2005 (x64)", L"Visual C++ 2005 运行库 (x64)", Detect::IsInstalled_VC2005_X64, nullptr},
    {0x0D, L"vc2015", L"Visual C++ 2015 with MFC (x86)", L"Visual C++ 2015 运行库，含 MFC (x86)", Detect::IsInstalled_VC2015, [] { return LibraryVersion(L"mfc140.dll"); }},
    {0x0E, L"vc2015-x64", L"Visual C++ 2015 with MFC (x64)", L"Visual C++ 2015 运行库，含 MFC (x64)", Detect::IsInstalled_VC2015_X64, [] { return RealLibraryVersion(L"mfc140.dll"); }},
    {0x0F, L"dotnet-desktop", L".NET Desktop Runtime (x86)", L".NET 桌面运行时 (x86)", IsInstalledDesktopX86, DesktopVersionX86},
    {0x10, L"dotnet-desktop-x64", L".NET Desktop Runtime (x64)", L".NET 桌面运行时 (x64)", IsInstalledDesktopX64, DesktopVersionX64},
    {0x11, L"dotnet45", L".NET Framework 4.5 or later", L".NET Framework 4.5 或更高版本", Detect::IsInstalled_DOTNET_45, [] { return DotNetVersion(L"v4\\Full", 0); }},
    {0x12, L"dotnet40", L".NET Framework 4.0", L".NET Framework 4.0", Detect::IsInstalled_DOTNET_40, [] { return DotNetVersion(L"v4\\Full", 0); }},
    {0x13, L"dotnet40-x64", L".NET Framework 4.0 (x64)", L".NET Framework 4.0 (x64)", Detect::IsInstalled_DOTNET_40_X64, [] { return DotNetVersion(L"v4\\Full", KEY_WOW64_64KEY); }},
    {0x14, L"dotnet35", L".NET Framework 3.5 SP1", L".NET Framework 3.5 SP1", Detect::IsInstalled_DOTNET_35_SP1, [] { return DotNetVersion(L"v3.5", 0); }},
    {0x15, L"dotnet35-x64", L".NET Framework 3.5 SP1 (x64)", L".NET Framework 3.5 SP1 (x64)", Detect::IsInstalled_DOTNET_35_SP1_X64, [] { return DotNetVersion(L"v3.5", KEY_WOW64_64KEY); }},
    {0x16, L"directx", L"DirectX", L"DirectX", [] { return DirectXVersion() != L"0.0"; }, DirectXVersion},
    {0x17, L"directx-files", L"DirectX helper libraries (June 2010)", L"DirectX 辅助库 (2010 年 6 月)", Detect::IsInstalled_DIRECTX, [] { return LibraryVersion(L"d3dx9_43.dll"); }},
    {0x18, L"xna31", L"XNA Framework 3.1", L"XNA Framework 3.1", Detect::IsInstalled_XNA_31, nullptr},
    {0x19, L"xna40", L"XNA Framework 4.0", L"XNA Framework 4.0", Detect::IsInstalled_XNA_40, nullptr},
    {0x1A, L"openal", L"OpenAL", L"OpenAL 音频库", Detect::IsInstalled_OPENAL, [] { return LibraryVersion(L"OpenAL32.dll"); }},
    {0x1B, L"physx", L"PhysX system software", L"PhysX 系统软件", Detect::IsInstalled_PHYSX, nullptr},
    {0x1C, L"xlive", L"Games for Windows Live", L"Games for Windows Live", Detect::IsInstalled_XLIVE, [] { return LibraryVersion(L"Xlive.dll"); }},
    {0x1D, L"java", L"Java runtime", L"Java 运行环境", Detect::IsInstalled_JAVA, JavaVersion},
    {0x1E, L"flash", L"Flash plug-in", L"Flash 插件", Detect::IsInstalled_FLASH, FlashVersion},
    {0x1F, L"silverlight", L"Silverlight", L"Silverlight", Detect::IsInstalled_Microsoft_Silverlight, nullptr},
    {0x20, L"msxml3", L"MSXML 3.0", L"MSXML 3.0", Detect::IsInstalled_MSXML_3_0, [] { return LibraryVersion(L"msxml3.dll"); }},
    {0x21, L"msxml4", L"MSXML 4.0 SP3", L"MSXML 4.0 SP3", Detect::IsInstalled_MSXML_4_0_SP3, [] { return LibraryVersion(L"msxml4.dll"); }},
    {0x22, L"msxml6", L"MSXML 6.0", L"MSXML 6.0", Detect::IsInstalled_MSXML_6_0, [] { return LibraryVersion(L"msxml6.dll"); }},
    {0x23, L"applocale", L"AppLocale", L"AppLocale", Detect::IsInstalled_Microsoft_AppLocale, nullptr},
};
// clang-format on

} // namespace

std::vector<Prerequisite> KnownPrerequisites()
{
    std::vector<Prerequisite> known;
    for (Row const & row : rows)
    {
        GMDependSoftLib const flag(GMStringUtils::FormatResult(L"A%X", row.id).c_str());
        known.push_back({Detect(flag.m_libs, row.id, 0, row.word, row.test), row.title,
                         row.titleChinese, row.version});
    }
    return known;
}

} // namespace Tools
