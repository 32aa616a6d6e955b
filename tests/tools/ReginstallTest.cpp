#include <filesystem>
#include <regex>
#include <tuple>

#include "tests/support/RegistrySandbox.h"
#include "tests/support/RegistrySnapshot.h"
#include "tests/tools/ToolTest.h"

namespace Velmora::Testing
{

/// A scratch key with some content, and a client to change it.
class Reginstall : public ToolTest
{
protected:
    Reginstall()
    {
        // All that a record can hold: every type, nested keys, a name of its own case.
        Install(0, "[K\\Old]\n@=\"default\"\n\"Text\"=\"a \\\\ b\"\n\"Number\"=dword:2a\n"
                   "\"None\"=hex(0):01\n\"Path\"=hex(2):25,00,00,00\n\"List\"=hex(7):61,0,0,0,0,0\n"
                   "\"Long\"=hex(b):01,02,03,04,05,06,07,08\n[K\\Old\\Below\\Deeper]\n"
                   "\"Bytes\"=hex:01,02,\\\n  03\n[K\\Gone]\n\"v\"=\"w\"\n");
        // A number of two bytes can't be recorded in a form that brings it back.
        RegSetKeyValueW(m_key.Key(), L"Odd", L"Unterminated", REG_DWORD, L"\x01", 2);
        m_before = Snapshot();
        MoveFileW(L"a.undo", L"start.undo");
    }

    /// \p text with K for the scratch key.
    void Write(std::wstring const & name, std::string const & text)
    {
        std::string const key(m_key.Path().begin(), m_key.Path().end());
        m_folder.Write(name,
                       "Windows Registry Editor Version 5.00\n" +
                           std::regex_replace(text, std::regex("K"), "HKEY_CURRENT_USER\\" + key));
    }

    void Install(DWORD code, std::string const & text, std::string const & says = "",
                 std::wstring const & options = L"")
    {
        Write(L"a.reg", text);
        Run(code, L"reginstall", L"install a.reg --undo a.undo " + options, says);
    }

    std::string Snapshot() { return RegistrySnapshot(HKEY_CURRENT_USER, m_key.Path()); }

    ScratchKey m_key;
    std::string m_before;
};

TEST_F(Reginstall, TakesBackWhateverAFileHolds)
{
    std::tuple<bool, wchar_t const *, char const *> const cases[] = {
        // whether it changes anything, the view, and the text
        {true, L"", "[K\\N\\M\\O]\r\n\"a\"=\"b\"\r\n[K\\N]\r\n"},
        {true, L"", "[K\\Old]\n\"Text\"=\"1\"\n[K\\Old]\n\"Text\"=-\n\"New\"=\"2\"\n"},
        {false, L"", "[-K\\Nowhere]\n[K\\N]\n\"a\"=\"b\"\n[-K\\N]\n"},
        {true, L"--view 64", "[-K\\oLD] ; and made anew\n[K\\Old\\Other]\n@=\"x\"\n"},
        {true, L"--view both", "[K\\OLD]\n@=dword:1\n\"TEXT\"=hex:\n\"List\"=-\n"},
    };
    for (auto const & [changes, view, text] : cases)
    {
        Install(0, text, "", view);
        EXPECT_EQ(changes, m_before != Snapshot()) << text;
        Run(0, L"reginstall", L"undo a.undo");
        EXPECT_EQ(m_before, Snapshot()) << text;
    }
    Run(3, L"reginstall", L"undo a.undo", "a.undo: can't be read"); // what came later stays
}

TEST_F(Reginstall, InstallsWhatTheSystemsEditorWould)
{
    Write(L"a.reg", "\n\t [K\\N]\t\r\"C:\\\\dir\\\\\" = \"\\\"x\\\"\" ; why\r\n;\"off\"=\"1\"\n"
                    "\"e\"=hex(2):41,00,\\ \n  00,0 ; more\n\"d\"=hex(4):07,0,0,0\n@=hex(1):0,0");
    Write(L"b.reg", "[K\\N]\n\"d\"=dword:8\n");
    Run(0, L"reginstall", L"merge b.reg a.reg c.reg"); // what comes last wins
    Run(0, L"reginstall", L"install c.reg --undo c.undo");
    EXPECT_EQ("[]\n  \"\" type 1: 00 00\n  \"C:\\dir\\\" type 1: 22 00 78 00 22 00 00 00\n"
              "  \"d\" type 4: 07 00 00 00\n  \"e\" type 2: 41 00 00 00\n",
              RegistrySnapshot(HKEY_CURRENT_USER, m_key.Path() + L"\\N"));
}

TEST_F(Reginstall, RefusesBeforeAnythingChanges)
{
    std::pair<char const *, char const *> const cases[] = {
        {"[HKCR\\x]", "line 4: unknown root"},
        {"[-hkcu]", "line 4: a whole root"},
        {"[-K\\x]\n\"v\"=-", "line 5: a value without a key"},
        {"\"v\"=\"C:\\dir\"", "line 4: only \\\\ and"},
        {"\"v\"=dword:xyz", "line 4: no number"},
        {"\"v\"=hex:zz", "line 4: no list of bytes"},
        {"\"v\"=hex(7):41,00,00,00", "line 4: data that can't"},
        {"[-K\\Odd]", "Odd: \"Unterminated\" is stored"},
    };
    for (auto const & [text, complaint] : cases)
        Install(3, "[K\\Old]\n\"Text\"=\"changed\"\n" + std::string(text), complaint);
    Install(3, "; none\n", "holds no keys");
    m_folder.Write(L"damaged.undo", ReadBytes(L"start.undo") + "?");
    Run(3, L"reginstall", L"undo damaged.undo", "is damaged; nothing was changed");
    Run(3, L"reginstall", L"install a.reg --undo start.undo", "is there already");
    EXPECT_EQ(m_before, Snapshot());
    Install(1, "[K\\Odd]\n\"Unterminated\"=-\n[K\\New]\n", "1 of 2 keys", L"--ignore-errors");
    Run(0, L"reginstall", L"undo a.undo");
    EXPECT_EQ(m_before, Snapshot());
}

TEST_F(Reginstall, CanBeKilledInTheMiddle)
{
    std::string text = "[-K\\Old]\n[-K\\Gone]\n";
    for (int i = 0; i < 400; ++i)
        text += "[K\\New\\" + std::to_string(i) + "\\New]\n\"a\"=\"b\"\n";
    Write(L"a.reg", text);
    for (wchar_t const * const command : {L" install a.reg --undo a.undo", L" undo a.undo"})
    {
        ScopedKernelObject const changed(CreateEventW(nullptr, TRUE, FALSE, nullptr));
        RegNotifyChangeKeyValue(m_key.Key(), TRUE, REG_NOTIFY_CHANGE_NAME, changed.Get(), TRUE);
        ChildProcess killed(ProgramBeside(L"reginstall.exe") + command);
        EXPECT_TRUE(killed.Signals(changed.Get()));
    }
    if (std::filesystem::exists(L"a.undo"))
        Run(0, L"reginstall", L"undo a.undo");
    EXPECT_EQ(m_before, Snapshot());
}

} // namespace Velmora::Testing
