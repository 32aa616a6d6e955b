#include "VelmoraCommon/files/GMFileSystemUtils.h"

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/internal/DirectoryListing.h"
#include "VelmoraCommon/files/internal/FileIdentity.h"
#include "VelmoraCommon/files/internal/TreeWalk.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

namespace
{

/// Moves a file aside within its directory, to be deleted at the next start of the system, and
/// copies \p source into its place. Puts it back if that fails.
bool ReplaceBusyFile(GMString const & source, GMString const & directory, GMString const & name)
{
    GMString const target = directory + name;
    GMString aside;
    if (!GMFileSystemUtils::MyGetTempFileName(directory, name, aside))
        return false;
    GMFilePathUtils::RemoveFile(aside);
    bool const isAside = GMFileSystemUtils::MyMoveFile(target, aside);
    MoveFileExW(aside.c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
    if (CopyFileW(source.c_str(), target.c_str(), FALSE))
        return true;

    LastErrorKeeper const keeper;
    if (isAside)
        MoveFileExW(aside.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING);
    return !GMFilePathUtils::IsExistsFile(source); // one that has gone meanwhile needs no copy
}

bool ReplaceFile(GMString const & source, GMString const & directory, GMString const & name)
{
    GMString const target = directory + name;
    if (CopyFileW(source.c_str(), target.c_str(), FALSE))
        return true;
    {
        LastErrorKeeper const keeper;
        if (FileIdentity(source) == FileIdentity(target))
            return true; // moved aside, it would be gone
    }
    return ReplaceBusyFile(source, directory, name);
}

/// The copy of one tree.
class TreeCopy
{
public:
    TreeCopy(GMString const & source, GMString const & destination)
        : m_source(source + GMFileName::GetDirDelimiter()),
          m_destination(destination + GMFileName::GetDirDelimiter())
    {
    }

    bool Run()
    {
        if (!DirectoryListing(m_source).IsOpen())
            return false;
        if (!GMFileSystemUtils::DoesFileExist(m_destination))
            GMFilePathUtils::CreateDirectories(m_destination);
        m_mayMeetItself = LiesWithin(m_destination, FileIdentity(m_source));

        TreeWalk walk(m_source, TreeWalk::Links::followed);
        for (TreeStep step = walk.Next(); step != TreeStep::end; step = walk.Next())
        {
            if (Take(step, walk))
                continue;
            if (walk.IsAtRoot())
                return false;
            walk.Leave();
        }
        return true;
    }

private:
    /// \return false if that ends the copy of the directory at hand
    bool Take(TreeStep step, TreeWalk & walk)
    {
        switch (step)
        {
        case TreeStep::file:
            return ReplaceFile(walk.Path(), Counterpart(walk.Directory()), walk.Name());
        case TreeStep::directory:
            return CopyDirectory(walk);
        case TreeStep::left:
            SetLastError(walk.Error());
            return walk.Error() == ERROR_SUCCESS || !walk.IsAtRoot();
        default:
            return true;
        }
    }

    /// The path to which a path in the source is copied.
    GMString Counterpart(GMString const & path) const
    {
        return m_destination + path.substr(m_source.size());
    }

    bool CopyDirectory(TreeWalk & walk)
    {
        m_mayMeetItself |= walk.IsLink(); // it may lead to where this copy writes
        if (m_mayMeetItself && WritesTo(walk))
            return true;
        if (!MakeDirectory(Counterpart(walk.Path())))
            return false;
        walk.Enter();
        return true;
    }

    /// Whether the directory at hand is one of those that this copy is writing to.
    bool WritesTo(TreeWalk const & walk) const
    {
        FileIdentity const directory(walk.Path());
        GMString written = Counterpart(walk.Directory());
        while (written.size() >= m_destination.size())
        {
            if (FileIdentity(written) == directory)
                return true;
            written.pop_back();
            written.erase(written.find_last_of(GMFileName::GetDirDelimiter()) + 1);
        }
        return false;
    }

    bool MakeDirectory(GMString const & path)
    {
        if (GMFileSystemUtils::MyCreateDirectory(path))
            return true; // one call, as a rule
        DWORD const attributes = GetFileAttributesW(path.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES)
            return GMFilePathUtils::CreateDirectories(path);
        if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
            m_mayMeetItself = true; // it may lead into the source
        return true;
    }

    GMString m_source; // both with their delimiter
    GMString m_destination;
    bool m_mayMeetItself = false;
};

} // namespace

bool GMFileSystemUtils::MyCopyDirectory(GMString const & source, GMString const & destination)
{
    // An empty path with a delimiter behind it would be the root of the current drive.
    return !source.empty() && !destination.empty() && TreeCopy(source, destination).Run();
}

} // namespace Velmora
