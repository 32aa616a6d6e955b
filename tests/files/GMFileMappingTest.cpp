#include "VelmoraCommon/files/GMFileMapping.h"

#include <cstring>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "VelmoraCommon/files/GMFile.h"
#include "tests/support/FailingCall.h"
#include "tests/support/HandleCount.h"
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
    GMFileMapping first;
    EXPECT_FALSE(first.Open(OwnName(), FILE_MAP_READ));
    ASSERT_TRUE(first.Create(OwnName(), PAGE_READWRITE, 0, 2048));
    EXPECT_FALSE(first.IsExist());
    ASSERT_TRUE(first.Mapping(FILE_MAP_WRITE, 0, 0, 2048));
    std::memcpy(Bytes(first), "shared", 7);
    {
        GMFileMapping second;
        ASSERT_TRUE(second.Create(OwnName(), PAGE_READWRITE, 0, 2048));
        EXPECT_TRUE(second.IsExist());
        GMFileMapping third;
        ASSERT_TRUE(third.Open(OwnName(), FILE_MAP_READ));
        ASSERT_TRUE(third.Mapping(FILE_MAP_READ, 0, 0, 0));
        EXPECT_STREQ("shared", Bytes(third));
    }
    first.Close();
    first.Close();
    EXPECT_FALSE(first.IsOpened());
    EXPECT_EQ(nullptr, static_cast<void *>(first));
    EXPECT_EQ(handles, HandleCount());
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
        EXPECT_EQ('a', Bytes(mapping)[0]);
        ASSERT_TRUE(mapping.Mapping(FILE_MAP_READ, 0, step, step));
        EXPECT_EQ('b', Bytes(mapping)[0]);
        EXPECT_FALSE(mapping.Mapping(FILE_MAP_READ, 0, 1, 0)); // not a whole step
        EXPECT_EQ(nullptr, mapping.GetMapAddress());
    }
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
    void * entry = nullptr;
    ASSERT_TRUE(GetSecurityDescriptorDacl(&descriptor, &present, &acl, &defaulted));
    EXPECT_TRUE(present && !defaulted);
    ASSERT_TRUE(IsValidAcl(acl) && GetAce(acl, 0, &entry));
    EXPECT_EQ(1, acl->AceCount);
    auto * const allowed = static_cast<ACCESS_ALLOWED_ACE *>(entry);
    EXPECT_EQ(ACCESS_ALLOWED_ACE_TYPE, allowed->Header.AceType);
    EXPECT_EQ(DWORD{GENERIC_ALL}, allowed->Mask);
    EXPECT_TRUE(IsWellKnownSid(&allowed->SidStart, WinWorldSid));

    GMFileMapping mapping;
    EXPECT_TRUE(mapping.CreateBySecurity(OwnName(), &attributes, PAGE_READWRITE, 0, 16));
    EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, acl));
}

TEST(GMFileMapping, TellsWhichStepOfTheDescriptorFailed)
{
    char const * const steps[] = {
        "InitializeSecurityDescriptor", "AllocateAndInitializeSid", "HeapAlloc", "InitializeAcl",
        "AddAccessAllowedAce",          "SetSecurityDescriptorDacl"};
    FailingCall<0, decltype(&InitializeSecurityDescriptor)> const descriptorHook(steps[0], FALSE);
    FailingCall<1, decltype(&AllocateAndInitializeSid)> const sidHook(steps[1], FALSE);
    FailingCall<2, decltype(&HeapAlloc)> const memoryHook(steps[2], nullptr);
    FailingCall<3, decltype(&InitializeAcl)> const listHook(steps[3], FALSE);
    FailingCall<4, decltype(&AddAccessAllowedAce)> const entryHook(steps[4], FALSE);
    FailingCall<5, decltype(&SetSecurityDescriptorDacl)> const setHook(steps[5], FALSE);
    for (unsigned int call = 1; call <= std::size(steps); ++call)
    {
        std::string const step = steps[call - 1];
        SCOPED_TRACE(step);
        testing::internal::CaptureStdout();
        FailureScope const scope(call);
        SECURITY_DESCRIPTOR descriptor;
        EXPECT_FALSE(GMFileMapping::BuildEveryOneSecurityDescriptor(descriptor));
        EXPECT_EQ(injectedError, GetLastError());
        EXPECT_EQ(step + "() failed with error 23/n", testing::internal::GetCapturedStdout());
    }
}

} // namespace
