#include "VelmoraCommon/text/GMVersionUtils.h"

#include <climits>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/GMSharedLibrary.h"
#include "VelmoraCommon/text/GMVersionInfo.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

TEST(GMVersionUtils, ComparesVersions)
{
    auto const compare = &GMVersionUtils::VersionCompare;
    EXPECT_EQ(3, compare(L"1.2.10", L"1.2.7"));
    EXPECT_EQ(0, compare(L"1,2-3b", L"1.2.3"));
    EXPECT_EQ(-3, compare(L"1", L"1.2.3.4"));
    EXPECT_EQ(0, compare(L".1..2", L"1.2"));
    EXPECT_EQ(0, compare(L"..", L""));
    EXPECT_EQ(0, compare(L"4294967297", L"1"));
    EXPECT_EQ(INT_MAX, compare(L"4294967295", L"0"));
    EXPECT_EQ(INT_MIN, compare(L"0", L"4294967295"));

    GMVersionInfo version;
    EXPECT_EQ(L"0.0.0.0", version.Format());
    for (int GMVersionInfo::*number : {&GMVersionInfo::m_revision, &GMVersionInfo::m_build,
                                       &GMVersionInfo::m_minor, &GMVersionInfo::m_major})
    {
        GMVersionInfo higher;
        higher.*number = 1; // more than all behind it
        EXPECT_TRUE(version < higher);
        EXPECT_FALSE(higher < version || higher < higher);
        version = higher;
    }
    version.m_revision = -4;
    EXPECT_EQ(L"1.0.0.-4", version.Format());
}

TEST(GMVersionUtils, ReadsFileVersions)
{
    // This program's version stands in TextTests.rc.
    EXPECT_EQ(L"65535.0.32768.9", GMVersionUtils::GetCurrentVersion());

    GMString const library =
        GMSharedLibrary::GetModuleFullName(GetModuleHandleW(L"VelmoraCommon.dll"));
    GMVersionInfo local;
    local.InitLocalVersion();
    GMString version;
    EXPECT_TRUE(GMVersionUtils::GetFileVersion(library, version));
    EXPECT_EQ(local.Format(), version);

    TemporaryFolder const folder;
    GMString const plain = folder.Write(L"plain.dll", "no version");
    std::string bytes = ReadBytes(library);
    std::string const blockName("V\0S\0_\0V\0E\0R\0S\0I\0O\0N\0_\0I\0N\0F\0O\0", 30);
    auto const block = bytes.find(blockName);
    ASSERT_NE(std::string::npos, block);
    bytes[block - 4] = 0; // the length of the fixed part
    GMString const damaged = folder.Write(L"damaged.dll", bytes);

    version = L"kept";
    for (GMString const & path : {plain, damaged, folder.File(L"none.dll"), GMString()})
        EXPECT_FALSE(GMVersionUtils::GetFileVersion(path, version));
    EXPECT_EQ(L"kept", version);

    EXPECT_EQ(0, GMVersionUtils::FileVersionCompare(plain, folder.File(L"none.dll")));
    EXPECT_EQ(1, GMVersionUtils::FileVersionCompare(library, plain));
    EXPECT_EQ(-1, GMVersionUtils::FileVersionCompare(plain, library));
}

} // namespace Velmora::Testing
