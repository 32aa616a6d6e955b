#include "tests/executable/SampleFiles.h"
#include "tests/tools/ToolTest.h"

namespace Velmora::Testing
{

using Peinspect = ToolTest;

TEST_F(Peinspect, TellsFirstWhatIsMissing)
{
    std::string const sound = ProgramBytes({"KERNEL32.dll"});
    std::string const wide =
        Patched(sound, ntOffset + offsetof(IMAGE_NT_HEADERS32, OptionalHeader.Magic), WORD(0x20B));
    std::pair<wchar_t const *, std::string> const files[] = {
        {L"game.exe",
         ProgramBytes({"a.dll", "a.dll", "sound", "api-ms-win-core-file-l1-1-0.dll",
                       "api-ms-win-v-l1-1-0.dll", "api-ms-\\..\\evil.dll", "\\\\v\\v.dll",
                       "v:v.dll", "text.dll", "cut.dll", "names.dll", "wide.dll", "v\n.dll"},
                      {"v-late.dll"})},
        {L"a.dll", ProgramBytes({"b.dll", "GAME.exe", "V-Pad.dll"})},
        {L"b.dll", ProgramBytes({"a.dll", "v-pad.dll"})},
        {L"sound.dll", sound},
        {L"evil.dll", sound},
        {L"text.dll", "This is no library, but long enough to be one. " + std::string(400, '.')},
        {L"cut.dll", sound.substr(0, sectionsOffset + 10)},
        {L"names.dll",
         Patched(ProgramBytes({"outside.dll", "v-none.dll"}), sectionOffset + 12, DWORD(0x9000))},
        {L"wide.dll", wide},
    };
    for (auto const & [name, bytes] : files)
        m_folder.Write(name, bytes);
    std::string const output = Run(1, L"peinspect", L"game.exe");
    std::size_t at = 0;
    for (char const * const text :
         {"missing: api-ms-win-v-l1-1-0.dll (needed by game.exe)\n",
          "unusable: api-ms-\\..\\evil.dll: is a path, which isn't followed (needed by game.exe)\n",
          "unusable: \\\\v\\v.dll: is a path", "unusable: v:v.dll: is a path",
          "text.dll has no sound headers",
          "\\cut.dll is damaged: its list of imports can't be read",
          "\\names.dll is damaged: its list of imports can't be read",
          "\\wide.dll is a 64-bit library, which a 32-bit program can't use",
          "missing: v .dll (needed",
          "missing: V-Pad.dll (needed by game.exe, via a.dll; also by b.dll)\n",
          "missing: v-none.dll (needed by game.exe, via names.dll)\n",
          "missing at first use: v-late.dll (needed by game.exe)\n", "\\b.dll\n      a.dll: C:\\",
          "\\a.dll, as above\n      V-Pad.dll: MISSING\n",
          "\\sound.dll\n    KERNEL32.dll: C:\\windows\\sys", "v-late.dll: MISSING, at first use\n"})
    {
        at = output.find(text, at);
        ASSERT_NE(output.npos, at) << text << "\n" << output;
    }
    m_folder.Write(L"game.exe", wide);
    Run(0, L"peinspect", L"game.exe", "a 64-bit program: only of 32-bit");
    Run(3, L"peinspect", L"missing.exe", "missing.exe: can't be read: File not found (code 2)\n");
}

TEST_F(Peinspect, WritesJsonAndIcons)
{
    m_folder.Write(L"\x6E38.exe", ProgramBytes({}, {"v\"\n.dll"}));
    Run(1, L"peinspect", L"\x6E38.exe --json", "\\\\\xE6\xB8\xB8.exe\",\n  \"kind\": \"32-bit pro");
    Run(1, L"peinspect", L"\x6E38.exe --json", "\"problems\": [\n    \"v\\\"\\n.dll\"\n  ],\n");
    Run(3, L"peinspect", L"\x6E38.exe --png \x6E38.EXE", ": would be overwritten by its icon\n");
    Run(0, L"peinspect", L"C:\\windows\\notepad.exe --icon o.ico --png o.png", "  icons: ");
    EXPECT_EQ(std::string("\0\0\1\0", 4), ReadBytes(L"o.ico").substr(0, 4));
    EXPECT_EQ("\x89PNG\r\n\x1A\n", ReadBytes(L"o.png").substr(0, 8));
    Run(0, L"peinspect", ProgramBeside(L"subject.dll"),
        "version 9.8.7.6, of the product 1.2.3.4\n");
}

} // namespace Velmora::Testing
