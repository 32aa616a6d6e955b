#pragma once

namespace Velmora
{

// The files by which the Visual C++ runtimes are known.

/// Files of one directory, in the order in which they are looked for; the names begin with their
/// delimiter, and a null ends them.
struct FileList
{
    wchar_t const * names[8];
};

/// A runtime of 2010 or later: files of the system directory, and the version of one of them.
struct FileRuntime
{
    FileList files;
    wchar_t const * versionFile;
    wchar_t const * minimum;
};

constexpr FileRuntime runtime2010 = {
    {{L"\\atl100.dll", L"\\msvcp100.dll", L"\\msvcr100.dll", L"\\mfc100.dll", L"\\mfc100u.dll",
      L"\\mfcm100.dll", L"\\mfcm100u.dll"}},
    L"\\mfc100.dll",
    L"10.0.40219.325",
};
constexpr FileRuntime runtime2012 = {
    {{L"\\atl110.dll", L"\\msvcp110.dll", L"\\msvcr110.dll", L"\\mfc110.dll", L"\\mfc110u.dll",
      L"\\mfcm110.dll", L"\\mfcm110u.dll"}},
    L"\\mfc110.dll",
    L"11.0.51106.1",
};
constexpr FileRuntime runtime2013 = {
    {{L"\\msvcp120.dll", L"\\msvcr120.dll", L"\\vcomp120.dll", L"\\mfc120.dll", L"\\mfc120u.dll",
      L"\\mfcm120.dll", L"\\mfcm120u.dll"}},
    L"\\mfc120.dll",
    L"12.0.21005.1",
};
constexpr FileRuntime runtime2015 = {
    {{L"\\msvcp140.dll", L"\\vcomp140.dll", L"\\mfc140.dll", L"\\mfc140u.dll", L"\\mfcm140.dll",
      L"\\mfcm140u.dll"}},
    L"\\mfc140.dll",
    L"14.0.23026.0",
};

/// The side-by-side assemblies of a runtime of 2005 or 2008.
enum Assembly
{
    assemblyATL,
    assemblyCRT,
    assemblyMFC,
    assemblyCount
};

/// What the assemblies of one year hold.
struct AssemblyFiles
{
    FileList files[assemblyCount];
    wchar_t const * fusionFile; // the one that counts in the Fusion layout
};

constexpr AssemblyFiles files2005 = {
    {{{L"\\atl80.dll"}},
     {{L"\\msvcm80.dll", L"\\msvcp80.dll", L"\\msvcr80.dll"}},
     {{L"\\mfc80.dll", L"\\mfc80u.dll", L"\\mfcm80.dll", L"\\mfcm80u.dll"}}},
    L"msvcp80.dll",
};
constexpr AssemblyFiles files2008 = {
    {{{L"\\atl90.dll"}},
     {{L"\\msvcm90.dll", L"\\msvcp90.dll", L"\\msvcr90.dll"}},
     {{L"\\mfc90.dll", L"\\mfc90u.dll", L"\\mfcm90.dll", L"\\mfcm90u.dll"}}},
    L"msvcp90.dll",
};

/// A runtime of 2005 or 2008 of one width. Directories are below "WinSxS" in the Windows directory.
struct AssemblyRuntime
{
    wchar_t const * xWwDirectories[assemblyCount];  // before Windows Vista
    wchar_t const * noneDirectories[assemblyCount]; // from Windows Vista on
    wchar_t const * patterns[assemblyCount];        // of another servicing version in either
    wchar_t const * fusionDirectory;                // from Windows 11 on
    wchar_t const * fusionFile;                     // in fusionDirectory
    wchar_t const * fusionPattern;                  // of another servicing version
    wchar_t const * exactAtlFile;                   // spelled as that version spells it
    AssemblyFiles const & files;
};

constexpr AssemblyRuntime assembly2005 = {
    {L"x86_Microsoft.VC80.ATL_1fc8b3b9a1e18e3b_8.0.50727.6195_x-ww_a4c618fa",
     L"x86_Microsoft.VC80.CRT_1fc8b3b9a1e18e3b_8.0.50727.6195_x-ww_44262b86",
     L"x86_Microsoft.VC80.MFC_1fc8b3b9a1e18e3b_8.0.50727.6195_x-ww_150c9e8b"},
    {L"x86_microsoft.vc80.atl_1fc8b3b9a1e18e3b_8.0.50727.6195_none_d1cb102c435421de",
     L"x86_microsoft.vc80.crt_1fc8b3b9a1e18e3b_8.0.50727.6195_none_d09154e044272b9a",
     L"x86_microsoft.vc80.mfc_1fc8b3b9a1e18e3b_8.0.50727.6195_none_cbf5e994470a1a8f"},
    {L"x86_microsoft.vc80.atl_1fc8b3b9a1e18e3b_8.0*",
     L"x86_microsoft.vc80.crt_1fc8b3b9a1e18e3b_8.0*",
     L"x86_microsoft.vc80.mfc_1fc8b3b9a1e18e3b_8.0*"},
    L"Fusion\\x86_microsoft.vc80.crt_1fc8b3b9a1e18e3b_none_bcc8f3fc9457ed28\\8.0\\",
    L"8.0.50727.6195\\msvcp80.dll",
    L"8.0.*",
    L"\\ATL80.dll",
    files2005,
};

constexpr AssemblyRuntime assembly2008 = {
    {L"x86_Microsoft.VC90.ATL_1fc8b3b9a1e18e3b_9.0.30729.6161_x-ww_92453bb7",
     L"x86_Microsoft.VC90.CRT_1fc8b3b9a1e18e3b_9.0.30729.6161_x-ww_31a54e43",
     L"x86_Microsoft.VC90.MFC_1fc8b3b9a1e18e3b_9.0.30729.6161_x-ww_028bc148"},
    {L"x86_microsoft.vc90.atl_1fc8b3b9a1e18e3b_9.0.30729.6161_none_51cd0a7abbe4e19b",
     L"x86_microsoft.vc90.crt_1fc8b3b9a1e18e3b_9.0.30729.6161_none_50934f2ebcb7eb57",
     L"x86_microsoft.vc90.mfc_1fc8b3b9a1e18e3b_9.0.30729.6161_none_4bf7e3e2bf9ada4c"},
    {L"x86_Microsoft.VC90.ATL_1fc8b3b9a1e18e3b_9.0*",
     L"x86_Microsoft.VC90.CRT_1fc8b3b9a1e18e3b_9.0*",
     L"x86_Microsoft.VC90.MFC_1fc8b3b9a1e18e3b_9.0*"},
    L"Fusion\\x86_microsoft.vc90.crt_1fc8b3b9a1e18e3b_none_ea33c8f0b247cd77\\9.0\\",
    L"9.0.30729.6161\\msvcp90.dll",
    L"9.0.*",
    L"\\atl90.dll",
    files2008,
};

constexpr AssemblyRuntime assembly2005X64 = {
    {L"amd64_Microsoft.VC80.ATL_1fc8b3b9a1e18e3b_8.0.50727.6195_x-ww_d6cffeda",
     L"amd64_Microsoft.VC80.CRT_1fc8b3b9a1e18e3b_8.0.50727.6195_x-ww_76301166",
     L"amd64_Microsoft.VC80.MFC_1fc8b3b9a1e18e3b_8.0.50727.6195_x-ww_4716846b"},
    {L"amd64_microsoft.vc80.atl_1fc8b3b9a1e18e3b_8.0.50727.6195_none_8a1dd9552ed7f8d8",
     L"amd64_microsoft.vc80.crt_1fc8b3b9a1e18e3b_8.0.50727.6195_none_88e41e092fab0294",
     L"amd64_microsoft.vc80.mfc_1fc8b3b9a1e18e3b_8.0.50727.6195_none_8448b2bd328df189"},
    {L"amd64_Microsoft.VC80.ATL_1fc8b3b9a1e18e3b_8.0*",
     L"amd64_Microsoft.VC80.CRT_1fc8b3b9a1e18e3b_8.0*",
     L"amd64_Microsoft.VC80.MFC_1fc8b3b9a1e18e3b_8.0*"},
    L"Fusion\\amd64_microsoft.vc80.crt_1fc8b3b9a1e18e3b_none_751bbd257fdbc422\\8.0\\",
    L"8.0.50727.6195\\msvcp80.dll",
    L"8.0.*",
    L"\\ATL80.dll",
    files2005,
};

constexpr AssemblyRuntime assembly2008X64 = {
    {L"amd64_Microsoft.VC90.ATL_1fc8b3b9a1e18e3b_9.0.30729.6161_x-ww_c44f2197",
     L"amd64_Microsoft.VC90.CRT_1fc8b3b9a1e18e3b_9.0.30729.6161_x-ww_63af3423",
     L"amd64_Microsoft.VC90.MFC_1fc8b3b9a1e18e3b_9.0.30729.6161_x-ww_3495a728"},
    {L"amd64_microsoft.vc90.atl_1fc8b3b9a1e18e3b_9.0.30729.6161_none_0a1fd3a3a768b895",
     L"amd64_microsoft.vc90.crt_1fc8b3b9a1e18e3b_9.0.30729.6161_none_08e61857a83bc251",
     L"amd64_microsoft.vc90.mfc_1fc8b3b9a1e18e3b_9.0.30729.6161_none_044aad0bab1eb146"},
    {L"amd64_Microsoft.VC90.ATL_1fc8b3b9a1e18e3b_9.0*",
     L"amd64_Microsoft.VC90.CRT_1fc8b3b9a1e18e3b_9.0*",
     L"amd64_Microsoft.VC90.MFC_1fc8b3b9a1e18e3b_9.0*"},
    L"Fusion\\amd64_microsoft.vc90.crt_1fc8b3b9a1e18e3b_none_a28692199dcba471\\9.0\\",
    L"9.0.30729.6161\\msvcp90.dll",
    L"9.0.*",
    L"\\ATL90.dll",
    files2008,
};

} // namespace Velmora
