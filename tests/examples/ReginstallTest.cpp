#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/RegistrySnapshot.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

bool Exists(std::wstring const & path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

/// A scratch key with some content, and a client to change it.
class Reginstall : public ::testing::Test
{
protected:
    Reginstall() : m_root(L"HKEY_CURRENT_USER\\" + m_key.Path())
    {
        // All that a record can hold: every type, nested keys, a name of its own case.
        Write(L"start.reg", L"[" + m_root +
                                L"\\Old]\r\n"
                                L"@=\"default\"\r\n\"Text\"=\"a \\\\ b\"\r\n"
                                L"\"Number\"=dword:0000002a\r\n\"None\"=hex(0):01\r\n"
                                L"\"Path\"=hex(2):25,00,54,00,25,00,00,00\r\n"
                                L"\"List\"=hex(7):61,00,00,00,62,00,00,00,00,00\r\n"
                                L"\"Long\"=hex(b):01,02,03,04,05,06,07,08\r\n"
                                L"[" +
                                m_root +
                                L"\\Old\\Below\\Deeper]\r\n\"Bytes\"=hex:01,02,\\\r\n  03\r\n" +
                                L"[" + m_root + L"\\Gone]\r\n\"v\"=\"w\"\r\n");
        EXPECT_EQ(0u, Run(L"install start.reg --undo start.undo"));
        m_before = Snapshot();
    }

    std::wstring Command(std::wstring const & arguments)
    {
        std::wstring command = ProgramBeside(L"reginstall.exe");
        for (std::size_t begin = 0; begin < arguments.size();)
        {
            std::size_t const end = std::min(arguments.find(L' ', begin), arguments.size());
            std::wstring const word = arguments.substr(begin, end - begin);
            bool const isFile = word.find(L'.') != word.npos;
            command += L" \"" + (isFile ? m_folder.File(word) : word) + L"\"";
            begin = end + 1;
        }
        return command;
    }

    DWORD Run(std::wstring const & arguments)
    {
        return RunProgram(Command(arguments), m_folder.File(L"output"));
    }

    std::string Output() { return ReadBytes(m_folder.File(L"output")); }

    void Write(std::wstring const & name, std::wstring const & text)
    {
        std::wstring const whole = L"\xFEFFWindows Registry Editor Version 5.00\r\n" + text;
        WriteBytes(m_folder.File(name), std::string(reinterpret_cast<char const *>(whole.data()),
                                                    whole.size() * sizeof(wchar_t)));
    }

    std::string Snapshot() { return RegistrySnapshot(HKEY_CURRENT_USER, m_key.Path()); }

    ScratchKey m_key;
    TemporaryFolder m_folder;
    std::wstring m_root;
    std::string m_before;
};

} // namespace

TEST_F(Reginstall, TakesBackWhateverAFileHolds)
{
    struct Case
    {
        char const * what;
        bool changes;
        std::wstring text;
    };
    std::wstring const key = L"[" + m_root;
    Case const cases[] = {
        {"new nested keys, the lower one first", true,
         key + L"\\N\\M\\O]\r\n\"a\"=\"b\"\r\n" + key + L"\\N]\r\n"},
        {"one key twice", true,
         key + L"\\Old]\r\n\"Text\"=\"1\"\r\n" + key +
             L"\\Old]\r\n\"Text\"=-\r\n\"New\"=\"2\"\r\n"},
        {"one value twice", true, key + L"\\Old]\r\n\"New\"=\"1\"\r\n\"New\"=\"2\"\r\n"},
        {"a missing key removed", false, L"[-" + m_root + L"\\Nowhere]\r\n"},
        {"a new key made and removed", false,
         key + L"\\N]\r\n\"a\"=\"b\"\r\n[-" + m_root + L"\\N]\r\n"},
        {"a key with keys below removed", true, L"[-" + m_root + L"\\Old]\r\n"},
        {"a key removed and made anew", true,
         L"[-" + m_root + L"\\Old]\r\n" + key + L"\\Old\\Other]\r\n@=\"x\"\r\n"},
        {"names in another case", true, key + L"\\OLD]\r\n\"TEXT\"=\"1\"\r\n\"number\"=-\r\n"},
        {"a key of another case removed", true, L"[-" + m_root + L"\\oLD]\r\n"},
        {"every type replaced by another", true,
         key + L"\\Old]\r\n@=dword:00000001\r\n\"Text\"=hex:\r\n"
               L"\"None\"=\"n\"\r\n\"List\"=-\r\n\"Long\"=hex(7):00,00\r\n"},
        {"nothing", false, L""},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        Write(L"a.reg", each.text);
        EXPECT_EQ(0u, Run(L"install a.reg --undo a.undo")) << Output();
        EXPECT_EQ(each.changes, m_before != Snapshot());
        EXPECT_EQ(0u, Run(L"undo a.undo")) << Output();
        EXPECT_EQ(m_before, Snapshot());
        EXPECT_EQ(0u, Run(L"undo a.undo")) << "a second time";
        EXPECT_EQ(m_before, Snapshot());
        DeleteFileW(m_folder.File(L"a.undo").c_str());
    }
}

TEST_F(Reginstall, InstallsWhatTheFileSays)
{
    Write(L"a.reg", L"[" + m_root +
                        L"\\N]\r\n\"e\"=hex(2):41,00,00,00\r\n\"s\"=hex(1):42,00,00,00\r\n"
                        L"\"d\"=hex(4):07,00,00,00\r\n\"gone\"=-\r\n[-" +
                        m_root + L"\\Gone]\r\n");
    for (wchar_t const * view : {L"default", L"64", L"both"})
    {
        EXPECT_EQ(0u, Run(std::wstring(L"install a.reg --undo a.undo --view ") + view)) << Output();
        EXPECT_EQ("[]\n  \"d\" type 4: 07 00 00 00\n  \"e\" type 2: 41 00 00 00\n"
                  "  \"s\" type 1: 42 00 00 00\n",
                  RegistrySnapshot(HKEY_CURRENT_USER, m_key.Path() + L"\\N"));
        EXPECT_EQ("[] (missing)\n", RegistrySnapshot(HKEY_CURRENT_USER, m_key.Path() + L"\\Gone"));
        EXPECT_EQ(0u, Run(L"undo a.undo")) << Output();
        EXPECT_EQ(m_before, Snapshot());
        DeleteFileW(m_folder.File(L"a.undo").c_str());
    }
}

TEST_F(Reginstall, LeavesBothViewsAsTheyWere)
{
    // The local machine's software is what has two views; they differ before the install:
    // each holds a key that is named by the number of the view.
    std::wstring const path =
        L"Software\\VelmoraCommonTest-" + std::to_wstring(GetCurrentProcessId());
    std::wstring const key = L"HKEY_LOCAL_MACHINE\\" + path;
    constexpr REGSAM views[] = {KEY_WOW64_32KEY, KEY_WOW64_64KEY};
    constexpr REGSAM ownView = sizeof(void *) == 4 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
    auto const trees = [&]
    {
        return std::array{RegistrySnapshot(HKEY_LOCAL_MACHINE, path, views[0]),
                          RegistrySnapshot(HKEY_LOCAL_MACHINE, path, views[1])};
    };
    for (REGSAM const view : views)
    {
        ScopedRegKey made;
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, (path + L"\\Old\\" + std::to_wstring(view)).c_str(), 0,
                        nullptr, 0, KEY_ALL_ACCESS | view, nullptr, made.Receive(), nullptr);
        RegSetValueExW(made.Get(), L"v", 0, REG_DWORD, reinterpret_cast<BYTE const *>(&view), 4);
    }
    auto const before = trees();

    struct Case
    {
        wchar_t const * option;
        bool changes[2]; // of the views, in their order
    };
    Case const cases[] = {
        {L"default", {ownView == views[0], ownView == views[1]}},
        {L"64", {false, true}},
        {L"both", {ownView == views[0], true}},
    };
    Write(L"a.reg", L"[" + key + L"\\New\\Below]\r\n\"n\"=\"1\"\r\n[" + key +
                        L"\\Old\\256]\r\n\"v\"=\"2\"\r\n[-" + key + L"\\Old\\512]\r\n");
    for (Case const & each : cases)
    {
        std::wstring const install = L"install a.reg --undo a.undo --view ";
        EXPECT_EQ(0u, Run(install + each.option)) << Output();
        auto const changed = trees();
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(each.changes[i], changed[i] != before[i])
                << "case " << &each - cases << " view " << i;
        EXPECT_EQ(0u, Run(L"undo a.undo")) << Output();
        EXPECT_EQ(before, trees()) << "case " << &each - cases;
        DeleteFileW(m_folder.File(L"a.undo").c_str());
    }
    for (REGSAM const view : views)
        DeleteRegistryTree(HKEY_LOCAL_MACHINE, path, view);
}

TEST_F(Reginstall, RefusesBeforeAnythingChanges)
{
    std::wstring const good = L"[" + m_root + L"\\Old]\r\n\"Text\"=\"changed\"\r\n";
    // A number of two bytes can't be recorded in a form that brings it back.
    RegSetKeyValueW(m_key.Key(), L"Odd", L"Unterminated", REG_DWORD, L"\x01", 2);
    m_before = Snapshot();
    struct Case
    {
        std::wstring text;
        char const * complaint;
    };
    Case const cases[] = {
        {good + L"[HKEY_CLASSES_ROOT\\x]\r\n", "line 4: unknown root"},
        {good + L"\r\n[hkcu\\x]\r\n", "line 5: unknown root"},
        {good + L"[HKEY_USERS_OLD\\x]\r\n", "line 4: unknown root"},
        {good + L"[-HKEY_CURRENT_USER]\r\n", "line 4: a whole root"},
        {good + L"\"v\"=nonsense\r\n", "line 4: data of no known form"},
        {good + L"\"v\"=hex(a):00\r\n", "line 4: data of a type"},
        {L"\"v\"=\"w\"\r\n" + good, "Keys list is empty"},
        {good + L"[" + m_root + L"\\Odd]\r\n\"Unterminated\"=-\r\n",
         "Odd: \"Unterminated\" is stored"},
        {good + L"[-" + m_root + L"\\Odd]\r\n", "Odd: \"Unterminated\" is stored"},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.complaint);
        Write(L"a.reg", each.text);
        EXPECT_EQ(1u, Run(L"install a.reg --undo a.undo"));
        EXPECT_NE(std::string::npos, Output().find(each.complaint)) << Output();
        EXPECT_EQ(m_before, Snapshot());
        EXPECT_FALSE(Exists(m_folder.File(L"a.undo")));
    }

    Write(L"a.reg", good);
    EXPECT_EQ(1u, Run(L"install a.reg --undo start.undo")) << "an undo file isn't overwritten";
    EXPECT_EQ(1u, Run(L"install missing.reg --undo a.undo"));
    EXPECT_EQ(1u, Run(L"undo a.reg")) << "not an undo file";
    EXPECT_EQ(2u, Run(L"install a.reg")) << "no undo file named";
    EXPECT_EQ(2u, Run(L"undo start.undo --ignore-errors"));
    std::string const undo = ReadBytes(m_folder.File(L"start.undo"));
    for (std::size_t size : {std::size_t(1), std::size_t(8), std::size_t(12), undo.size() - 1})
    {
        WriteBytes(m_folder.File(L"cut.undo"), undo.substr(0, size));
        EXPECT_EQ(1u, Run(L"undo cut.undo")) << size;
    }
    EXPECT_EQ(m_before, Snapshot());
}

TEST_F(Reginstall, PassesOverWhatFailsWhenAskedTo)
{
    RegSetKeyValueW(m_key.Key(), L"Odd", L"Unterminated", REG_DWORD, L"\x01", 2);
    m_before = Snapshot();
    Write(L"a.reg", L"[" + m_root + L"\\Odd]\r\n\"Unterminated\"=-\r\n[" + m_root +
                        L"\\New]\r\n\"v\"=\"w\"\r\n");
    EXPECT_EQ(1u, Run(L"install a.reg --undo a.undo --ignore-errors"));
    EXPECT_NE(std::string::npos, Output().find("1 of 2 keys")) << Output();
    EXPECT_NE("[] (missing)\n", RegistrySnapshot(HKEY_CURRENT_USER, m_key.Path() + L"\\New"));
    EXPECT_EQ(0u, Run(L"undo a.undo")) << Output();
    EXPECT_EQ(m_before, Snapshot());
}

TEST_F(Reginstall, MergesTwoFiles)
{
    Write(L"a.reg", L"[" + m_root + L"\\N]\r\n\"x\"=\"first\"\r\n\"y\"=\"first\"\r\n");
    Write(L"b.reg", L"[" + m_root + L"\\N]\r\n\"x\"=\"second\"\r\n");
    EXPECT_EQ(0u, Run(L"merge a.reg b.reg c.reg")) << Output();
    EXPECT_EQ(0u, Run(L"install c.reg --undo c.undo")) << Output();
    EXPECT_EQ("[]\n  \"x\" type 1: 73 00 65 00 63 00 6f 00 6e 00 64 00 00 00\n"
              "  \"y\" type 1: 66 00 69 00 72 00 73 00 74 00 00 00\n",
              RegistrySnapshot(HKEY_CURRENT_USER, m_key.Path() + L"\\N"));
}

TEST_F(Reginstall, CanBeKilledAtAnyMoment)
{
    std::wstring text = L"[-" + m_root + L"\\Old]\r\n[-" + m_root + L"\\Gone]\r\n";
    for (int i = 0; i < 400; ++i)
    {
        text += L"[" + m_root + L"\\New\\" + std::to_wstring(i % 20) + L"\\" + std::to_wstring(i) +
                L"]\r\n\"a\"=\"b\"\r\n\"c\"=dword:00000001\r\n";
    }
    Write(L"a.reg", text + L"[" + m_root + L"\\Old]\r\n\"Text\"=\"changed\"\r\n");
    // The moments that matter come behind the undo file's: only then the registry changes.
    std::wstring const undoFile = m_folder.File(L"a.undo");
    auto const waitForUndoFile = [&](ChildProcess const & install)
    {
        while (!Exists(undoFile) && !install.HasEnded(1))
        {
        }
    };
    DWORD changing = 0;
    {
        ChildProcess install(Command(L"install a.reg --undo a.undo"));
        waitForUndoFile(install);
        DWORD const begin = GetTickCount();
        ASSERT_EQ(0u, install.Wait());
        changing = GetTickCount() - begin;
    }
    ASSERT_EQ(0u, Run(L"undo a.undo")) << Output();
    ASSERT_EQ(m_before, Snapshot());

    Random random(20);
    unsigned int changedWhenKilled = 0;
    for (unsigned int round = Rounds(10, 100); round != 0; --round)
    {
        DeleteFileW(undoFile.c_str());
        ChildProcess install(Command(L"install a.reg --undo a.undo"));
        if (round % 5 != 0)
            waitForUndoFile(install);
        install.HasEnded(static_cast<DWORD>(random.Below(changing + 1)));
        install.Kill();
        changedWhenKilled += Snapshot() != m_before ? 1u : 0u;
        if (!Exists(undoFile))
        {
            ASSERT_EQ(m_before, Snapshot()) << "changed before the way back was there";
            continue;
        }
        ChildProcess undo(Command(L"undo a.undo"));
        undo.HasEnded(static_cast<DWORD>(random.Below(2 * changing + 1)));
        undo.Kill();
        ASSERT_EQ(0u, Run(L"undo a.undo")) << Output();
        ASSERT_EQ(m_before, Snapshot()) << "rounds left: " << round;
    }
    EXPECT_NE(0u, changedWhenKilled) << "no kill came in the middle";
}

} // namespace Velmora::Testing
