#pragma once

#include <string>

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora::Testing
{

/// A fresh key of its own below the real `HKEY_CURRENT_USER`; it goes with all that is below it.
class ScratchKey
{
public:
    ScratchKey();
    ~ScratchKey();
    ScratchKey(ScratchKey const &) = delete;
    ScratchKey & operator=(ScratchKey const &) = delete;

    /// Path below `HKEY_CURRENT_USER`, without a backslash at either end.
    std::wstring const & Path() const { return m_path; }

    /// The key, open with all rights while this object lives.
    HKEY Key() const { return m_key; }

private:
    std::wstring m_path;
    HKEY m_key;
};

/// Points a predefined root of this process at a scratch key for a scope. Code that reads or
/// writes below that root runs unchanged. Both registry views are one under it.
class RegistrySandbox
{
public:
    explicit RegistrySandbox(HKEY root);
    ~RegistrySandbox();
    RegistrySandbox(RegistrySandbox const &) = delete;
    RegistrySandbox & operator=(RegistrySandbox const &) = delete;

private:
    ScratchKey m_scratch;
    HKEY m_root;
};

/// Deletes a key with all that is below it, in the view that \p view names.
void DeleteRegistryTree(HKEY root, std::wstring const & path, REGSAM view = 0);

} // namespace Velmora::Testing
