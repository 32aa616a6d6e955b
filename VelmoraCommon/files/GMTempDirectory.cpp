#include "VelmoraCommon/files/GMTempDirectory.h"

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <new>

#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/files/internal/PathText.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

constexpr wchar_t directoryPrefix[] = L"GM$";

/// The numbers in the names of the process's directories. Two threads that draw the same ones meet
/// on the disk, where the second goes on to others.
struct Numbers
{
    Numbers()
    {
        std::srand(static_cast<unsigned int>(std::time(nullptr)));
        first = std::rand() % 1000;
        second = std::rand() % 5000;
    }

    std::atomic<int> first;  // grows with each name that was taken
    std::atomic<int> second; // grows with each try
};

} // namespace

GMTempDirectory::GMTempDirectory() : m_autoDelete(false) {}

GMTempDirectory::~GMTempDirectory()
{
    LastErrorKeeper const keeper;
    try
    {
        Remove();
    }
    catch (std::bad_alloc const &) // a destructor that throws would end the process
    {
    }
}

bool GMTempDirectory::CreateTempDirectory(GMString const & directory, GMString const & prefix,
                                          GMString & path)
{
    static Numbers s_numbers;
    GMString upper = directory;
    if (upper.empty())
        GMFileSystemUtils::MyGetTempPath(upper); // without one the path is relative
    GMString const start = prefix;               // path may be either's own object

    for (;; ++s_numbers.first)
    {
        int const second = ++s_numbers.second;
        GMString const name = GMStringUtils::FormatResult(L"%sD.%.03d.%.03d", start.c_str(),
                                                          s_numbers.first.load(), second);
        if (name.empty())
            return false;
        path = GMFileName::JoinFileName(upper, name);
        if (CreateDirectoryW(path.c_str(), nullptr))
        {
            path = WithEndDelimiter(path);
            return true;
        }
        if (GetLastError() != ERROR_ALREADY_EXISTS)
            return false;
    }
}

bool GMTempDirectory::CreateTempDirectory(GMString const & prefix, GMString & path)
{
    return CreateTempDirectory(GMString(), prefix, path);
}

bool GMTempDirectory::Create(GMString const & directory, GMString const & prefix)
{
    GMString const upper = directory; // may be the path of this object, which Remove clears
    Remove();
    m_autoDelete = CreateTempDirectory(upper, prefix, m_path);
    return m_autoDelete;
}

bool GMTempDirectory::Create(GMString const & prefix) { return Create(GMString(), prefix); }

bool GMTempDirectory::CreateTempDirectory(GMString const & directory)
{
    return Create(directory, directoryPrefix);
}

bool GMTempDirectory::CreateTempDirectory() { return Create(directoryPrefix); }

bool GMTempDirectory::Remove()
{
    if (!m_autoDelete)
        return true;
    if (!GMFileSystemUtils::RemoveDirectoryWithSubItems(m_path))
        return false;
    m_autoDelete = false;
    m_path.clear();
    return true;
}

void GMTempDirectory::DisableDeleting() { m_autoDelete = false; }

GMString const & GMTempDirectory::GetPath() const { return m_path; }

} // namespace Velmora
