#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <vector>

#include "VelmoraCommon/files/GMFileInfo.h"
#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/threads/GMBaseEvent.h"
#include "VelmoraCommon/threads/GMFuncTaskList.h"
#include "VelmoraCommon/threads/GMMutexLock.h"

namespace Tools
{

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
    /// Both are real paths; the destination need not exist. The work ends early once \p isStopped.
    TreeCopy(Velmora::GMString const & source, Velmora::GMString const & destination,
             std::atomic<bool> const & isStopped);

    /// Makes the directories, lists the files, and removes what a killed run left. What fails is
    /// reported and left out.
    void Plan();
    void Start(unsigned int workers);

    /// Waits at most that long.
    bool IsFinished(unsigned int milliseconds);

    Progress GetProgress() const { return {m_copied, m_files.size(), m_bytes, m_allBytes}; }
    unsigned int Directories() const { return m_made; }
    unsigned int Failures() const { return m_failures; }

    /// What is to be told since the last call.
    std::vector<Velmora::GMString> TakeReports();

private:
    struct File
    {
        Velmora::GMString path; // below the source
        DWORD attributes;
    };
    /// A directory of the source, with those on the way to it.
    struct Directory
    {
        Velmora::GMString path; // below the source
        Velmora::GMString real;
        Directory const * above; // null for the source
    };

    void PlanDirectory(Directory const & directory);
    Directory Entered(Directory const & above, Velmora::GMFileInfo const & info) const;
    void MakeDirectory(Velmora::GMString const & target) const;
    void Work();
    void CopyFileOf(std::size_t index, Velmora::GMBuffer<unsigned char> & block);
    void CopyContent(Velmora::GMString const & source, Velmora::GMString const & part,
                     Velmora::GMString const & target, Velmora::GMBuffer<unsigned char> & block,
                     unsigned __int64 & bytes);
    template <class Step>
    void OrReport(Step step);
    void Report(Velmora::GMString const & text);

    Velmora::GMString m_source;
    Velmora::GMString m_destination;
    std::atomic<bool> const & m_isStopped;
    std::vector<File> m_files; // not changed once the workers have started
    unsigned __int64 m_allBytes = 0;
    std::deque<Directory> m_directories; // found so far; their places don't change
    unsigned int m_made = 0;             // of them

    std::atomic<std::size_t> m_next = 0;       // the file that the next worker takes
    std::atomic<std::size_t> m_copied = 0;     // files
    std::atomic<unsigned __int64> m_bytes = 0; // of them, and of those under way
    std::atomic<unsigned int> m_failures = 0;
    std::atomic<unsigned int> m_working = 0; // workers
    Velmora::GMBaseEvent m_finished;         // no worker works any more
    Velmora::GMMutex m_mutex;                // guards the reports
    std::vector<Velmora::GMString> m_reports;
    std::unique_ptr<Velmora::GMFuncTaskList> m_workers; // last, for its end is waited for first
};

} // namespace Tools
