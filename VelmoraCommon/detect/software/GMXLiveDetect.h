#pragma once

#include "VelmoraCommon/detect/software/GMSoftVersion.h"
#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// Whether Games for Windows Live can be used by this process. Looking loads its library for a moment. A
/// plain value: a copy has the answers of the last Detect.
class VELMORA_API GMXLiveDetect
{
public:
    GMXLiveDetect();

    /// What isn't found leaves the answer of an earlier run.
    void Detect();

    /// Whether its library loads and its product version isn't below 1.
    bool IsInstalled() const;

private:
    GMSoftVersion m_version;
    bool m_isLoadable;
};

} // namespace Velmora
