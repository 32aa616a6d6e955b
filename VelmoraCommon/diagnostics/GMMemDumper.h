#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Turns an unhandled exception of the process into a minidump and a started reporter, a program of
/// the client's own.
///
/// Install on the object of GMMemDumperSingleton, once at the start of the program: DefaultExceptHanler
/// reads that object. The reporter is started as
///
///     REPORTER -module=N -caption=TEXT -version=TEXT -dumpFile="PATH" -arguments="LINE"
///              [-exeFile="PATH"] [-background]
///
/// where LINE is the command line of the process with `'` for each `"`. Caption and version have no
/// quotes: a blank in them parts them for the reporter. The dump lies in the folder for temporary files
/// and is the reporter's to remove.
class VELMORA_API GMMemDumper
{
public:
    /// A filter for exceptions that nobody handles, as the system calls it.
    using Filter = long(__stdcall *)(_EXCEPTION_POINTERS *);

    /// Keeps what the reporter is to be told, and sets the filter of the process in place of the one
    /// before. \p executable may be empty; \p background asks the reporter not to show itself.
    /// \param filter DefaultExceptHanler, another one, or null for the system's own behaviour
    /// \return false if crash handling is turned off on this machine, by a number "NoDump" of 1 below
    ///     `HKEY_LOCAL_MACHINE\Software\CrashReporter`; the filter is then left alone
    bool Install(GMString const & reporter, int module, GMString const & caption,
                 GMString const & version, GMString const & executable, bool background,
                 Filter filter);

    /// Writes the dump, starts the reporter and ends the process with the exception's code, which it
    /// also does where no dump can be written; no reporter is started then. Takes `dbghelp.dll` when
    /// it is called, and heap: a crash that has damaged the heap may end without a report.
    /// \return in case the process can't be ended: whether there is a dump
    static long __stdcall DefaultExceptHanler(_EXCEPTION_POINTERS * exception);

private:
    bool Report(_EXCEPTION_POINTERS * exception, DWORD threadId) const;
    GMString ReporterArguments(GMString const & dumpFile) const;

    struct Crash;
    static DWORD WINAPI ReportCrash(void * crash);

    GMString m_reporter;
    int m_module = 0;
    GMString m_caption;
    GMString m_version;
    GMString m_executable;
    bool m_background = false;
};

} // namespace Velmora
