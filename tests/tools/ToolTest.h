#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

/// Runs programs that lie beside the test, in a fresh current directory.
class ToolTest : public ::testing::Test
{
protected:
    ToolTest() { SetCurrentDirectoryW(m_folder.Path().c_str()); }
    ~ToolTest() override { SetCurrentDirectoryW(L"C:\\"); }

    /// Expects the exit code and a text in what the program tells. \return all that it tells
    std::string Run(DWORD code, std::wstring const & program, std::wstring const & arguments,
                    std::string const & says = "")
    {
        DWORD const ended =
            RunProgram(ProgramBeside(program + L".exe") + L" " + arguments, L"output");
        std::string output = ReadBytes(L"output");
        output.erase(std::remove(output.begin(), output.end(), '\r'), output.end());
        EXPECT_EQ(code, ended) << testing::PrintToString(arguments) << "\n" << output;
        EXPECT_NE(output.npos, output.find(says)) << says << "\n" << output;
        return output;
    }

    TemporaryFolder m_folder; // the current directory
};

} // namespace Velmora::Testing
