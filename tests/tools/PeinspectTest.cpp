#include "tests/executable/SampleFiles.h"
#include "tests/tools/ToolTest.h"

namespace Velmora::Testing
{

using Peinspect = ToolTest;

TEST_F(Peinspect, TellsFirstWhatIsMissing)
{
    std::string const sound = ProgramBytes({"KERNEL32.dll"});
    std::string const wide = Patched(sound, ntOffset + 24, WORD(0x20B));
    std::pair<wchar_t const *, std::string> const files[] = {
        {L"game.exe", ProgramBytes({"a.dll", "a.dll", "sound", "api-ms-win-core-file-l1-1-0.dll",
                                    "api-ms-win-v-l1-1-0.dll", "api-ms-\\..\\evil.dll", "v:v.dll",
                                    "text.dll", "names.dll", "wide.dll", "v\n.dll"},
                                   {"v-late.dll"})},
        {L"a.dll", ProgramBytes({"b.dll", "GAME.exe", "V-Pad.dll"})},
        {L"b.dll", ProgramBytes({"a.dll", "v-pad.dll"})},
        {L"sound.dll", sound},
        {L"evil.dll", sound},
        {L"text.dll", "This is no library, but long enough to be one. " + std::string(400, '.')},
        {L"names.dll", Patched(ProgramBytes({"v", "v-none.dll"}), sectionOffset + 12, 0x9000ul)},
        {L"wide.dll", wide},
    };
    for (auto const & [name, bytes] : files)
        m_folder.Write(name, bytes);
    Run(1, L"peinspect", L"game.exe", "missing: api-ms-win-v-l1-1-0.dll (needed by game.exe)\n",
        "unusable: api-ms-\\..\\evil.dll: is a path, which isn't followed (needed by game.exe)\n",
        "unusable: v:v.dll: is a path", "text.dll has no sound headers",
        "\\names.dll is damaged: its list of imports can't be read",
        "\\wide.dll is a 64-bit library, which a 32-bit program can't use", "missing: v .dll (",
        "missing: V-Pad.dll (needed by game.exe, via a.dll; also by b.dll)\n",
        "missing: v-none.dll (needed by game.exe, via names.dll)\n",
        "missing at first use: v-late.dll (needed by game.exe)\n", "\\b.dll\n      a.dll: C:\\",
        "\\a.dll, as above\n      V-Pad.dll: MISSING\n",
        "\\sound.dll\n    KERNEL32.dll: C:\\windows\\sys", "v-late.dll: MISSING, at first use\n");
    Run(0, L"peinspect", L"wide.dll", "a 64-bit program: only of 32-bit");
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
    Run(0, L"peinspect", ProgramBeside(L"subject.dll"),
        "version 9.8.7.6, of the product 1.2.3.4\n");
}

} // namespace Velmora::Testing
