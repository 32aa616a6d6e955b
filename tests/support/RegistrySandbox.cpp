#include "tests/support/RegistrySandbox.h"

#include <stdexcept>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora::Testing
{

namespace
{

std::wstring UniquePath()
{
    static unsigned int number = 0;
    return L"Software\\VelmoraCommonTest\\" + std::to_wstring(GetCurrentProcessId()) + L"-" +
           std::to_wstring(GetTickCount()) + L"-" + std::to_wstring(++number);
}

} // namespace

ScratchKey::ScratchKey() : m_path(UniquePath()), m_key(nullptr)
{
    if (RegCreateKeyExW(HKEY_CURRENT_USER, m_path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                        &m_key, nullptr) != ERROR_SUCCESS)
    {
        throw std::runtime_error("ScratchKey: no key");
    }
}

ScratchKey::~ScratchKey()
{
    RegCloseKey(m_key);
    DeleteRegistryTree(HKEY_CURRENT_USER, m_path);
}

RegistrySandbox::RegistrySandbox(HKEY root) : m_root(root)
{
    if (RegOverridePredefKey(root, m_scratch.Key()) != ERROR_SUCCESS)
        throw std::runtime_error("RegistrySandbox: no override");
}

RegistrySandbox::~RegistrySandbox()
{
    RegOverridePredefKey(m_root, nullptr); // before the scratch key goes, by its real path
}

void DeleteRegistryTree(HKEY root, std::wstring const & path, REGSAM view)
{
    {
        ScopedRegKey key;
        if (RegOpenKeyExW(root, path.c_str(), 0, KEY_ALL_ACCESS | view, key.Receive()) != 0)
            return;
        RegDeleteTreeW(key.Get(), nullptr); // what is below it, in the view of the open key
    }
    RegDeleteKeyExW(root, path.c_str(), view, 0);
}

} // namespace Velmora::Testing
