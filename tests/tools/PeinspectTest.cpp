#include <filesystem>
#include <map>
#include <vector>

#include "tests/executable/SampleFiles.h"
#include "tests/tools/ToolTest.h"

namespace Velmora::Testing
{

using Peinspect = ToolTest;

TEST_F(Peinspect, TellsFirstWhatIsMissing)
{
    std::string const sound = ProgramBytes({"KERNEL32.dll"});
    std::string wide = sound;
    Place(wide, ntOffset + offsetof(IMAGE_NT_HEADERS32, OptionalHeader.Magic), WORD(0x20B));
    std::string nameless = ProgramBytes({"outside.dll", "v-none.dll"});
    Place(nameless, sectionOffset + offsetof(IMAGE_IMPORT_DESCRIPTOR, Name), DWORD(0x9000));
    struct Case
    {
        char const * what;
        std::map<std::wstring, std::string> files;
        DWORD code;
        std::string begin; // of the output
        std::vector<char const *> says;
    };
    Case const cases[] = {
        {"in circles, and behind others",
         {{L"game.exe", ProgramBytes({"a.dll", "a.dll", "sound"}, {"v-late.dll"})},
          {L"a.dll", ProgramBytes({"b.dll", "GAME.exe", "V-Pad.dll"})},
          {L"b.dll", ProgramBytes({"a.dll", "v-pad.dll"})},
          {L"sound.dll", sound}},
         1,
         "missing: V-Pad.dll (needed by game.exe, via a.dll; also by b.dll)\n"
         "missing at first use: v-late.dll (needed by game.exe)\n",
         {"\\b.dll\n      a.dll: C:\\", "\\a.dll, as above\n      V-Pad.dll: MISSING\n",
          "\\sound.dll\n    KERNEL32.dll: C:\\windows\\sys",
          "v-late.dll: MISSING, at first use\n"}},
        {"names that Windows alone knows, and such as lead elsewhere",
         {{L"game.exe", ProgramBytes({"api-ms-win-core-file-l1-1-0.dll", "api-ms-win-v-l1-1-0.dll",
                                      "api-ms-\\..\\evil.dll", "\\\\v\\v.dll", "v:v.dll"})},
          {L"evil.dll", sound}},
         1,
         "missing: api-ms-win-v-l1-1-0.dll (needed by game.exe)\n"
         "unusable: api-ms-\\..\\evil.dll: is a path, which isn't followed (needed by game.exe)\n"
         "unusable: \\\\v\\v.dll: is a path, which isn't followed (needed by game.exe)\n"
         "unusable: v:v.dll: is a path, which isn't followed (needed by game.exe)\n",
         {}},
        {"libraries of no use",
         {{L"game.exe", ProgramBytes({"text.dll", "cut.dll", "names.dll", "wide.dll", "v\n.dll"})},
          {L"text.dll", "This is no library, but long enough to be one. " + std::string(400, '.')},
          {L"cut.dll", sound.substr(0, sectionsOffset + 10)},
          {L"names.dll", nameless},
          {L"wide.dll", wide}},
         1,
         "unusable: text.dll: C:\\",
         {"\\cut.dll is damaged: its list of imports can't be read (needed by game.exe)\n",
          "\\names.dll is damaged: its list of imports can't be read (needed by game.exe)\n",
          "\\wide.dll is a 64-bit library, which a 32-bit program can't use (needed by",
          "missing: v-none.dll (needed by game.exe, via names.dll)\n", "missing: v .dll (needed"}},
        {"a 64-bit program", {{L"game.exe", wide}}, 0, "a 64-bit program: only of 32-bit", {}},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        for (auto const & [name, bytes] : each.files)
            m_folder.Write(name, bytes);
        std::string const output = Run(each.code, L"peinspect", L"game.exe");
        EXPECT_EQ(each.begin, output.substr(0, each.begin.size()));
        for (char const * text : each.says)
            EXPECT_NE(output.npos, output.find(text)) << text << "\n" << output;
        for (auto const & file : each.files)
            std::filesystem::remove(file.first);
    }
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
    std::wstring const file = ProgramBeside(L"subject-signed.dll");
    if (!std::filesystem::exists(file.substr(1, file.size() - 2)))
        GTEST_SKIP() << "no signed file: openssl or osslsigncode was missing in the build";
    Run(0, L"peinspect", file, "  version 9.8.7.6, of the product 1.2.3.4\n");
    Run(0, L"peinspect", file, "serial number 01020a (not verified)\n");
}

} // namespace Velmora::Testing
