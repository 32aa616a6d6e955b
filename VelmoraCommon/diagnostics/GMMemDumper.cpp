#include "VelmoraCommon/diagnostics/GMMemDumper.h"

#include "VelmoraCommon/diagnostics/GMMemDumperSingleton.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "VelmoraCommon/frame/internal/SystemText.h"
#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/text/GMStringUtils.h"

#include <dbghelp.h>
#include <shellapi.h>

namespace Velmora
{
namespace
{

constexpr wchar_t switchKey[] = L"Software\\CrashReporter";
constexpr wchar_t switchName[] = L"NoDump";
constexpr std::size_t longestDumpName = 262; // units with the NUL
// Milliseconds. The thread that crashed may hold what the reporting one waits for.
constexpr DWORD reportPatience = 120000;

bool WriteDump(GMString const & path, _EXCEPTION_POINTERS * exception, DWORD threadId,
               SystemFunction<decltype(::MiniDumpWriteDump)> const & writeDump)
{
    ScopedFile const file(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_WRITE, nullptr,
                                      CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    MINIDUMP_EXCEPTION_INFORMATION information = {threadId, exception, FALSE};
    return file && writeDump(GetCurrentProcess(), GetCurrentProcessId(), file.Get(), MiniDumpNormal,
                             &information, nullptr, nullptr);
}

} // namespace

bool GMMemDumper::Install(GMString const & reporter, int module, GMString const & caption,
                          GMString const & version, GMString const & executable, bool background,
                          Filter filter)
{
    m_reporter = reporter;
    m_module = module;
    m_caption = caption;
    m_version = version;
    m_executable = executable;
    m_background = background;

    GMRegFile registry;
    unsigned long noDump = 0;
    if (registry.OpenKey(HKEY_LOCAL_MACHINE, switchKey, KEY_QUERY_VALUE, false) &&
        registry.GetValue(switchName, noDump) && noDump == 1)
    {
        return false;
    }
    SetUnhandledExceptionFilter(filter);
    return true;
}

GMString GMMemDumper::ReporterArguments(GMString const & dumpFile) const
{
    GMString ownLine = GetCommandLineW();
    GMStringUtils::Replace(ownLine, L'"', L'\'');
    GMString line = L"-module=" + GMStringUtils::ToString(m_module) + L" -caption=" + m_caption +
                    L" -version=" + m_version + L" -dumpFile=\"" + dumpFile + L"\" -arguments=\"" +
                    ownLine + L'"';
    if (!m_executable.empty())
        line += L" -exeFile=\"" + m_executable + L'"';
    if (m_background)
        line += L" -background";
    return line;
}

/// \return whether there is a dump, be the reporter started or not
bool GMMemDumper::Report(_EXCEPTION_POINTERS * exception, DWORD threadId) const
{
    SystemFunction<decltype(::MiniDumpWriteDump)> const writeDump(L"dbghelp.dll",
                                                                  "MiniDumpWriteDump");
    GMString directory;
    if (!writeDump || !GMFileSystemUtils::MyGetTempPath(directory))
        return false;
    GMString const dumpFile = ReadFixedSystemText<longestDumpName>(
        [&](wchar_t * name) { return GetTempFileNameW(directory.c_str(), L"", 0, name) != 0; });
    if (dumpFile.empty() || !WriteDump(dumpFile, exception, threadId, writeDump))
        return false;
    ShellExecuteW(nullptr, L"open", m_reporter.c_str(), ReporterArguments(dumpFile).c_str(),
                  nullptr, SW_SHOW);
    return true;
}

/// What the reporting thread gets from the one that crashed, and gives back.
struct GMMemDumper::Crash
{
    _EXCEPTION_POINTERS * exception;
    DWORD threadId;
    bool isReported;
};

DWORD WINAPI GMMemDumper::ReportCrash(void * crash)
{
    auto & given = *static_cast<Crash *>(crash);
    try
    {
        given.isReported = GMMemDumperSingleton::Instance().Report(given.exception, given.threadId);
    }
    catch (...) // for want of memory
    {
    }
    return 0;
}

long __stdcall GMMemDumper::DefaultExceptHanler(_EXCEPTION_POINTERS * exception)
{
    DWORD const code = exception->ExceptionRecord->ExceptionCode;
    Crash crash = {exception, GetCurrentThreadId(), false};
    if (code == EXCEPTION_STACK_OVERFLOW) // what is left of the stack doesn't do for a dump
    {
        ScopedKernelObject const thread(CreateThread(nullptr, 0, &ReportCrash, &crash, 0, nullptr));
        if (thread)
            WaitForSingleObject(thread.Get(), reportPatience);
    }
    else
        ReportCrash(&crash);
    TerminateProcess(GetCurrentProcess(), code);
    return crash.isReported;
}

} // namespace Velmora
