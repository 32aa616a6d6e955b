#pragma once

#include <optional>
#include <string>

namespace Velmora::Testing
{

/// Something that a second process of the test program can do: an object at namespace scope, beside
/// the tests that start it as a ChildProcess. Parent and child find each other by named objects.
class ChildTask
{
public:
    /// Gets the argument that the parent gave, as it is; its result is the process's exit code.
    using Function = int (*)(std::wstring const & argument);

    /// \p name is unique in the program and has no blanks.
    ChildTask(wchar_t const * name, Function function);

    /// Starts the test program for this task alone.
    std::wstring CommandLine(std::wstring const & argument = L"") const;

private:
    wchar_t const * m_name;
};

/// For `main`: does the task that this process was started for; none if it wasn't.
std::optional<int> RunChildTask();

} // namespace Velmora::Testing
