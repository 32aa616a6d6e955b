#include "tests/tools/ToolTest.h"

namespace Velmora::Testing
{

using Examples = ToolTest;

TEST_F(Examples, ShowTheirFamily)
{
    Run(0, L"cmdline", L"-name=\"John Doe\" /Port:8080 -verbose Read.txt",
        "the port after this one is 8081\n"
        "With a key more:\n  Read.txt by=\"the example\" name=\"John Doe\" port=8080 verbose\n"
        "It reads back as it is.\n");
    Run(0, L"cmdline", L"-run=setup.exe -fast", "  fast\n  run = setup.exe\n");
    m_folder.Write(L"from\\a\\b", "12345");
    Run(0, L"copy_tree", L"from to", "1 files, 5B\nAll of it came over.\n");
    Run(0, L"dependencies", ProgramBeside(L"subject.dll"), "version 9.8.7.6\nnot signed\n");
    m_folder.Write(L"a.reg", "REGEDIT4\r\n[HKEY_CURRENT_USER\\VelmoraExample]\r\n\"a\"=\"b\"\r\n");
    for (int run = 0; run != 2; ++run) // which would find a key that the first one left
        Run(0, L"registry_undo", L"a.reg", "  -HKEY_CURRENT_USER\\VelmoraExample\nTaken back.\n");
}

TEST_F(Examples, AndToolsAnswerAlike)
{
    for (std::wstring const tool : {L"reginstall", L"treecopy", L"peinspect", L"machine"})
    {
        Run(0, tool, L"--help", "Usage: ");
        Run(0, tool, L"--version", "11.0.");
        Run(2, tool, L"--no-such", "not understood: --no-such\n");
    }
}

} // namespace Velmora::Testing
