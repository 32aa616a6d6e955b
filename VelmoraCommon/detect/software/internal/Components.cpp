#include "VelmoraCommon/detect/software/internal/Components.h"

#include "VelmoraCommon/detect/software/internal/FileVersion.h"
#include "VelmoraCommon/frame/internal/Com.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

/// `IXMLDOMDocument`
constexpr IID documentInterface = {
    0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

bool ReadUninstallKey(wchar_t const * path, GMString & versionName, GMSoftVersion & version)
{
    GMRegFile key;
    GMString versionText;
    GMString name;
    if (path == nullptr || !key.OpenKey(HKEY_LOCAL_MACHINE, path, KEY_QUERY_VALUE, false) ||
        !key.GetValue(L"DisplayVersion", versionText) || !ParseVersionText(versionText, version) ||
        !key.GetValue(L"DisplayName", name))
        return false;
    versionName = name;
    return true;
}

bool ReadServerVersion(wchar_t const * path, GMSoftVersion & version)
{
    GMRegFile key;
    GMString file;
    return key.OpenKey(HKEY_CLASSES_ROOT, path, KEY_QUERY_VALUE, false) &&
           key.GetValue(GMString(), file) && ReadFileProductVersion(file.c_str(), version);
}

} // namespace

void DetectPlugIn(PlugIn const & plugIn, bool & isInstalled, GMString & versionName,
                  GMSoftVersion & version)
{
    ComApartment const apartment(COINIT_MULTITHREADED);
    CLSID ignored;
    isInstalled = SUCCEEDED(CLSIDFromProgID(plugIn.progId, &ignored));
    if (isInstalled && !ReadUninstallKey(plugIn.uninstallKey, versionName, version) &&
        ReadServerVersion(plugIn.serverKey, version))
        versionName = GMStringUtils::FormatResult(plugIn.nameFormat, version.major);
}

bool CanMakeXmlDocument(wchar_t const * progId)
{
    ComApartment const apartment(COINIT_MULTITHREADED);
    CLSID classId;
    ComPtr<IUnknown> document;
    return SUCCEEDED(CLSIDFromProgID(progId, &classId)) &&
           SUCCEEDED(CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, documentInterface,
                                      reinterpret_cast<void **>(document.GetAddressOf()))) &&
           document;
}

} // namespace Velmora
