#include <string>
#include <vector>

#include <objbase.h>

#include "VelmoraCommon/detect/system/GMHardwareDetect.h"
#include "VelmoraCommon/detect/system/GMNetworkAdapter.h"
#include "VelmoraCommon/detect/system/GMSystemInfo.h"
#include "benchmarks/CallCounter.h"
#include "benchmarks/Families.h"

#include <iphlpapi.h>
#include <lmcons.h>
// Needs the declarations above.
#include <lmapibuf.h>
#include <lmwksta.h>

namespace Velmora::Benchmarks
{

namespace
{

/// What the system itself is asked for the same, in the fewest calls.
void AskBareSystem()
{
    OSVERSIONINFOEXW version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    GetVersionExW(reinterpret_cast<OSVERSIONINFOW *>(&version));
    SYSTEM_INFO info = {};
    GetNativeSystemInfo(&info);
    DWORD type = 0;
    GetProductInfo(version.dwMajorVersion, version.dwMinorVersion, 0, 0, &type);
    DWORD size = 0;
    GetLogicalProcessorInformation(nullptr, &size);
    std::vector<unsigned char> records(size);
    GetLogicalProcessorInformation(
        reinterpret_cast<SYSTEM_LOGICAL_PROCESSOR_INFORMATION *>(records.data()), &size);
    DWORD installed = 0;
    DWORD length = sizeof(installed);
    HKEY key = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", 0,
                  KEY_QUERY_VALUE, &key);
    RegQueryValueExW(key, L"InstallDate", nullptr, nullptr, reinterpret_cast<BYTE *>(&installed),
                     &length);
    RegCloseKey(key);
    Use(&installed);
}

/// The sources of GMNetworkAdapter, each asked in the fewest calls.
void AskBareAdapters()
{
    HMODULE const helper = LoadLibraryW(L"Iphlpapi.dll");
    ULONG size = 0;
    GetAdaptersInfo(nullptr, &size);
    std::vector<unsigned char> list(size);
    auto * const adapters = reinterpret_cast<IP_ADAPTER_INFO *>(list.data());
    GetAdaptersInfo(adapters, &size);
    for (IP_ADAPTER_INFO const * adapter = adapters; adapter != nullptr; adapter = adapter->Next)
    {
        MIB_IFROW row = {};
        row.dwIndex = adapter->Index;
        GetIfEntry(&row);
        Use(&row);
    }
    FreeLibrary(helper);
    HMODULE const network = LoadLibraryW(L"netapi32.dll");
    BYTE * transports = nullptr;
    DWORD count = 0;
    DWORD total = 0;
    NetWkstaTransportEnum(nullptr, 0, &transports, MAX_PREFERRED_LENGTH, &count, &total, nullptr);
    NetApiBufferFree(transports);
    FreeLibrary(network);
    HKEY key = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE,
                  L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\NetworkCards", 0, KEY_READ,
                  &key);
    wchar_t name[MAX_PATH];
    wchar_t text[MAX_PATH];
    for (DWORD i = 0; RegEnumKeyW(key, i, name, MAX_PATH) == ERROR_SUCCESS; ++i)
    {
        HKEY card = nullptr;
        RegOpenKeyExW(key, name, 0, KEY_READ, &card);
        for (wchar_t const * value : {L"ServiceName", L"Description"})
        {
            DWORD length = sizeof text;
            RegQueryValueExW(card, value, nullptr, nullptr, reinterpret_cast<BYTE *>(text),
                             &length);
        }
        RegCloseKey(card);
    }
    RegCloseKey(key);
}

template <class Run>
void CountLoads(Report & report, std::string const & what, double limit, Run run)
{
    CallCounter<0, decltype(&LoadLibraryW)> const loads("LoadLibraryW");
    g_calls = 0;
    run();
    report.Figure("machine: " + what + ", libraries loaded", g_calls, "calls", limit);
}

template <class Run>
void CountConnections(Report & report, std::string const & what, Run run)
{
    CallCounter<1, decltype(&CoCreateInstance)> const connections("CoCreateInstance");
    g_calls = 0;
    run();
    report.Figure("machine: " + what + ", connections to WMI", g_calls, "calls", 1);
}

} // namespace

void MeasureMachine(Report & report)
{
    char const name[] = "machine: what is known without WMI";
    if (!report.IsWanted(name))
        return;
    GMHardwareDetect machine;
    report.Measure({name,
                    1,
                    "machines",
                    [&machine]
                    {
                        machine.DetectOS();
                        machine.DetectCPUCache();
                        GMString const installed = GMSystemInfo::GetSystemInstallTime();
                        Use(&installed);
                    },
                    // Ours also puts the texts together.
                    {{"the bare calls", AskBareSystem, Bar::TimeAtMost(1.2)}}});
    report.Measure({"machine: the network adapters",
                    1,
                    "machines",
                    []
                    {
                        GMString const address = GMNetworkAdapter().SelectMacAddress();
                        Use(&address);
                    },
                    {{"the bare calls", AskBareAdapters, Bar::TimeAtMost(1.2)}}});
    CountLoads(report, "the network adapters", 2, [] { GMNetworkAdapter const adapters; });
    CountLoads(report, "the system's name", 0, [&machine] { machine.DetectOS(); });
    CountLoads(report, "caches", 0, [&machine] { machine.DetectCPUCache(); });
    CountConnections(report, "processors", [&machine] { machine.DetectCPU(); });
    CountConnections(report, "memory", [&machine] { machine.DetectRealMemory(); });
    CountConnections(report, "adapters", [&machine] { machine.DetectVideoCard(); });
    CountConnections(report, "USB devices", [&machine] { machine.DetectUSB(); });
}

} // namespace Velmora::Benchmarks
