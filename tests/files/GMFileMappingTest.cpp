#include "VelmoraCommon/files/GMFileMapping.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "VelmoraCommon/files/GMFile.h"
#include "tests/support/HandleCount.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

using namespace Velmora;
using namespace Velmora::Testing;

namespace
{

/// A name that no other process uses.
GMString OwnName() { return L"VelmoraTestMapping" + std::to_wstring(GetCurrentProcessId()); }

char * Bytes(GMFileMapping const & mapping) { return static_cast<char *>(mapping.GetMapAddress()); }

TEST(GMFileMapping, SharesNamedMemory)
{
    unsigned int const handles = HandleCount();
    {
        GMFileMapping missing;
        EXPECT_FALSE(missing.Open(OwnName(), FILE_MAP_READ));
        EXPECT_FALSE(missing.Mapping(FILE_MAP_READ, 0, 0, 0));

        GMFileMapping first;
        ASSERT_TRUE(first.Create(OwnName(), PAGE_READWRITE, 0, 2048));
        EXPECT_FALSE(first.IsExist());
        ASSERT_TRUE(first.Mapping(FILE_MAP_WRITE, 0, 0, 2048));
        std::memcpy(Bytes(first), "shared", 7);

        GMFileMapping second;
        ASSERT_TRUE(second.Create(OwnName(), PAGE_READWRITE, 0, 2048));
        EXPECT_TRUE(second.IsExist());
        GMFileMapping third;
        ASSERT_TRUE(third.Open(OwnName(), FILE_MAP_READ));
        ASSERT_TRUE(third.Mapping(FILE_MAP_READ, 0, 0, 0));
        EXPECT_STREQ("shared", Bytes(third));
        EXPECT_EQ(third.GetMapAddress(), static_cast<void *>(third));

        third.Close();
        third.Close();
        EXPECT_FALSE(third.IsOpened());
        EXPECT_EQ(nullptr, third.GetMapAddress());
    }
    EXPECT_EQ(handles, HandleCount());
    GMFileMapping gone;
    EXPECT_FALSE(gone.Open(OwnName(), FILE_MAP_READ));
}

/// Whether the page at \p address belongs to anything.
bool IsMapped(void * address)
{
    MEMORY_BASIC_INFORMATION information = {};
    VirtualQuery(address, &information, sizeof(information));
    return information.State == MEM_COMMIT;
}

TEST(GMFileMapping, MapsPartsOfAFileOneAfterTheOther)
{
    constexpr unsigned long step = 0x10000; // what the system takes for the offset of a view
    TemporaryFolder const folder;
    WriteBytes(folder.File(L"bytes"), std::string(step, 'a') + std::string(step, 'b'));
    GMFile file;
    ASSERT_TRUE(file.Create(folder.File(L"bytes"), GENERIC_READ, 0, OPEN_EXISTING, 0));
    for (bool const named : {false, true})
    {
        GMFileMapping mapping;
        ASSERT_TRUE(named ? mapping.Create(file.GetHandle(), OwnName(), PAGE_READONLY, 0, 0)
                          : mapping.Create(file.GetHandle(), PAGE_READONLY, 0, 0));
        EXPECT_EQ(named, GMFileMapping().Open(OwnName(), FILE_MAP_READ));
        ASSERT_TRUE(mapping.Mapping(FILE_MAP_READ, 0, 0, 2 * step));
        void * const whole = mapping.GetMapAddress();
        EXPECT_EQ('a', Bytes(mapping)[0]);
        ASSERT_TRUE(mapping.Mapping(FILE_MAP_READ, 0, step, step));
        EXPECT_EQ('b', Bytes(mapping)[0]);
        // The first view went: the second can't lie on both halves of it.
        EXPECT_FALSE(IsMapped(whole) && IsMapped(static_cast<char *>(whole) + step));
        EXPECT_FALSE(mapping.Mapping(FILE_MAP_READ, 0, 1, 0)); // not a whole step
        EXPECT_EQ(nullptr, mapping.GetMapAddress());
    }
    EXPECT_FALSE(
        GMFileMapping().Create(file.GetHandle(), PAGE_READWRITE, 0, 0)); // only for reading
}

TEST(GMFileMapping, GrantsEverythingToEveryone)
{
    SECURITY_DESCRIPTOR descriptor;
    SECURITY_ATTRIBUTES attributes = {};
    ASSERT_TRUE(GMFileMapping::BuildEveryOneSecurityAttribute(attributes, descriptor, true));
    EXPECT_EQ(sizeof(SECURITY_ATTRIBUTES), attributes.nLength);
    EXPECT_EQ(&descriptor, attributes.lpSecurityDescriptor);
    EXPECT_TRUE(attributes.bInheritHandle);

    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    ACL * acl = nullptr;
    ASSERT_TRUE(IsValidSecurityDescriptor(&descriptor));
    ASSERT_TRUE(GetSecurityDescriptorDacl(&descriptor, &present, &acl, &defaulted));
    EXPECT_TRUE(present && !defaulted);
    ASSERT_TRUE(acl != nullptr && IsValidAcl(acl));
    EXPECT_EQ(1, acl->AceCount);
    void * entry = nullptr;
    ASSERT_TRUE(GetAce(acl, 0, &entry));
    auto * const allowed = static_cast<ACCESS_ALLOWED_ACE *>(entry);
    EXPECT_EQ(ACCESS_ALLOWED_ACE_TYPE, allowed->Header.AceType);
    EXPECT_EQ(DWORD{GENERIC_ALL}, allowed->Mask);
    EXPECT_TRUE(IsWellKnownSid(&allowed->SidStart, WinWorldSid));

    GMFileMapping mapping;
    EXPECT_TRUE(mapping.CreateBySecurity(OwnName(), &attributes, PAGE_READWRITE, 0, 16));
    EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, acl));
}

/// A stand-in for any system function: it fails with an error code.
template <class Function>
struct Failing;

template <class Result, class... Arguments>
struct Failing<Result WINAPI(Arguments...)>
{
    static Result WINAPI Call(Arguments...)
    {
        SetLastError(1234);
        return Result();
    }
};

template <class Function>
std::unique_ptr<ImportHook> Fail(char const * name)
{
    return std::make_unique<ImportHook>(name, &Failing<Function>::Call);
}

int freedSids = 0;
int freedLists = 0;
decltype(&FreeSid) originalFreeSid = nullptr;
decltype(&HeapFree) originalHeapFree = nullptr;

void * WINAPI CountedFreeSid(PSID sid)
{
    ++freedSids;
    return originalFreeSid(sid);
}

BOOL WINAPI CountedHeapFree(HANDLE heap, DWORD flags, void * block)
{
    ++freedLists;
    return originalHeapFree(heap, flags, block);
}

TEST(GMFileMapping, TellsWhichStepOfTheDescriptorFailed)
{
    struct Case
    {
        char const * call;
        std::unique_ptr<ImportHook> (*fail)(char const *);
        int sids;
        int lists;
    };
    Case const cases[] = {
        {"InitializeSecurityDescriptor", &Fail<decltype(InitializeSecurityDescriptor)>, 0, 0},
        {"AllocateAndInitializeSid", &Fail<decltype(AllocateAndInitializeSid)>, 0, 0},
        {"HeapAlloc", &Fail<decltype(HeapAlloc)>, 1, 0},
        {"InitializeAcl", &Fail<decltype(InitializeAcl)>, 1, 1},
        {"AddAccessAllowedAce", &Fail<decltype(AddAccessAllowedAce)>, 1, 1},
        {"SetSecurityDescriptorDacl", &Fail<decltype(SetSecurityDescriptorDacl)>, 1, 1},
    };
    ImportHook const sidHook("FreeSid", &CountedFreeSid, originalFreeSid);
    ImportHook const listHook("HeapFree", &CountedHeapFree, originalHeapFree);
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.call);
        freedSids = 0;
        freedLists = 0;
        SECURITY_DESCRIPTOR descriptor;
        testing::internal::CaptureStdout();
        bool built = true;
        {
            auto const hook = each.fail(each.call);
            built = GMFileMapping::BuildEveryOneSecurityDescriptor(descriptor);
        }
        EXPECT_EQ(DWORD{1234}, GetLastError());
        std::fflush(stdout);
        EXPECT_EQ(std::string(each.call) + "() failed with error 1234/n",
                  testing::internal::GetCapturedStdout());
        EXPECT_FALSE(built);
        EXPECT_EQ(each.sids, freedSids);
        EXPECT_EQ(each.lists, freedLists);
    }
}

} // namespace
