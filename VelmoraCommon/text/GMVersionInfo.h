#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// A version of four numbers. A plain value.
class VELMORA_API GMVersionInfo
{
public:
    /// 0.0.0.0
    GMVersionInfo();

    /// Takes the version of this library.
    void InitLocalVersion();

    /// As "1.2.3.4".
    GMString Format() const;

    /// Compares the numbers from `m_major` on.
    bool operator<(GMVersionInfo const & other) const;

    int m_major;    ///< the highest
    int m_minor;    ///< the second
    int m_build;    ///< the third
    int m_revision; ///< the fourth
};

} // namespace Velmora
