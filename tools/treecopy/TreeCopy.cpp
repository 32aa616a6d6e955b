#include "tools/treecopy/TreeCopy.h"

#include <new>
#include <utility>

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFindFile.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "tools/common/Messages.h"
#include "tools/treecopy/Paths.h"

using namespace Velmora;

namespace Tools
{
namespace
{

constexpr DWORD copiedAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                   FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;

/// Ends an operation because the user wants so.
struct Stopped
{
};

// Temporary files carry the process and the moment of its start, so no other run has the same.
constexpr wchar_t temporaryNames[] = L"\\~treecopy-*-*.tmp";

GMString TemporaryName(std::size_t index)
{
    FILETIME start = {};
    FILETIME unused = {};
    GetProcessTimes(GetCurrentProcess(), &start, &unused, &unused, &unused);
    return GMStringUtils::FormatResult(L"\\~treecopy-%08x%08x%08x-%u.tmp", GetCurrentProcessId(),
                                       start.dwHighDateTime, start.dwLowDateTime,
                                       static_cast<unsigned int>(index));
}

/// What a killed run left. One that still runs keeps its file open, so that it can't be removed.
void RemoveLeftovers(GMString const & directory)
{
    std::vector<GMFileInfo> leftovers;
    GMFindFile::FindFiles(directory + temporaryNames, leftovers);
    for (GMFileInfo const & leftover : leftovers)
        GMFilePathUtils::RemoveFile(directory + L"\\" + leftover.GetFileName());
}

/// Gives \p part its name. A read-only file in the way counts as any other.
bool PutInPlace(GMString const & part, GMString const & target)
{
    auto const move = [&]
    { return MoveFileExW(part.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE; };
    if (move())
        return true;
    DWORD const code = GetLastError();
    DWORD const attributes = GetFileAttributesW(target.c_str());
    constexpr DWORD kind = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY;
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & kind) == FILE_ATTRIBUTE_READONLY &&
        SetFileAttributesW(target.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY}))
    {
        if (move())
            return true;
        SetFileAttributesW(target.c_str(), attributes);
    }
    SetLastError(code);
    return false;
}

} // namespace

TreeCopy::TreeCopy(GMString const & source, GMString const & destination,
                   std::atomic<bool> const & isStopped)
    : m_source(source),
      m_destination(destination),
      m_isStopped(isStopped)
{
    m_finished.Create(true, false, nullptr, nullptr);
}

void TreeCopy::Plan()
{
    m_directories.push_back({L"", m_source, nullptr});
    for (std::size_t i = 0; i < m_directories.size() && !m_isStopped; ++i)
        OrReport([&] { PlanDirectory(m_directories[i]); });
}

void TreeCopy::PlanDirectory(Directory const & directory)
{
    GMString const target = m_destination + directory.path;
    MakeDirectory(target);
    RemoveLeftovers(target);
    ++m_made;

    GMFindFile find;
    GMFileInfo info;
    bool found = find.FindFirst(m_source + directory.path + L"\\*", info);
    for (; found; found = find.FindNext(info))
    {
        if (!info.IsDir())
        {
            m_files.push_back({directory.path + L"\\" + info.GetFileName(),
                               static_cast<DWORD>(info.GetAttribuite())});
            m_allBytes += info.GetSize();
        }
        else if (!info.IsDots())
            OrReport([&] { m_directories.push_back(Entered(directory, info)); });
    }
    Require(GetLastError() == ERROR_NO_MORE_FILES ||
                GetLastError() == ERROR_FILE_NOT_FOUND, // an empty drive lists not even "."
            Shown(m_source + directory.path));
}

/// A link to a directory counts as that directory, unless the way would never end.
TreeCopy::Directory TreeCopy::Entered(Directory const & above, GMFileInfo const & info) const
{
    GMString const name = L"\\" + info.GetFileName();
    Directory entered{above.path + name, above.real + name, &above};
    GMString const shown = Shown(m_source + entered.path);
    if ((info.GetAttribuite() & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
    {
        entered.real = FinalPath(m_source + entered.path);
        Require(!entered.real.empty(), shown);
        for (Directory const * each = &above; each != nullptr; each = each->above)
        {
            if (GMStringUtils::CompareNoCase(each->real, entered.real) == 0)
                throw Failure{shown + L": left out, a link that leads in a circle"};
        }
    }
    if (IsWithin(entered.real, m_destination))
        throw Failure{shown + L": left out, a link leads into the destination"};
    return entered;
}

void TreeCopy::MakeDirectory(GMString const & target) const
{
    if (IsRealDirectory(target))
        return;
    if (target == m_destination)
        GMFilePathUtils::CreateDirectories(GMFileName::GetParentDirectory(target));
    Require(CreateDirectoryW(target.c_str(), nullptr), Shown(target));
}

void TreeCopy::Start(unsigned int workers)
{
    m_working = workers;
    m_workers = std::make_unique<GMFuncTaskList>(workers);
    for (unsigned int i = 0; i < workers; ++i)
        m_workers->AddFunc([](void * self) { static_cast<TreeCopy *>(self)->Work(); }, this);
}

bool TreeCopy::IsFinished(unsigned int milliseconds)
{
    return m_finished.TimeLock(milliseconds) == WAIT_OBJECT_0;
}

/// The life of a worker.
void TreeCopy::Work()
{
    OrReport(
        [this]
        {
            GMBuffer<unsigned char> block(1 << 20);
            for (std::size_t i; !m_isStopped && (i = m_next++) < m_files.size();)
                OrReport([&] { CopyFileOf(i, block); });
        });
    if (--m_working == 0)
        m_finished.Set();
}

void TreeCopy::CopyFileOf(std::size_t index, GMBuffer<unsigned char> & block)
{
    File const & file = m_files[index];
    GMString const target = m_destination + file.path;
    GMString const part = GMFileName::GetDirectory(target) + TemporaryName(index);
    unsigned __int64 bytes = 0;
    try
    {
        CopyContent(m_source + file.path, part, target, block, bytes);
        Require(SetFileAttributesW(part.c_str(), file.attributes & copiedAttributes) &&
                    PutInPlace(part, target),
                Shown(target));
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
void TreeCopy::CopyContent(GMString const & source, GMString const & part, GMString const & target,
                           GMBuffer<unsigned char> & block, unsigned __int64 & bytes)
{
    GMFile from;
    GMFile to;
    FILETIME creation, access, write;
    Require(from.Create(source, GENERIC_READ,
                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING,
                        FILE_FLAG_SEQUENTIAL_SCAN) &&
                from.GetTime(creation, access, write),
            Shown(source));
    Require(to.Create(part, GENERIC_WRITE, 0, CREATE_NEW, FILE_ATTRIBUTE_NORMAL), Shown(target));
    for (;;)
    {
        if (m_isStopped)
            throw Stopped();
        unsigned int size = 0;
        Require(from.Read(block.m_data, block.m_capacity, size), Shown(source));
        if (size == 0)
            break;
        Require(to.Write(block.m_data, size, size), Shown(target));
        bytes += size;
        m_bytes += size;
    }
    Require(to.SetTime(creation, access, write) && to.Close(), Shown(target));
}

template <class Step>
void TreeCopy::OrReport(Step step)
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

void TreeCopy::Report(GMString const & text)
{
    GMMutexLock const lock(&m_mutex);
    m_reports.push_back(text);
}

std::vector<GMString> TreeCopy::TakeReports()
{
    GMMutexLock const lock(&m_mutex);
    return std::exchange(m_reports, {});
}

} // namespace Tools
