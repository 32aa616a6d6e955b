#pragma once

#include <string>

namespace Velmora::Testing
{

/// A link to a directory while it lives. It goes itself, and what it leads to stays, whatever the
/// system makes of the calls that delete.
///
/// Wine shows the host's links, with the reparse point attribute, but can neither make nor delete
/// one: there the host's tools do it.
class DirectoryLink
{
public:
    /// Throws if no link comes to be.
    DirectoryLink(std::wstring const & path, std::wstring const & target);
    ~DirectoryLink();
    DirectoryLink(DirectoryLink const &) = delete;
    DirectoryLink & operator=(DirectoryLink const &) = delete;

    /// Whether it is still there.
    bool Exists() const;

    /// Deletes the link before its time.
    void Remove();

private:
    std::wstring m_path;
};

} // namespace Velmora::Testing
