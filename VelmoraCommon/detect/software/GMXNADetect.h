#pragma once

#include "VelmoraCommon/detect/software/GMSoftVersion.h"
#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// Which versions of the XNA Framework are installed. A plain value: a copy has the answers of the
/// last Detect.
class VELMORA_API GMXNADetect
{
public:
    GMXNADetect();

    /// Looks for all versions anew.
    void Detect();

    /// One bit a version, from the lowest: 1.0, 2.0, 3.0, 3.1, 4.0. 0 before Detect.
    unsigned int GetXNAVersion() const;

    /// Whether \p key below the local machine names a directory that has \p library, and a version
    /// can be had: the one that the key tells, or else the product version of the library.
    bool CheckXNA(wchar_t * key, wchar_t * library, GMSoftVersion & version);

private:
    unsigned int m_versions;
};

} // namespace Velmora
