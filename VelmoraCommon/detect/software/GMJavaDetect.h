#pragma once

#include "VelmoraCommon/detect/software/GMSoftVersion.h"
#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// Which Java runtime is the machine's current one, up to version 8: later ones record themselves
/// elsewhere. A plain value: a copy has the answers of the last Detect.
class VELMORA_API GMJavaDetect
{
public:
    GMJavaDetect();

    /// What can't be found stays as it was.
    /// \param view64 whether the 64-bit runtime is looked for, also by a 32-bit process
    void Detect(bool view64);

    /// Whether the runtime's library is there and its version isn't below 1.
    bool IsInstalled() const;

    /// The version as the registry has it; 0.0.0.0 when none was found.
    void GetJavaVersion(GMSoftVersion & version);

    /// Directory of the runtime; empty when none was found.
    void GetJavaHome(GMString & home);

private:
    GMSoftVersion m_version;
    bool m_installed;
    GMString m_home;
};

} // namespace Velmora
