#include "VelmoraCommon/shell/GMQuickLaunch.h"

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/frame/internal/ShellFolder.h"
#include "VelmoraCommon/shell/internal/LinkObject.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

/// \p linkPath, absolute, in a directory that is there now; empty if it can't be.
GMString PrepareLinkPath(GMString const & linkPath)
{
    GMString directory;
    GMString name;
    if (!GMFileSystemUtils::GetOnlyName(linkPath, name) || name.empty() ||
        !GMFileSystemUtils::GetOnlyDirPrefix(linkPath, directory))
    {
        return GMString();
    }
    GMFileName::NormalizePath(directory, GMFileName::smc_noEndDelimiter);
    if (!GMFilePathUtils::IsExists(directory))
        GMFilePathUtils::CreateDirectories(directory);
    if (!GMFilePathUtils::IsDirectory(directory))
        return GMString();

    GMString path = directory + L"\\" + name;
    GMString::size_type const dot = path.rfind(L'.');
    if (dot == GMString::npos || GMStringUtils::CompareNoCase(path.substr(dot), L".lnk") != 0)
        path += L".lnk";
    return path;
}

} // namespace

GMQuickLaunch::GMQuickLaunch() = default;

GMQuickLaunch::~GMQuickLaunch() = default;

bool GMQuickLaunch::CreateQuickLaunch(GMString const & target, GMString const & arguments,
                                      GMString const & description, GMString const & linkPath,
                                      GMString const & iconFile, int iconIndex,
                                      wchar_t const * workingDirectory, bool overwrite)
{
    if (target.empty() || linkPath.empty())
        return false;
    GMString directory;
    if (workingDirectory != nullptr)
        directory = workingDirectory;
    else if (!GMFileSystemUtils::GetOnlyDirPrefix(target, directory))
        return false;
    GMString const path = PrepareLinkPath(linkPath);
    if (path.empty())
        return false;
    LinkObject const object;
    if (!object)
        return false;

    object.link->SetPath(target.c_str());
    object.link->SetWorkingDirectory(directory.c_str());
    if (!iconFile.empty())
        object.link->SetIconLocation(iconFile.c_str(), 0);
    else if (iconIndex >= 0)
        object.link->SetIconLocation(target.c_str(), iconIndex);
    object.link->SetArguments(arguments.c_str());
    object.link->SetDescription(description.c_str());

    if (overwrite && GMFilePathUtils::IsExistsFile(path))
        DeleteFileW(path.c_str());
    DWORD const attributes = GetFileAttributesW(path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0)
        SetFileAttributesW(path.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
    return SUCCEEDED(object.file->Save(path.c_str(), TRUE));
}

bool GMQuickLaunch::CreateQuickLaunch(GMString const & linkPath, GMShortCutInfo & info)
{
    return CreateQuickLaunch(info.target, info.arguments, info.description, linkPath, info.iconFile,
                             info.iconIndex, info.workingDirectory.c_str(), true);
}

bool GMQuickLaunch::CreateSpecialQuickLaunch(GMString const & target, GMString const & arguments,
                                             GMString const & description,
                                             GMString const & linkName, int specialFolder,
                                             int iconIndex, GMString const & subFolder,
                                             wchar_t const * workingDirectory)
{
    GMString path = SpecialFolderPath(specialFolder);
    if (path.empty())
        return false;
    GMFileName::NormalizePath(path, GMFileName::smc_endDelimiter);
    if (!subFolder.empty())
    {
        path += subFolder;
        GMFileName::NormalizePath(path, GMFileName::smc_endDelimiter);
    }
    return CreateQuickLaunch(target, arguments, description, path + linkName, GMString(), iconIndex,
                             workingDirectory, true);
}

bool GMQuickLaunch::CreateUrlFile(GMString const & path, GMString const & url,
                                  GMString const & iconFile)
{
    bool const named = GMStringUtils::CompareNoCase(GMFilePathUtils::Extension(path), L".url") == 0;
    GMString const file = named ? path : GMFilePathUtils::ChangeExtension(path, L".url");
    auto const write = [&file](wchar_t const * key, GMString const & value)
    {
        return WritePrivateProfileStringW(L"InternetShortcut", key, value.c_str(), file.c_str()) ==
               TRUE;
    };
    bool const written = write(L"URL", url);
    if (!iconFile.empty())
    {
        write(L"IconFile", iconFile);
        write(L"IconIndex", L"0");
    }
    return written;
}

} // namespace Velmora
