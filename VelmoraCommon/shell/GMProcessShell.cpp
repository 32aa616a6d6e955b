#include "VelmoraCommon/shell/GMProcessShell.h"

#include <algorithm>
#include <utility>

namespace Velmora
{

namespace
{

constexpr DWORD passMilliseconds = 100; // the step in which ReadJoin counts its time

/// A child that writes has its next bytes ready within microseconds, far less than the shortest wait
/// of the system. So the first looks that find nothing come at once, and then with longer and longer
/// waits, in milliseconds.
constexpr unsigned int busyLooks = 200;
constexpr unsigned int longestWait = 20;

bool MakePipe(HANDLE & read, HANDLE & write)
{
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    return CreatePipe(&read, &write, &inherited, 0) != FALSE;
}

/// Appends what waits in \p pipe. \return whether there was something
bool AppendWaiting(HANDLE pipe, std::string & text)
{
    DWORD waiting = 0;
    if (!PeekNamedPipe(pipe, nullptr, 0, nullptr, &waiting, nullptr) || waiting == 0)
        return false;
    std::size_t const before = text.size();
    text.resize(before + waiting);
    DWORD got = 0;
    if (!ReadFile(pipe, text.data() + before, waiting, &got, nullptr))
        got = 0;
    text.resize(before + got);
    return got != 0;
}

} // namespace

GMProcessShell::GMProcessShell(GMString const & program, GMString const & arguments)
    : m_program(program),
      m_arguments(arguments),
      m_process(nullptr),
      m_inputWrite(nullptr),
      m_outputRead(nullptr),
      m_errorRead(nullptr),
      m_inputRead(nullptr),
      m_outputWrite(nullptr),
      m_errorWrite(nullptr)
{
}

GMProcessShell::~GMProcessShell()
{
    Stop(0);
    CloseAllHandle(); // pipes of a start that failed at the next one
}

bool GMProcessShell::MakePipes(bool withInput)
{
    if (!MakePipe(m_outputRead, m_outputWrite) || !MakePipe(m_errorRead, m_errorWrite) ||
        (withInput && !MakePipe(m_inputRead, m_inputWrite)))
    {
        return false;
    }
    auto const inherit = [](HANDLE end, DWORD flag)
    {
        if (end != nullptr) // without input there is no pipe for it
            SetHandleInformation(end, HANDLE_FLAG_INHERIT, flag);
    };
    for (HANDLE ours : {m_inputWrite, m_outputRead, m_errorRead})
        inherit(ours, 0);
    for (HANDLE theirs : {m_inputRead, m_outputWrite, m_errorWrite})
        inherit(theirs, HANDLE_FLAG_INHERIT);
    return true;
}

bool GMProcessShell::Start(std::string input)
{
    if (!MakePipes(!input.empty()))
        return false;

    bool const quote = m_program.find(L' ') != GMString::npos;
    GMString command = quote ? L"\"" + m_program + L"\"" : m_program;
    if (!command.empty() && !m_arguments.empty())
        command += L' ';
    command += m_arguments;

    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES | STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_HIDE;
    startup.hStdInput = m_inputRead;
    startup.hStdOutput = m_outputWrite;
    startup.hStdError = m_errorWrite;
    PROCESS_INFORMATION started = {};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                        &startup, &started))
    {
        CloseAllHandle();
        return false;
    }
    CloseHandle(started.hThread);
    m_process = started.hProcess;

    DWORD written = 0;
    if (!input.empty() && (!WriteFile(m_inputWrite, input.data(), static_cast<DWORD>(input.size()),
                                      &written, nullptr) ||
                           written != input.size()))
    {
        TerminateProcess(m_process, 0xFFFFFFFF);
        CloseAllHandle();
        return false;
    }
    return true;
}

std::string GMProcessShell::ReadStdout()
{
    std::string text;
    AppendWaiting(m_outputRead, text);
    return text;
}

std::string GMProcessShell::ReadStdError()
{
    std::string text;
    AppendWaiting(m_errorRead, text);
    return text;
}

bool GMProcessShell::ReadJoin(std::string & out, std::string & err, unsigned long timeoutMs)
{
    // A wait of a whole pass would let the child fill a pipe and then stand still for the rest of it,
    // so a pass looks again and again, as long as it lasts.
    unsigned long passes = timeoutMs == INFINITE ? INFINITE : timeoutMs / passMilliseconds;
    unsigned int idle = 0;
    auto const look = [&]
    {
        bool const outputCame = AppendWaiting(m_outputRead, out);
        bool const errorCame = AppendWaiting(m_errorRead, err);
        return outputCame || errorCame;
    };
    bool ended = false;
    for (; passes != 0 && !ended; --passes)
    {
        ULONGLONG const begin = GetTickCount64();
        do
        {
            if (look())
            {
                idle = 0;
                continue;
            }
            ended = Join(idle < busyLooks ? 0 : std::min(idle - busyLooks, longestWait));
            ++idle;
            SwitchToThread();
        } while (!ended && GetTickCount64() - begin < passMilliseconds);
        ended = ended || Join(0); // a child that ended may have left others who write
    }
    if (ended)
        look();
    return ended;
}

bool GMProcessShell::Join(unsigned long timeoutMs)
{
    return m_process == nullptr || WaitForSingleObject(m_process, timeoutMs) == WAIT_OBJECT_0;
}

bool GMProcessShell::IsRunning() { return !Join(0); }

unsigned long GMProcessShell::GetExitCode()
{
    DWORD code = 0;
    return GetExitCodeProcess(m_process, &code) ? code : 0;
}

bool GMProcessShell::Terminal(unsigned long exitCode)
{
    return TerminateProcess(m_process, exitCode) != FALSE;
}

void GMProcessShell::Stop(unsigned long exitCode)
{
    if (m_process == nullptr)
        return;
    if (IsRunning())
        TerminateProcess(m_process, exitCode);
    CloseAllHandle();
}

void GMProcessShell::CloseAllHandle()
{
    for (HANDLE * handle : {&m_process, &m_inputWrite, &m_outputRead, &m_errorRead, &m_inputRead,
                            &m_outputWrite, &m_errorWrite})
    {
        if (*handle != nullptr)
            CloseHandle(std::exchange(*handle, nullptr));
    }
}

} // namespace Velmora
