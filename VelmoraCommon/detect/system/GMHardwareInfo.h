#pragma once

#include <vector>

#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// The operating system, as GMHardwareDetect finds it.
struct GMOSInfo
{
    GMString m_name;              ///< for people, with edition, width, service pack and build
    unsigned short m_version = 0; ///< one bit a generation, as GMHardwareDetect::GetOSVersion tells
    bool m_is64 = false;          ///< of 64 bits
};

/// The processors of the machine.
struct GMCPUInfo
{
    GMString m_name;                    ///< the brand, without white space around
    unsigned int m_clockSum = 0;        ///< MHz, over all chips that WMI lists
    unsigned int m_count = 0;           ///< logical processors of the system
    unsigned char m_level = 0;          ///< class of the brand, 0 for an unknown one
    unsigned int m_cacheLevels = 0;     ///< distinct ones
    unsigned __int64 m_lineSize = 0;    ///< of the first cache of level 1, in bytes
    unsigned __int64 m_l2Size = 0;      ///< of the first cache of level 2, in KB
    unsigned __int64 m_l3Size = 0;      ///< of the first cache of level 3, in KB
    unsigned int m_type = 0;            ///< the level, or the system's processor type if that is 0
    std::vector<unsigned int> m_clocks; ///< MHz, of each chip that WMI lists
};

/// A graphics adapter.
struct GMVideoCardInfo
{
    GMString m_name;        ///< for people
    GMString m_pnpDeviceId; ///< begins as in `PCI\VEN_10DE&DEV_2684&SUBSYS_`
    /// Bytes, as WMI tells them: in 32 bits, so that no card has more than 4 GB. For the true size of
    /// a greater one read `HardwareInformation.qwMemorySize` of its driver's key in the registry.
    unsigned __int64 m_adapterRam = 0;
    int m_minRefreshRate = 0;           ///< Hz
    int m_maxRefreshRate = 0;           ///< Hz
    unsigned __int64 m_memoryClock = 0; ///< kHz; 0 if its driver doesn't tell
    unsigned __int64 m_coreClock = 0;   ///< kHz; 0 if its driver doesn't tell
};

/// A device on the USB.
struct GMUSBInfo
{
    GMString m_vid;      ///< what follows `VID_` in the device id, for example "046D"
    GMString m_pid;      ///< what follows `PID_`
    GMString m_deviceId; ///< as it stands in a path of WMI, where each backslash is doubled
};

} // namespace Velmora
