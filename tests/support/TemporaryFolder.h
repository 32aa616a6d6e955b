#pragma once

#include <string>

namespace Velmora::Testing
{

/// A fresh directory that goes with its content; a directory link in it goes as a link.
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(TemporaryFolder const &) = delete;
    TemporaryFolder & operator=(TemporaryFolder const &) = delete;

    /// Full path, without a backslash at its end.
    std::wstring const & Path() const { return m_path; }

    /// Full path of an entry in it.
    std::wstring File(std::wstring const & name) const { return m_path + L"\\" + name; }

    /// Makes or replaces a file in it, and the directories that \p name leads through. \return its
    ///     full path
    std::wstring Write(std::wstring const & name, std::string const & bytes = "") const;

private:
    std::wstring m_path;
};

/// Makes or replaces a file; throws if it can't.
void WriteBytes(std::wstring const & path, std::string const & bytes);

/// The whole content of a file; throws if it can't be read.
std::string ReadBytes(std::wstring const & path);

} // namespace Velmora::Testing
