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

    bool operator<(GMVersionInfo const & other) const;

    int m_major;
    int m_minor;
    int m_build;
    int m_revision;
};

} // namespace Velmora
