#include "VelmoraCommon/files/GMFileSystemUtils.h"

#include <utility>
#include <vector>

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/internal/DirectoryListing.h"
#include "VelmoraCommon/files/internal/FileIdentity.h"
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
    bool Run(GMString const & source, GMString const & destination)
    {
        DirectoryListing listing(source + GMFileName::GetDirDelimiter());
        if (!listing.IsOpen())
            return false;
        if (!GMFileSystemUtils::DoesFileExist(destination))
            GMFilePathUtils::CreateDirectories(destination);
        m_mayMeetItself = LiesWithin(destination, FileIdentity(source));
        m_levels.emplace_back(std::move(listing), source, destination);

        while (!m_levels.empty())
        {
            if (!m_levels.back().listing.Next())
                m_levels.pop_back();
            else if (!CopyEntry())
            {
                if (m_levels.size() == 1)
                    return false;
                m_levels.pop_back();
            }
        }
        return true;
    }

private:
    /// A directory that is being copied.
    struct Level
    {
        Level(DirectoryListing && entries, GMString const & from, GMString const & to)
            : listing(std::move(entries)),
              source(from + GMFileName::GetDirDelimiter()),
              destination(to + GMFileName::GetDirDelimiter())
        {
        }

        DirectoryListing listing;
        GMString source; // both with their delimiter
        GMString destination;
        FileIdentity written; // of the destination, once it was asked for
    };

    /// Copies the entry at hand. \return false if that ends the copy of the directory it is in
    bool CopyEntry()
    {
        Level const & level = m_levels.back();
        GMString const name = level.listing.Name();
        if (level.listing.IsDirectory())
            return CopyDirectory(level.source + name, level.destination + name);
        return ReplaceFile(level.source + name, level.destination, name);
    }

    bool CopyDirectory(GMString const & source, GMString const & destination)
    {
        if (m_levels.back().listing.IsLink())
        {
            if (LeadsUpward(source))
                return true;
            m_mayMeetItself = true; // it may lead to where this copy writes
        }
        if (m_mayMeetItself && WritesTo(source))
            return true;
        if (!MakeDirectory(destination))
            return false;
        DirectoryListing listing(source + GMFileName::GetDirDelimiter());
        if (listing.IsOpen())
            m_levels.emplace_back(std::move(listing), source, destination);
        return true;
    }

    /// Whether \p directory is one of those that this copy is writing to.
    bool WritesTo(GMString const & directory)
    {
        FileIdentity const identity(directory);
        for (Level & level : m_levels)
        {
            if (!level.written)
                level.written = FileIdentity(level.destination);
            if (identity == level.written)
                return true;
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

    std::vector<Level> m_levels; // the top first; on the heap, for a tree may be deep
    bool m_mayMeetItself = false;
};

} // namespace

bool GMFileSystemUtils::MyCopyDirectory(GMString const & source, GMString const & destination)
{
    // An empty path with a delimiter behind it would be the root of the current drive.
    return !source.empty() && !destination.empty() && TreeCopy().Run(source, destination);
}

} // namespace Velmora
