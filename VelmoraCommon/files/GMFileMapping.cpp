#include "VelmoraCommon/files/GMFileMapping.h"

#include <cstdio>
#include <utility>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{
namespace
{

struct SidTraits
{
    using Handle = PSID;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle sid) noexcept { FreeSid(sid); }
};
using ScopedSid = ScopedHandle<SidTraits>;

struct AclTraits
{
    using Handle = ACL *;
    static Handle None() noexcept { return nullptr; }
    static void Close(Handle acl) noexcept { HeapFree(GetProcessHeap(), 0, acl); }
};
using ScopedAcl = ScopedHandle<AclTraits>;

/// Answers \p succeeded, and tells of a failure on standard output. Readers of that output know the
/// lines by these characters: they end in a slash and an "n".
bool Check(bool succeeded, char const * call)
{
    if (succeeded)
        return true;
    LastErrorKeeper const keeper;
    std::printf("%s() failed with error %d/n", call, static_cast<int>(GetLastError()));
    return false;
}

} // namespace

GMFileMapping::GMFileMapping() : m_mapHandle(nullptr), m_mapAddress(nullptr) {}

GMFileMapping::~GMFileMapping()
{
    LastErrorKeeper const keeper;
    GMFileMapping::Close();
}

bool GMFileMapping::Create(HANDLE file, GMString const & name, unsigned long protect,
                           unsigned long sizeHigh, unsigned long sizeLow)
{
    return CreateMapping(file, nullptr, name.c_str(), protect, sizeHigh, sizeLow);
}

bool GMFileMapping::Create(HANDLE file, unsigned long protect, unsigned long sizeHigh,
                           unsigned long sizeLow)
{
    return CreateMapping(file, nullptr, nullptr, protect, sizeHigh, sizeLow);
}

bool GMFileMapping::Create(GMString const & name, unsigned long protect, unsigned long sizeHigh,
                           unsigned long sizeLow)
{
    return CreateBySecurity(name, nullptr, protect, sizeHigh, sizeLow);
}

bool GMFileMapping::CreateBySecurity(GMString const & name, SECURITY_ATTRIBUTES * attributes,
                                     unsigned long protect, unsigned long sizeHigh,
                                     unsigned long sizeLow)
{
    return CreateMapping(INVALID_HANDLE_VALUE, attributes, name.c_str(), protect, sizeHigh,
                         sizeLow);
}

bool GMFileMapping::CreateMapping(HANDLE file, SECURITY_ATTRIBUTES * attributes,
                                  wchar_t const * name, unsigned long protect,
                                  unsigned long sizeHigh, unsigned long sizeLow)
{
    m_mapHandle = CreateFileMappingW(file, attributes, protect, sizeHigh, sizeLow, name);
    return IsOpened();
}

bool GMFileMapping::Open(GMString const & name, unsigned long desiredAccess)
{
    m_mapHandle = OpenFileMappingW(desiredAccess, FALSE, name.c_str());
    return IsOpened();
}

bool GMFileMapping::Mapping(unsigned long desiredAccess, unsigned long offsetHigh,
                            unsigned long offsetLow, std::size_t size)
{
    Unmap();
    m_mapAddress = MapViewOfFile(m_mapHandle, desiredAccess, offsetHigh, offsetLow, size);
    return m_mapAddress != nullptr;
}

void GMFileMapping::Unmap()
{
    if (m_mapAddress != nullptr)
        UnmapViewOfFile(std::exchange(m_mapAddress, nullptr));
}

bool GMFileMapping::IsExist() const { return GetLastError() == ERROR_ALREADY_EXISTS; }

bool GMFileMapping::IsOpened() { return m_mapHandle != nullptr; }

void * GMFileMapping::GetMapAddress() const { return m_mapAddress; }

GMFileMapping::operator void *() { return m_mapAddress; }

void GMFileMapping::Close()
{
    Unmap();
    if (m_mapHandle != nullptr)
        CloseHandle(std::exchange(m_mapHandle, nullptr));
}

bool GMFileMapping::BuildEveryOneSecurityAttribute(SECURITY_ATTRIBUTES & attributes,
                                                   SECURITY_DESCRIPTOR & descriptor, bool inherit)
{
    attributes.nLength = sizeof(attributes);
    attributes.lpSecurityDescriptor = &descriptor;
    attributes.bInheritHandle = inherit;
    return BuildEveryOneSecurityDescriptor(descriptor);
}

bool GMFileMapping::BuildEveryOneSecurityDescriptor(SECURITY_DESCRIPTOR & descriptor)
{
    SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
    ScopedSid everyone;
    if (!Check(InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION),
               "InitializeSecurityDescriptor") ||
        !Check(AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0,
                                        everyone.Receive()),
               "AllocateAndInitializeSid"))
    {
        return false;
    }

    // The list's head, and one entry, whose last field is the start of the SID.
    DWORD const size = GetLengthSid(everyone.Get()) +
                       DWORD{sizeof(ACL) + sizeof(ACCESS_ALLOWED_ACE) - sizeof(DWORD)};
    ScopedAcl acl(static_cast<ACL *>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size)));
    if (!Check(static_cast<bool>(acl), "HeapAlloc") ||
        !Check(InitializeAcl(acl.Get(), size, ACL_REVISION), "InitializeAcl") ||
        !Check(AddAccessAllowedAce(acl.Get(), ACL_REVISION, GENERIC_ALL, everyone.Get()),
               "AddAccessAllowedAce") ||
        !Check(SetSecurityDescriptorDacl(&descriptor, TRUE, acl.Get(), FALSE),
               "SetSecurityDescriptorDacl"))
    {
        return false;
    }
    acl.Release(); // the descriptor points to it from now on
    return true;
}

} // namespace Velmora
