#pragma once

#include <string>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora::Testing
{

/// A program that runs beside the test, without a window. It is killed if it outlives the object.
class ChildProcess
{
public:
    /// Starts \p commandLine, whose first word is the program; throws if that can't be done. What it
    /// prints is dropped, unless \p outputFile names a file for it.
    explicit ChildProcess(std::wstring commandLine, std::wstring const & outputFile = L"NUL");
    ~ChildProcess();
    ChildProcess(ChildProcess const &) = delete;
    ChildProcess & operator=(ChildProcess const &) = delete;

    /// Waits for its end; throws if that takes longer than a minute.
    /// \return all 32 bits of the exit code
    DWORD Wait();

    /// Waits at most \p milliseconds; true if it has ended.
    bool HasEnded(DWORD milliseconds) const;

    /// Waits until \p object is signalled; false if the program ends, or hangs, before that.
    bool Signals(HANDLE object) const;

    /// Ends it in the middle of whatever it does, and waits until it is gone.
    void Kill();

private:
    ScopedKernelObject m_process;
};

/// Runs a program to its end. \return its exit code
DWORD RunProgram(std::wstring const & commandLine, std::wstring const & outputFile = L"NUL");

/// Full path, in quotes, of a program that lies beside the test program.
std::wstring ProgramBeside(std::wstring const & name);

/// Command line that starts this test program again with \p arguments, which mustn't be empty.
std::wstring ThisProgram(std::wstring const & arguments);

} // namespace Velmora::Testing
