#include "VelmoraCommon/shell/GMShellUtils.h"

#include <algorithm>

#include "VelmoraCommon/frame/internal/SystemFunction.h"

#include <lm.h>

namespace Velmora
{

namespace
{

/// How CheckFlag reads the rights of an entry.
enum Verdict : unsigned int
{
    denies = 0,
    allows = 1
};

/// What changing a file in every way takes; each is of use alone as well.
constexpr unsigned int modifyingRights[] = {
    DELETE,
    READ_CONTROL,
    WRITE_OWNER,
    SYNCHRONIZE,
    STANDARD_RIGHTS_REQUIRED,
    STANDARD_RIGHTS_READ, // as those to write and to execute: to read the descriptor
    STANDARD_RIGHTS_ALL,
    STANDARD_RIGHTS_WRITE,
    STANDARD_RIGHTS_EXECUTE,
    SPECIFIC_RIGHTS_ALL,
    SPECIFIC_RIGHTS_ALL,
};

/// The SIDs of a user and of the groups, given back at the end.
struct Identities
{
    Identities() = default;
    Identities(Identities const &) = delete;
    Identities & operator=(Identities const &) = delete;
    ~Identities()
    {
        HeapFree(GetProcessHeap(), 0, user);
        for (_SID * group : groups)
            HeapFree(GetProcessHeap(), 0, group);
    }

    _SID * user = nullptr;
    std::vector<_SID *> groups;
};

/// The access list's descriptor of a file; empty on failure.
std::vector<unsigned char> ReadDescriptor(GMString const & path)
{
    DWORD size = 0;
    GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    std::vector<unsigned char> descriptor(size);
    if (size == 0 ||
        !GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, descriptor.data(), size, &size))
    {
        descriptor.clear();
    }
    return descriptor;
}

} // namespace

bool GMShellUtils::CheckModifySecurityInfo(GMString const & path)
{
    wchar_t name[MAX_PATH] = {};
    DWORD length = MAX_PATH;
    Identities identities;
    if (!GetUserNameW(name, &length) || !GetAccountNameSID(name, &identities.user) ||
        identities.user == nullptr)
    {
        return false;
    }
    GetUserGroupSIDList(name, identities.groups);

    std::vector<unsigned char> descriptor = ReadDescriptor(path);
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    ACL * list = nullptr;
    // Without a list everyone may do everything, but nothing tells so about this user.
    if (descriptor.empty() ||
        !GetSecurityDescriptorDacl(descriptor.data(), &present, &list, &defaulted) || !present ||
        list == nullptr)
    {
        return false;
    }
    std::vector<unsigned int> const rights(std::begin(modifyingRights), std::end(modifyingRights));
    bool allowed = false;
    bool denied = false;
    for (DWORD i = 0; i < list->AceCount; ++i)
    {
        void * entry = nullptr;
        if (!GetAce(list, i, &entry))
            continue;
        // Entries that allow and that deny are laid out alike.
        auto const & ace = *static_cast<ACCESS_ALLOWED_ACE const *>(entry);
        auto const * const sid = reinterpret_cast<_SID const *>(&ace.SidStart);
        auto const fits = [&](unsigned int mode)
        { return CheckFlag(identities.user, identities.groups, sid, ace.Mask, mode, rights); };
        if (ace.Header.AceType == ACCESS_DENIED_ACE_TYPE)
            denied = denied || fits(denies);
        else if (ace.Header.AceType == ACCESS_ALLOWED_ACE_TYPE)
            allowed = allowed || fits(allows);
    }
    return allowed && !denied;
}

bool GMShellUtils::CheckFlag(_SID const * user, std::vector<_SID *> const & groups,
                             _SID const * aceSid, unsigned int aceMask, unsigned int mode,
                             std::vector<unsigned int> const & rights)
{
    auto const isEntrys = [aceSid](_SID const * sid)
    { return EqualSid(const_cast<_SID *>(sid), const_cast<_SID *>(aceSid)) != FALSE; };
    if (!isEntrys(user) && std::none_of(groups.begin(), groups.end(), isEntrys))
        return false;
    auto const shares = [aceMask](unsigned int right) { return (right & aceMask) != 0; };
    switch (mode)
    {
    case denies:
        return std::any_of(rights.begin(), rights.end(), shares);
    case allows:
        return std::all_of(rights.begin(), rights.end(), shares);
    default:
        return true;
    }
}

void GMShellUtils::GetUserGroupSIDList(GMString const & user, std::vector<_SID *> & sids)
{
    SystemFunction<decltype(::NetUserGetLocalGroups)> const getGroups(L"netapi32.dll",
                                                                      "NetUserGetLocalGroups");
    SystemFunction<decltype(::NetApiBufferFree)> const freeBuffer(L"netapi32.dll",
                                                                  "NetApiBufferFree");
    LOCALGROUP_USERS_INFO_0 * groups = nullptr;
    DWORD count = 0;
    DWORD total = 0;
    if (!getGroups || !freeBuffer ||
        getGroups(nullptr, user.c_str(), DWORD{0}, DWORD{LG_INCLUDE_INDIRECT},
                  reinterpret_cast<BYTE **>(&groups), MAX_PREFERRED_LENGTH, &count,
                  &total) != NERR_Success ||
        groups == nullptr)
    {
        return;
    }
    std::vector<GMString> names;
    for (DWORD i = 0; i < count; ++i)
        names.emplace_back(groups[i].lgrui0_name);
    freeBuffer(groups);
    sids.reserve(sids.size() + names.size());
    for (GMString const & name : names)
    {
        _SID * sid = nullptr;
        if (GetAccountNameSID(name, &sid) && sid != nullptr)
            sids.push_back(sid);
    }
}

bool GMShellUtils::GetAccountNameSID(GMString const & account, _SID ** sid)
{
    DWORD sidSize = 0;
    DWORD domainSize = 0; // in units
    SID_NAME_USE use;
    LookupAccountNameW(nullptr, account.c_str(), nullptr, &sidSize, nullptr, &domainSize, &use);
    std::vector<unsigned char> found(sidSize);
    GMString domain(domainSize, L'\0');
    if (sidSize == 0 || !LookupAccountNameW(nullptr, account.c_str(), found.data(), &sidSize,
                                            domain.data(), &domainSize, &use))
    {
        return false;
    }
    DWORD const length = GetLengthSid(found.data());
    auto * const copy = static_cast<_SID *>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, length));
    if (copy == nullptr || !CopySid(length, copy, found.data()))
    {
        HeapFree(GetProcessHeap(), 0, copy);
        return false;
    }
    *sid = copy;
    return true;
}

} // namespace Velmora
