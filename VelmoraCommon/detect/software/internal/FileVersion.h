#pragma once

#include <cstddef>

#include "VelmoraCommon/detect/software/GMSoftVersion.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

/// Works as GMSoftVersion::FormatVersion does on \p version.
/// \return false for an empty text, which has no piece
bool ParseVersionText(GMString const & text, GMSoftVersion & version);

/// The product version of a file. A bare name is looked for by the system.
/// \return false, with \p version unchanged, if the file has no version
bool ReadFileProductVersion(wchar_t const * path, GMSoftVersion & version);

/// The version resource of a file, for questions that GMFileCertificate doesn't answer.
class VersionBlock
{
public:
    /// A bare name is looked for by the system.
    explicit VersionBlock(GMString const & path);

    /// Whether the size of the resource and memory for it could be had, if no more.
    bool IsAllocated() const { return static_cast<bool>(m_block); }

    /// A value of the resource.
    /// \return null if it is missing or has fewer than \p leastSize bytes
    void const * Query(GMString const & name, std::size_t leastSize) const;

    /// A text of the resource; empty if it is missing.
    GMString QueryText(GMString const & name) const;

private:
    bool Query(GMString const & name, void *& value, UINT & length) const;

    ScopedLocalMemory<void> m_block;
    bool m_isLoaded;
};

} // namespace Velmora
