#include "VelmoraCommon/shell/GMQuickLaunch.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/files/GMFileInfo.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFindFile.h"
#include "VelmoraCommon/files/GMIniFile.h"
#include "VelmoraCommon/frame/internal/EnvironmentText.h"
#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "VelmoraCommon/shell/internal/LinkObject.h"
#include "VelmoraCommon/text/GMStringUtils.h"

#include <msi.h>
#include <shlwapi.h>

namespace Velmora
{

namespace
{

constexpr int pathSize = MAX_PATH; // units with the NUL, as the next two
constexpr int textSize = 1024;
constexpr DWORD msiSize = 300;

/// The begin of a `.lnk` file, little-endian.
struct LinkHeader
{
    std::uint32_t size;
    std::uint32_t classId[4];
    std::uint32_t flags;
};
constexpr std::size_t listOffset = 78; // behind the list's size, which its own end makes redundant
constexpr std::uint32_t linkClass[4] = {0x00021401, 0, 0xC0, 0x46000000};
constexpr std::uint32_t hasList = 1;

// A list of items is as long as 16 bits can say. What its items hold is for the shell to read, and
// zeros behind the list keep a damaged item from leading it out of our memory at once.
constexpr std::size_t longestList = 0x10000;
constexpr std::size_t padding = 1024;

/// Whether the list of items at \p offset comes to its end within the first \p size bytes. Each item
/// begins with its size in 16 bits; 0 is the end.
bool HasWholeList(std::vector<unsigned char> const & bytes, std::size_t offset, std::size_t size)
{
    while (size - offset >= 2)
    {
        auto const item = static_cast<std::size_t>(bytes[offset] | bytes[offset + 1] << 8);
        if (item == 0)
            return true;
        if (item < 2 || item > size - offset)
            return false;
        offset += item;
    }
    return false;
}

bool ReadUrlFile(GMString const & link, GMShortCutInfo & info)
{
    GMIniFile const file(link);
    auto const read = [&file](wchar_t const * key, wchar_t const * defaultValue)
    { return file.GetStringValue(L"InternetShortcut", key, defaultValue); };
    info.target = read(L"URL", L"");
    info.iconFile = read(L"IconFile", L"");
    GMString const index = read(L"IconIndex", L"0");
    info.iconIndex = static_cast<int>(GMStringUtils::ConvertStringToUInt64(index.c_str(), nullptr));
    info.workingDirectory = read(L"WorkingDirectory", L"");
    return !info.target.empty();
}

/// The name that Explorer shows for the target of \p link; empty on failure.
GMString DisplayName(IShellLinkW & link)
{
    struct Owned
    {
        ~Owned()
        {
            CoTaskMemFree(list);
            CoTaskMemFree(text);
        }
        LPITEMIDLIST list = nullptr;
        wchar_t * text = nullptr;
    } owned;
    ComPtr<IShellFolder> desktop;
    STRRET name = {};
    if (link.GetIDList(&owned.list) != S_OK || FAILED(SHGetDesktopFolder(desktop.GetAddressOf())) ||
        FAILED(desktop->GetDisplayNameOf(owned.list, SHGDN_NORMAL, &name)) ||
        FAILED(StrRetToStrW(&name, owned.list, &owned.text)))
    {
        return GMString();
    }
    return owned.text;
}

bool ReadLinkFile(GMString const & link, GMShortCutInfo & info)
{
    LinkObject const object;
    if (!object || FAILED(object.file->Load(link.c_str(), STGM_SHARE_DENY_READ)))
        return false;

    wchar_t path[pathSize] = {};
    wchar_t text[textSize] = {};
    if (SUCCEEDED(object.link->GetPath(path, pathSize, nullptr, SLGP_RAWPATH)))
        info.target = path;
    if (info.target.empty())
        info.target = DisplayName(*object.link.Get());
    info.target = ExpandEnvironmentText(info.target);
    if (SUCCEEDED(object.link->GetWorkingDirectory(path, pathSize)))
        info.workingDirectory = path;
    if (SUCCEEDED(object.link->GetArguments(text, textSize)))
        info.arguments = text;
    if (SUCCEEDED(object.link->GetDescription(text, textSize)))
        info.description = text;
    int number = 0;
    if (SUCCEEDED(object.link->GetIconLocation(path, pathSize, &number)))
    {
        info.iconFile = path;
        info.iconIndex = number;
    }
    WORD hotKey = 0;
    if (SUCCEEDED(object.link->GetHotkey(&hotKey)))
        info.hotKey = hotKey;
    if (SUCCEEDED(object.link->GetShowCmd(&number)))
        info.showCommand = number;
    return !info.target.empty();
}

} // namespace

bool GMQuickLaunch::ParseLinkFile(GMString const & link, GMShortCutInfo & info)
{
    GMString const file = link; // which may be the target of the last one
    info.target.clear();
    if (!GMFilePathUtils::IsExistsFile(file))
        return false;
    GMString extension = GMFilePathUtils::Extension(file);
    GMStringUtils::MakeLower(extension);
    if (extension == L".url")
        return ReadUrlFile(file, info);
    return extension == L".lnk" && ReadLinkFile(file, info);
}

bool GMQuickLaunch::ParseLinkFile(GMString const & link, GMString & target, GMString & arguments,
                                  GMString & workingDirectory, unsigned long & attributes)
{
    GMString const file = link; // which may be one of the results
    target.clear();
    arguments.clear();
    workingDirectory.clear();
    GMShortCutInfo info;
    if (!ParseLinkFile(file, info))
        return false;
    target = info.target;
    arguments = info.arguments;
    workingDirectory = info.workingDirectory;

    GMFileInfo found;
    GMFindFile::FindFile(target, found); // leaves it empty if there is none
    attributes = static_cast<unsigned long>(found.GetAttribuite());
    GMString other;
    if (!GMFilePathUtils::IsExistsFile(target) && ParseLinkFile64(file, other) &&
        GMFilePathUtils::IsExists(other))
    {
        target = other;
    }
    return true;
}

bool GMQuickLaunch::ParseLinkFile(GMString const & link, GMString & target, GMString & arguments,
                                  GMString & workingDirectory)
{
    unsigned long attributes = 0;
    return ParseLinkFile(link, target, arguments, workingDirectory, attributes);
}

bool GMQuickLaunch::ParseLinkFile(GMString const & link, GMString & target,
                                  unsigned long & attributes)
{
    GMString arguments;
    GMString workingDirectory;
    return ParseLinkFile(link, target, arguments, workingDirectory, attributes);
}

bool GMQuickLaunch::ParseLinkFile(GMString const & link, GMString & target)
{
    unsigned long attributes = 0;
    return ParseLinkFile(link, target, attributes);
}

bool GMQuickLaunch::ParseLinkFile64(GMString const & link, GMString & target)
{
    GMFile file;
    unsigned long long size = 0;
    if (!file.Create(link, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, 0) ||
        !file.GetSize(size) || size < listOffset)
    {
        return false;
    }
    auto const wanted =
        static_cast<unsigned int>(std::min<unsigned long long>(size, listOffset + longestList));
    std::vector<unsigned char> bytes(wanted + padding);
    unsigned int got = 0;
    if (!file.Read(bytes.data(), wanted, got) || got < listOffset)
        return false;

    LinkHeader header;
    std::memcpy(&header, bytes.data(), sizeof(header));
    wchar_t path[pathSize] = {};
    if (header.size != 0x4C || !std::equal(linkClass, std::end(linkClass), header.classId) ||
        (header.flags & hasList) == 0 || !HasWholeList(bytes, listOffset, got) ||
        !SHGetPathFromIDListW(reinterpret_cast<LPCITEMIDLIST>(bytes.data() + listOffset), path))
    {
        return false;
    }
    target = path;
    return true;
}

bool GMQuickLaunch::ParseMsiLinkFile(GMString const & link, GMString & target)
{
    SystemFunction<decltype(::MsiGetShortcutTargetW)> const getTarget(L"msi.dll",
                                                                      "MsiGetShortcutTargetW");
    SystemFunction<decltype(::MsiGetComponentPathW)> const getPath(L"msi.dll",
                                                                   "MsiGetComponentPathW");
    wchar_t product[msiSize] = {};
    wchar_t feature[msiSize] = {};
    wchar_t component[msiSize] = {};
    wchar_t path[msiSize] = {};
    DWORD size = msiSize;
    if (!getTarget || !getPath ||
        getTarget(link.c_str(), product, feature, component) != ERROR_SUCCESS)
    {
        return false;
    }
    INSTALLSTATE const state = getPath(product, component, path, &size);
    if (state != INSTALLSTATE_LOCAL && state != INSTALLSTATE_SOURCE)
        return false;
    target = path;
    return true;
}

} // namespace Velmora
