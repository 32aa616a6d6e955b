#pragma once

#include <string>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Runs a console program without a window and catches what it writes to its two output streams.
///
/// One child at a time: Stop comes before the next Start, or the handles of the last one are lost.
/// The object owns the child's handle and the pipes, and its destructor ends the child. A copy shares
/// the handles without counting, so pass the object by reference. Use it from one thread at a time.
///
/// A child that writes more than a pipe holds waits for its reader, so a caller that wants the output
/// reads while it waits, best by ReadJoin. Texts of the streams are bytes in the child's code page.
class VELMORA_API GMProcessShell
{
public:
    /// \param program path of the program; with blanks it is put in quotes. Empty: \p arguments is the
    ///     whole command line.
    /// \param arguments the rest of the command line, unchanged
    GMProcessShell(GMString const & program, GMString const & arguments);

    /// As Stop(0).
    ~GMProcessShell();

    /// Starts the child, and gives it \p input as its standard input. The input has no end: a child
    /// that reads up to one reads for ever. One that is longer than a pipe holds is waited for until
    /// the child has read it. Without \p input the child has no standard input.
    /// \return false if the child doesn't run; one that didn't take its input is ended. Pipes that were
    ///     made before one couldn't be are closed by the destructor.
    bool Start(std::string input);

    /// What waits in the child's output; empty at once if nothing does.
    std::string ReadStdout();

    /// The same for its error stream.
    std::string ReadStdError();

    /// Appends what the child writes until it ends.
    /// \param timeoutMs in milliseconds, of which full hundreds count; INFINITE for no limit in
    ///     practice. Below 100 nothing is read, and the result is false.
    /// \return whether the child has ended; if not, it runs on, and what was read stays. True for an
    ///     object without a child.
    bool ReadJoin(std::string & out, std::string & err, unsigned long timeoutMs);

    /// Waits for the child's end, at most \p timeoutMs milliseconds. True without a child.
    bool Join(unsigned long timeoutMs);

    /// False without a child.
    bool IsRunning();

    /// The child's exit code, STILL_ACTIVE while it runs; 0 without a child.
    unsigned long GetExitCode();

    /// Ends the child with \p exitCode. The handles stay open, so its code and output can be read.
    bool Terminal(unsigned long exitCode);

    /// Ends the child with \p exitCode if it still runs, and closes all handles.
    void Stop(unsigned long exitCode);

private:
    bool MakePipes(bool withInput);
    void CloseAllHandle();

    GMString m_program;
    GMString m_arguments;
    HANDLE m_process;    // null without a child, as the ends of the pipes are
    HANDLE m_inputWrite; // the three that the parent uses ...
    HANDLE m_outputRead;
    HANDLE m_errorRead;
    HANDLE m_inputRead; // ... and the three that the child inherits
    HANDLE m_outputWrite;
    HANDLE m_errorWrite;
};

} // namespace Velmora
