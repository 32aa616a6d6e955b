#include <cstdio>

#include "VelmoraCommon/registry/GMRegException.h"
#include "VelmoraCommon/registry/GMRegInstall.h"
#include "VelmoraCommon/registry/GMRegKey.h"

// Reads a key that isn't there: the exception is thrown in the DLL and caught here.
int main()
{
    using namespace Velmora;
    GMRegKey key(HKEY_CURRENT_USER, L"Software\\No such key");
    try
    {
        GMRegInstall::UpdateFromSystem(key, false, GMRegInstallDefaultView);
    }
    catch (GMRegException const & failure)
    {
        std::printf("caught: %s, code %lu, key %ls\n", failure.what(), failure.m_lastError,
                    failure.m_keyPath.c_str());
        return failure.m_lastError == ERROR_FILE_NOT_FOUND ? 0 : 1;
    }
    return 1;
}
