#pragma once

#include "VelmoraCommon/detect/software/GMSoftVersion.h"
#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// Which version of Internet Explorer the machine has. A plain value: a copy has the answers of the
/// last Detect.
class VELMORA_API GMIEDetect
{
public:
    GMIEDetect();

    /// Looks at what the registry says of it. A key without a version changes nothing.
    void Detect();

    /// Whether a version was found; false before Detect.
    bool IsDetected() const;

    /// 0.0.0.0 when none was found.
    GMSoftVersion const & GetVersion() const;

    /// The version as it is recorded; empty when none was found.
    GMString GetVersionName() const;

    /// The first number of the file version of its engine.
    /// \param major 0 on failure; it stays as it was if there is no version at all
    static bool GetIEPrimaryVersion(unsigned long & major);

private:
    bool m_installed;
    GMString m_versionName;
    GMSoftVersion m_version;
};

} // namespace Velmora
