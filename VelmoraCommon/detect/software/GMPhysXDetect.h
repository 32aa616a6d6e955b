#pragma once

#include "VelmoraCommon/detect/software/GMSoftVersion.h"
#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// Whether the PhysX system software can be used by this process. Looking loads its loader for a
/// moment. A plain value: a copy has the answers of the last Detect.
class VELMORA_API GMPhysXDetect
{
public:
    GMPhysXDetect();

    /// What isn't found leaves the answer of an earlier run.
    void Detect();

    /// Whether its loader works and the product version of the loader isn't below 1. A loader that
    /// isn't in its own folder has none.
    bool IsInstalled() const;

private:
    GMSoftVersion m_systemVersion; // by the registry
    GMSoftVersion m_loaderVersion; // by the loader's file
    bool m_loadable;
};

} // namespace Velmora
