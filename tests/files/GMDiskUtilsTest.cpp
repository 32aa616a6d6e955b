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
};

std::map<GMString, Drive> s_drives;
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
    if (size <= list.size())
        return static_cast<DWORD>(list.size() + 1);
    std::copy_n(list.c_str(), list.size() + 1, buffer);
    return static_cast<DWORD>(list.size());
}

DWORD WINAPI ListThatGrows(DWORD size, wchar_t *) { return size == 1022 ? 2000 : 0xFFFFFFFF; }

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
    if (drive == nullptr)
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
    if (drive == nullptr || drive->type == DRIVE_UNKNOWN)
        return 0;
    (L"name of " + GMString(path)).copy(info->szDisplayName, MAX_PATH);
    GMString(L"kind").copy(info->szTypeName, 80);
    return 1;
}

class GMDiskUtilsTest : public ::testing::Test
{
protected:
    ImportHook const m_list{"GetLogicalDriveStringsW", &ListDrives};
    ImportHook const m_type{"GetDriveTypeW", &TypeOf};
    ImportHook const m_volume{"GetVolumeInformationW", &AskVolume};
    ImportHook const m_sizes{"GetDiskFreeSpaceW", &AskSizes};
    ImportHook const m_shell{"SHGetFileInfoW", &AskShell};
};

} // namespace

TEST_F(GMDiskUtilsTest, ListsDrives)
{
    // A list of 1,021 units fits with its NULs; of 1,022, it takes a second call.
    for (std::size_t const length : {1021u, 1022u, 5000u})
    {
        s_drives = {{L"C:\\", {}}, {GMString(length - 5, L'x'), {}}};
        std::vector<GMString> drives{L"old"};
        EXPECT_TRUE(Utils::GetLogicalDriveList(drives));
        EXPECT_THAT(drives, testing::ElementsAre(L"old", L"C:\\", GMString(length - 5, L'x')));
    }
    ImportHook const list("GetLogicalDriveStringsW", &ListThatGrows);
    std::vector<GMString> drives;
    EXPECT_FALSE(Utils::GetLogicalDriveList(drives));
}

TEST_F(GMDiskUtilsTest, DescribesDrives)
{
    s_drives = {{L"C:\\", {DRIVE_FIXED, L"exFAT", 0xFFFFFFFE}},
                {L"D:\\", {DRIVE_CDROM, nullptr, 9}},
                {L"F:\\", {DRIVE_UNKNOWN, L"NTFS", 9}}};
    std::tuple<wchar_t const *, wchar_t const *, bool, unsigned __int64> const cases[] = {
        {L"C:\\Games\\x", L"exFAT", true, 0xFFFFFFFE}, // path, file system, ready, free clusters
        {L"D:", L"", false, 0},
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
        EXPECT_EQ(isReady ? 4096u : 0u, info.m_clusterSize);
        EXPECT_EQ(isReady ? 0xFFFFFFFFull * 4096 : 0u, info.m_totalBytes);
    }
    Utils::GMDiskInfo info;
    for (wchar_t const * const path : {L"F:\\", L"\\\\server\\share", L""})
        EXPECT_FALSE(Utils::GetLogicalDriveInfoOfPath(path, info) || info.m_ready);
}

TEST_F(GMDiskUtilsTest, TellsPhysicalDrives)
{
    s_drives = {{L"a:", {DRIVE_REMOVABLE}}, {L"B:", {DRIVE_REMOVABLE}}, {L"b:", {DRIVE_FIXED}},
                {L"D:", {DRIVE_CDROM}},     {L"E:", {DRIVE_REMOVABLE}}, {L"F:", {DRIVE_REMOTE}}};
    GMString physical;
    for (wchar_t const * const path :
         {L"a:", L"B:\\x", L"b:", L"D:\\", L"E:\\x", L"F:\\x", L"H:", L"", L"\\\\s\\x"})
        physical += Utils::DirectoryDriveIsPhysical(path) ? path : L"";
    EXPECT_EQ(L"b:E:\\x", physical);
    EXPECT_TRUE(Utils::IsSystemSupport(L"ntfs") && Utils::IsSystemSupport(L"EXFAT"));
    EXPECT_FALSE(Utils::IsSystemSupport(L"NTFS2") || Utils::IsSystemSupport(L"NTF"));
}

TEST_F(GMDiskUtilsTest, FindsTheMostFreeBytes)
{
    struct Case
    {
        std::map<GMString, Drive> drives;
        wchar_t const * any;   // the drive among all; "old" for none
        wchar_t const * fixed; // the one among the fixed ones but C:
    };
    Case const cases[] = {
        {{{L"C:\\", {DRIVE_FIXED, L"NTFS", 5}}, // the largest, whatever its type
          {L"D:\\", {DRIVE_FIXED, L"FAT", 6}},
          {L"E:\\", {DRIVE_REMOVABLE, L"FAT32", 7}}},
         L"E",
         L"D"},
        {{{L"B:\\", {DRIVE_FIXED, L"NTFS", 5}}, {L"D:\\", {DRIVE_FIXED, L"NTFS", 5}}}, L"B", L"B"},
        {{{L"c:\\", {DRIVE_FIXED, L"NTFS", 5}}}, L"c", L"c"}, // excluded in exactly its form
        {{{L"A:\\", {DRIVE_REMOVABLE, L"FAT", 5}},            // none of these
          {L"D:\\", {DRIVE_CDROM, L"NTFS", 5}},
          {L"E:\\", {DRIVE_FIXED, nullptr, 5}},
          {L"F:\\", {DRIVE_FIXED, L"CDFS", 5}},
          {L"G:\\", {DRIVE_FIXED, L"NTFS", 0}}},
         L"old",
         L"old"},
    };
    for (Case const & each : cases)
    {
        s_drives = each.drives;
        GMString letter = L"old";
        EXPECT_EQ(each.any != GMString(L"old"), Utils::GetMaxFreeBytesDrive(letter));
        EXPECT_EQ(each.any, letter);
        Utils::GetMaxFreeBytesDrive(letter = L"old", {L"C:\\", L"D:"});
        EXPECT_EQ(each.fixed, letter);
    }
}

} // namespace Velmora::Testing
