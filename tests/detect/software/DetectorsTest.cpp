// Every detector on described machines.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "VelmoraCommon/detect/software/GMDirectXDetect.h"
#include "VelmoraCommon/detect/software/GMDotNetDetectX64.h"
#include "VelmoraCommon/detect/software/GMFlashDetect.h"
#include "VelmoraCommon/detect/software/GMIEDetect.h"
#include "VelmoraCommon/detect/software/GMJavaDetect.h"
#include "VelmoraCommon/detect/software/GMMSIProductDetect.h"
#include "VelmoraCommon/detect/software/GMSoftwareDetect.h"
#include "VelmoraCommon/detect/software/GMUnityPlayerDetect.h"
#include "VelmoraCommon/detect/software/GMWowFsRedirectionHelper.h"
#include "VelmoraCommon/detect/software/GMXNADetect.h"
#include "VelmoraCommon/detect/software/internal/VisualCRuntimeFiles.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/frame/internal/Com.h"
#include "tests/detect/software/Machine.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ChildTask.h"
#include "tests/support/FailingCall.h"

#include <shlobj.h>

namespace Velmora::Testing
{

namespace
{

struct TestRow
{
    char const * name;
    bool (*test)();
    unsigned int survived; // calls whose failure doesn't turn the yes of Everything() into a no
};
// clang-format off
#define VELMORA_TEST(test, survived) {#test, &GMSoftwareDetect::IsInstalled_##test, survived}
TestRow const tests[] = {
    VELMORA_TEST(VC2005, 1), VELMORA_TEST(VC2005_X64, 1), VELMORA_TEST(VC2005_SP1, 9),
    VELMORA_TEST(VC2008, 1), VELMORA_TEST(VC2008_X64, 1), VELMORA_TEST(VC2008_SP1, 9),
    VELMORA_TEST(VC2010, 0), VELMORA_TEST(VC2010_X64, 0), VELMORA_TEST(VC2010_SP1, 9),
    VELMORA_TEST(VC2012, 0), VELMORA_TEST(VC2012_X64, 0), VELMORA_TEST(VC2013, 0),
    VELMORA_TEST(VC2013_X64, 0), VELMORA_TEST(VC2015, 0), VELMORA_TEST(VC2015_X64, 0),
    VELMORA_TEST(DOTNET_10, 18), VELMORA_TEST(DOTNET_11_SP1, 16), VELMORA_TEST(DOTNET_35_SP1, 16),
    VELMORA_TEST(DOTNET_35_SP1_X64, 15), VELMORA_TEST(DOTNET_40, 16), VELMORA_TEST(DOTNET_40_X64, 15),
    VELMORA_TEST(DOTNET_45, 15), VELMORA_TEST(Microsoft_Silverlight, 8),
    VELMORA_TEST(Microsoft_AppLocale, 6), VELMORA_TEST(DIRECTX, 0), VELMORA_TEST(XNA_31, 12),
    VELMORA_TEST(XNA_40, 9), VELMORA_TEST(OPENAL, 1), VELMORA_TEST(PHYSX, 1), VELMORA_TEST(XLIVE, 1),
    VELMORA_TEST(FLASH, 3), VELMORA_TEST(JAVA, 0), VELMORA_TEST(MSXML_3_0, 1),
    VELMORA_TEST(MSXML_3_0_X64, 0), VELMORA_TEST(MSXML_4_0_SP3, 1), VELMORA_TEST(MSXML_6_0, 1),
    VELMORA_TEST(MSXML_6_0_X64, 0),
};
// clang-format on

std::string Text(GMSoftVersion const & version)
{
    std::ostringstream text;
    text << version.major << '.' << version.minor << '.' << version.build << '.'
         << version.revision;
    return text.str();
}

std::string Narrow(GMString const & text) { return std::string(text.begin(), text.end()); }

template <class Detector>
std::string Flags()
{
    Detector detector;
    detector.Detect();
    detector.Detect(); // starts from nothing
    std::ostringstream text;
    text << std::hex << detector.GetDotNetVersion().m_flags << '/'
         << detector.GetDotNetVersion().m_release;
    return text.str();
}

std::string DirectX()
{
    unsigned long major = 77;
    unsigned long minor = 77;
    wchar_t letter = L'?';
    EXPECT_EQ(0, GMDirectXDetect().GetDXVersion(&major, &minor, &letter));
    GMDirectXDetect detector;
    detector.Detect();
    return std::to_string(major) + '.' + std::to_string(minor) + static_cast<char>(letter) + '/' +
           std::to_string(detector.GetDirectXVersion());
}

/// "yes 1.2.3.4 name"
template <class Detector>
std::string Named(Detector & detector, bool (Detector::*isInstalled)() const)
{
    detector.Detect();
    return ((detector.*isInstalled)() ? "yes " : "no ") + Text(detector.GetVersion()) + ' ' +
           Narrow(detector.GetVersionName());
}

std::string Java(GMJavaDetect & detector)
{
    GMSoftVersion version;
    GMString home;
    detector.Detect(false);
    detector.GetJavaVersion(version);
    detector.GetJavaHome(home);
    return (detector.IsInstalled() ? "yes " : "no ") + Text(version) + ' ' + Narrow(home);
}

std::string EngineVersion()
{
    unsigned long major = 77;
    bool const isRead = GMIEDetect::GetIEPrimaryVersion(major);
    return (isRead ? "yes " : "no ") + std::to_string(major);
}

/// Answers of detectors by a word; those of the tests by their names. What one detector found before
/// stays in the words that end in "+".
std::string Ask(std::string const & word)
{
    static GMIEDetect ie;
    static GMFlashDetect flash;
    static GMJavaDetect java;
    GMFlashDetect freshFlash;
    GMUnityPlayerDetect unity;
    GMIEDetect freshIE;
    GMJavaDetect freshJava;
    GMXNADetect xna;
    for (TestRow const & row : tests)
    {
        if (word == row.name)
            return row.test() ? "yes" : "no";
    }
    if (word == "NET")
        return Flags<GMDotNetDetect>();
    if (word == "NET64")
        return Flags<GMDotNetDetectX64>();
    if (word == "DX")
        return DirectX();
    if (word == "IE" || word == "IE+")
        return Named(word == "IE" ? freshIE : ie, &GMIEDetect::IsDetected);
    if (word == "Flash" || word == "Flash+")
        return Named(word == "Flash" ? freshFlash : flash, &GMFlashDetect::IsInstalled);
    if (word == "Java" || word == "Java+")
        return Java(word == "Java" ? freshJava : java);
    if (word == "Unity")
        return Named(unity, &GMUnityPlayerDetect::IsInstalled);
    if (word == "Engine")
        return EngineVersion();
    xna.Detect();
    return std::to_string(xna.GetXNAVersion());
}

/// Long keys by short words.
std::string Expand(std::string text)
{
    static std::pair<std::string, std::string> const words[] = {
        {"[NET\\", "[HKLM\\SOFTWARE\\Microsoft\\NET Framework Setup\\"},
        {"[XNA\\", "[HKLM\\SOFTWARE\\Microsoft\\XNA\\Framework\\v"},
        {"[PHYSX", "[HKLM\\SOFTWARE\\AGEIA Technologies"},
        {"[IE", "[HKLM\\SOFTWARE\\Microsoft\\Internet Explorer"},
        {"[JRE", "[HKLM\\SOFTWARE\\JavaSoft\\Java Runtime Environment"},
        {"[FLASH", "[HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\"
                   "Adobe Flash Player ActiveX"},
        {"[MSI", "[HKCR\\Installer\\Products"},
        {"[USER", "[HKCU\\Software\\Microsoft\\Installer\\Products"},
        {"[SERVER ", "[HKCR\\CLSID\\"},
        {"LOADER", "Programs\\NVIDIA Corporation\\PhysX\\Common\\PhysXLoader.dll"},
        {"LIB\\", LibraryFolderName()}};
    for (auto const & [word, meaning] : words)
    {
        for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at + 1))
            text.replace(at, word.size(), meaning);
    }
    return text;
}

/// A test, its answer, and the machine that it is asked on.
constexpr char cases[] = R"(
NET | 0/0 |
NET | 400/0 | [NET\Full\v1.0.3705]
NET64 | 0/0 | [NET\Full\v1.0.3705]
NET | 0/0 | [NET\NDP\v1.1.4322];Install:1
NET | 800/0 | [NET\NDP\v1.1.4322];Install:1;SP:1
NET | 1/0 | [NET\NDP\v2.0.50727];Install:1
NET | 2/0 | [NET\NDP\v2.0.50727];Install:1;SP:1
NET | 4/0 | [NET\NDP\v2.0.50727];Install:1;SP:2
NET | 0/0 | [NET\NDP\v2.0.50727];Install:1;SP:3
NET | 60/0 | [NET\NDP\v3.0];Install:7;SP:2;[NET\NDP\v3.5];Install!1;[NET\NDP\v2.0.50727];Install:0
NET | 90/0 | [NET\NDP\v3.0];Install:1;SP:1;[NET\NDP\v3.5];Install:1;SP:1
NET | 8/0 | [NET\NDP\v3.0];Install:1;SP!1 0 0 0 0 0 0 0;[NET\NDP\v3.5];Install!1 0 0 0 0 0 0 0
NET | 0/0 | [NET\NDP\v3.5];SP:1
NET | 100/0 | [NET\NDP\v4\Full];Install:1;Version=4.0.30319
NET | 0/0 | [NET\NDP\v4\Full];Install:1;Version=4
NET | 0/1 | [NET\NDP\v4\Full];Install:0;Version=4.5;Release:1
NET | 0/1 | [NET\NDP\v4\Full];Version=4.5;Release:1
NET | 200/0 | [NET\NDP\v4\Client];Install:1;SP:9
NET | 1100/1 | [NET\NDP\v4\Full];Install:1;Version=4.5.50709;Release:1
NET64 | 101100/70bf0 | [NET\NDP\v4\Full];Install:1;Version=4.7.03062;Release:70bf0
NET | 100000/70bf0 | [NET\NDP\v4\Full];Install:0;Version=4.7.03062;Release:70bf0
NET | 100100/70bf0 | [NET\NDP\v4\Full];Install:1;Version=4.4.9;Release:70bf0
Microsoft_Silverlight | no | [USER\A];ProductName=Microsoft Silverlight
Microsoft_Silverlight | yes | [USER\A];ProductName=Microsoft Silverlight;[MSI]
Microsoft_Silverlight | no | [MSI\A];ProductName=microsoft silverlight
DX | 9.0c/2 | *9 0 C|DirectX 11.1
DX | 10.1 /4 | *10 0 _|DirectX 10.1
DX | 11.1 /8 | *11 0 _|DirectX 11.1
DX | 11.2 /8 | *11 2 _|DirectX 10.1
DX | 12.0 /1 | *11 0 _|DirectX 12
DX | 12.3 /1 | *11 0 _|DirectX  12. 3 (x)
DX | 11.0 /8 | *11 0 _|Direct3D 12.1
DX | 11.5 /8 | *11 0 _|DirectX 99999999999.5
DX | 0.0a/0 | *0 0 A|
DX | 8.2 /1 | *11 0 0|;+system32\dpnet.dll 5.2.3677.134
DX | 8.2 /1 | *11 0 |;+system32\dpnet.dll 5.2.3677.134;+system32\ddraw.dll 4.2.0.95
DX | 1.0 /1 | *i11 0 _|;+system32\ddraw.dll 9.9.9.9 4.2.0.95
DIRECTX | no | +LIB\D3DX9_43.dll 10.0.0.0;+LIB\d3dx10_43.dll 10.0.0.0;+LIB\d3dx11_43.dll
XNA | 1 | [XNA\1.0];NativeLibraryPath=$\x;ProductVersion=1;+x\XnaNative1.dll
XNA | 2 | [XNA\2.0];NativeLibraryPath=$\x;ProductVersion=1;+x\XnaNative2.dll
XNA | 4 | [XNA\3.0];NativeLibraryPath=$\x;ProductVersion=1;+x\XnaNative.dll
XNA | 0 | [XNA\3.1];ProductVersion=1;+x\XnaNative.dll 1.0.0.0
XNA | 0 | [XNA\3.1];NativeLibraryPath=$\x;ProductVersion=1;+x\XnaNative.dll\
XNA | 0 | [XNA\4.0];NativeLibraryPath=$\x;ProductVersion=;+x\XnaNative.dll
OPENAL | yes | +system32\OpenAL32.dll 0.0.0.0 1.0.0.0
OPENAL | no | +system32\OpenAL32.dll 1.0.0.0 0.9.9.9
OPENAL | no | +system32\OpenAL32.dll 1.0.0.0;-OpenAL32.dll
XLIVE | no | +system32\Xlive.dll 0.0.0.0
XLIVE | no | +system32\Xlive.dll\
PHYSX | yes | [PHYSX];PhysX Version:1fc16c;!NxCreatePhysicsSDK;+LOADER 0.0.0.0 2.8.1.1
PHYSX | no | [PHYSX];PhysX Version:1fc16c;+LOADER 2.8.1.1
PHYSX | no | [PHYSX];!NxCreatePhysicsSDK;+LOADER 2.8.1.1
PHYSX | no | [PHYSX];PhysX Version:1fc16c;!NxCreatePhysicsSDK;+LOADER 2.0.0.0 0.9.0.0
PHYSX | no | [PHYSX];PhysX Version:1fc16c;!NxCreatePhysicsSDK;+LOADER
PHYSX | yes | [PHYSX];PhysX Version:1;!NxCreatePhysicsSDK;+LOADER;+system32\PhysXLoader.dll 2.0.0.0
PHYSX | no | [PHYSX];PhysX Version:1;!NxCreatePhysicsSDK;+system32\PhysXLoader.dll 2.0.0.0
IE | no 0.0.0.0  |
IE+ | yes 11.0.9.2 11.0.9.2 | [IE];svcVersion=11.0.9.2;Version=9.11.9
IE+ | yes 11.0.9.2 11.0.9.2 | [IE]
IE+ | no 11.0.9.2 11.0.9.2 |
IE | yes 8.0.-7.0 8.x.-7z..9 | [IE];Version=8.x.-7z..9
IE | yes 9.1.0.0 9.1A | [IE];Version!39 0 2e 0 31 0 41
Engine | yes 11 | +system32\mshtml.dll 11.0.1.2 9.0.0.0
Engine | no 77 |
Engine | no 0 | +system32\mshtml.dll junk
Flash | yes 0.0.0.0  | @ShockwaveFlash.ShockwaveFlash
Flash | no 0.0.0.0  | [FLASH];DisplayVersion=11.2;DisplayName=F
Flash | no 0.0.0.0  | [SERVER {D27CDB6E-AE6D-11cf-96B8-444553540000}\InprocServer32];=$\f;+f 1.1.1.1
Flash | yes 11.2.0.0 F | @ShockwaveFlash.ShockwaveFlash;[FLASH];DisplayVersion=11.2;DisplayName=F
Flash | yes 11.2.0.0  | @ShockwaveFlash.ShockwaveFlash;[FLASH];DisplayVersion=11.2
Flash+ | yes 9.8.7.6 Adobe Flash Player 9 ActiveX | @ShockwaveFlash.ShockwaveFlash;[FLASH];DisplayVersion=11.2;[SERVER {D27CDB6E-AE6D-11cf-96B8-444553540000}\InprocServer32];=$\f;+f 1.1.1.1 9.8.7.6
Flash+ | no 9.8.7.6 Adobe Flash Player 9 ActiveX |
Unity | yes 5.3.0.0 Unity Player 5 | @UnityWebPlayer.UnityWebPlayer;[FLASH];DisplayVersion=11.2;DisplayName=F;[SERVER {444785F1-DE89-4295-863A-D46C3A781394}\InprocServer32];=$\f;+f 5.3.0.0
Java | no 0.0.0.0  |
Java | no 1.8.0.0  | [JRE];CurrentVersion=1.8;[JRE\1.8];JavaHome=;RuntimeLib=$\j;+j
Java | no 1.8.0.0 C:\java | [JRE];CurrentVersion=1.8;[JRE\1.8];JavaHome=C:\java;RuntimeLib=$\j;+j\
Java | no 0.9.0.0 C:\java | [JRE];CurrentVersion=0.9;[JRE\0.9];JavaHome=C:\java;RuntimeLib=$\j;+j
Java+ | yes 1.8.0.0 C:\java | [JRE];CurrentVersion=1.8;[JRE\1.8];JavaHome=C:\java;RuntimeLib=$\j;+j
Java+ | yes 1.9.0.0 C:\jdk | [JRE];CurrentVersion=1.9;[JRE\1.9];JavaHome=C:\jdk;RuntimeLib=
MSXML_3_0 | no | @msxml2.DOMDocument.6.0
MSXML_4_0_SP3 | no | @msxml2.DOMDocument.4.0;+system32\msxml4.dll 4.0.0.0 4.0.0.0 MSXML 4.0 sp3
MSXML_4_0_SP3 | no | +system32\msxml4.dll 4.0.0.0 4.0.0.0 MSXML 4.0 SP3
MSXML_6_0_X64 | no | +system32\msxml6.dll\
)";

/// Windows 7 with all that there is, for a process of either width.
std::string Everything()
{
    std::string text = R"(+system32\msxml4.dll 4.0.0.0 4.0.0.0 MSXML 4.0 SP3
+LOADER 9.0.0.0;!NxCreatePhysicsSDK;@msxml2.DOMDocument.3.0;@msxml2.DOMDocument.4.0
@msxml2.DOMDocument.6.0;@ShockwaveFlash.ShockwaveFlash;{6CE5BAE9-D3CA-4B99-891A-1DC6C118A5FC}
{5FCE6D76-F5DC-37AB-B2B8-22AB8CEDB1D4};{1D8E6291-B0D5-35EC-8441-6616F567A0F7}
[NET\Full\v1.0.3705];[NET\NDP\v1.1.4322];Install:1;SP:1;[NET\NDP\v3.5];Install:1;SP:1
[NET\NDP\v4\Full];Install:1;Version=4.8;Release:80eb1;[PHYSX];PhysX Version:8716360
[XNA\3.1];NativeLibraryPath=$\system32;ProductVersion=3.1;[XNA\4.0];NativeLibraryPath=$\system32
[JRE];CurrentVersion=1.8;[JRE\1.8];JavaHome=C:\java;RuntimeLib=$\system32\jvm.dll
[MSI\A];ProductName=Microsoft Silverlight;[USER\A];ProductName=Microsoft AppLocale
)";
    auto const add = [&text](std::string const & directory, FileList const & files)
    {
        for (auto name = files.names; *name != nullptr; ++name)
            text += '+' + directory + Narrow(*name) + " 99.0.0.0\n";
    };
    for (auto const * runtime : {&assembly2005, &assembly2005X64, &assembly2008, &assembly2008X64})
    {
        for (int i = 0; i < assemblyCount; ++i)
            add("WinSxS\\" + Narrow(runtime->noneDirectories[i]), runtime->files.files[i]);
    }
    FileList const others[] = {
        {{L"\\D3DX9_43.dll", L"\\d3dx10_43.dll", L"\\d3dx11_43.dll", L"\\OpenAL32.dll"}},
        {{L"\\Xlive.dll", L"\\msxml3.dll", L"\\msxml6.dll", L"\\XnaNative.dll", L"\\jvm.dll"}}};
    for (std::string const & directory : {std::string("system32"), std::string("SysWOW64")})
    {
        for (auto const * runtime : {&runtime2010, &runtime2012, &runtime2013, &runtime2015})
            add(directory, runtime->files);
        for (FileList const & files : others)
            add(directory, files);
    }
    return Expand(text);
}

} // namespace

TEST(Detectors, AnswerByWhatTheMachineHas)
{
    std::istringstream lines(cases + 1);
    for (std::string line; std::getline(lines, line);)
    {
        std::size_t const first = line.find(" | ");
        std::size_t const second = line.find(" |", first + 3);
        Machine const machine(Expand(line.substr(std::min(second + 3, line.size()))));
        EXPECT_EQ(line.substr(first + 3, second - first - 3), Ask(line.substr(0, first))) << line;
    }
}

TEST(Detectors, ClimbTheirLadders)
{
    // The numbers of .NET, each and the one below it.
    unsigned int flag = 0x800;
    for (unsigned int const release :
         {378389, 378675, 379893, 393295, 394254, 394802, 460798, 461308, 461808, 528040, 533320})
    {
        for (unsigned int const number : {release - 1, release})
        {
            std::ostringstream key;
            std::ostringstream answer;
            key << "[NET\\NDP\\v4\\Full];Release:" << std::hex << number;
            answer << std::hex << (flag & ~0x800u) << '/' << number;
            Machine const machine(Expand(key.str()));
            EXPECT_EQ(answer.str(), Ask("NET"));
            flag *= number == release ? 1 : 2;
        }
    }

    // DirectX's files, each with the version of a row and the one below it.
    constexpr char ladder[] =
        "ddraw.dll 4.2.0.95 1.0_ 0.0_ ddraw.dll 4.3.0.1096 2.0_ 1.0_ ddraw.dll 4.4.0.68 3.0_ 2.0_ "
        "d3drg8x.dll 4.4.0.70 3.0a 0.0_ ddraw.dll 4.5.0.155 5.0_ 3.0_ ddraw.dll 4.6.0.318 6.0_ "
        "5.0_ "
        "ddraw.dll 4.6.0.436 6.1_ 6.0_ dplayx.dll 4.6.3.518 6.1a 0.0_ ddraw.dll 4.7.0.700 7.0_ "
        "6.1_ "
        "dinput.dll 4.7.0.716 7.0a 0.0_ ddraw.dll 4.8.0.400 8.0_ 7.0_ ddraw.dll 5.1.2258.400 8.0_ "
        "7.0_ "
        "ddraw.dll 6.0.0.1 7.0_ 7.0_ d3d8.dll 4.8.1.881 8.1_ 0.0_ d3d8.dll 5.1.2600.881 8.1_ 0.0_ "
        "d3d8.dll 4.8.1.901 8.1a 8.1_ d3d8.dll 5.1.2600.901 8.1a 8.1_ mpg2splt.ax 6.3.1.885 8.1b "
        "0.0_ "
        "dpnet.dll 4.9.0.134 8.2_ 0.0_ dpnet.dll 5.2.3677.134 8.2_ 0.0_ d3d9.dll 0.0.0.1 9.0_ 9.0_";
    std::istringstream words(ladder);
    for (std::string file, version, at, below; words >> file >> version >> at >> below;)
    {
        std::size_t const last = version.rfind('.') + 1;
        std::string const lower =
            version.substr(0, last) + std::to_string(std::stoi(version.substr(last)) - 1);
        for (auto const & [found, answer] : {std::pair(version, at), std::pair(lower, below)})
        {
            Machine const machine("+system32\\" + file + ' ' + found);
            std::string text = Ask("DX").substr(0, 4);
            std::replace(text.begin(), text.end(), ' ', '_');
            EXPECT_EQ(answer, text) << file << found;
        }
    }
}

TEST(Detectors, TakeEveryFailureForANo)
{
    {
        Machine const nothing("");
        for (TestRow const & row : tests)
            EXPECT_FALSE(row.test()) << row.name;
    }
    Machine const machine(Everything());
    FailingCall<0, decltype(&SHGetFolderPathW)> const folder("SHGetFolderPathW", E_FAIL);
    FailingCall<1, decltype(&SHGetSpecialFolderPathW)> const special("SHGetSpecialFolderPathW", 0);
    FailingCall<2, decltype(&GetSystemDirectoryW)> const system("GetSystemDirectoryW", 0);
    FailingCall<3, decltype(&GetVersionExW)> const version("GetVersionExW", FALSE);
    FailingCall<4, decltype(&RegOpenKeyExW)> const open("RegOpenKeyExW", ERROR_CRC);
    FailingCall<5, decltype(&RegQueryValueExW)> const query("RegQueryValueExW", ERROR_CRC);
    FailingCall<6, decltype(&RegEnumKeyExW)> const list("RegEnumKeyExW", ERROR_CRC);
    FailingCall<7, decltype(&GetFileAttributesW)> const exists("GetFileAttributesW",
                                                               INVALID_FILE_ATTRIBUTES);
    FailingCall<8, decltype(&GetFileVersionInfoSizeW)> const size("GetFileVersionInfoSizeW", 0);
    FailingCall<9, decltype(&GetFileVersionInfoW)> const block("GetFileVersionInfoW", FALSE);
    FailingCall<10, decltype(&VerQueryValueW)> const value("VerQueryValueW", FALSE);
    FailingCall<11, decltype(&LocalAlloc)> const memory("LocalAlloc", nullptr);
    FailingCall<12, decltype(&LoadLibraryW)> const load("LoadLibraryW", nullptr);
    FailingCall<13, decltype(&CoInitializeEx)> const enter("CoInitializeEx", RPC_E_CHANGED_MODE);
    FailingCall<14, decltype(&CLSIDFromProgID)> const classOf("CLSIDFromProgID", E_FAIL);
    FailingCall<15, decltype(&CoCreateInstance)> const create("CoCreateInstance", E_FAIL);
    for (TestRow const & row : tests)
    {
        unsigned int survived = 0;
        unsigned int const calls = FailEachCall(
            [&](unsigned int call)
            {
                FailureScope const scope(call);
                bool const isInstalled = row.test();
                EXPECT_TRUE(isInstalled || g_callsSeen >= call) << row.name << ", no call failed";
                survived += isInstalled && g_callsSeen >= call;
            });
        EXPECT_EQ(row.survived, survived) << row.name << " of " << calls;
    }
}

TEST(Detectors, LoadLibrariesWithoutDialogs)
{
    Machine machine(Expand("+system32\\OpenAL32.dll 1.0.0.0;[PHYSX];PhysX Version:1"));
    Ask("OPENAL");
    Ask("PHYSX"); // whose library is missing
    EXPECT_EQ("mode1 mode0 mode1 mode0 ", machine.log);
}

TEST(GMMSIProductDetect, MatchesNameLanguageAndVersion)
{
    Machine const machine(
        Expand("[USER\\A];ProductName=A;Version:5;Language:409;[MSI\\B];ProductName=" +
               std::string(600, 'n') + ";Version:6"));
    GMMSIProductDetect detector;
    std::pair<GMMSIProductDetect::GMProductInfo, bool> rows[] = {
        {{L"A", 0, 5}, true},  {{L"A", 0x409, 0}, true}, {{L"A", 0, 6}, false},
        {{L"A", 5, 0}, false}, {{L"a", 0, 0}, false},    {{L"", 0, 6}, true}}; // too long a name
    EXPECT_FALSE(detector.DetectProduct(rows[0].first)); // nothing is listed yet
    detector.LoadProductList();
    for (auto & [info, isFound] : rows)
        EXPECT_EQ(isFound, detector.DetectProduct(info)) << info.m_version << info.m_language;
}

TEST(GMDirectXDetect, ComparesVersions)
{
    GMDirectXDetect detector;
    ULARGE_INTEGER const low = detector.MakeInt64(1, 2, 3, 4);
    ULARGE_INTEGER const high = detector.MakeInt64(0xFFFF, 2, 3, 3);
    EXPECT_EQ(0x0001000200030004u, low.QuadPart);
    EXPECT_EQ(-1, detector.CompareLargeInts(low, high));
    EXPECT_EQ(1, detector.CompareLargeInts(high, low));
    EXPECT_EQ(0, detector.CompareLargeInts(low, low));
    ULARGE_INTEGER version = low;
    wchar_t missing[] = L"missing";
    EXPECT_EQ(E_INVALIDARG, detector.GetFileVersion(nullptr, &version));
    EXPECT_EQ(E_INVALIDARG, detector.GetFileVersion(missing, nullptr));
    EXPECT_EQ(E_FAIL, detector.GetFileVersion(missing, &version));
    Machine const machine("*11 1 _|DirectX 11.1" + std::string(20000, 'x'));
    EXPECT_EQ("11.1 /8", Ask("DX"));
}

// ---- Widths ------------------------------------------------------------------------------------

/// What a 32-bit program sees on a 64-bit system, which is asked once a process.
int SeeAsWow64(std::wstring const &)
{
    {
        Machine const asked("!IsWow64Process");
        GMSoftwareDetect::IsWow64();
    }
    Machine machine(Everything() +
                    "!Wow64DisableWow64FsRedirection;!Wow64RevertWow64FsRedirection");
    std::pair<char const *, std::string> const rows[] = {{"VC2015", "folder "},
                                                         {"DIRECTX", "folder "},
                                                         {"VC2010_X64", "disable folder revert "},
                                                         {"MSXML_6_0_X64", "disable revert "}};
    int failures = !GMSoftwareDetect::IsWow64();
    for (wchar_t const * lacking : {L"system32", L"SysWOW64"})
    {
        std::filesystem::rename(machine.File(lacking), machine.File(L"lacking"));
        for (auto const & [word, log] : rows)
        {
            machine.log.clear();
            bool const isReal = log[0] == 'd';
            failures +=
                Ask(word) != ((*lacking == L's') == isReal ? "no" : "yes") || machine.log != log;
        }
        std::filesystem::rename(machine.File(L"lacking"), machine.File(lacking));
    }
    machine.log.clear();
    machine.items.erase("!Wow64DisableWow64FsRedirection");
    Ask("MSXML_6_0_X64"); // reverts all the same
    return failures + (machine.log.find("revert") == std::string::npos);
}
ChildTask const seeAsWow64(L"SeeAsWow64", &SeeAsWow64);

TEST(Detectors, SeeBothDirectoriesAsA32BitProgram)
{
    EXPECT_EQ(0u, RunProgram(seeAsWow64.CommandLine()));
    GMString directory;
    ASSERT_TRUE(GMFileSystemUtils::MyGetSystemDirectory(directory));
    std::wstring const probe = directory + L"\\velmora-probe.tmp";
    {
        GMWowFsRedirectionHelper const guard;
        WriteBytes(probe, "");
    }
    EXPECT_EQ(!GMSoftwareDetect::IsWow64(), GMFilePathUtils::IsExistsFile(probe));
    GMWowFsRedirectionHelper const guard;
    EXPECT_TRUE(GMFilePathUtils::IsExistsFile(probe));
    DeleteFileW(probe.c_str());
}

TEST(Detectors, ReadTheViewThatIsAskedFor) // the real one, where nobody else has this key
{
    constexpr REGSAM views[] = {KEY_WOW64_32KEY, KEY_WOW64_64KEY};
    std::wstring const root = L"SOFTWARE\\JavaSoft\\Java Runtime Environment";
    for (REGSAM const view : views)
    {
        for (std::wstring const & path : {root, root + L"\\1.8"})
        {
            ScopedRegKey key;
            RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | view,
                            nullptr, key.Receive(), nullptr);
            wchar_t const * const home = view == KEY_WOW64_64KEY ? L"1.8-64" : L"1.8-32";
            RegSetValueExW(key.Get(), L"CurrentVersion", 0, REG_SZ,
                           reinterpret_cast<BYTE const *>(home), 6);
            RegSetValueExW(key.Get(), L"JavaHome", 0, REG_SZ, reinterpret_cast<BYTE const *>(home),
                           14);
        }
    }
    for (bool const view64 : {false, true})
    {
        GMString home;
        GMJavaDetect detector;
        detector.Detect(view64);
        detector.GetJavaHome(home);
        EXPECT_EQ(view64 || sizeof(void *) == 8 ? L"1.8-64" : L"1.8-32", home);
    }
    for (REGSAM const view : views)
        DeleteRegistryTree(HKEY_LOCAL_MACHINE, L"SOFTWARE\\JavaSoft", view);
}

/// The system keeps much of what the diagnosis tool opens, so another process asks it.
int AgreeWithTheSystem(std::wstring const &)
{
    unsigned long major = 0;
    unsigned long minor = 0;
    wchar_t letter = 0;
    int failures = 0;
    for (TestRow const & row : tests)
    {
        bool const isXml = std::strncmp(row.name, "MSXML", 5) == 0;
        failures += isXml && row.test() != (row.name[6] != '4');
    }
    failures += !GMIEDetect::GetIEPrimaryVersion(major) || major == 0;
    failures += Ask("DX")[0] == '0';
    ComApartment const apartment(COINIT_APARTMENTTHREADED); // which the tool needs
    GMDirectXDetect detector;
    failures += detector.GetDirectXVersionViaDxDiag(&major, &minor, &letter) != 0 || major < 9;
    return failures;
}
ChildTask const agreeWithTheSystem(L"AgreeWithTheSystem", &AgreeWithTheSystem);

TEST(Detectors, AgreeWithTheRealSystem)
{
    EXPECT_EQ(0u, RunProgram(agreeWithTheSystem.CommandLine()));
}

} // namespace Velmora::Testing
