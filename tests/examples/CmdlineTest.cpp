#include <gtest/gtest.h>

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

TEST(Cmdline, ShowsWhatALineMeans)
{
    TemporaryFolder folder;
    std::wstring const output = folder.File(L"output.txt");
    std::wstring const arguments = L" -name=\"John Doe\" /Port:8080 -verbose Read.txt";
    EXPECT_EQ(0u, RunProgram(ProgramBeside(L"cmdline.exe") + arguments, output));
    EXPECT_EQ("All of it, in order:\r\n"
              "  Read.txt\r\n"
              "  name = John Doe\r\n"
              "  port = 8080\r\n"
              "  verbose\r\n"
              "Questions:\r\n"
              "  there is a key \"verbose\"\r\n"
              "  the name is John Doe\r\n"
              "  the port after this one is 8081\r\n"
              "With a key more:\r\n"
              "  Read.txt by=\"the example\" name=\"John Doe\" port=8080 verbose\r\n"
              "It reads back as it is.\r\n",
              ReadBytes(output));
}

} // namespace Velmora::Testing
