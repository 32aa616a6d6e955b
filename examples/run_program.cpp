// Runs a console program without a window and shows what it writes while it runs.
//
//   run_program SECONDS PROGRAM [ARGUMENTS]
//
// Ends with the program's exit code; with 124 if it was still running after that many seconds and had
// to be ended.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "VelmoraCommon/shell/GMProcessShell.h"

using namespace Velmora;

namespace
{

constexpr int wrongCall = 2;
constexpr int notStarted = 127;
constexpr int tookTooLong = 124;

/// Passes on what has come since the last call, byte by byte as the program wrote it.
void Show(std::string & out, std::string & err)
{
    std::fwrite(out.data(), 1, out.size(), stdout);
    std::fwrite(err.data(), 1, err.size(), stderr);
    std::fflush(stdout);
    out.clear();
    err.clear();
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    int const seconds = argc < 3 ? 0 : static_cast<int>(std::wcstol(argv[1], nullptr, 10));
    if (seconds <= 0)
    {
        std::fputs("usage: run_program SECONDS PROGRAM [ARGUMENTS]\n", stderr);
        return wrongCall;
    }
    GMString arguments;
    for (int i = 3; i < argc; ++i)
    {
        bool const quote = GMString(argv[i]).find(L' ') != GMString::npos;
        arguments += (i == 3 ? L"" : L" ") + (quote ? L"\"" + GMString(argv[i]) + L"\"" : argv[i]);
    }

    GMProcessShell shell(argv[2], arguments);
    if (!shell.Start(""))
    {
        std::fprintf(stderr, "%ls can't be started\n", argv[2]);
        return notStarted;
    }
    std::string out;
    std::string err;
    for (int tenths = 0; tenths < seconds * 10; ++tenths)
    {
        bool const ended = shell.ReadJoin(out, err, 100); // milliseconds
        Show(out, err);
        if (ended)
            return static_cast<int>(shell.GetExitCode());
    }
    std::fprintf(stderr, "still running after %d s; ended\n", seconds);
    shell.Stop(tookTooLong);
    return tookTooLong;
}
