#include "VelmoraCommon/registry/GMRegKey.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

struct RootName
{
    HKEY root;
    std::wstring_view name;
};

// In the order in which names are tried. Printing takes the first row of a root, so the long name.
RootName const rootNames[] = {
    {HKEY_CURRENT_USER, L"HKEY_CURRENT_USER"},         {HKEY_CURRENT_USER, L"HKCU"},
    {HKEY_CURRENT_CONFIG, L"HKEY_CURRENT_CONFIG"},     {HKEY_USERS, L"HKEY_USERS"},
    {HKEY_LOCAL_MACHINE, L"HKEY_LOCAL_MACHINE"},       {HKEY_LOCAL_MACHINE, L"HKLM"},
    {HKEY_PERFORMANCE_DATA, L"HKEY_PERFORMANCE_DATA"}, {HKEY_DYN_DATA, L"HKEY_DYN_DATA"},
};

/// A predefined root is a 32-bit number; in 64 bits callers write it with and without its sign.
unsigned int RootNumber(HKEY root)
{
    return static_cast<unsigned int>(reinterpret_cast<ULONG_PTR>(root));
}

/// The long name of a root; empty if it has none.
std::wstring_view NameOfRoot(HKEY root)
{
    for (RootName const & each : rootNames)
    {
        if (RootNumber(each.root) == RootNumber(root))
            return each.name;
    }
    return std::wstring_view();
}

/// The row whose name \p path starts with; null if there is none.
RootName const * FindRoot(std::wstring_view path)
{
    for (RootName const & each : rootNames)
    {
        if (path.substr(0, each.name.size()) == each.name)
            return &each;
    }
    return nullptr;
}

bool SplitPath(std::wstring_view path, HKEY & root, GMString & subPath)
{
    RootName const * const row = FindRoot(path);
    if (row == nullptr)
        return false;
    root = row->root;
    path.remove_prefix(row->name.size());
    // The unit behind the name goes whatever it is.
    subPath = path.substr(path.empty() ? 0 : 1);
    return true;
}

} // namespace

GMRegKey::GMRegKey(HKEY root, GMString const & subPath)
    : m_root(root),
      m_subPath(subPath),
      m_removeFlag(false)
{
}

GMRegKey::GMRegKey(GMString const & fullPath) : GMRegKey() { ParseRegFullPath(fullPath); }

/// Key by key, for a recursion would need stack for every level.
GMRegKey::GMRegKey(GMRegKey const & other) : GMRegKey()
{
    std::vector<std::pair<GMRegKey const *, GMRegKey *>> copies{{&other, this}};
    for (std::size_t next = 0; next < copies.size(); ++next)
    {
        auto const [from, to] = copies[next];
        to->m_values = from->m_values;
        to->m_root = from->m_root;
        to->m_subPath = from->m_subPath;
        to->m_removeFlag = from->m_removeFlag;
        to->m_subKeys.resize(from->m_subKeys.size());
        for (std::size_t i = 0; i < from->m_subKeys.size(); ++i)
            copies.emplace_back(&from->m_subKeys[i], &to->m_subKeys[i]);
    }
}

GMRegKey::GMRegKey(GMRegKey && other) noexcept = default;

GMRegKey & GMRegKey::operator=(GMRegKey const & other)
{
    GMRegKey copy(other);
    SwapWith(copy);
    return *this;
}

GMRegKey & GMRegKey::operator=(GMRegKey && other) noexcept
{
    // What this key held goes last, for the other key may be part of it.
    GMRegKey taken(std::move(other));
    SwapWith(taken);
    return *this;
}

/// Takes the tree apart without recursion, which a deep one has no stack for, and without memory,
/// which a destructor can't ask for. On the way down the list of a level is kept in the emptied
/// sub-key list of the key that was gone into. Keys go in the order in which they came: heaps give
/// memory back piece by piece when it is freed from its end.
GMRegKey::~GMRegKey()
{
    std::vector<GMRegKey> level;
    std::vector<GMRegKey> above;
    level.swap(m_subKeys);
    for (;;)
    {
        auto const lastParent =
            std::find_if(level.rbegin(), level.rend(),
                         [](GMRegKey const & each) { return !each.m_subKeys.empty(); });
        level.erase(lastParent.base(), level.end());
        if (!level.empty())
        {
            std::vector<GMRegKey> below;
            below.swap(level.back().m_subKeys);
            above.swap(level.back().m_subKeys);
            above.swap(level);
            level.swap(below);
        }
        else if (!above.empty())
        {
            level.swap(above);
            above.swap(level.back().m_subKeys);
        }
        else
        {
            return;
        }
    }
}

void GMRegKey::SwapWith(GMRegKey & other) noexcept
{
    m_values.swap(other.m_values);
    m_subKeys.swap(other.m_subKeys);
    std::swap(m_root, other.m_root);
    m_subPath.swap(other.m_subPath);
    std::swap(m_removeFlag, other.m_removeFlag);
}

HKEY GMRegKey::GetRoot() const { return m_root; }
void GMRegKey::SetRoot(HKEY root) { m_root = root; }

GMString GMRegKey::GetSubPath() const { return m_subPath; }
void GMRegKey::SetSubPath(GMString const & subPath) { m_subPath = subPath; }

bool GMRegKey::GetRemoveFlag() const { return m_removeFlag; }
void GMRegKey::SetRemoveFlag(bool removeFlag) { m_removeFlag = removeFlag; }

std::vector<GMRegValue> const & GMRegKey::GetValues() const { return m_values; }
std::vector<GMRegValue> & GMRegKey::GetValues() { return m_values; }

std::vector<GMRegKey> const & GMRegKey::GetSubKeys() const { return m_subKeys; }
std::vector<GMRegKey> & GMRegKey::GetSubKeys() { return m_subKeys; }

GMString GMRegKey::HKEYToString(HKEY root) { return GMString(NameOfRoot(root)); }

bool GMRegKey::StringToHKEY(GMString const & text, HKEY & root)
{
    for (RootName const & each : rootNames)
    {
        if (GMStringUtils::CompareNoCase(text, GMString(each.name)) == 0)
        {
            root = each.root;
            return true;
        }
    }
    return false;
}

bool GMRegKey::SplitRegKey(GMString const & fullPath, HKEY & root, GMString & subPath)
{
    return SplitPath(fullPath, root, subPath);
}

bool GMRegKey::ParseRegFullPath(GMString const & text)
{
    std::wstring_view path = text;
    m_removeFlag = !path.empty() && path.front() == L'-';
    if (m_removeFlag)
        path.remove_prefix(1);
    return SplitPath(path, m_root, m_subPath);
}

GMString GMRegKey::GetRegFullPath(bool withRemoveMark) const
{
    GMString path;
    AppendFullPath(path, withRemoveMark);
    return path;
}

void GMRegKey::AppendFullPath(GMString & text, bool withRemoveMark) const
{
    std::wstring_view const root = NameOfRoot(m_root);
    if (root.empty())
        return;
    text.reserve(text.size() + root.size() + m_subPath.size() + 2);
    if (withRemoveMark && m_removeFlag)
        text += L'-';
    text += root;
    if (m_subPath.empty())
        return;
    text += L'\\';
    text += m_subPath;
}

bool GMRegKey::SetFullPath(GMString const & fullPath)
{
    if (fullPath.empty() || !ParseRegFullPath(fullPath))
        return false;
    std::vector<std::pair<GMRegKey *, GMString>> pending{{this, fullPath}};
    while (!pending.empty())
    {
        auto const [key, path] = std::move(pending.back());
        pending.pop_back();
        for (GMRegKey & each : key->m_subKeys)
        {
            GMString subPath = path + L'\\' + GMFilePathUtils::FileName(each.m_subPath);
            if (each.ParseRegFullPath(subPath) && !each.m_subKeys.empty())
                pending.emplace_back(&each, std::move(subPath));
        }
    }
    return true;
}

GMString GMRegKey::JoinPath(GMString const & left, GMString const & right)
{
    if (!left.empty() && left.back() == L'\\')
        return left + right;
    return left + L'\\' + right;
}

} // namespace Velmora
