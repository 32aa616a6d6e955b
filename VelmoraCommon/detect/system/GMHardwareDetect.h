#pragma once

#include <map>
#include <vector>

#include "VelmoraCommon/detect/system/GMHardwareInfo.h"
#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Identifies the machine and scores its processor and graphics.
///
/// An object holds what the last detection found; the getters read it. Detecting asks WMI, which
/// takes seconds, with COM on the thread for as long. Use an object from one thread at a time.
///
/// What can't be found stays 0 or empty, and the other parts are detected all the same. Detecting
/// throws `_com_error` when memory runs out within COM, or when WMI answers with a value of a type
/// that can't be converted; what was found before that stays.
class VELMORA_API GMHardwareDetect
{
public:
    GMHardwareDetect();
    ~GMHardwareDetect();

    /// Copies what was found.
    GMHardwareDetect(GMHardwareDetect const &);
    GMHardwareDetect & operator=(GMHardwareDetect const &);

    /// Keeps a table of scores and detects everything.
    /// \param gpuScores names of graphics adapters with a tenth of their scores
    /// \param detect false only keeps the table
    void Detect(std::map<GMString, unsigned int> const & gpuScores, bool detect);

    // The steps of Detect. The machine's parts are told by GMHardwareInfo.h.

    /// A generation without a bit of its own leaves that of the last detection, as does a width that
    /// isn't told.
    /// \return false, and leaves the record alone, for Windows NT up to 4.0
    bool DetectOS();

    /// The modules, then what the system can use. \return whether the system told its part
    bool DetectMemory();

    /// Sums up the modules. \return false if WMI can't be asked
    bool DetectRealMemory();

    /// \return false if WMI lists no processor: then only the name is found
    bool DetectCPU();

    /// \return 0; 1 if the system can't tell its caches, 2 for want of memory, 3 if it fails to tell
    ///     them, 4 if `kernel32` isn't loaded. The sizes are 0 unless it is 0
    int DetectCPUCache();

    /// Type and number of the logical processors. Always true.
    bool DetectCPUTypeInfo();

    /// The adapters, in the order of WMI, with their clocks.
    /// \return whether there are any and a driver told clocks
    bool DetectVideoCard();

    /// Asks the drivers of both vendors for the clocks of the adapters found.
    bool DetectGPUFrequency();

    /// Puts the present clocks of NVIDIA's adapters into those that have their PCI identifiers; of
    /// several such ones, into the last.
    /// \return false if the driver can't be asked
    bool DetectNVIDIAGpuFrequency();

    /// Adds the greatest clocks of the first active AMD adapter to those of the adapter that stands
    /// at the driver's number for it. The driver's library stays loaded.
    /// \return 0, also if there was nothing to read; 1 without the driver's library, 2 if it fails
    int DetectATIGpuFrequency();

    void DetectUSB();

    /// Takes a WMI path of a USB device apart.
    /// \return false, and leaves \p info alone, if it isn't one
    bool MakeUsbInfo(GMString const & text, GMUSBInfo & info);

    // Scores. They put the records into the ranges of their formulas, which the getters then show.

    /// By clocks, number, caches, brand and instruction sets. Never fails.
    void MakeCPUScore(unsigned int & score);

    /// The score of the first adapter by the table given to Detect: that of its name, or else of the
    /// name that shares most words with it, at least three and all but three of its own. Without such
    /// a name, or with a score of 0 for it, a formula of at most 500 over memory and clocks.
    void MakeGPUScore(unsigned int & score);

    /// Puts the processor's record into the range of the formula.
    void CheckCPUInfo();

    /// Adds 100/17 for each of 17 instruction sets that there are.
    void CheckCPUInstruction(double & score);

    /// Puts the record of the graphics formula into its range. Its clocks don't come from the
    /// adapters: it starts with 800 MHz for the core and 500 MHz for the memory.
    void CheckGPUInfo();

    // What the last detection found.

    GMString GetOSName() const;

    /// 0x1 Windows 95, 98 or Me, 0x2 2000, 0x4 XP, 0x8 Server 2003 or XP for x64, 0x10 Vista or Server
    /// 2008, 0x20 7, 0x40 8 or 8.1, 0x80 10, 0x100 11; 0 for another one.
    unsigned short GetOSVersion() const;

    /// 2 for a system of 64 bits, otherwise 1.
    unsigned char GetOSBit() const;

    /// \param compact whether runs of blanks become one
    GMString GetCPUName(bool compact) const;

    /// 1 Celeron, 2 Pentium, 3 Core, 4 Core 2, 5 to 7 i3, i5 and i7, 8 to 11 A10, A8, A6 and A4, 12
    /// Phenom, 13 Athlon, 14 Sempron; 0 for another brand. A detection that finds no brand leaves that
    /// of the one before.
    unsigned char GetCPULevel() const;

    /// Logical processors.
    unsigned int GetCPUNum() const;

    /// In GHz: the sum over all chips by the number of logical processors.
    float GetCPUFrequency() const;

    /// \return false, and leaves \p info alone, if there is no adapter at \p index
    bool GetVideoCardInfo(unsigned int index, GMVideoCardInfo & info) const;

    /// Empty if there is no adapter at \p index.
    GMString GetVideoCardName(bool compact, unsigned int index) const;

    /// Memory of an adapter in MB, 0 if there is none; the greatest of all for 0xFFFFFFFF.
    unsigned int GetVideoCardRAW(unsigned int index) const;

    /// Memory of the modules in MB, rounded up.
    unsigned __int64 GetRealMemorySize() const;

    /// The same, or what the system can use if that is more.
    unsigned __int64 GetMemorySize() const;

    std::vector<GMUSBInfo> GetUSBInfos() const;

private:
    MEMORYSTATUSEX m_memoryStatus;
    unsigned __int64 m_realMemorySize; // bytes
    GMCPUInfo m_cpu;
    GMVideoCardInfo m_gpuSummary; // what the graphics formula works on; only its numbers count
    std::vector<GMVideoCardInfo> m_videoCards;
    GMOSInfo m_os;
    std::map<GMString, unsigned int> m_gpuScores;
    std::vector<GMUSBInfo> m_usbDevices;
};

} // namespace Velmora
