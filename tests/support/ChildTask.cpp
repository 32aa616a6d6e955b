#include "tests/support/ChildTask.h"

#include <iterator>
#include <map>

#include "tests/support/ChildProcess.h"

namespace Velmora::Testing
{

namespace
{

constexpr wchar_t option[] = L"--child-task=";
constexpr int unknownTask = 250; // an exit code; to run the tests instead would start it again

std::map<std::wstring, ChildTask::Function> & Tasks()
{
    static std::map<std::wstring, ChildTask::Function> s_tasks;
    return s_tasks;
}

} // namespace

ChildTask::ChildTask(wchar_t const * name, Function function) : m_name(name)
{
    Tasks()[name] = function;
}

std::wstring ChildTask::CommandLine(std::wstring const & argument) const
{
    return ThisProgram(option + (m_name + (L" " + argument)));
}

std::optional<int> RunChildTask()
{
    std::wstring const command = GetCommandLineW();
    std::size_t const at = command.find(option);
    if (at == std::wstring::npos)
        return std::nullopt;
    std::size_t const name = at + std::size(option) - 1;
    std::size_t const blank = command.find(L' ', name);
    auto const task = Tasks().find(command.substr(name, blank - name));
    return task == Tasks().end() ? unknownTask : task->second(command.substr(blank + 1));
}

} // namespace Velmora::Testing
