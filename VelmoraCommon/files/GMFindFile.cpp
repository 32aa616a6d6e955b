#include "VelmoraCommon/files/GMFindFile.h"

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/internal/Halves.h"
#include "VelmoraCommon/files/internal/PathText.h"
#include "VelmoraCommon/files/internal/TreeWalk.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

void Fill(GMFileInfo & info, WIN32_FIND_DATAW const & entry)
{
    info.SetSize(JoinHalves(entry.nFileSizeHigh, entry.nFileSizeLow));
    info.SetCreateTime(entry.ftCreationTime);
    info.SetAccessTime(entry.ftLastAccessTime);
    info.SetModifyTime(entry.ftLastWriteTime);
    info.SetAttribuite(entry.dwFileAttributes);
    info.SetFileName(entry.cFileName);
}

/// The path of \p directory to which names are joined.
GMString Stem(GMString const & directory) { return WithEndDelimiter(Unquoted(directory)); }

/// Gives \p visit the paths of the files below \p directory, in the order of the system; a false
/// from it ends the directory at hand.
template <class Visit>
void WalkFiles(GMString const & directory, Visit visit)
{
    TreeWalk walk(Stem(directory), TreeWalk::Links::followed);
    for (TreeStep step = walk.Next(); step != TreeStep::end; step = walk.Next())
    {
        if (step == TreeStep::directory)
            walk.Enter();
        else if (step == TreeStep::file && !visit(walk.Path()))
            walk.Leave();
    }
}

} // namespace

GMFindFile::GMFindFile() : m_find(new HANDLE(INVALID_HANDLE_VALUE)) {}

GMFindFile::~GMFindFile()
{
    LastErrorKeeper const keeper;
    Close();
    delete m_find;
}

bool GMFindFile::FindFirst(GMString const & pattern, GMFileInfo & info)
{
    if (!Close())
        return false;
    WIN32_FIND_DATAW entry;
    *m_find = FindFirstFileW(pattern.c_str(), &entry);
    if (!IsHandleAllocated())
        return false;
    Fill(info, entry);
    return true;
}

bool GMFindFile::FindNext(GMFileInfo & info)
{
    WIN32_FIND_DATAW entry;
    if (!FindNextFileW(*m_find, &entry))
        return false;
    Fill(info, entry);
    return true;
}

bool GMFindFile::Close()
{
    if (IsHandleAllocated() && !FindClose(*m_find))
        return false;
    *m_find = INVALID_HANDLE_VALUE;
    return true;
}

bool GMFindFile::IsHandleAllocated() const { return *m_find != INVALID_HANDLE_VALUE; }

bool GMFindFile::FindFile(GMString const & pattern, GMFileInfo & info)
{
    return GMFindFile().FindFirst(pattern, info);
}

bool GMFindFile::FindFiles(GMString const & pattern, std::vector<GMFileInfo> & infos)
{
    GMFindFile find;
    GMFileInfo info;
    for (bool found = find.FindFirst(pattern, info); found; found = find.FindNext(info))
    {
        if (!info.IsDots())
            infos.push_back(info);
    }
    return !infos.empty();
}

bool GMFindFile::FindFilesEx(GMString const & directory, GMString const & mask,
                             std::vector<GMString> & paths)
{
    GMString const stem = Stem(directory);
    GMFindFile find;
    GMFileInfo info;
    for (bool found = find.FindFirst(GMFileName::JoinFileName(directory, mask), info); found;
         found = find.FindNext(info))
    {
        if (!info.IsDir())
            paths.push_back(stem + info.GetFileName());
    }
    return !paths.empty();
}

void GMFindFile::FindFilesRecursive(GMString const & directory, FileCallback callback,
                                    void * userData)
{
    WalkFiles(directory, [=](GMString const & path) { return callback(path, userData); });
}

bool GMFindFile::FindFilesExRecursive(GMString const & directory,
                                      std::map<GMString, std::vector<GMString>> & filesByExtension,
                                      std::set<GMString> const & extensions)
{
    WalkFiles(directory,
              [&](GMString const & path)
              {
                  GMString extension = GMFilePathUtils::Extension(path);
                  GMStringUtils::MakeLower(extension);
                  if (extensions.empty() || extensions.count(extension) != 0)
                      filesByExtension[extension].push_back(path);
                  return true;
              });
    return !filesByExtension.empty();
}

} // namespace Velmora
