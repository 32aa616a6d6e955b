#include "VelmoraCommon/frame/GMEnvironmentVariable.h"
#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/shell/GMShellUtils.h"

#include <algorithm>
#include <array>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/support/ImportHook.h"

using namespace Velmora;
using namespace Velmora::Testing;

namespace
{

wchar_t variable[] = L"VELMORA_TEST_VARIABLE";

TEST(GMEnvironmentVariable, ReadsValuesOfEveryLength)
{
    for (std::size_t const length : {0, 1, 32000})
    {
        std::wstring const value(length, L'%');
        SetEnvironmentVariableW(variable, value.c_str());
        EXPECT_EQ(value, GMEnvironmentVariable::GetEnvironmentVar(variable));
    }
    SetEnvironmentVariableW(variable, nullptr);
    EXPECT_EQ(L"", GMEnvironmentVariable::GetEnvironmentVar(variable));
    EXPECT_EQ(L"", GMEnvironmentVariable::GetEnvironmentVar(nullptr));
}

TEST(GMShellUtils, ExpandsVariablesInPaths)
{
    SetEnvironmentVariableW(variable, L"C:\\value");
    EXPECT_EQ(
        L"C:\\value\\%VELMORA_NO_SUCH%\\100%",
        GMShellUtils::GetEnvironmentRealPath(L"%velmora_test_variable%\\%VELMORA_NO_SUCH%\\100%"));
}

int expansions = 0;
std::array<DWORD, 2> answers;

/// The n-th call writes a text and gives the n-th answer.
DWORD WINAPI AnsweringExpand(wchar_t const *, wchar_t * buffer, DWORD size)
{
    if (buffer != nullptr && size >= 2)
        std::copy_n(L"!", 2, buffer);
    return answers[static_cast<std::size_t>(expansions++ % 2)];
}

TEST(GMShellUtils, LeavesPathsAloneThatCannotBeExpanded)
{
    std::tuple<wchar_t const *, std::array<DWORD, 2>, int, wchar_t const *> const cases[] = {
        {L"C:\\plain", {2, 2}, 0, L"C:\\plain"},
        {L"%A%", {3, 2}, 2, L"!"},   // it became shorter
        {L"%A%", {0, 2}, 1, L"%A%"}, // no size
        {L"%A%", {2, 0}, 2, L"%A%"}, // the second call fails
        {L"%A%", {2, 3}, 2, L"%A%"}, // it became longer
    };
    ImportHook const hook("ExpandEnvironmentStringsW", &AnsweringExpand);
    for (auto const & [path, given, calls, result] : cases)
    {
        expansions = 0;
        answers = given;
        EXPECT_EQ(result, GMShellUtils::GetEnvironmentRealPath(path));
        EXPECT_EQ(calls, expansions);
    }
}

} // namespace
