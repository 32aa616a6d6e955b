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

    /// Expects the exit code, and texts in what the program tells, in their order. \return all that it
    ///     tells
    template <class... Texts>
    std::string Run(DWORD code, std::wstring const & program, std::wstring const & arguments,
                    Texts const &... says)
    {
        EXPECT_EQ(code, RunProgram(ProgramBeside(program + L".exe") + L" " + arguments, L"output"));
        std::string output = ReadBytes(L"output");
        output.erase(std::remove(output.begin(), output.end(), '\r'), output.end());
        SCOPED_TRACE(output);
        std::size_t at = 0;
        for (std::string const & text : std::initializer_list<std::string>{says...})
            EXPECT_NE(output.npos, at = output.find(text, at)) << text;
        return output;
    }

    TemporaryFolder m_folder; // the current directory
};

} // namespace Velmora::Testing
