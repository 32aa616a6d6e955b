#pragma once

#include <cwchar>

#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

/// Whether an entry that a search found stands for something elsewhere, as symbolic links and mount
/// points do. Other reparse points, such as the folders of a cloud, are what they seem to be.
inline bool IsLink(WIN32_FIND_DATAW const & entry)
{
    constexpr DWORD nameSurrogate = 0x20000000; // of the tag, for links of all kinds
    DWORD const tag = entry.dwReserved0;        // 0 where the system shows links without one
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (tag == 0 || (tag & nameSurrogate) != 0);
}

/// The entries of one directory in the order of the system, without "." and "..": one system call
/// an entry.
///
///     for (DirectoryListing listing(directory); listing.Next();)
///         Use(listing.Name());
///
/// A directory that is missing or can't be read has no entries. At the end the thread's last error
/// is `ERROR_NO_MORE_FILES`, or tells why the listing ended too soon. Ended before its last entry, a
/// listing closes its handle with its scope, else at once.
class DirectoryListing
{
public:
    /// \p directory ends in a delimiter, or is empty for the current directory.
    explicit DirectoryListing(GMString const & directory)
        : m_find(FindFirstFileExW((directory + L"*.*").c_str(), FindExInfoBasic, &m_entry,
                                  FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH)),
          m_isFetched(static_cast<bool>(m_find)),
          m_error(m_isFetched ? ERROR_SUCCESS : GetLastError())
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

    /// Why there may be entries that Next didn't give; `ERROR_SUCCESS` when all have come.
    DWORD Error() const { return m_error; }

    /// The entry at hand; the short name isn't filled in.
    WIN32_FIND_DATAW const & Entry() const { return m_entry; }

    wchar_t const * Name() const { return m_entry.cFileName; }
    bool IsDirectory() const { return (m_entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }

private:
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
        {
            DWORD const error = GetLastError();
            m_error = error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
            m_find.Reset();
        }
        return static_cast<bool>(m_find);
    }

    WIN32_FIND_DATAW m_entry; // first, for opening the search fills it
    ScopedFind m_find;
    bool m_isFetched; // the entry came with the search and Next hasn't given it yet
    DWORD m_error;
};

} // namespace Velmora
