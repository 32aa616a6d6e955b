#include "VelmoraCommon/detect/software/GMPhysXDetect.h"

#include "VelmoraCommon/detect/software/internal/FileVersion.h"
#include "VelmoraCommon/detect/software/internal/LibraryLoad.h"
#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/frame/internal/ShellFolder.h"
#include "VelmoraCommon/registry/GMRegFile.h"

#include <shlobj.h>

namespace Velmora
{

namespace
{

constexpr wchar_t loaderName[] = L"PhysXLoader.dll";

/// Where the loader belongs; empty if it isn't there.
GMString LoaderFile()
{
    GMString const programs = SpecialFolderPath(CSIDL_PROGRAM_FILES);
    if (programs.empty()) // a path from the current directory would not be what is meant
        return GMString();
    GMString const path =
        GMFileName::JoinFileName(programs, L"NVIDIA Corporation\\PhysX\\Common\\PhysXLoader.dll");
    return GMFilePathUtils::IsExistsFile(path) ? path : GMString();
}

} // namespace

GMPhysXDetect::GMPhysXDetect() : m_loadable(false) {}

void GMPhysXDetect::Detect()
{
    GMRegFile key;
    unsigned long number = 0;
    if (!key.OpenKey(HKEY_LOCAL_MACHINE, L"SOFTWARE\\AGEIA Technologies", KEY_QUERY_VALUE, false) ||
        !key.GetValue(L"PhysX Version", number))
        return;
    // Two decimal digits a number, in this order.
    m_systemVersion.major = static_cast<int>(number % 100000000 / 1000000);
    m_systemVersion.minor = static_cast<int>(number % 1000000 / 10000);
    m_systemVersion.build = static_cast<int>(number % 10000 / 100);
    m_systemVersion.revision = static_cast<int>(number % 100);

    GMString loader = LoaderFile();
    if (!loader.empty() && !ReadFileProductVersion(loader.c_str(), m_loaderVersion))
    {
        loader.clear();
        if (!ReadFileProductVersion(loaderName, m_loaderVersion))
            return;
    }
    m_loadable = CanLoadLibrary(loader.empty() ? loaderName : loader.c_str(), "NxCreatePhysicsSDK");
}

bool GMPhysXDetect::IsInstalled() const { return m_loadable && m_loaderVersion.major >= 1; }

} // namespace Velmora
