#pragma once

#include <cstddef>
#include <cwchar>
#include <utility>
#include <vector>

#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

/// The entries of one directory in the order of the system, without "." and "..": one system call
/// an entry.
///
///     for (DirectoryListing listing(directory); listing.Next();)
///         Use(listing.Name());
///
/// A directory that is missing or can't be read has no entries. Ended before its last entry, a
/// listing closes its handle with its scope; after the last entry the handle is closed at once, so
/// that the directory can be removed.
class DirectoryListing
{
public:
    /// \p directory ends in a delimiter, or is empty for the current directory.
    explicit DirectoryListing(GMString const & directory)
        : m_find(FindFirstFileExW((directory + L"*.*").c_str(), FindExInfoBasic, &m_entry,
                                  FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH)),
          m_isFetched(static_cast<bool>(m_find))
    {
    }

    /// Whether the system could list the directory, and Next hasn't come to the end.
    bool IsOpen() const { return static_cast<bool>(m_find); }

    /// Goes on to the next entry, at first to the first one; false when there is none.
    bool Next()
    {
        do
        {
            if (!Fetch())
                return false;
        } while (IsDots());
        return true;
    }

    /// The entry at hand; the short name isn't filled in.
    WIN32_FIND_DATAW const & Entry() const { return m_entry; }

    wchar_t const * Name() const { return m_entry.cFileName; }
    DWORD Attributes() const { return m_entry.dwFileAttributes; }
    bool IsDirectory() const { return Has(FILE_ATTRIBUTE_DIRECTORY); }

    /// Whether the entry is a link or another reparse point. With IsDirectory it leads to a
    /// directory elsewhere, maybe to one above.
    bool IsLink() const { return Has(FILE_ATTRIBUTE_REPARSE_POINT); }

private:
    bool Has(DWORD attribute) const { return (Attributes() & attribute) != 0; }

    bool IsDots() const
    {
        return IsDirectory() && (std::wcscmp(Name(), L".") == 0 || std::wcscmp(Name(), L"..") == 0);
    }

    bool Fetch()
    {
        if (!m_find)
            return false;
        if (m_isFetched)
            m_isFetched = false;
        else if (!FindNextFileW(m_find.Get(), &m_entry))
            m_find.Reset();
        return static_cast<bool>(m_find);
    }

    WIN32_FIND_DATAW m_entry; // first, for opening the search fills it
    ScopedFind m_find;
    bool m_isFetched; // the entry came with the search and Next hasn't given it yet
};

/// Visits the whole tree below \p root, a directory without delimiter at its end, and returns its
/// directories, \p root first and each one before those in it.
///
/// \p visit gets every entry but these directories, by its full path and the listing that stands
/// on it: files, and links to directories, which aren't followed. So a walk never leaves the tree
/// and always ends. \p visit may delete what it gets. One directory is open at a time, however deep
/// the tree.
template <class Visit>
std::vector<GMString> VisitTree(GMString const & root, Visit visit)
{
    std::vector<GMString> directories{root};
    for (std::size_t i = 0; i < directories.size(); ++i) // grows on the way
    {
        GMString const directory = directories[i] + L'\\';
        for (DirectoryListing listing(directory); listing.Next();)
        {
            GMString path = directory + listing.Name();
            if (listing.IsDirectory() && !listing.IsLink())
                directories.push_back(std::move(path));
            else
                visit(path, listing);
        }
    }
    return directories;
}

} // namespace Velmora
