#include "VelmoraCommon/files/GMFileMapping.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "VelmoraCommon/files/GMFile.h"
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
}

TEST(GMFileMapping, MapsPartsOfAFileOneAfterTheOther)
{
    constexpr unsigned long step = 0x10000; // what the system takes for the offset of a view
    TemporaryFolder const folder;
    GMFile file;
    ASSERT_TRUE(file.Create(folder.Write(L"bytes", std::string(step, 'a') + "b"), GENERIC_READ, 0,
                            OPEN_EXISTING, 0));
    GMFileMapping mapping;
    ASSERT_TRUE(mapping.Create(file.GetHandle(), OwnName(), PAGE_READONLY, 0, 0));
    EXPECT_TRUE(GMFileMapping().Open(OwnName(), FILE_MAP_READ));
    ASSERT_TRUE(mapping.Mapping(FILE_MAP_READ, 0, 0, 0));
    EXPECT_EQ('a', Bytes(mapping)[0]);
    ASSERT_TRUE(mapping.Mapping(FILE_MAP_READ, 0, step, 1));
    EXPECT_EQ('b', Bytes(mapping)[0]);
    EXPECT_FALSE(mapping.Mapping(FILE_MAP_READ, 0, 1, 0)); // not a whole step
    EXPECT_EQ(nullptr, mapping.GetMapAddress());
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
    auto * const allowed = static_cast<ACCESS_ALLOWED_ACE *>(entry);
    EXPECT_EQ(DWORD{GENERIC_ALL}, allowed->Mask);
    EXPECT_TRUE(IsWellKnownSid(&allowed->SidStart, WinWorldSid));

    GMFileMapping mapping;
    EXPECT_TRUE(mapping.CreateBySecurity(OwnName(), &attributes, PAGE_READWRITE, 0, 16));
    EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, acl));
}

} // namespace
