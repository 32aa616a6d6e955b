#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Which generations of the .NET Framework are on the machine, by what their setup writes into the
/// registry view of this process. A plain value: a copy has the answers of the last Detect.
class VELMORA_API GMDotNetDetect
{
public:
    /// What was found, of all versions together.
    struct GMDotNetVersion
    {
        unsigned int m_release; ///< the number `Release` of 4.5 and later
        unsigned int m_flags;   ///< one bit a version, as the table below tells
    };

    // Flags: 1 2.0, 2 2.0 SP1, 4 2.0 SP2; 8 3.0, 0x10 3.0 SP1, 0x20 3.0 SP2; 0x40 3.5,
    // 0x80 3.5 SP1; 0x100 4.0 Full, 0x200 4.0 Client; 0x400 1.0; 0x800 1.1 SP1;
    // 0x1000 4.5 or later. One of these tells the version by the release number alone, whatever
    // else is found: 0x1000 4.5, 0x2000 4.5.1, 0x4000 4.5.2, 0x8000 4.6, 0x10000 4.6.1,
    // 0x20000 4.6.2, 0x40000 4.7, 0x80000 4.7.1, 0x100000 4.7.2, 0x200000 4.8, 0x400000 4.8.1 or
    // later.

    GMDotNetDetect();
    virtual ~GMDotNetDetect();

    /// Looks for all of them. The flags are found anew; the release number stays where the key of
    /// 4.x is missing.
    void Detect();

    /// All 0 before Detect.
    GMDotNetVersion GetDotNetVersion() const;

    /// Whether 1.0 is installed.
    virtual bool CheckDotnet_1_0();

    /// Whether the version that has \p key below the local machine is installed.
    /// \param servicePack its service pack, whatever the answer; 0 if none is recorded
    bool CheckDotnet(wchar_t * key, unsigned char & servicePack);

    /// Whether 4.0 or later is installed in full.
    bool CheckDotnet_4_0(unsigned char & servicePack);

    /// Whether 4.5 or later is installed. Sets the flag for the release number in any case.
    /// \param release stays as it was if the key is missing
    bool CheckDotnet_4_5(unsigned char & servicePack, unsigned int & release);

protected:
    /// \param viewAccess what the registry is opened with besides, to choose its view
    explicit GMDotNetDetect(REGSAM viewAccess);

private:
    GMDotNetVersion m_version;
    REGSAM m_viewAccess;
};

} // namespace Velmora
