#include "VelmoraCommon/shell/GMFontChange.h"

#include <cwchar>

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/frame/internal/SystemText.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

/// The system's list of fonts: a value a font, its display name and its file. Empty on failure.
ScopedRegKey OpenFontList()
{
    ScopedRegKey key;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Fonts", 0,
                  KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_WOW64_64KEY, key.Receive());
    return key;
}

GMString FontFolder()
{
    return GMFileName::JoinFileName(
        ReadFixedSystemText<MAX_PATH>([](wchar_t * buffer)
                                      { return GetWindowsDirectoryW(buffer, MAX_PATH) != 0; }),
        L"Fonts");
}

} // namespace

GMFontChange::GMFontChange() = default;

GMFontChange::~GMFontChange() = default;

GMString GMFontChange::GetFontFileName(GMString const & file)
{
    return GMFileName::JoinFileName(FontFolder(), file);
}

bool GMFontChange::ChangeFontReg(GMString const & name, GMString const & file)
{
    ScopedRegKey const key = OpenFontList();
    // The text is stored without its NUL, as GMRegFile stores texts, too.
    return key &&
           RegSetValueExW(key.Get(), name.c_str(), 0, REG_SZ,
                          reinterpret_cast<BYTE const *>(file.c_str()),
                          static_cast<DWORD>(file.size() * sizeof(wchar_t))) == ERROR_SUCCESS;
}

bool GMFontChange::ChangeFont(GMString const & name, GMString const & file, GMString const & source)
{
    if (!ChangeFontReg(name, file))
        return false;
    if (source.empty())
        return true;

    GMString const target = GetFontFileName(file);
    if (!GMFilePathUtils::IsExistsFile(target) && !CopyFileW(source.c_str(), target.c_str(), FALSE))
    {
        return false;
    }
    // The resource file is what older systems load a font by; it isn't needed afterwards.
    GMString const resource = GMFilePathUtils::ChangeExtension(file, L".FOT");
    CreateScalableFontResourceW(0, resource.c_str(), file.c_str(), FontFolder().c_str());
    AddFontResourceW(target.c_str());
    DeleteFileW(resource.c_str());
    return true;
}

bool GMFontChange::CheckFont(GMString const & name, GMString const & file)
{
    ScopedRegKey const key = OpenFontList();
    wchar_t text[130]; // 260 bytes, perhaps without a NUL behind them
    DWORD size = sizeof(text);
    if (!key || RegQueryValueExW(key.Get(), name.c_str(), nullptr, nullptr,
                                 reinterpret_cast<BYTE *>(text), &size) != ERROR_SUCCESS)
    {
        return false;
    }
    GMString const entry(text, wcsnlen(text, size / sizeof(wchar_t)));
    return GMStringUtils::CompareNoCase(entry, file) == 0 &&
           GMFilePathUtils::IsExistsFile(GetFontFileName(file));
}

} // namespace Velmora
