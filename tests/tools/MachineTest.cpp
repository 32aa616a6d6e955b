#include <regex>

#include "VelmoraCommon/registry/GMRegUtils.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/tools/ToolTest.h"

namespace Velmora::Testing
{

using Machine = ToolTest;

TEST_F(Machine, TellsMemoryBeyondWmiAndScoresOfAFile)
{
    std::string const bare = Run(0, L"machine", L"--json", "\"graphics\": [");
    std::string const name = std::regex_replace(
        bare, std::regex("[^]*\"graphics\": \\[\\s*\\{\\s*\"name\": \"([^\"]*)[^]*"), "$1");
    GMString const adapter = GMStringConvert::Utf8ToGMString(name.c_str());
    GMString const driver =
        L"SYSTEM\\CurrentControlSet\\Control\\Class\\{4d36e968-e325-11ce-bfc1-08002be10318}\\9999";
    unsigned __int64 const size = 24ull << 30;
    GMRegUtils::SetStringValue(HKEY_LOCAL_MACHINE, driver, L"DriverDesc", adapter, 0);
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, driver.c_str(), L"HardwareInformation.qwMemorySize",
                    REG_QWORD, &size, sizeof(size));
    m_folder.Write(L"scores",
                   "# mine\r\n\r\n" + GMStringConvert::GMStringToUtf8(adapter) + " = 4000\r\n");
    std::string const report = Run(0, L"machine", L"--json --scores scores", "\"graphics\": 4000");
    EXPECT_NE(report.npos, report.find("\"memoryMB\": 24576")) << report;
    DeleteRegistryTree(HKEY_LOCAL_MACHINE, driver);
    EXPECT_NE(report.npos, report.find("\"internetCafe\": false"));
    Run(0, L"machine", L"", "Scores      processor ");
    for (char const * line : {"a", "= 1", "a =", "a = 1x", "a = 12345678901"})
    {
        m_folder.Write(L"scores", std::string("b = 1\n") + line);
        Run(3, L"machine", L"--scores scores", std::string(line) + ": not of the form");
    }
}

} // namespace Velmora::Testing
