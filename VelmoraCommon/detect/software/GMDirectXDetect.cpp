#include "VelmoraCommon/detect/software/GMDirectXDetect.h"

#include <algorithm>
#include <cwctype>
#include <iterator>
#include <optional>

#include "VelmoraCommon/executable/GMFileCertificate.h"
#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/frame/internal/Com.h"
#include "VelmoraCommon/text/GMStringUtils.h"

// The windows functions have a macro of the name of an operation of IDxDiagContainer.
#undef GetProp
#include <dxdiag.h>

namespace Velmora
{

namespace
{

constexpr wchar_t noLetter = L' ';

struct DXVersion
{
    unsigned long major = 0;
    unsigned long minor = 0;
    wchar_t letter = noLetter;

    void Tell(unsigned long * majorOut, unsigned long * minorOut, wchar_t * letterOut) const
    {
        *majorOut = major;
        *minorOut = minor;
        *letterOut = letter;
    }
};

// ---- The diagnosis tool ------------------------------------------------------------------------

constexpr CLSID providerClass = {
    0xA65B8071, 0x3BFE, 0x4213, {0x9A, 0x5B, 0x49, 0x1D, 0xA4, 0x46, 0x1C, 0xA7}};
constexpr IID providerInterface = {
    0x9C6B4CB0, 0x23F8, 0x49CC, {0xA3, 0xED, 0x45, 0xA5, 0x50, 0x00, 0xA6, 0xD2}};

/// The container of what the tool says about the system; null on failure.
ComPtr<IDxDiagContainer> SystemContainer(ComPtr<IDxDiagProvider> const & provider)
{
    DXDIAG_INIT_PARAMS parameters = {};
    parameters.dwSize = sizeof parameters;
    parameters.dwDxDiagHeaderVersion = DXDIAG_DX9_SDK_VERSION;
    parameters.bAllowWHQLChecks = FALSE; // they would go to the network
    ComPtr<IDxDiagContainer> root;
    ComPtr<IDxDiagContainer> system;
    if (FAILED(provider->Initialize(&parameters)) ||
        FAILED(provider->GetRootContainer(root.GetAddressOf())) || !root ||
        FAILED(root->GetChildContainer(L"DxDiag_SystemInfo", system.GetAddressOf())))
        return nullptr;
    return system;
}

std::optional<unsigned long> Number(ComPtr<IDxDiagContainer> const & container,
                                    wchar_t const * name)
{
    ScopedVariant value;
    if (FAILED(container->GetProp(name, value.Receive())) || value->vt != VT_UI4)
        return std::nullopt;
    return value->ulVal;
}

/// Empty on failure.
GMString Text(ComPtr<IDxDiagContainer> const & container, wchar_t const * name)
{
    ScopedVariant value;
    if (FAILED(container->GetProp(name, value.Receive())) || value->vt != VT_BSTR)
        return GMString();
    return BstrText(value->bstrVal);
}

/// Raises \p number to the one that \p text begins with, and moves \p text behind it.
/// \return false if there is none
bool RaiseTo(wchar_t const *& text, unsigned long & number)
{
    while (std::iswspace(*text))
        ++text;
    wchar_t const * end = text;
    unsigned __int64 const found = GMStringUtils::ConvertStringToUInt64(text, &end);
    if (end == text)
        return false;
    text = end;
    if (found > number && found <= MAXLONG)
        number = static_cast<unsigned long>(found);
    return true;
}

/// From 10 on the numbers are those of Windows's first release, and the long text "DirectX 11.1"
/// may know better.
void RaiseToLongText(GMString const & text, DXVersion & version)
{
    constexpr wchar_t prefix[] = L"DirectX";
    constexpr std::size_t prefixLength = std::size(prefix) - 1;
    if (text.compare(0, prefixLength, prefix) != 0)
        return;
    wchar_t const * rest = text.c_str() + prefixLength;
    if (RaiseTo(rest, version.major) && *rest == L'.')
        RaiseTo(++rest, version.minor);
}

// ---- The ladder of file versions ---------------------------------------------------------------

enum File
{
    ddraw,
    d3drg8x,
    dplayx,
    dinput,
    d3d8,
    mpg2splt,
    dpnet,
    d3d9
};
constexpr wchar_t const * fileNames[] = {L"ddraw.dll", L"d3drg8x.dll", L"dplayx.dll", L"dinput.dll",
                                         L"d3d8.dll",  L"mpg2splt.ax", L"dpnet.dll",  L"d3d9.dll"};

struct LadderRow
{
    File file;
    unsigned short least[4];
    bool sameFirst; // the first number has to be the same
    DXVersion version;
};
// All rows are tried; the last that is reached counts.
constexpr LadderRow ladder[] = {
    {ddraw, {4, 2, 0, 95}, false, {1, 0, noLetter}},
    {ddraw, {4, 3, 0, 1096}, false, {2, 0, noLetter}},
    {ddraw, {4, 4, 0, 68}, false, {3, 0, noLetter}},
    {d3drg8x, {4, 4, 0, 70}, false, {3, 0, L'a'}},
    {ddraw, {4, 5, 0, 155}, false, {5, 0, noLetter}},
    {ddraw, {4, 6, 0, 318}, false, {6, 0, noLetter}},
    {ddraw, {4, 6, 0, 436}, false, {6, 1, noLetter}},
    {dplayx, {4, 6, 3, 518}, false, {6, 1, L'a'}},
    {ddraw, {4, 7, 0, 700}, false, {7, 0, noLetter}},
    {dinput, {4, 7, 0, 716}, false, {7, 0, L'a'}},
    {ddraw, {4, 8, 0, 400}, true, {8, 0, noLetter}},
    {ddraw, {5, 1, 2258, 400}, true, {8, 0, noLetter}},
    {d3d8, {4, 8, 1, 881}, true, {8, 1, noLetter}},
    {d3d8, {5, 1, 2600, 881}, true, {8, 1, noLetter}},
    {d3d8, {4, 8, 1, 901}, true, {8, 1, L'a'}},
    {d3d8, {5, 1, 2600, 901}, true, {8, 1, L'a'}},
    {mpg2splt, {6, 3, 1, 885}, false, {8, 1, L'b'}},
    {dpnet, {4, 9, 0, 134}, true, {8, 2, noLetter}},
    {dpnet, {5, 2, 3677, 134}, true, {8, 2, noLetter}},
    {d3d9, {0, 0, 0, 0}, false, {9, 0, noLetter}},
};

} // namespace

GMDirectXDetect::GMDirectXDetect() : m_major(0), m_minor(0), m_letter(0), m_reserved(0) {}

void GMDirectXDetect::Detect()
{
    unsigned long major = 0;
    unsigned long minor = 0;
    wchar_t letter = noLetter;
    if (FAILED(GetDXVersion(&major, &minor, &letter)))
        return;
    m_major = major;
    m_minor = minor;
    m_letter = letter;
}

unsigned int GMDirectXDetect::GetDirectXVersion()
{
    switch (m_major)
    {
    case 0:
        return 0;
    case 9:
        return 2;
    case 10:
        return 4;
    case 11:
        return 8;
    default:
        return 1;
    }
}

long GMDirectXDetect::GetDXVersion(unsigned long * major, unsigned long * minor, wchar_t * letter)
{
    DXVersion().Tell(major, minor, letter);
    long result = GetDirectXVersionViaDxDiag(major, minor, letter);
    if (FAILED(result))
        result = GetDirectXVersionViaFileVersions(major, minor, letter);
    *letter = static_cast<wchar_t>(std::towlower(*letter));
    return SUCCEEDED(result) ? S_OK : E_FAIL;
}

long GMDirectXDetect::GetDirectXVersionViaDxDiag(unsigned long * major, unsigned long * minor,
                                                 wchar_t * letter)
{
    ComApartment const apartment(COINIT_MULTITHREADED);
    ComPtr<IDxDiagProvider> provider;
    if (FAILED(CoCreateInstance(providerClass, nullptr, CLSCTX_INPROC_SERVER, providerInterface,
                                reinterpret_cast<void **>(provider.GetAddressOf()))) ||
        !provider)
        return E_FAIL;
    ComPtr<IDxDiagContainer> const system = SystemContainer(provider);
    if (!system)
        return E_FAIL;

    auto const majorFound = Number(system, L"dwDirectXVersionMajor");
    auto const minorFound = Number(system, L"dwDirectXVersionMinor");
    GMString const letterFound = Text(system, L"szDirectXVersionLetter");
    if (!majorFound || !minorFound || letterFound.empty())
        return E_FAIL;
    DXVersion version = {*majorFound, *minorFound, letterFound.front()};
    if (version.major > 9)
        RaiseToLongText(Text(system, L"szDirectXVersionLongEnglish"), version);
    version.Tell(major, minor, letter);
    return S_OK;
}

long GMDirectXDetect::GetDirectXVersionViaFileVersions(unsigned long * major, unsigned long * minor,
                                                       wchar_t * letter)
{
    DXVersion version;
    ULARGE_INTEGER found[std::size(fileNames)] = {};
    bool isFound[std::size(fileNames)] = {};
    GMString directory;
    if (GMFileSystemUtils::MyGetSystemDirectory(directory))
    {
        for (std::size_t i = 0; i < std::size(fileNames); ++i)
        {
            GMString path = GMFileName::JoinFileName(directory, fileNames[i]);
            isFound[i] = SUCCEEDED(GetFileVersion(path.data(), &found[i]));
        }
    }
    for (LadderRow const & row : ladder)
    {
        auto const & [a, b, c, d] = row.least;
        ULARGE_INTEGER const file = found[row.file];
        if (isFound[row.file] && (!row.sameFirst || HIWORD(file.HighPart) == a) &&
            CompareLargeInts(file, MakeInt64(a, b, c, d)) >= 0)
            version = row.version;
    }
    version.Tell(major, minor, letter);
    return S_OK;
}

long GMDirectXDetect::GetFileVersion(wchar_t * path, ULARGE_INTEGER * version)
{
    if (path == nullptr || version == nullptr)
        return E_INVALIDARG;
    return GMFileCertificate(path).GetProductVersion(*version) ? S_OK : E_FAIL;
}

ULARGE_INTEGER GMDirectXDetect::MakeInt64(unsigned short a, unsigned short b, unsigned short c,
                                          unsigned short d)
{
    ULARGE_INTEGER value;
    value.HighPart = static_cast<DWORD>(MAKELONG(b, a));
    value.LowPart = static_cast<DWORD>(MAKELONG(d, c));
    return value;
}

int GMDirectXDetect::CompareLargeInts(ULARGE_INTEGER a, ULARGE_INTEGER b)
{
    return static_cast<int>(a.QuadPart > b.QuadPart) - static_cast<int>(a.QuadPart < b.QuadPart);
}

} // namespace Velmora
