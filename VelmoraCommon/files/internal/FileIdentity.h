#pragma once

#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// What tells a file or directory from all others, by whatever name or link it is reached.
class FileIdentity
{
public:
    /// No file's identity.
    FileIdentity() = default;

    /// Opens what \p path leads to for as long as it takes to ask. On failure, and on a file system
    /// that doesn't number its files, it is no file's identity.
    explicit FileIdentity(GMString const & path);

    /// Whether it is some file's identity.
    explicit operator bool() const { return m_index != 0; }

    /// No file's identity isn't equal to anything.
    friend bool operator==(FileIdentity const & left, FileIdentity const & right)
    {
        return left && left.m_volume == right.m_volume && left.m_index == right.m_index;
    }

private:
    unsigned __int64 m_index = 0; // within its volume
    DWORD m_volume = 0;
};

/// Whether \p directory is \p path or one of the directories above it. Opens them all, so ask
/// seldom.
bool LiesWithin(GMString const & path, FileIdentity const & directory);

/// Whether \p link leads to a directory above itself. A walk that follows links but these ends: in
/// a path without end some directory would come twice, the second time by a link to what is above
/// it.
///
/// \p link is a path without delimiter at its end. Opens the link and each directory above it, so
/// ask for entries that are known to be links only.
bool LeadsUpward(GMString const & link);

} // namespace Velmora
