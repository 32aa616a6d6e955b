#include "VelmoraCommon/shell/GMShellUtils.h"

#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMTextReader.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/registry/GMRegValue.h"
#include "VelmoraCommon/shell/internal/ManifestLevel.h"
#include "VelmoraCommon/shell/internal/ScrambledText.h"

namespace Velmora
{

namespace
{

constexpr ScrambledText manifestSuffix(L".manifest", 88);
constexpr ScrambledText
    layersKey(L"Software\\Microsoft\\Windows NT\\CurrentVersion\\AppCompatFlags\\Layers", -120);
constexpr ScrambledText administratorLayer(L"RUNASADMIN", 35);

constexpr unsigned __int64 manifestLimit = 0x20000000; // bytes

/// \return false if there is a side file that can't be read
bool ReadSideFile(GMString const & path, unsigned int & level)
{
    if (!GMFilePathUtils::IsExistsFile(path) || GMFilePathUtils::FileSize(path) >= manifestLimit)
        return true;
    GMTextReader reader(path);
    if (!reader.LoadContent(true))
        return false;
    level = ManifestLevel(reader.GetFileContent());
    return true;
}

} // namespace

bool GMShellUtils::FindRequestedExecutionLevel(GMString const & path, unsigned int & level,
                                               bool * flag)
{
    if (!GMFilePathUtils::IsExistsFile(path))
        return false;
    level = 0;
    ScopedModule module(LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
    if (module)
        level = ManifestLevel(module.Get());
    module.Reset();
    if (level != 0)
        return true;

    if (!ReadSideFile(path + manifestSuffix().c_str(), level))
        return false;
    if (level != administratorLevel && flag != nullptr)
    {
        GMRegFile layers;
        GMRegValue value;
        if (!layers.OpenKey(HKEY_CURRENT_USER, layersKey().c_str(), KEY_READ, false))
            return false;
        if (layers.GetValue(path, &value))
            *flag = value.GetType() == REG_SZ && value.GetString() == administratorLayer().c_str();
    }
    return level != 0;
}

} // namespace Velmora
