// Programs that are run, with their output, and the links that start them.
#include <cwchar>
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/internal/Com.h"
#include "VelmoraCommon/shell/GMProcessShell.h"
#include "VelmoraCommon/shell/GMQuickLaunch.h"
#include "tests/support/ChildTask.h"
#include "tests/support/FailingCall.h"
#include "tests/support/HandleCount.h"
#include "tests/support/TemporaryFolder.h"

#include <shlobj.h>

using namespace std::string_literals;

namespace Velmora::Testing
{

namespace
{

constexpr unsigned long patience = 60000; // milliseconds; only a hang takes that long
constexpr std::size_t large = std::size_t(16) << 20;

/// Bytes that show which of them are lost or twice.
std::string Numbers(std::size_t size)
{
    std::string bytes;
    for (unsigned int i = 0; bytes.size() < size; ++i)
        bytes += std::to_string(i) + ' ';
    bytes.resize(size);
    return bytes;
}

/// Given seven bytes it sends them back and floods one stream and then the other, so that a reader of
/// one alone would hang. Given one byte it writes two kilobytes and stays.
int Answer(std::wstring const &)
{
    char bytes[7];
    DWORD got = 0, sent = 0;
    ReadFile(GetStdHandle(STD_INPUT_HANDLE), bytes, sizeof(bytes), &got, nullptr);
    std::string const answer = std::string(bytes, got) + Numbers(got == 1 ? 2048 : large);
    for (DWORD stream : {STD_ERROR_HANDLE, STD_OUTPUT_HANDLE})
        WriteFile(GetStdHandle(stream), answer.data(), DWORD(answer.size()), &sent, nullptr);
    Sleep(got == 1 ? patience : 0);
    return int(0x8BADF00D);
}
ChildTask const writer(L"shell-writer", &Answer);

/// The begin of a link whose list of items is \p items.
std::string LinkBytes(std::string const & items, char flags = 1)
{
    return std::string("\x4C\0\0\0\x01\x14\x02\0\0\0\0\0\xC0\0\0\0\0\0\0\x46", 20) + flags +
           std::string(55, '\0') + char(items.size()) + char(items.size() >> 8) + items;
}

decltype(CoCreateInstance) * s_create;
ComPtr<IUnknown> s_object; // the last one made

HRESULT WINAPI Create(REFCLSID kind, IUnknown * outer, DWORD context, REFIID wanted, void ** object)
{
    HRESULT const made = s_create(kind, outer, context, wanted, object);
    s_object = static_cast<IUnknown *>(*object);
    return made;
}

int s_state; // of the installer's component; 0 if the link isn't the installer's

/// Both functions that are asked, which take four addresses each.
int WINAPI Installer(wchar_t const * asked, wchar_t * second, wchar_t * third, wchar_t * fourth)
{
    bool const forTarget = std::wcscmp(asked, L"x.lnk") == 0; // else for the component of a product
    std::wcscpy(forTarget ? second : third, forTarget ? L"{product}" : asked);
    std::wcscpy(forTarget ? fourth : third + 9, forTarget ? L"{component}" : second);
    return forTarget ? s_state == 0 : s_state;
}

/// The shell opens keys at its first uses, and the thread stays ready for COM; that is no leak.
struct UseShellOnce : ::testing::Environment
{
    void SetUp() override
    {
        TemporaryFolder const folder;
        GMQuickLaunch().CreateQuickLaunch(L"C:\\", L"", L"", folder.File(L"a"), L"", 0, nullptr,
                                          true);
    }
};
auto * const s_use = ::testing::AddGlobalTestEnvironment(new UseShellOnce);

} // namespace

TEST(GMProcessShell, CatchesAllThatIsWritten)
{
    TemporaryFolder const folder;
    folder.Write(L"a.exe"); // comes first in a line without quotes
    CopyFileW(L"C:\\windows\\system32\\cmd.exe", folder.File(L"a b.exe").c_str(), FALSE);
    GMProcessShell shell(folder.File(L"a b.exe"), L"/c \"" + writer.CommandLine() + L"\"");
    std::string out = "before ";
    std::string err = out;
    ASSERT_TRUE(shell.Start("a\0b\r\nc\n"s));
    ASSERT_TRUE(shell.ReadJoin(out, err, patience));
    EXPECT_TRUE("before a\0b\r\nc\n"s + Numbers(large) == out);
    EXPECT_TRUE(out == err);
    EXPECT_EQ(0x8BADF00D, shell.GetExitCode());
}

TEST(GMProcessShell, EndsItsChildAndLeavesNothingBehindAFailure)
{
    FailingCall<0, decltype(&::CreatePipe)> const pipe("CreatePipe", FALSE);
    FailingCall<1, decltype(&::CreateProcessW)> const process("CreateProcessW", FALSE);
    FailingCall<2, decltype(&::WriteFile)> const write("WriteFile", FALSE);
    FailingCall<3, decltype(&::ReadFile)> const read("ReadFile", FALSE);
    unsigned int const before = HandleCount();
    FailEachCall(
        [&](unsigned int call)
        {
            {
                GMProcessShell shell(L"", writer.CommandLine());
                FailureScope const failure(call);
                bool const started = call > 5;
                std::string out, err;
                EXPECT_EQ(started, shell.Start("1")) << call;
                while (started && out.size() < 2049) // one call reads what another one couldn't
                    EXPECT_FALSE(shell.ReadJoin(out, err, 100));
                EXPECT_EQ(started ? "1" + Numbers(2048) : "", out);
                EXPECT_EQ(started, shell.IsRunning() && shell.Terminal(7) && shell.Join(patience));
                EXPECT_EQ(started ? 7u : 0u, shell.GetExitCode());
                shell.Stop(8);
                EXPECT_EQ(call == 2 || call == 3, before != HandleCount()); // till its end
            }
            EXPECT_EQ(before, HandleCount()) << call;
        });
}

TEST(GMQuickLaunch, WritesAndReadsLinks)
{
    TemporaryFolder const folder;
    GMQuickLaunch links;
    std::wstring const target = folder.Write(L"game.exe");
    std::wstring const icon = folder.Write(L"game.ico");
    std::tuple<wchar_t const *, std::wstring, int, std::wstring, int> const cases[] = {
        {L"new\\deep\\name", icon, 3, icon, 0}, // an icon file has one icon
        {L"a.exe", L"", 3, target, 3},
        {L"b.LNK", L"", -1, L"", 0},
    };
    for (auto const & [name, iconFile, iconIndex, iconFileRead, iconIndexRead] : cases)
    {
        GMShortCutInfo info;
        info.target = folder.File(name) + (name[0] == L'b' ? L"" : L".lnk");
        for (wchar_t const * arguments : {L"-a \"b c\"", L"-x"}) // over one that can't be written
        {
            EXPECT_TRUE(links.CreateQuickLaunch(target, arguments, L"Text", folder.File(name),
                                                iconFile, iconIndex, nullptr, true));
            SetFileAttributesW(info.target.c_str(), FILE_ATTRIBUTE_READONLY);
        }
        ASSERT_TRUE(links.ParseLinkFile(info.target, info)); // over the name of the file itself
        EXPECT_EQ(target + L"-xText" + iconFileRead,
                  info.target + info.arguments + info.description + info.iconFile);
        EXPECT_EQ(iconIndexRead, info.iconIndex) << name;
    }
    GMShortCutInfo info;
    EXPECT_TRUE(GMQuickLaunch::CreateUrlFile(folder.File(L"a.txt"), L"http://x/", L"C:\\i.ico"));
    EXPECT_TRUE(links.ParseLinkFile(folder.File(L"a.url"), info));
    EXPECT_EQ(L"http://x/ C:\\i.ico", info.target + L' ' + info.iconFile);
}

TEST(GMQuickLaunch, ReadsTheListWithinTheFile)
{
    TemporaryFolder const folder;
    GMQuickLaunch links;
    std::wstring const link = folder.File(L"hostile.lnk");
    std::string items;
    while (items.size() < 4096)
        items += std::string("\x10\0\x1f\x50", 4) + std::string(12, 'x');
    GMString target = L"old";
    for (std::string const & bytes :
         {LinkBytes("").substr(0, 77), LinkBytes(items).substr(0, 4096),
          LinkBytes(std::string("\1\0\0\0", 4)), LinkBytes(std::string("\xFF\xFF\0\0", 4)),
          LinkBytes(std::string(2, '\0'), 2), LinkBytes(items)})
    {
        WriteBytes(link, bytes);
        EXPECT_FALSE(links.ParseLinkFile64(link, target)) << bytes.size();
        EXPECT_EQ(L"old", target);
    }
    // "My Computer" has no path, but a name.
    WriteBytes(link, LinkBytes(std::string("\x14\0\x1f\x50\xE0\x4F\xD0\x20\xEA\x3A\x69\x10\xA2\xD8"
                                           "\x08\0\x2B\x30\x30\x9D\0\0",
                                           22)));
    EXPECT_TRUE(links.ParseLinkFile(link, target));
    EXPECT_EQ(L"My Computer", target);
}

TEST(GMQuickLaunch, LeavesNothingBehindAFailure)
{
    TemporaryFolder const folder;
    GMQuickLaunch links;
    GMString const link = folder.File(L"a.lnk");
    GMString target = folder.Write(L"a.exe");
    ASSERT_TRUE(links.CreateQuickLaunch(target, L"", L"", link, L"", 0, nullptr, true));
    ImportHook const keep("CoCreateInstance", &Create, s_create);
    FailingCall<0, decltype(&::CoCreateInstance)> const create("CoCreateInstance", E_FAIL);
    FailingCall<1, decltype(&::CreateFileW)> const open("CreateFileW", INVALID_HANDLE_VALUE);
    FailingCall<3, decltype(&::ReadFile)> const read("ReadFile", FALSE);
    FailingCall<4, decltype(&::SHGetPathFromIDListW)> const path("SHGetPathFromIDListW", FALSE);
    unsigned int const before = HandleCount();
    FailEachCall(
        [&](unsigned int call)
        {
            FailureScope const failure(call);
            EXPECT_EQ(call != 1,
                      links.CreateQuickLaunch(target, L"", L"", link, L"", 0, nullptr, true));
            EXPECT_EQ(0u, s_object.Reset());
            GMShortCutInfo info;
            EXPECT_EQ(call != 2, links.ParseLinkFile(link, info)) << call;
            EXPECT_EQ(0u, s_object.Reset());
            EXPECT_EQ(call < 3 || call > 5, links.ParseLinkFile64(link, target)) << call;
            EXPECT_EQ(before, HandleCount()) << call;
        });
}

TEST(GMQuickLaunch, AsksTheInstaller)
{
    ImportHook const find(
        "GetProcAddress",
        +[](HMODULE, char const *) WINAPI { return reinterpret_cast<void *>(&Installer); });
    for (s_state = 0; s_state < 6; ++s_state) // 3 is local, 4 the source
    {
        GMString target = L"old";
        bool const there = s_state == 3 || s_state == 4;
        EXPECT_EQ(there, GMQuickLaunch().ParseMsiLinkFile(L"x.lnk", target));
        EXPECT_EQ(there ? L"{product}{component}" : L"old", target);
    }
}

} // namespace Velmora::Testing
