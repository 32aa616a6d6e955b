#include "tests/support/ChildProcess.h"

#include <stdexcept>

#include "VelmoraCommon/frame/GMSharedLibrary.h"

namespace Velmora::Testing
{

namespace
{

constexpr DWORD patience = 60000; // milliseconds; only a hang takes that long

ScopedFile OpenOutput(std::wstring const & path)
{
    SECURITY_ATTRIBUTES inherited = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return ScopedFile(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  &inherited, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

} // namespace

ChildProcess::ChildProcess(std::wstring commandLine, std::wstring const & outputFile)
{
    ScopedFile const output = OpenOutput(outputFile);
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = INVALID_HANDLE_VALUE;
    startup.hStdOutput = output.Get();
    startup.hStdError = output.Get();
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, DETACHED_PROCESS,
                        nullptr, nullptr, &startup, &started))
    {
        throw std::runtime_error("ChildProcess: not started");
    }
    CloseHandle(started.hThread);
    m_process = ScopedKernelObject(started.hProcess);
}

ChildProcess::~ChildProcess() { Kill(); }

DWORD ChildProcess::Wait()
{
    if (!HasEnded(patience))
        throw std::runtime_error("ChildProcess: doesn't end");
    DWORD code = 0;
    GetExitCodeProcess(m_process.Get(), &code);
    return code;
}

bool ChildProcess::HasEnded(DWORD milliseconds) const
{
    return WaitForSingleObject(m_process.Get(), milliseconds) == WAIT_OBJECT_0;
}

bool ChildProcess::Signals(HANDLE object) const
{
    HANDLE const objects[] = {object, m_process.Get()};
    return WaitForMultipleObjects(2, objects, FALSE, patience) == WAIT_OBJECT_0;
}

void ChildProcess::Kill()
{
    TerminateProcess(m_process.Get(), ERROR_PROCESS_ABORTED);
    WaitForSingleObject(m_process.Get(), patience);
}

DWORD RunProgram(std::wstring const & commandLine, std::wstring const & outputFile)
{
    return ChildProcess(commandLine, outputFile).Wait();
}

std::wstring ProgramBeside(std::wstring const & name)
{
    std::wstring const self = GMSharedLibrary::GetModuleFullName(nullptr);
    return L"\"" + self.substr(0, self.rfind(L'\\') + 1) + name + L"\"";
}

std::wstring ThisProgram(std::wstring const & arguments)
{
    return L"\"" + GMSharedLibrary::GetModuleFullName(nullptr) + L"\" " + arguments;
}

} // namespace Velmora::Testing
