#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// The operating system in short: name, version, width, times, and whether it runs in a virtual
/// machine.
///
/// Versions are those that the system tells this program: one without a manifest that names Windows 8.1
/// or 10 hears 6.2 there. Any thread may ask.
class VELMORA_API GMSystemInfo
{
public:
    /// \param name for example "Microsoft Windows 7"; Windows 11 counts as 10. Left as it was when no
    ///     name fits
    /// \param major the major version
    /// \return whether \p name has a text now; false, with both as they were, if the system tells nothing
    static bool GetWindowsVersion(GMString & name, unsigned int & major);

    /// Either pointer may be null. \return false, with the numbers as they were, on failure
    static bool GetWindowsVersion(unsigned int * major, unsigned int * minor);

    /// The major version, asked once a process; 0 on failure.
    static unsigned int GetWindowsMajorVersion();

    /// Whether the system is one for x86-64, also for a 32-bit process on it.
    static bool IsX64();

    /// The virtual machine that this one is, by the model that WMI tells: 1 VirtualBox, 2 one of
    /// Hyper-V, 3 VMware; 0 for none of them and on failure. Takes COM on the thread while it asks, and
    /// may take seconds.
    /// \throws _com_error for want of memory
    static unsigned int GetSystemEnvironment();

    /// The local time now, 14 digits: year, month, day, hour, minute, second.
    static GMString GetSystemCurrentTime();

    /// The local time at which the system was installed, in the same form; that of the first second of
    /// 1970 if it can't be read.
    static GMString GetSystemInstallTime();
};

} // namespace Velmora
