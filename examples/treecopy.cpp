// treecopy: copies a directory tree with several workers.
//
//   1. The tree is looked through: its directories are made in the destination, its files listed.
//   2. Each worker takes the next file from the list, writes it under a temporary name beside its
//      target and renames it when it is whole. So whatever ends the program, a target is the old
//      file or the new one, and never a torn one.
//   3. Meanwhile the main thread reports: failures as they come, and the progress on a console.
//
// Files that are in the way are replaced, others in the destination stay. Copied are contents, times
// of files and their attributes. Links to directories are left out, for they may lead anywhere.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFindFile.h"
#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/threads/GMBaseEvent.h"
#include "VelmoraCommon/threads/GMFuncTaskList.h"
#include "VelmoraCommon/threads/GMMutexLock.h"
#include "VelmoraCommon/threads/GMThread.h"
#include "examples/Messages.h"

using namespace Velmora;

namespace
{

constexpr char usage[] =
    "treecopy [--workers N] SOURCE DESTINATION\n"
    "Copies all below the directory SOURCE into DESTINATION, with 1 to 64 workers (4).\n"
    "Ends with 0 if all was copied, 1 if something wasn't, 2 for a wrong command line,\n"
    "and 3 if it was stopped by Ctrl+C.\n";

enum ExitCode
{
    everythingCopied = 0,
    somethingFailed = 1,
    wrongArguments = 2,
    stoppedByUser = 3
};

// ---- Messages ----------------------------------------------------------------------------------

/// \p path without the prefix that lifts the limit of its length.
GMString Shown(GMString const & path)
{
    GMString const prefix = L"\\\\?\\";
    GMString const serverPrefix = prefix + L"UNC";
    if (GMStringUtils::BeginWith(path, serverPrefix))
        return L"\\" + path.substr(serverPrefix.size());
    return GMStringUtils::BeginWith(path, prefix) ? path.substr(prefix.size()) : path;
}

/// Fails with the system's reason unless \p done.
void Require(bool done, GMString const & path)
{
    if (unsigned long const code = GetLastError(); !done)
        throw Failure{Shown(path) + L": " + SystemMessage(code)};
}

// ---- Stopping ----------------------------------------------------------------------------------

std::atomic<bool> s_stopped = false;

/// Ends an operation because the user wants so.
struct Stopped
{
};

BOOL WINAPI StopOnControl(DWORD event)
{
    s_stopped = true;
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        GMThread::Sleep(INFINITE); // the console closes: our time ends when this returns
    return TRUE;
}

// ---- Paths -------------------------------------------------------------------------------------

constexpr unsigned long pathSize = 32768; // of the longest path, with its NUL

/// What a system call wrote; empty if it failed or the text didn't fit.
GMString Written(wchar_t const * path, unsigned long length)
{
    return length < pathSize ? GMString(path, length) : GMString();
}

/// The path of an existing directory without links, in the form that has no limit of length; empty
/// if there is none.
GMString FinalPath(GMString const & directory)
{
    GMFile file;
    wchar_t path[pathSize];
    if (!file.Create(directory, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                     OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS))
    {
        return GMString();
    }
    return Written(path, GetFinalPathNameByHandleW(file.GetHandle(), path, pathSize, 0));
}

/// The same for a path of which only the upper directories need exist; without `\` at its end.
GMString RealPath(GMString const & path)
{
    wchar_t full[pathSize];
    GMString existing = Written(full, GetFullPathNameW(path.c_str(), pathSize, full, nullptr));
    GMString missing;
    for (;;)
    {
        GMStringUtils::TrimRight(existing, L"\\");
        GMString real = existing.empty() ? existing : FinalPath(existing + L"\\");
        if (!real.empty())
        {
            GMStringUtils::TrimRight(real, L"\\");
            return real + missing;
        }
        GMString::size_type const end = existing.rfind(L'\\');
        Require(end != GMString::npos, path); // above a drive or a server there is nothing
        missing.insert(0, existing, end);
        existing.erase(end);
    }
}

/// Whether \p path is \p directory or lies below it.
bool IsWithin(GMString const & path, GMString const & directory)
{
    return GMStringUtils::BeginWithNoCase(path + L"\\", directory + L"\\");
}

// ---- Copying -----------------------------------------------------------------------------------

constexpr DWORD copiedAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                   FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;

/// How much of the work is done.
struct Progress
{
    std::size_t files;
    std::size_t allFiles;
    unsigned __int64 bytes;
    unsigned __int64 allBytes;
};

/// One tree on its way. Plan first, then Start, and then ask until it is finished.
class TreeCopy
{
public:
    /// Both are real paths; the destination need not exist.
    TreeCopy(GMString const & source, GMString const & destination)
        : m_source(source),
          m_destination(destination)
    {
        m_finished.Create(true, false, nullptr, nullptr);
    }

    /// Makes the directories and lists the files. What fails is reported and left out.
    void Plan()
    {
        GMFilePathUtils::CreateDirectories(GMFileName::GetParentDirectory(m_destination));
        std::vector<GMString> pending{GMString()}; // below the source
        while (!pending.empty() && !s_stopped)
        {
            GMString const directory = pending.back();
            pending.pop_back();
            OrReport([&] { PlanDirectory(directory, pending); });
        }
    }

    void Start(unsigned int workers)
    {
        m_working = workers;
        m_workers = std::make_unique<GMFuncTaskList>(workers);
        for (unsigned int i = 0; i < workers; ++i)
            m_workers->AddFunc([](void * self) { static_cast<TreeCopy *>(self)->Work(); }, this);
    }

    /// Waits at most that long.
    bool IsFinished(unsigned int milliseconds)
    {
        return m_finished.TimeLock(milliseconds) == WAIT_OBJECT_0;
    }

    Progress GetProgress() const { return {m_copied, m_files.size(), m_bytes, m_allBytes}; }
    unsigned int Directories() const { return m_directories; }
    unsigned int Failures() const { return m_failures; }

    /// What is to be told since the last call.
    std::vector<GMString> TakeReports()
    {
        GMMutexLock const lock(&m_mutex);
        return std::exchange(m_reports, {});
    }

private:
    struct File
    {
        GMString path; // below the source
        DWORD attributes;
    };

    void PlanDirectory(GMString const & directory, std::vector<GMString> & pending)
    {
        GMString const target = m_destination + directory;
        Require(GMFilePathUtils::IsDirectory(target) || CreateDirectoryW(target.c_str(), nullptr),
                target);
        ++m_directories;

        GMFindFile find;
        GMFileInfo info;
        bool found = find.FindFirst(m_source + directory + L"\\*", info);
        for (; found; found = find.FindNext(info))
        {
            GMString const path = directory + L"\\" + info.GetFileName();
            if (!info.IsDir())
            {
                m_files.push_back({path, static_cast<DWORD>(info.GetAttribuite())});
                m_allBytes += info.GetSize();
            }
            else if ((info.GetAttribuite() & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
                Report(Shown(m_source + path) + L": left out, a link to a directory");
            else if (!info.IsDots())
                pending.push_back(path);
        }
        Require(GetLastError() == ERROR_NO_MORE_FILES ||
                    GetLastError() == ERROR_FILE_NOT_FOUND, // an empty drive lists not even "."
                m_source + directory);
    }

    /// The life of a worker.
    void Work()
    {
        OrReport(
            [this]
            {
                GMBuffer<unsigned char> block(1 << 20);
                for (std::size_t i; !s_stopped && (i = m_next++) < m_files.size();)
                    OrReport([&] { CopyFileOf(i, block); });
            });
        if (--m_working == 0)
            m_finished.Set();
    }

    void CopyFileOf(std::size_t index, GMBuffer<unsigned char> & block)
    {
        File const & file = m_files[index];
        GMString const target = m_destination + file.path;
        GMString const part =
            GMFileName::GetDirectory(target) +
            GMStringUtils::FormatResult(L"\\~treecopy-%u-%u.tmp", GetCurrentProcessId(),
                                        static_cast<unsigned int>(index));
        unsigned __int64 bytes = 0;
        try
        {
            CopyContent(m_source + file.path, part, target, block, bytes);
            Require(SetFileAttributesW(part.c_str(), file.attributes & copiedAttributes), target);
            Require(MoveFileExW(part.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING), target);
            ++m_copied;
        }
        catch (...)
        {
            GMFilePathUtils::RemoveFile(part);
            m_bytes -= bytes;
            throw;
        }
    }

    /// Failures name the file that can't be read, or the one that was to be written.
    void CopyContent(GMString const & source, GMString const & part, GMString const & target,
                     GMBuffer<unsigned char> & block, unsigned __int64 & bytes)
    {
        GMFile from;
        GMFile to;
        FILETIME creation, access, write;
        Require(from.Create(source, GENERIC_READ,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING,
                            FILE_FLAG_SEQUENTIAL_SCAN) &&
                    from.GetTime(creation, access, write),
                source);
        Require(to.Create(part, GENERIC_WRITE, 0, CREATE_NEW, FILE_ATTRIBUTE_NORMAL), target);
        for (;;)
        {
            if (s_stopped)
                throw Stopped();
            unsigned int size = 0;
            Require(from.Read(block.m_data, block.m_capacity, size), source);
            if (size == 0)
                break;
            Require(to.Write(block.m_data, size, size), target);
            bytes += size;
            m_bytes += size;
        }
        Require(to.SetTime(creation, access, write) && to.Close(), target);
    }

    template <class Step>
    void OrReport(Step step)
    {
        try
        {
            return step();
        }
        catch (Stopped const &)
        {
            return;
        }
        catch (Failure const & failure)
        {
            Report(failure.text);
        }
        catch (std::bad_alloc const &)
        {
            Report(SystemMessage(ERROR_NOT_ENOUGH_MEMORY));
        }
        ++m_failures;
    }

    void Report(GMString const & text)
    {
        GMMutexLock const lock(&m_mutex);
        m_reports.push_back(text);
    }

    GMString m_source;
    GMString m_destination;
    std::vector<File> m_files; // not changed once the workers have started
    unsigned __int64 m_allBytes = 0;
    unsigned int m_directories = 0;

    std::atomic<std::size_t> m_next = 0;       // the file that the next worker takes
    std::atomic<std::size_t> m_copied = 0;     // files
    std::atomic<unsigned __int64> m_bytes = 0; // of them, and of those under way
    std::atomic<unsigned int> m_failures = 0;
    std::atomic<unsigned int> m_working = 0; // workers
    GMBaseEvent m_finished;                  // no worker works any more
    GMMutex m_mutex;                         // guards the reports
    std::vector<GMString> m_reports;
    std::unique_ptr<GMFuncTaskList> m_workers; // last, for its end is waited for first
};

// ---- Telling -----------------------------------------------------------------------------------

/// Tells how a copy goes on: failures line by line, and on a console one more line that is rewritten.
class Teller
{
public:
    explicit Teller(TreeCopy & copy) : m_copy(copy), m_begin(GetTickCount64())
    {
        DWORD mode = 0;
        m_isConsole = GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) != FALSE;
    }

    void TellReports()
    {
        for (GMString const & report : m_copy.TakeReports())
        {
            Rewrite(L"");
            Print(stderr, report);
        }
    }

    void TellProgress()
    {
        Progress const now = m_copy.GetProgress();
        // A file takes its time, however small it is: as much as this many bytes.
        constexpr double bytesOfAFile = 64 * 1024;
        double const done =
            static_cast<double>(now.bytes) + bytesOfAFile * static_cast<double>(now.files);
        double const all =
            static_cast<double>(now.allBytes) + bytesOfAFile * static_cast<double>(now.allFiles);
        GMString line =
            Figures(now) + L", " +
            Size(static_cast<unsigned __int64>(static_cast<double>(now.bytes) / Seconds())) + L"/s";
        if (done > 0 && done <= all)
        {
            auto const left = static_cast<unsigned int>(Seconds() * (all / done - 1));
            line += GMStringUtils::FormatResult(L", %u:%02u left", left / 60, left % 60);
        }
        Rewrite(line);
    }

    void TellSummary()
    {
        Rewrite(L"");
        Print(stdout,
              (s_stopped ? L"stopped: " : L"") + Figures(m_copy.GetProgress()) +
                  GMStringUtils::FormatResult(L" copied into %u directories in %.1f s; %u failures",
                                              m_copy.Directories(), Seconds(), m_copy.Failures()));
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

    void Rewrite(GMString const & line)
    {
        if (!m_isConsole)
            return;
        // Blanks go over the rest of a longer line.
        GMString const text = line + GMString(m_width - std::min(m_width, line.size()), L' ');
        std::printf("\r%s%s", GMStringConvert::GMStringToUtf8(text).c_str(),
                    line.empty() ? "\r" : "");
        std::fflush(stdout);
        m_width = line.size();
    }

    TreeCopy & m_copy;
    ULONGLONG m_begin; // milliseconds
    bool m_isConsole;
    std::size_t m_width = 0; // of the line on the console
};

// ---- Command line ------------------------------------------------------------------------------

struct Options
{
    std::vector<GMString> paths;
    unsigned int workers = 4;
};

bool ReadOptions(int argc, wchar_t ** argv, Options & options)
{
    for (int i = 1; i < argc; ++i)
    {
        GMString const argument = argv[i];
        if (argument == L"--workers" && i + 1 < argc)
        {
            GMString const number = argv[++i];
            options.workers = GMStringUtils::ToUInt32(number);
            if (!GMStringUtils::IsDigits(number) || number.size() > 2)
                return false;
        }
        else if (GMStringUtils::BeginWith(argument, L"--"))
            return false;
        else
            options.paths.push_back(argument);
    }
    return options.paths.size() == 2 && options.workers >= 1 && options.workers <= 64;
}

ExitCode Run(Options const & options)
{
    if (!GMFilePathUtils::IsDirectory(options.paths[0]))
        throw Failure{options.paths[0] + L": isn't a directory"};
    GMString const source = RealPath(options.paths[0]);
    GMString const destination = RealPath(options.paths[1]);
    if (IsWithin(destination, source) || IsWithin(source, destination))
        throw Failure{options.paths[1] + L": neither directory may lie within the other"};

    TreeCopy copy(source, destination);
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
        return stoppedByUser;
    return copy.Failures() == 0 ? everythingCopied : somethingFailed;
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    Options options;
    if (!ReadOptions(argc, argv, options))
    {
        std::fputs(usage, stderr);
        return wrongArguments;
    }
    SetConsoleCtrlHandler(&StopOnControl, TRUE);
    try
    {
        return Run(options);
    }
    catch (Failure const & failure)
    {
        Print(stderr, failure.text);
        return somethingFailed;
    }
}
