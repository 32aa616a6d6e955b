// machine: tells what the machine is made of, and how good it is for games.

#include <algorithm>
#include <cstdio>
#include <vector>

#include <comdef.h>
#include <nlohmann/json.hpp>

#include "VelmoraCommon/detect/system/GMDeviceManager.h"
#include "VelmoraCommon/detect/system/GMDiskIDImpl.h"
#include "VelmoraCommon/detect/system/GMHardwareDetect.h"
#include "VelmoraCommon/detect/system/GMNetbarDetect.h"
#include "VelmoraCommon/detect/system/GMNetworkAdapter.h"
#include "VelmoraCommon/detect/system/GMSystemInfo.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "tools/common/CommandLine.h"
#include "tools/common/Messages.h"
#include "tools/common/ProgressLine.h"
#include "tools/machine/Sources.h"

using namespace Velmora;
using namespace Tools;

namespace
{

using Json = nlohmann::ordered_json;

struct Options
{
    GMString scores;
    bool json = false;
};

std::string Utf8(GMString const & text) { return GMStringConvert::GMStringToUtf8(text); }

/// By the numbers of GMSystemInfo::GetSystemEnvironment.
constexpr char const * environments[] = {"", "VirtualBox", "Hyper-V", "VMware"};

struct Step
{
    wchar_t const * part;
    void (*detect)(GMHardwareDetect & machine);
};
constexpr Step steps[] = {
    {L"the system", [](GMHardwareDetect & machine) { machine.DetectOS(); }},
    {L"the memory", [](GMHardwareDetect & machine) { machine.DetectMemory(); }},
    {L"the processor", [](GMHardwareDetect & machine) { machine.DetectCPU(); }},
    {L"the graphics", [](GMHardwareDetect & machine) { machine.DetectVideoCard(); }},
    {L"the USB devices", [](GMHardwareDetect & machine) { machine.DetectUSB(); }},
};

/// With a line that says what is asked for, since WMI takes its time.
void Detect(GMHardwareDetect & machine)
{
    ProgressLine progress;
    for (Step const & step : steps)
    {
        progress.Show(GMString(L"Asking for ") + step.part + L" ...");
        step.detect(machine);
    }
}

Json Graphics(GMHardwareDetect const & machine)
{
    auto const memory = ReadVideoMemory();
    Json adapters = Json::array();
    GMVideoCardInfo card;
    for (unsigned int i = 0; machine.GetVideoCardInfo(i, card); ++i)
    {
        auto const known = memory.find(card.m_name);
        unsigned __int64 const bytes = known == memory.end() ? card.m_adapterRam : known->second;
        Json adapter = {{"name", Utf8(card.m_name)}, {"memoryMB", bytes >> 20}};
        if (card.m_coreClock != 0)
            adapter["coreMHz"] = card.m_coreClock / 1000;
        if (card.m_memoryClock != 0)
            adapter["memoryMHz"] = card.m_memoryClock / 1000;
        adapters.push_back(adapter);
    }
    return adapters;
}

Json UsbDevices(GMHardwareDetect const & machine)
{
    Json devices = Json::array();
    for (GMUSBInfo const & device : machine.GetUSBInfos())
        devices.push_back({{"vendor", Utf8(device.m_vid)}, {"product", Utf8(device.m_pid)}});
    return devices;
}

/// The drives that tell of themselves; most do so to an administrator alone.
Json Disks()
{
    GMDiskIDImpl drives;
    drives.LoadDiskInfo();
    Json disks = Json::array();
    for (unsigned int i = 0; i != drives.GetCount(); ++i)
    {
        GMString serial = GMStringConvert::MultiByteToUnicodeString(drives.SerialNumber(i), CP_ACP);
        GMStringUtils::Trim(serial, L" ");
        disks.push_back({{"serial", Utf8(serial)}, {"fixed", drives.IsFixedDriveType(i)}});
    }
    return disks;
}

Json Network()
{
    Json adapters = Json::array();
    for (GMDeviceManager::GMDeviceInfo const & device : GMDeviceManager().GetDeviceInfos(nullptr))
    {
        if (device.m_class == L"Net")
            adapters.push_back(Utf8(device.m_description));
    }
    return {{"adapters", adapters}, {"address", Utf8(GMNetworkAdapter().SelectMacAddress())}};
}

/// The scores come last, for they put the processor's numbers into the range of their formula.
Json Describe(GMHardwareDetect & machine)
{
    Json report;
    report["system"] = {{"name", Utf8(machine.GetOSName())},
                        {"bits", machine.GetOSBit() == 2 ? 64 : 32},
                        {"installed", Utf8(GMSystemInfo::GetSystemInstallTime())}};
    unsigned int const environment = GMSystemInfo::GetSystemEnvironment();
    if (environment != 0)
        report["system"]["virtualMachine"] = environments[environment];
    report["processor"] = {{"name", Utf8(machine.GetCPUName(true))},
                           {"logicalProcessors", machine.GetCPUNum()}};
    report["memoryMB"] = machine.GetMemorySize();
    report["graphics"] = Graphics(machine);
    report["usb"] = UsbDevices(machine);
    report["disks"] = Disks();
    report["network"] = Network();
    report["internetCafe"] = GMNetbarDetect().IsNetBar();
    unsigned int processor = 0;
    unsigned int graphics = 0;
    machine.MakeCPUScore(processor);
    machine.MakeGPUScore(graphics);
    report["scores"] = {{"processor", processor}, {"graphics", graphics}};
    return report;
}

void TellLine(wchar_t const * title, std::string const & text)
{
    GMString line = title;
    line.resize(12, L' ');
    Print(stdout, line + OnOneLine(GMStringConvert::Utf8ToGMString(text.c_str())));
}

std::string Megahertz(Json const & adapter, char const * key, char const * what)
{
    return adapter.contains(key) ? ", " + std::string(what) + " " + adapter[key].dump() + " MHz"
                                 : std::string();
}

void Tell(Json const & report)
{
    Json const & system = report["system"];
    Json const & processor = report["processor"];
    TellLine(L"System", system["name"]);
    if (system.contains("virtualMachine"))
        TellLine(L"", "a virtual machine of " + system["virtualMachine"].get<std::string>());
    TellLine(L"Processor", processor["name"].get<std::string>() + ", " +
                               processor["logicalProcessors"].dump() + " logical processors");
    TellLine(L"Memory", report["memoryMB"].dump() + " MB");
    for (Json const & adapter : report["graphics"])
        TellLine(L"Graphics", adapter["name"].get<std::string>() + ", " +
                                  adapter["memoryMB"].dump() + " MB" +
                                  Megahertz(adapter, "coreMHz", "core") +
                                  Megahertz(adapter, "memoryMHz", "memory"));
    for (Json const & device : report["usb"])
        TellLine(L"USB", "vendor " + device["vendor"].get<std::string>() + ", product " +
                             device["product"].get<std::string>());
    for (Json const & disk : report["disks"])
        TellLine(L"Disk", "serial number " + disk["serial"].get<std::string>() +
                              (disk["fixed"] ? "" : ", removable"));
    for (Json const & adapter : report["network"]["adapters"])
        TellLine(L"Network", adapter);
    std::string const address = report["network"]["address"];
    if (!address.empty())
        TellLine(L"Address", address);
    if (report["internetCafe"])
        TellLine(L"Place", "an internet cafe");
    TellLine(L"Scores", "processor " + report["scores"]["processor"].dump() + ", graphics " +
                            report["scores"]["graphics"].dump());
}

ExitCode Report(Options const & options)
{
    GMHardwareDetect machine;
    if (!options.scores.empty())
        machine.Detect(ReadScores(options.scores), false);
    try
    {
        Detect(machine);
        Json const report = Describe(machine);
        if (options.json)
            std::puts(report.dump(2).c_str());
        else
            Tell(report);
        return done;
    }
    catch (_com_error const & failure)
    {
        throw Failure{L"WMI: " + SystemMessage(static_cast<unsigned long>(failure.Error()))};
    }
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    Options options;
    CommandLine line("machine", "Tells what the machine is made of: system, processor, memory,\n"
                                "graphics, USB devices, disks, network, whether it belongs to an\n"
                                "internet cafe, and scores for processor and graphics.");
    line.add_flag("--json", options.json,
                  "Tells the same as JSON, and the time of the installation");
    AddText(line, "--scores", options.scores,
            "Takes scores of graphics adapters from FILE, with lines NAME = SCORE");
    return line.Run(argc, argv, [&] { return Report(options); });
}
