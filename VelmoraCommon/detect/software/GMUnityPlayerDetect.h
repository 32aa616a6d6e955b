#pragma once

#include "VelmoraCommon/detect/software/GMSoftVersion.h"
#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// Whether the Unity plug-in for Internet Explorer is installed, and in which version. A plain value:
/// a copy has the answers of the last Detect.
class VELMORA_API GMUnityPlayerDetect
{
public:
    GMUnityPlayerDetect();

    /// Version and name stay as they were when none can be had.
    void Detect();

    /// Whether its class is registered, even if no version can be had.
    bool IsInstalled() const;

    /// 0.0.0.0 when none could be had.
    GMSoftVersion const & GetVersion() const;

    /// The name with the version in it; empty when none could be had.
    GMString GetVersionName() const;

private:
    bool m_installed;
    GMString m_versionName;
    GMSoftVersion m_version;
};

} // namespace Velmora
