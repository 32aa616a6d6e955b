#include "VelmoraCommon/registry/GMRegInstall.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/registry/GMRegParser.h"
#include "tests/registry/RegText.h"
#include "tests/registry/SmallStack.h"
#include "tests/support/FailingCall.h"
#include "tests/support/ImportHook.h"
#include "tests/support/LongRun.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/RegistrySnapshot.h"

namespace Velmora::Testing
{

namespace
{

using Bytes = std::basic_string<unsigned char>;
using Buffer = GMBuffer<unsigned char>;

constexpr GMRegInstallType allTypes[] = {GMRegInstallDefaultView, GMRegInstall64BitView,
                                         GMRegInstallBothViews};
constexpr LSTATUS otherCode = ERROR_NO_SYSTEM_RESOURCES;

Bytes Content(Buffer const & buffer) { return Bytes(buffer.m_data, buffer.m_length); }

Buffer BufferOf(Bytes const & bytes) { return ToBuffer(std::string(bytes.begin(), bytes.end())); }

Buffer Records(std::deque<GMRegKey> const & keys)
{
    Buffer buffer;
    GMRegInstall::SerialRegToBuffer(keys, buffer);
    return buffer;
}

std::string Replaced(std::string text, std::string const & what, std::string const & with)
{
    for (auto at = text.find(what); at != text.npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
    return text;
}

/// Takes the first key off \p keys, and as its sub-keys all that follow and lie below it.
GMRegKey TakeTree(std::deque<GMRegKey> & keys)
{
    GMRegKey top = keys.front();
    keys.pop_front();
    std::wstring const below = top.GetSubPath() + L"\\";
    while (!keys.empty() && keys.front().GetSubPath().compare(0, below.size(), below) == 0)
        top.GetSubKeys().push_back(TakeTree(keys));
    return top;
}

/// A part of the registry that is a test's own. Lines of `.reg` text call it "~".
class Store
{
public:
    explicit Store(std::string const & lines = "") { Write(Keys(lines)); }

    std::wstring Path(std::wstring const & below = L"") const { return m_scratch.Path() + below; }

    std::deque<GMRegKey> Keys(std::string const & lines) const
    {
        std::wstring const wide = Path();
        std::string const path(wide.begin(), wide.end());
        std::string const text = Replaced(lines, "~", "HKEY_CURRENT_USER\\" + path);
        GMRegParser parser;
        parser.Load(ToBuffer("REGEDIT4\r\n" + Replaced(text, "\n", "\r\n")));
        return parser.GetRegList();
    }

    /// The same as trees, in each of which a key follows its parent.
    std::deque<GMRegKey> Trees(std::string const & lines) const
    {
        std::deque<GMRegKey> keys = Keys(lines);
        std::deque<GMRegKey> trees;
        while (!keys.empty())
            trees.push_back(TakeTree(keys));
        return trees;
    }

    void Write(std::deque<GMRegKey> const & keys) const
    {
        for (GMRegKey const & key : keys)
            GMRegInstall::Install(key, true, false, GMRegInstallDefaultView);
    }

    std::string Content() const { return RegistrySnapshot(HKEY_CURRENT_USER, Path()); }

private:
    ScratchKey m_scratch;
};

std::string ContentOf(std::string const & lines) { return Store(lines).Content(); }

// A failure put into the opening of keys.
struct OpenFault
{
    std::wstring keyEnd; // end of the path of the key
    REGSAM right;        // that is asked for
    LSTATUS code;
};
OpenFault g_fault;
decltype(RegOpenKeyExW) * g_open;

LSTATUS WINAPI FaultyOpen(HKEY root, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY key)
{
    std::wstring const path = subKey;
    bool const hit = path.size() >= g_fault.keyEnd.size() &&
                     path.substr(path.size() - g_fault.keyEnd.size()) == g_fault.keyEnd;
    return hit && (access & g_fault.right) != 0 ? g_fault.code
                                                : g_open(root, subKey, options, access, key);
}

TEST(GMRegInstall, TakesBackWhatTheRecordsHold)
{
    std::string const old = "[~\\A]\n@=\"old\"\n\"x\"=\"old\"\n\"z\"=\"stays\"\n";
    std::string const onlyZ = "[~\\A]\n\"z\"=\"stays\"\n";
    std::string const types = "[~\\A]\n\"a\"=\"old\"\n\"b\"=dword:00000001\n\"c\"=hex:01,02\n"
                              "\"d\"=hex(0):03\n\"e\"=hex(7):61,00,00,00,00,00\n\"f\"=hex:\n"
                              "\"g\"=hex(b):01,02,03,04,05,06,07,08\n\"h\"=hex(2):25,00\n";
    std::string const others = "[~\\A]\n\"a\"=dword:00000002\n\"b\"=\"new\"\n\"c\"=hex:03\n"
                               "\"d\"=\"\"\n\"e\"=hex(0):01\n\"f\"=\"f\"\n\"g\"=hex:\n"
                               "\"h\"=hex(b):01\n";
    std::string const x0 = "[~\\A]\n\"x\"=\"0\"\n";
    std::string const x1 = "[~\\A]\n\"x\"=\"1\"\n";
    std::string const x2 = "[~\\A]\n\"x\"=\"2\"\n";
    std::string const sub = "[~\\A\\B]\n\"x\"=\"1\"\n";
    std::string const subs = "[~\\A\\B]\n[~\\A\\C]\n";
    // The instruction comes in trees or as a flat list. Both views are one here: the second pass of
    // an install in both takes the new values for the old ones.
    using Text = std::string;
    std::tuple<char const *, bool, Text, Text, Text, Text, Text> const cases[] = {
        {"new key", false, "", x1, x1, "", ""},
        {"new tree, one record", true, "", x1 + sub, x1 + sub, x1 + sub, x1 + sub},
        {"all types", false, types, others, others, types, others},
        {"removed values", false, old, "[~\\A]\n@=-\n\"x\"=-\n", onlyZ, old, onlyZ},
        {"sub-keys of a key", true, x0 + subs, x1 + sub + "[-~\\A\\C]\n[~\\A\\D]\n",
         x1 + sub + "[~\\A\\D]\n", x0 + subs, x1 + sub + "[~\\A\\C]\n[~\\A\\D]\n"},
        {"removed key", false, old, "[-~\\A]\n", "", old, old},
        {"removed key with sub-keys", false, old + sub, "[-~\\A]\n", old + sub, old + sub,
         old + sub},
        {"missing key removed", false, "", "[-~\\A]\n", "", "[~\\A]\n", "[~\\A]\n"},
        {"key given twice", false, x0, x1 + x2, x2, x1, x2},
        {"name of another case", false, "[~\\A]\n\"X\"=\"0\"\n", x1, "[~\\A]\n\"X\"=\"1\"\n",
         "[~\\A]\n", "[~\\A]\n"},
    };
    for (auto const & [what, trees, before, instruction, after, undone, undoneFromBoth] : cases)
    {
        for (GMRegInstallType const type : allTypes)
        {
            SCOPED_TRACE(what + std::string(", type ") + std::to_string(type));
            Store const store(before);
            GMRegInstall install(type);
            EXPECT_TRUE(
                install.Install(trees ? store.Trees(instruction) : store.Keys(instruction), false));
            EXPECT_EQ(ContentOf(after), store.Content());
            Buffer buffer;
            install.GetUninstallData(buffer);
            EXPECT_TRUE(GMRegInstall::Uninstall(buffer));
            EXPECT_EQ(ContentOf(type == GMRegInstallBothViews ? undoneFromBoth : undone),
                      store.Content());
        }
    }
}

TEST(GMRegInstall, RollsBackFromTheFailingKey)
{
    // Whether the keys are there before, what is asked for and answered, errors ignored, success.
    std::tuple<char const *, bool, REGSAM, LSTATUS, bool, bool> const cases[] = {
        {"mustn't be written", true, KEY_SET_VALUE, ERROR_ACCESS_DENIED, false, true},
        {"can't be written", true, KEY_SET_VALUE, otherCode, false, false},
        {"can't be written, ignored", true, KEY_SET_VALUE, otherCode, true, true},
        {"can't be looked at", true, KEY_QUERY_VALUE, otherCode, false, true},
        {"mustn't be made", false, KEY_SET_VALUE, ERROR_ACCESS_DENIED, false, true},
        {"can't be made", false, KEY_SET_VALUE, otherCode, false, false},
    };
    for (auto const & [what, exist, right, code, ignoreErrors, installed] : cases)
    {
        SCOPED_TRACE(what);
        // Before, instruction, what comes of it when the key is passed over.
        std::string lines[3];
        for (char const * const name : {"K1", "K2", "K3"})
        {
            std::string const key = "[~\\" + std::string(name) + "]\n";
            std::string const old = exist ? key + "\"x\"=\"old\"\n" : "";
            lines[0] += old;
            lines[1] += key + "\"x\"=\"new\"\n\"y\"=dword:1\n";
            lines[2] += name[1] == '2' ? old : key + "\"x\"=\"new\"\n\"y\"=dword:1\n";
        }
        Store const store(lines[0]);
        std::string const before = store.Content();
        GMRegInstall install;
        {
            g_fault = {L"\\K2", right, code};
            ImportHook const hook("RegOpenKeyExW", &FaultyOpen, g_open);
            EXPECT_EQ(installed, install.Install(store.Keys(lines[1]), ignoreErrors));
        }
        EXPECT_EQ(installed ? ContentOf(lines[2]) : before, store.Content());
        GMRegException const failure = install.GetLastExcption();
        EXPECT_EQ(installed ? 0 : otherCode, LSTATUS(failure.m_lastError));
        EXPECT_EQ(!installed, failure.m_writing);
        EXPECT_EQ(installed ? L"" : L"HKEY_CURRENT_USER\\" + store.Path(L"\\K2"),
                  failure.m_keyPath);
        Buffer buffer;
        install.GetUninstallData(buffer);
        EXPECT_EQ(installed ? 3 : 1, buffer.m_data[0]) << "number of records";
        EXPECT_TRUE(GMRegInstall::Uninstall(buffer));
        EXPECT_EQ(before, store.Content());
    }
}

TEST(GMRegInstall, ReportsKeysThatDontList)
{
    Store const store("[~\\A]\n\"x\"=\"0\"\n[~\\A\\B]\n\"y\"=\"0\"\n");
    std::string const before = store.Content();
    FailingCall<0, decltype(&RegQueryInfoKeyW)> const hook("RegQueryInfoKeyW", otherCode);
    for (GMRegKey const & key : store.Keys("[~\\A]\n\"x\"=\"1\"\n[-~\\A]\n"))
    {
        FailureScope const scope(1);
        GMRegInstall install;
        EXPECT_FALSE(install.Install({key}, false));
        GMRegException const failure = install.GetLastExcption();
        EXPECT_EQ(otherCode, LSTATUS(failure.m_lastError));
        EXPECT_FALSE(failure.m_writing);
        EXPECT_EQ(L"HKEY_CURRENT_USER\\" + store.Path(L"\\A"), failure.m_keyPath);
        EXPECT_EQ(before, store.Content());
    }

    // What is ignored counts as a key without sub-keys.
    FailureScope const scope(2);
    GMRegKey tree(HKEY_CURRENT_USER, store.Path());
    GMRegInstall::UpdateFromSystem(tree, true, GMRegInstallDefaultView);
    EXPECT_TRUE(tree.GetSubKeys().at(0).GetSubKeys().empty());
    GMRegKey missing(HKEY_CURRENT_USER, store.Path(L"\\no"));
    GMRegInstall::UpdateFromSystem(missing, true, GMRegInstallBothViews);
    EXPECT_THROW(GMRegInstall::UpdateFromSystem(missing, false, GMRegInstallDefaultView),
                 GMRegException);
}

TEST(GMRegInstall, WritesASingleKey)
{
    Store const store("[~\\B\\C]\n");
    GMRegKey const tree = store.Trees("[~\\A]\n[~\\A\\B]\n")[0];
    {
        ImportHook const hook("RegOpenKeyExW", &FaultyOpen, g_open);
        g_fault = {L"\\A", KEY_SET_VALUE, otherCode};
        EXPECT_THROW(GMRegInstall::Install(tree, true, false, GMRegInstallDefaultView),
                     GMRegException);
        GMRegInstall::Install(tree, true, true, GMRegInstallBothViews);
        g_fault.code = ERROR_ACCESS_DENIED;
        GMRegInstall::Install(tree, true, false, GMRegInstallBothViews);
        EXPECT_EQ(ContentOf("[~\\B\\C]\n"), store.Content()) << "nor in the other view nor below";
    }
    GMRegInstall::Install(tree, false, false, GMRegInstallDefaultView);
    EXPECT_EQ(ContentOf("[~\\A]\n[~\\B\\C]\n"), store.Content());
    // The first one goes, the second is made and goes, the third stays for its sub-key.
    store.Write(store.Keys("[-~\\A]\n[-~\\N]\n[-~\\B]\n\"x\"=\"1\"\n\"y\"=-\n"));
    EXPECT_EQ(ContentOf("[~\\B]\n\"x\"=\"1\"\n[~\\B\\C]\n"), store.Content());
}

TEST(GMRegInstall, TakesKeysDeeperThanTheStack)
{
    Store const store;
    unsigned int const levels = Rounds(1500, 5000);
    std::deque<GMRegKey> keys = {GMRegKey(HKEY_CURRENT_USER, store.Path(L"\\k"))};
    GMRegKey * innermost = &keys[0];
    for (unsigned int i = 1; i < levels; ++i)
        innermost = &innermost->GetSubKeys().emplace_back(HKEY_CURRENT_USER,
                                                          innermost->GetSubPath() + L"\\k");
    innermost->GetValues().emplace_back(L"n", 7u);
    auto const levelsOf = [](GMRegKey const & top)
    {
        unsigned int count = 1;
        for (GMRegKey const * key = &top; !key->GetSubKeys().empty(); ++count)
            key = &key->GetSubKeys()[0];
        return count;
    };
    RunOnSmallStack(
        [&]
        {
            EXPECT_TRUE(GMRegInstall::Uninstall(Records(keys))); // makes them
            GMRegInstall install;
            EXPECT_TRUE(install.Install(keys, false));
            Buffer undo;
            install.GetUninstallData(undo);
            EXPECT_EQ(Hex(Content(Records(keys))), Hex(Content(undo)));
            GMRegKey read(keys[0].GetRoot(), keys[0].GetSubPath());
            GMRegInstall::UpdateFromSystem(read, false, GMRegInstallDefaultView);
            EXPECT_EQ(levels, levelsOf(read));
            EXPECT_EQ(0, GMRegFile::DeleteKeyEx(read.GetRoot(), read.GetSubPath(), 0));
        });
    EXPECT_EQ(ContentOf(""), store.Content());
}

TEST(GMRegInstall, LaysTheUndoBufferOut)
{
    Buffer buffer = ToBuffer("old");
    GMRegInstall().GetUninstallData(buffer);
    EXPECT_EQ("00 00 00 00 00 00 00 00", Hex(Content(buffer)));

    GMRegKey const key(L"HKLM\\A"); // a record of 12 bytes and the 20 units of its full path
    std::string const entry = " 34 00 00 00 " + Hex(Content(key.Serial()));
    GMRegInstall::SerialRegToBuffer({key, key}, buffer);
    EXPECT_EQ("02 00 00 00 70 00 00 00" + entry + entry, Hex(Content(buffer)));
    EXPECT_EQ(8u + 4 * 56, buffer.m_capacity) << "room for four when there was none";
}

TEST(GMRegInstall, ReadsUndoBuffersAsFarAsTheyGo)
{
    Bytes const entry = Content(Records({GMRegKey(L"HKLM\\A")})).substr(8);
    Bytes const none(4, 0);
    Bytes const one = {1, 0, 0, 0};
    Bytes const two = {2, 0, 0, 0};
    Bytes const most(4, 0xFF);
    std::tuple<char const *, Bytes, bool, std::size_t> const cases[] = {
        {"no keys, whatever the payload", none + most, true, 0},
        {"payload not given", one + none + entry, true, 1},
        {"key missing", two + none + entry, false, 1},
        {"countless keys", most + none + entry, false, 1},
        {"key behind the end", one + none + most + entry, false, 0},
        {"key of no bytes", one + none + none, true, 1},
        {"bytes behind the keys", one + none + entry + entry, true, 1},
    };
    std::deque<GMRegKey> keys;
    for (auto const & [what, bytes, read, count] : cases)
    {
        SCOPED_TRACE(what);
        EXPECT_EQ(read, GMRegInstall::DeserialRegFromBuffer(BufferOf(bytes), keys));
        EXPECT_EQ(count, keys.size());
    }

    // A type that records can't bring back ends its key, and only that.
    keys = Store().Keys("[~]\n\"x\"=\"1\"\n\"y\"=hex(8):01\n\"z\"=\"1\"\n[~\\A]\n\"x\"=\"1\"\n");
    EXPECT_TRUE(GMRegInstall::DeserialRegFromBuffer(Records(keys), keys));
    EXPECT_EQ(1u, keys.at(0).GetValues().size());
    EXPECT_EQ(1u, keys.at(1).GetValues().size());
}

TEST(GMRegInstall, JoinsUndoBuffers)
{
    Buffer const none;
    Buffer const a = Records({GMRegKey(L"HKLM\\A")});
    Buffer const bc = Records({GMRegKey(L"-HKLM\\B"), GMRegKey(L"HKLM\\C")});
    Bytes const A = Content(a).substr(8);
    Bytes const BC = Content(bc).substr(8);
    for (auto const & [left, right, joined] :
         {std::tuple(a, bc, A + BC), std::tuple(none, bc, BC), std::tuple(a, none, A)})
    {
        Buffer merged = right;
        GMRegInstall::MergeRegListBuffer(left, merged);
        EXPECT_EQ(Hex(joined), Hex(Content(merged).substr(8)));
    }
    Buffer self = a;
    GMRegInstall::MergeRegListBuffer(self, self);
    EXPECT_EQ(Hex(A + A), Hex(Content(self).substr(8)));
}

TEST(GMRegInstall, JoinsTexts)
{
    std::string const left = "REGEDIT4\r\n[HKCU\\A]\r\n\"x\"=\"left\"\r\n";
    std::string const right = "REGEDIT4\r\n[HKCU\\A]\r\n\"x\"=\"right\"\r\n[-HKLM\\B]\r\n";
    std::string const both = Utf16Bytes(L"Windows Registry Editor Version 5.00\r\n"
                                        L"[HKEY_CURRENT_USER\\A]\r\n\"x\"=\"right\"\r\n\r\n"
                                        L"[-HKEY_LOCAL_MACHINE\\B]\r\n"
                                        L"[HKEY_CURRENT_USER\\A]\r\n\"x\"=\"left\"\r\n\r\n");
    for (std::string const & first : {left, std::string()})
    {
        Buffer merged = ToBuffer(right);
        GMRegInstall::MergeRegContentBuffer(ToBuffer(first), merged);
        EXPECT_EQ(Hex(first.empty() ? right : both), Hex(Content(merged)));
    }

    Buffer kept = ToBuffer(right);
    EXPECT_THROW(GMRegInstall::MergeRegContentBuffer(ToBuffer("no header"), kept),
                 std::runtime_error);
    EXPECT_THROW(GMRegInstall::MergeRegContentBuffer(ToBuffer(left + "\"y\"=hex(5):01\r\n"), kept),
                 std::invalid_argument);
    EXPECT_EQ(Hex(right), Hex(Content(kept)));
}

} // namespace

} // namespace Velmora::Testing
