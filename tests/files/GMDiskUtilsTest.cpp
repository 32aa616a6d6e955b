#include "VelmoraCommon/files/GMDiskUtils.h"

#include <algorithm>
#include <map>
#include <string>
#include <tuple>

#include <gmock/gmock.h>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "tests/support/ImportHook.h"

#include <shellapi.h>

namespace Velmora::Testing
{

namespace
{

using Utils = GMDiskUtils;

/// One drive as the system describes it.
struct Drive
{
    UINT type = DRIVE_FIXED;
    wchar_t const * fileSystem = L"NTFS"; // null for a volume that doesn't answer
    DWORD freeClusters = 0;               // of 8 sectors of 512 bytes
    bool hasSizes = true;
    bool isKnown = true; // to the shell
};

std::map<GMString, Drive> s_drives;
std::vector<DWORD> s_listAnswers; // instead of the list's true length, from the last to the first

Drive const * Find(wchar_t const * path)
{
    auto const found = s_drives.find(path);
    return found == s_drives.end() ? nullptr : &found->second;
}

DWORD WINAPI ListDrives(DWORD size, wchar_t * buffer)
{
    GMString list;
    for (auto const & drive : s_drives)
        list += drive.first + L'\0';
    if (size > list.size())
        std::copy_n(list.c_str(), list.size() + 1, buffer);
    auto answer = static_cast<DWORD>(list.size() < size ? list.size() : list.size() + 1);
    if (!s_listAnswers.empty())
    {
        answer = s_listAnswers.back();
        s_listAnswers.pop_back();
    }
    return answer;
}

UINT WINAPI TypeOf(wchar_t const * path)
{
    Drive const * const drive = Find(path);
    return drive != nullptr ? drive->type : DRIVE_NO_ROOT_DIR;
}

BOOL WINAPI AskVolume(wchar_t const * path, wchar_t *, DWORD, DWORD *, DWORD *, DWORD *,
                      wchar_t * fileSystem, DWORD size)
{
    EXPECT_NE(0u, GetThreadErrorMode() & SEM_FAILCRITICALERRORS); // no question to the user
    Drive const * const drive = Find(path);
    if (drive == nullptr || drive->fileSystem == nullptr)
        return FALSE;
    GMString(drive->fileSystem).copy(fileSystem, size);
    return TRUE;
}

BOOL WINAPI AskSizes(wchar_t const * path, DWORD * sectors, DWORD * bytes, DWORD * freeClusters,
                     DWORD * clusters)
{
    Drive const * const drive = Find(path);
    if (drive == nullptr || !drive->hasSizes)
        return FALSE;
    *sectors = 8;
    *bytes = 512;
    *freeClusters = drive->freeClusters;
    *clusters = 0xFFFFFFFF;
    return TRUE;
}

DWORD_PTR WINAPI AskShell(wchar_t const * path, DWORD, SHFILEINFOW * info, UINT size, UINT flags)
{
    EXPECT_EQ(sizeof(SHFILEINFOW), size);
    EXPECT_EQ(0x610u, flags);
    Drive const * const drive = Find(path);
    if (drive == nullptr || !drive->isKnown)
        return 0;
    (L"name of " + GMString(path)).copy(info->szDisplayName, MAX_PATH);
    GMString(L"kind").copy(info->szTypeName, 80);
    return 1;
}

class GMDiskUtilsTest : public ::testing::Test
{
protected:
    GMDiskUtilsTest()
    {
        s_drives.clear();
        s_listAnswers.clear();
    }

    ImportHook const m_list{"GetLogicalDriveStringsW", &ListDrives};
    ImportHook const m_type{"GetDriveTypeW", &TypeOf};
    ImportHook const m_volume{"GetVolumeInformationW", &AskVolume};
    ImportHook const m_sizes{"GetDiskFreeSpaceW", &AskSizes};
    ImportHook const m_shell{"SHGetFileInfoW", &AskShell};
};

} // namespace

TEST(GMDiskUtils, AsksTheRealSystem)
{
    std::vector<GMString> drives{L"old"};
    ASSERT_TRUE(Utils::GetLogicalDriveList(drives));
    EXPECT_EQ(L"old", drives.front());
    EXPECT_THAT(drives, testing::Contains(L"C:\\"));

    Utils::GMDiskInfo info;
    ASSERT_TRUE(Utils::GetLogicalDriveInfoOfPath(L"C:\\windows\\system32", info));
    EXPECT_TRUE(info.m_ready);
    EXPECT_TRUE(Utils::IsSystemSupport(info.m_fileSystem));
    EXPECT_LT(info.m_freeBytes, info.m_totalBytes);
    EXPECT_EQ(0u, info.m_totalBytes % info.m_clusterSize);
    EXPECT_TRUE(Utils::DirectoryDriveIsPhysical(L"C:\\windows"));
}

TEST_F(GMDiskUtilsTest, ListsDrives)
{
    for (wchar_t letter = L'A'; letter <= L'Z'; ++letter)
        s_drives[GMString(1, letter) + L":\\"] = {};
    std::vector<GMString> drives;
    EXPECT_TRUE(Utils::GetLogicalDriveList(drives));
    EXPECT_EQ(26u, drives.size());
    EXPECT_EQ(L"Z:\\", drives.back());

    // A list of 1,021 units fits with its NULs; of 1,022, it takes a second call.
    for (std::size_t const length : {1021u, 1022u, 5000u})
    {
        s_drives.clear();
        s_drives[L"C:\\"] = {};
        s_drives[GMString(length - 5, L'x')] = {};
        drives.clear();
        EXPECT_TRUE(Utils::GetLogicalDriveList(drives));
        ASSERT_EQ(2u, drives.size()) << length;
        EXPECT_EQ(length - 5, drives[1].size());
    }
    for (std::vector<DWORD> const & answers :
         {std::vector<DWORD>{0}, {0, 2000}, {2003, 2000}, {0xFFFFFFFF, 2000}})
    {
        s_listAnswers = answers;
        drives = {L"old"};
        EXPECT_FALSE(Utils::GetLogicalDriveList(drives));
        EXPECT_THAT(drives, testing::ElementsAre(L"old"));
    }
}

TEST_F(GMDiskUtilsTest, DescribesDrives)
{
    s_drives = {{L"C:\\", {DRIVE_FIXED, L"exFAT", 0xFFFFFFFE}},
                {L"D:\\", {DRIVE_CDROM, nullptr, 9}},
                {L"E:\\", {DRIVE_REMOTE, L"NTFS", 9, false}},
                {L"F:\\", {DRIVE_FIXED, L"NTFS", 9, true, false}}};
    std::tuple<wchar_t const *, wchar_t const *, bool, unsigned __int64> const cases[] = {
        // path, file system, ready, free clusters
        {L"C:", L"exFAT", true, 0xFFFFFFFE},
        {L"C:\\Games\\x", L"exFAT", true, 0xFFFFFFFE},
        {L"D:\\", L"", false, 0},
        {L"E:\\", L"NTFS", true, 0},
    };
    for (auto const & [path, fileSystem, isReady, freeClusters] : cases)
    {
        Utils::GMDiskInfo info;
        info.m_fileSystem = L"old";
        EXPECT_TRUE(Utils::GetLogicalDriveInfoOfPath(path, info));
        EXPECT_EQ(0u, GetThreadErrorMode());
        EXPECT_EQ(L"name of " + GMString(path).substr(0, 2) + L"\\", info.m_displayName);
        EXPECT_EQ(L"kind", info.m_typeName);
        EXPECT_EQ(fileSystem, info.m_fileSystem);
        EXPECT_EQ(isReady, info.m_ready);
        EXPECT_EQ(freeClusters * 4096, info.m_freeBytes);
        EXPECT_EQ(freeClusters == 0 ? 0u : 4096u, info.m_clusterSize);
        EXPECT_EQ(freeClusters == 0 ? 0u : 0xFFFFFFFFull * 4096, info.m_totalBytes);
    }
    for (wchar_t const * const path : {L"F:\\", L"\\\\server\\share", L"\\", L""})
    {
        Utils::GMDiskInfo info;
        info.m_typeName = L"old";
        EXPECT_FALSE(Utils::GetLogicalDriveInfoOfPath(path, info));
        EXPECT_EQ(L"old", info.m_typeName);
    }
}

TEST_F(GMDiskUtilsTest, TellsPhysicalDrives)
{
    s_drives = {{L"a:", {DRIVE_REMOVABLE}}, {L"B:", {DRIVE_REMOVABLE}}, {L"b:", {DRIVE_FIXED}},
                {L"C:", {DRIVE_FIXED}},     {L"D:", {DRIVE_CDROM}},     {L"E:", {DRIVE_REMOVABLE}},
                {L"F:", {DRIVE_REMOTE}},    {L"G:", {DRIVE_RAMDISK}}};
    std::tuple<wchar_t const *, bool> const cases[] = {
        {L"a:", false},   {L"B:\\x", false}, {L"b:", true},        {L"C:\\Games", true},
        {L"D:\\", false}, {L"E:\\x", true},  {L"F:\\x", false},    {L"G:", false},
        {L"H:", false},   {L"", false},      {L"\\\\s\\x", false},
    };
    for (auto const & [path, isPhysical] : cases)
        EXPECT_EQ(isPhysical, Utils::DirectoryDriveIsPhysical(path))
            << testing::PrintToString(path);
    EXPECT_FALSE(Utils::DriveIsPhysical(L""));

    for (auto const & [name, isSupported] : {std::tuple(L"ntfs", true),
                                             {L"EXFAT", true},
                                             {L"fat", true},
                                             {L"NTFS2", false},
                                             {L"NTF", false},
                                             {L"", false}})
        EXPECT_EQ(isSupported, Utils::IsSystemSupport(name)) << testing::PrintToString(name);
}

TEST_F(GMDiskUtilsTest, FindsTheMostFreeBytes)
{
    struct Case
    {
        char const * what;
        std::map<GMString, Drive> drives;
        wchar_t const * any;   // the drive among all; "old" for none
        wchar_t const * fixed; // the one among the fixed ones but C:
    };
    Case const cases[] = {
        {"none", {}, L"old", L"old"},
        {"the largest, whatever its type",
         {{L"C:\\", {DRIVE_FIXED, L"NTFS", 5}},
          {L"D:\\", {DRIVE_FIXED, L"FAT", 6}},
          {L"E:\\", {DRIVE_REMOVABLE, L"FAT32", 7}}},
         L"E",
         L"D"},
        {"the first of equal ones",
         {{L"C:\\", {DRIVE_FIXED, L"NTFS", 5}},
          {L"D:\\", {DRIVE_FIXED, L"NTFS", 5}},
          {L"E:\\", {DRIVE_FIXED, L"NTFS", 5}}},
         L"C",
         L"D"},
        {"excluded in exactly its form", {{L"c:\\", {DRIVE_FIXED, L"NTFS", 5}}}, L"c", L"c"},
        {"full", {{L"D:\\", {DRIVE_FIXED, L"NTFS", 0}}}, L"old", L"old"},
        {"a floppy and a CD drive",
         {{L"A:\\", {DRIVE_REMOVABLE, L"FAT", 5}}, {L"D:\\", {DRIVE_CDROM, L"NTFS", 5}}},
         L"old",
         L"old"},
        {"not ready, another file system, unknown to the shell",
         {{L"D:\\", {DRIVE_FIXED, nullptr, 5}},
          {L"E:\\", {DRIVE_FIXED, L"CDFS", 5}},
          {L"F:\\", {DRIVE_FIXED, L"NTFS", 5, true, false}}},
         L"old",
         L"old"},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        s_drives = each.drives;
        GMString letter = L"old";
        EXPECT_EQ(each.any != GMString(L"old"), Utils::GetMaxFreeBytesDrive(letter));
        EXPECT_EQ(each.any, letter);
        EXPECT_EQ(each.fixed != GMString(L"old"),
                  Utils::GetMaxFreeBytesDrive(letter = L"old", {L"C:\\", L"D:"}));
        EXPECT_EQ(each.fixed, letter);
    }
}

} // namespace Velmora::Testing
