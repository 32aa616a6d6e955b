// treecopy: copies a directory tree with several workers.
//
//   1. The tree is looked through: its directories are made in the destination, its files listed.
//   2. Each worker takes the next file from the list, writes it under a temporary name beside its
//      target and renames it when it is whole. So whatever ends the program, a target is the old
//      file or the new one, and never a torn one.
//   3. Meanwhile the main thread reports: failures as they come, and the progress on a console.
//
// Files that are in the way are replaced, others in the destination stay. Copied are contents, times
// of files and their attributes. Links to directories are gone into like directories.

#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/threads/GMThread.h"
#include "tools/common/CommandLine.h"
#include "tools/common/Messages.h"
#include "tools/common/ProgressLine.h"
#include "tools/treecopy/Paths.h"
#include "tools/treecopy/TreeCopy.h"

using namespace Velmora;
using namespace Tools;

namespace
{

std::atomic<bool> s_stopped = false;

BOOL WINAPI StopOnControl(DWORD event)
{
    s_stopped = true;
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        GMThread::Sleep(INFINITE); // the console closes: our time ends when this returns
    return TRUE;
}

/// Tells how a copy goes on: failures line by line, and on a console one more line that is rewritten.
class Teller
{
public:
    explicit Teller(TreeCopy & copy) : m_copy(copy), m_begin(GetTickCount64()) {}

    void TellReports()
    {
        for (GMString const & report : m_copy.TakeReports())
        {
            m_line.Clear();
            Print(stderr, OnOneLine(report), Tone::bad);
        }
    }

    void TellProgress()
    {
        Progress const now = m_copy.GetProgress();
        // A file takes its time, however small it is: as much as this many bytes.
        constexpr double bytesOfAFile = 64 * 1024;
        double const ready =
            static_cast<double>(now.bytes) + bytesOfAFile * static_cast<double>(now.files);
        double const all =
            static_cast<double>(now.allBytes) + bytesOfAFile * static_cast<double>(now.allFiles);
        GMString line =
            Figures(now) + L", " +
            Size(static_cast<unsigned __int64>(static_cast<double>(now.bytes) / Seconds())) + L"/s";
        if (ready > 0 && ready <= all)
        {
            auto const left = static_cast<unsigned int>(Seconds() * (all / ready - 1));
            line += GMStringUtils::FormatResult(L", %u:%02u left", left / 60, left % 60);
        }
        m_line.Show(line);
    }

    void TellSummary()
    {
        m_line.Clear();
        Print(stdout,
              (s_stopped ? L"stopped: " : L"") + Figures(m_copy.GetProgress()) +
                  GMStringUtils::FormatResult(L" copied into %u directories in %.1f s; %u failures",
                                              m_copy.Directories(), Seconds(), m_copy.Failures()),
              m_copy.Failures() == 0 && !s_stopped ? Tone::good : Tone::warning);
    }

private:
    static GMString Size(unsigned __int64 bytes)
    {
        return GMStringUtils::GetFormatSize(bytes, true);
    }

    static GMString Figures(Progress const & now)
    {
        return GMStringUtils::FormatResult(L"%u of %u files, %s of %s",
                                           static_cast<unsigned int>(now.files),
                                           static_cast<unsigned int>(now.allFiles),
                                           Size(now.bytes).c_str(), Size(now.allBytes).c_str());
    }

    double Seconds() const { return static_cast<double>(GetTickCount64() - m_begin + 1) / 1000; }

    TreeCopy & m_copy;
    ULONGLONG m_begin; // milliseconds
    ProgressLine m_line;
};

struct Options
{
    GMString source;
    GMString destination;
    unsigned int workers = 4;
};

ExitCode Copy(Options const & options)
{
    SetConsoleCtrlHandler(&StopOnControl, TRUE);
    GMString const source = RealPath(options.source);
    if (!IsRealDirectory(source))
        throw Failure{options.source + L": isn't a directory"};
    GMString const destination = RealPath(options.destination);
    if (IsWithin(destination, source) || IsWithin(source, destination))
        throw Failure{options.destination + L": neither directory may lie within the other"};

    TreeCopy copy(source, destination, s_stopped);
    Teller teller(copy);
    copy.Plan();
    copy.Start(options.workers);
    while (!copy.IsFinished(200))
    {
        teller.TellReports();
        teller.TellProgress();
    }
    teller.TellReports();
    teller.TellSummary();
    if (s_stopped)
        return stopped;
    return copy.Failures() == 0 ? done : notAll;
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    Options options;
    CommandLine line("treecopy", "Copies all below one directory into another.");
    AddText(line, "SOURCE", options.source, "")->required();
    AddText(line, "DESTINATION", options.destination, "Made if it is missing")->required();
    line.add_option("--workers", options.workers, "How many copy at a time")
        ->check(CLI::Range(1u, 64u))
        ->capture_default_str();
    return line.Run(argc, argv, [&] { return Copy(options); });
}
