#include "VelmoraCommon/frame/GMSharedLibrary.h"

#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

GMSharedLibrary::GMSharedLibrary() : m_handle(nullptr) {}

GMSharedLibrary::~GMSharedLibrary()
{
    LastErrorKeeper const keeper; // a module's own code runs as it goes
    if (m_handle != nullptr)
        FreeLibrary(m_handle);
}

bool GMSharedLibrary::LoadSharedLib(GMString const & path)
{
    return Keep(LoadLibraryW(path.c_str()));
}

bool GMSharedLibrary::LoadSharedLibEx(GMString const & path, unsigned long flags)
{
    return Keep(LoadLibraryExW(path.c_str(), nullptr, flags));
}

bool GMSharedLibrary::Keep(HMODULE loaded)
{
    if (loaded == nullptr)
        return false;
    if (m_handle != nullptr)
        FreeLibrary(m_handle);
    m_handle = loaded;
    return true;
}

bool GMSharedLibrary::UnloadSharedLib()
{
    if (m_handle == nullptr || !FreeLibrary(m_handle))
        return false;
    m_handle = nullptr;
    return true;
}

bool GMSharedLibrary::IsLoaded() const { return m_handle != nullptr; }

HMODULE GMSharedLibrary::GetHandle() const { return m_handle; }

FARPROC GMSharedLibrary::GetSharedLibProc(char const * name) const
{
    if (m_handle == nullptr || name == nullptr)
        return nullptr;
    return GetProcAddress(m_handle, name);
}

GMString GMSharedLibrary::GetModuleFullName(HMODULE module)
{
    if (module == nullptr)
        module = GetModuleHandleW(nullptr);

    // The call cuts a long path to the buffer and answers the buffer's size, whatever the path's.
    wchar_t path[MAX_PATH];
    DWORD const length = GetModuleFileNameW(module, path, MAX_PATH);
    if (length < MAX_PATH)
        return GMString(path, length);

    // A path of MAX_PATH units fits with one unit more; a longer one is given up.
    DWORD const size = length + 1;
    GMString longPath(size + 1, L'\0');
    DWORD const longLength = GetModuleFileNameW(module, longPath.data(), size);
    if (longLength >= size)
        return GMString();
    longPath.resize(longLength);
    return longPath;
}

} // namespace Velmora
