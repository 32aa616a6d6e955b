#include "VelmoraCommon/frame/GMEnvironmentVariable.h"
#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/shell/GMShellUtils.h"

#include <algorithm>
#include <array>
#include <string>
#include <tuple>

#include <shlobj.h>

#include <gtest/gtest.h>

#include "tests/support/ImportHook.h"

using namespace Velmora;
using namespace Velmora::Testing;

namespace
{

wchar_t variable[] = L"VELMORA_TEST_VARIABLE";

/// Sets the variable for a scope; null makes sure that it isn't there.
class VariableScope
{
public:
    explicit VariableScope(wchar_t const * value) { SetEnvironmentVariableW(variable, value); }
    ~VariableScope() { SetEnvironmentVariableW(variable, nullptr); }
};

TEST(GMEnvironmentVariable, ReadsValuesOfEveryLength)
{
    for (std::wstring const & value : {std::wstring(), std::wstring(L"x"),
                                       std::wstring(L"\x4e2d %PATH%"), std::wstring(32000, L'v')})
    {
        VariableScope const scope(value.c_str());
        EXPECT_EQ(value, GMEnvironmentVariable::GetEnvironmentVar(variable));
    }
    VariableScope const scope(nullptr);
    EXPECT_EQ(L"", GMEnvironmentVariable::GetEnvironmentVar(variable));
    EXPECT_EQ(L"", GMEnvironmentVariable::GetEnvironmentVar(nullptr));
}

decltype(&GetEnvironmentVariableW) originalGet = nullptr;

/// The variable grows after its length was told.
DWORD WINAPI GrowingVariable(wchar_t const * name, wchar_t * buffer, DWORD size)
{
    DWORD const result = originalGet(name, buffer, size);
    if (buffer == nullptr)
        SetEnvironmentVariableW(variable, L"grown meanwhile");
    return result;
}

TEST(GMEnvironmentVariable, IsWholeOrEmptyWhenItGrowsMeanwhile)
{
    VariableScope const scope(L"short");
    ImportHook const hook("GetEnvironmentVariableW", &GrowingVariable, originalGet);
    EXPECT_EQ(L"grown meanwhile", GMEnvironmentVariable::GetEnvironmentVar(variable));
}

TEST(GMShellUtils, ExpandsVariablesInPaths)
{
    VariableScope const scope(L"C:\\value");
    wchar_t const * const cases[][2] = {
        {L"%VELMORA_TEST_VARIABLE%\\a", L"C:\\value\\a"},
        {L"%velmora_test_variable%%VELMORA_TEST_VARIABLE%", L"C:\\valueC:\\value"},
        {L"%VELMORA_NO_SUCH%", L"%VELMORA_NO_SUCH%"},
        {L"100%", L"100%"},
    };
    for (auto const & [path, expanded] : cases)
        EXPECT_EQ(expanded, GMShellUtils::GetEnvironmentRealPath(path));
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
    using Text = wchar_t const *;
    std::tuple<char const *, Text, std::array<DWORD, 2>, int, Text> const cases[] = {
        {"nothing to expand", L"C:\\plain", {2, 2}, 0, L"C:\\plain"},
        {"expanded", L"%A%", {2, 2}, 2, L"!"},
        {"it became shorter", L"%A%", {3, 2}, 2, L"!"},
        {"no size", L"%A%", {0, 2}, 1, L"%A%"},
        {"second call fails", L"%A%", {2, 0}, 2, L"%A%"},
        {"it became longer", L"%A%", {2, 3}, 2, L"%A%"},
    };
    ImportHook const hook("ExpandEnvironmentStringsW", &AnsweringExpand);
    for (auto const & [what, path, given, calls, result] : cases)
    {
        SCOPED_TRACE(what);
        expansions = 0;
        answers = given;
        EXPECT_EQ(result, GMShellUtils::GetEnvironmentRealPath(path));
        EXPECT_EQ(calls, expansions);
    }
}

TEST(GMShellUtils, FindsSpecialFolders)
{
    wchar_t windows[MAX_PATH] = {};
    GetWindowsDirectoryW(windows, MAX_PATH);
    EXPECT_EQ(0, _wcsicmp(windows, GMShellUtils::GetSpecialFolderPath(CSIDL_WINDOWS).c_str()));
    EXPECT_EQ(L"", GMShellUtils::GetSpecialFolderPath(0x7F));
}

} // namespace
