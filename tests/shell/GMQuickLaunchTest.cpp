#include "VelmoraCommon/shell/GMQuickLaunch.h"

#include <cstring>

#include <gtest/gtest.h>

#include "tests/support/FailingCall.h"
#include "tests/support/HandleCount.h"
#include "tests/support/TemporaryFolder.h"

#include <shlobj.h>

namespace Velmora::Testing
{

namespace
{

/// The begin of a link whose list of items is \p items.
std::string LinkBytes(std::string const & items, char flags = 1)
{
    unsigned char const begin[] = {0x4C, 0,    0, 0, 1, 0x14, 2, 0, 0,    0, 0,
                                   0,    0xC0, 0, 0, 0, 0,    0, 0, 0x46, 0};
    std::string bytes(begin, std::end(begin));
    bytes[20] = flags;
    bytes.resize(76);
    return bytes + char(items.size()) + char(items.size() >> 8) + items;
}

UINT s_msiState;

UINT WINAPI ShortcutTarget(wchar_t const *, wchar_t * product, wchar_t *, wchar_t * component)
{
    std::wcscpy(product, L"{product}");
    std::wcscpy(component, L"{component}");
    return s_msiState == 0 ? ERROR_FUNCTION_FAILED : ERROR_SUCCESS;
}

int WINAPI ComponentPath(wchar_t const * product, wchar_t const * component, wchar_t * path,
                         DWORD * size)
{
    if (*size != 300 || std::wcscmp(product, L"{product}") != 0)
        return 0;
    std::wcscpy(path, component);
    return int(s_msiState);
}

void * WINAPI FindFake(HMODULE, char const * name)
{
    if (std::strcmp(name, "MsiGetShortcutTargetW") == 0)
        return reinterpret_cast<void *>(&ShortcutTarget);
    return s_msiState == 9 ? nullptr : reinterpret_cast<void *>(&ComponentPath);
}

} // namespace

TEST(GMQuickLaunch, WritesAndReadsLinks)
{
    TemporaryFolder const folder;
    GMQuickLaunch links;
    std::wstring const target = folder.Write(L"game.exe");
    GMShortCutInfo info;
    info.hotKey = 99; // the link's own, 0, comes in its place
    EXPECT_FALSE(links.CreateQuickLaunch(L"", L"", L"", folder.File(L"x"), L"", 0, nullptr, true));
    EXPECT_FALSE(
        links.CreateQuickLaunch(target, L"", L"", folder.File(L"\\"), L"", 0, nullptr, true));
    struct Case
    {
        wchar_t const * link;
        wchar_t const * made;
        wchar_t const * iconFile;
        int iconIndex;
        wchar_t const * iconFileRead;
        int iconIndexRead;
    };
    std::wstring const icon = folder.Write(L"game.ico");
    Case const cases[] = {
        {L"new\\deep\\name", L"new\\deep\\name.lnk", icon.c_str(), 3, icon.c_str(), 0},
        {L"a.exe", L"a.exe.lnk", L"", 3, target.c_str(), 3},
        {L"b.LNK", L"b.LNK", L"", -1, L"", 0},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.made);
        std::wstring const link = folder.File(each.made);
        ASSERT_TRUE(links.CreateQuickLaunch(target, L"-a \"b c\"", L"Description",
                                            folder.File(each.link), each.iconFile, each.iconIndex,
                                            nullptr, true));
        SetFileAttributesW(link.c_str(), FILE_ATTRIBUTE_READONLY);
        ASSERT_TRUE(links.CreateQuickLaunch(target, L"-x", L"Description", folder.File(each.link),
                                            each.iconFile, each.iconIndex, nullptr, false));
        info.target = link; // read over the name of the file itself
        ASSERT_TRUE(links.ParseLinkFile(info.target, info));
        EXPECT_EQ(target, info.target);
        EXPECT_EQ(L"-x", info.arguments);
        EXPECT_EQ(L"Description", info.description);
        EXPECT_EQ(folder.Path(), info.workingDirectory.substr(0, folder.Path().size()));
        EXPECT_EQ(each.iconFileRead, info.iconFile);
        EXPECT_EQ(each.iconIndexRead, info.iconIndex);
        EXPECT_EQ(0u, info.hotKey);
        EXPECT_EQ(SW_SHOWNORMAL, info.showCommand);
    }
    GMString read;
    unsigned long attributes = 7;
    EXPECT_TRUE(links.ParseLinkFile64(folder.File(L"b.LNK"), read));
    EXPECT_EQ(target, read);
    EXPECT_TRUE(links.ParseLinkFile(folder.File(L"b.LNK"), read, attributes));
    EXPECT_NE(0u, attributes);
    DeleteFileW(target.c_str());
    EXPECT_TRUE(links.ParseLinkFile(folder.File(L"b.LNK"), read, attributes));
    EXPECT_EQ(target, read);
    EXPECT_EQ(0u, attributes);
    EXPECT_FALSE(links.ParseLinkFile(folder.Write(L"c.txt"), read));
    EXPECT_EQ(L"", read);

    // "My Computer" has no path, but a name.
    std::string const computer(
        "\x14\0\x1f\x50\xE0\x4F\xD0\x20\xEA\x3A\x69\x10\xA2\xD8\x08\0\x2B\x30\x30"
        "\x9D\0\0",
        22);
    folder.Write(L"computer.lnk", LinkBytes(computer));
    EXPECT_TRUE(links.ParseLinkFile(folder.File(L"computer.lnk"), read));
    EXPECT_EQ(L"My Computer", read);
}

TEST(GMQuickLaunch, ReadsTheListWithinTheFile)
{
    TemporaryFolder const folder;
    GMQuickLaunch links;
    std::wstring const link = folder.File(L"hostile.lnk");
    std::string items;
    while (items.size() < 4096)
        items += std::string("\x10\0\x1f\x50", 4) + std::string(12, 'x');
    for (std::string const & bytes :
         {std::string(), LinkBytes("").substr(0, 77), LinkBytes(items).substr(0, 4096),
          LinkBytes(std::string("\1\0\0\0", 4)), LinkBytes(std::string("\xFF\xFF\0\0", 4)),
          LinkBytes(std::string(2, '\0'), 2), LinkBytes(items)})
    {
        WriteBytes(link, bytes);
        GMString target = L"old";
        EXPECT_FALSE(links.ParseLinkFile64(link, target)) << bytes.size();
        EXPECT_EQ(L"old", target);
    }
    GMString target;
    WriteBytes(link, LinkBytes(std::string(2, '\0'))); // the desktop itself
    EXPECT_TRUE(links.ParseLinkFile64(link, target));
}

TEST(GMQuickLaunch, WritesAndReadsUrls)
{
    TemporaryFolder const folder;
    GMQuickLaunch links;
    GMShortCutInfo info;
    info.workingDirectory = L"old";
    EXPECT_TRUE(GMQuickLaunch::CreateUrlFile(folder.File(L"a.txt"), L"http://x/", L"C:\\i.ico"));
    EXPECT_TRUE(links.ParseLinkFile(folder.File(L"a.url"), info));
    EXPECT_EQ(L"http://x/", info.target);
    EXPECT_EQ(L"C:\\i.ico", info.iconFile);
    EXPECT_EQ(L"", info.workingDirectory);
    EXPECT_TRUE(GMQuickLaunch::CreateUrlFile(folder.File(L"b.URL"), L"http://x/", L""));
    EXPECT_EQ("[InternetShortcut]\r\nURL=http://x/\r\n", ReadBytes(folder.File(L"b.URL")));
    folder.Write(L"c.url", "[InternetShortcut]\r\nIconIndex=5\r\n");
    EXPECT_FALSE(links.ParseLinkFile(folder.File(L"c.url"), info));
    EXPECT_EQ(5, info.iconIndex);
}

TEST(GMQuickLaunch, AsksTheInstaller)
{
    ImportHook const find("GetProcAddress", &FindFake);
    GMQuickLaunch links;
    for (s_msiState = 0; s_msiState < 10;
         ++s_msiState) // 3 is local, 4 the source, 9 a missing export
    {
        GMString target = L"old";
        bool const there = s_msiState == 3 || s_msiState == 4;
        EXPECT_EQ(there, links.ParseMsiLinkFile(L"x.lnk", target));
        EXPECT_EQ(there ? L"{component}" : L"old", target);
    }
}

TEST(GMQuickLaunch, TellsCallsThatFail)
{
    TemporaryFolder const folder;
    GMQuickLaunch links;
    std::wstring const link = folder.File(L"a.lnk");
    auto const write = [&]
    { return links.CreateQuickLaunch(L"C:\\a.exe", L"", L"", link, L"", 0, nullptr, true); };
    ASSERT_TRUE(write());
    GMString target;
    ASSERT_TRUE(links.ParseLinkFile(link, target));
    FailingCall<0, decltype(&::CoCreateInstance)> const create("CoCreateInstance", E_OUTOFMEMORY);
    FailingCall<1, decltype(&::CreateFileW)> const open("CreateFileW", INVALID_HANDLE_VALUE);
    FailingCall<2, decltype(&::GetFileSize)> const size("GetFileSize", INVALID_FILE_SIZE);
    FailingCall<3, decltype(&::ReadFile)> const read("ReadFile", FALSE);
    unsigned int const before = HandleCount();
    FailEachCall(
        [&](unsigned int call)
        {
            FailureScope const failure(call);
            EXPECT_EQ(call > 1, write());
        });
    unsigned int const calls = FailEachCall(
        [&](unsigned int call)
        {
            FailureScope const failure(call);
            target = L"old";
            bool const isRead = links.ParseLinkFile64(link, target);
            EXPECT_EQ(g_callsSeen < call, isRead) << call;
            EXPECT_EQ(isRead ? L"C:\\a.exe" : L"old", target);
        });
    EXPECT_EQ(3u, calls);
    EXPECT_EQ(before, HandleCount());
}

} // namespace Velmora::Testing
