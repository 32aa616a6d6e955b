#include "tests/executable/SampleFiles.h"
#include "tests/tools/ToolTest.h"

namespace Velmora::Testing
{

using Peinspect = ToolTest;

TEST_F(Peinspect, TellsFirstWhatIsMissing)
{
    std::string const sound = ProgramBytes({"KERNEL32.dll"});
    m_folder.Write(
        L"game.exe",
        ProgramBytes({"a.dll", "sound", "a.dll", "api-ms-win-core-file-l1-1-0.dll", "api-ms-v.dll",
                      "api-ms-\\..\\sound.dll", "v:v.dll", "t.dll", "n.dll", "w.dll", "v\n.dll"},
                     {"v-late.dll"}));
    m_folder.Write(L"a.dll", ProgramBytes({"b.dll", "GAME.exe", "V-Pad.dll"}));
    m_folder.Write(L"b.dll", ProgramBytes({"a.dll", "v-pad.dll"}));
    m_folder.Write(L"sound.dll", sound);
    m_folder.Write(L"t.dll", std::string(400, '.'));
    m_folder.Write(L"n.dll", Patched(ProgramBytes({"v", "v-none.dll"}), sectionOffset + 12, ~0ul));
    m_folder.Write(L"w.dll", Patched(sound, ntOffset + 24, WORD(0x20B)));
    Run(1, L"peinspect", L"game.exe", "missing: api-ms-v.dll (needed by game.exe)\n",
        "unusable: api-ms-\\..\\sound.dll: is a path, which isn't followed (needed by game.exe)\n",
        "unusable: v:v.dll: is a path", "t.dll has no sound headers",
        "\\n.dll is damaged: its list of imports can't be read",
        "\\w.dll is a 64-bit library, which a 32-bit program can't use", "missing: v .dll (",
        "missing: V-Pad.dll (needed by game.exe, via a.dll; also by b.dll)\n",
        "missing: v-none.dll (needed by game.exe, via n.dll)\n",
        "missing at first use: v-late.dll (needed by game.exe)\n", "\\b.dll\n      a.dll: C:\\",
        "\\a.dll, as above\n      V-Pad.dll: MISSING\n",
        "\\sound.dll\n    KERNEL32.dll: C:\\windows\\sys", "v-late.dll: MISSING, at first use\n");
    Run(0, L"peinspect", L"w.dll", "a 64-bit program: only of 32-bit");
    Run(3, L"peinspect", L"missing.exe", "missing.exe: can't be read: File not found (code 2)\n");
}

TEST_F(Peinspect, WritesJsonAndIcons)
{
    m_folder.Write(L"\x6E38.exe", ProgramBytes({}, {"v\"\n.dll"}));
    Run(1, L"peinspect", L"\x6E38.exe --json", "\\\\\xE6\xB8\xB8.exe\",\n  \"kind\": \"32-bit pro",
        "\"problems\": [\n    \"v\\\"\\n.dll\"\n  ],\n");
    Run(3, L"peinspect", L"\x6E38.exe --png \x6E38.EXE", ": would be overwritten by its icon\n");
    Run(0, L"peinspect", L"C:\\windows\\notepad.exe --icon o.ico --png o.png", "  icons: ");
    EXPECT_EQ(std::string("\0\0\1\0", 4), ReadBytes(L"o.ico").substr(0, 4));
    EXPECT_EQ("\x89PNG\r\n\x1A\n", ReadBytes(L"o.png").substr(0, 8));
    Run(0, L"peinspect", ProgramBeside(L"subject.dll"), "9.8.7.6, of the product 1.2.3.4\n");
}

} // namespace Velmora::Testing
