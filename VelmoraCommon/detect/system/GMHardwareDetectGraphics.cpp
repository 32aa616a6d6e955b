#include "VelmoraCommon/detect/system/GMHardwareDetect.h"

#include <algorithm>

#include "VelmoraCommon/detect/system/internal/AdlClocks.h"
#include "VelmoraCommon/detect/system/internal/GMWmiSession.h"
#include "VelmoraCommon/detect/system/internal/NvApi.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

constexpr long rowPatience = 10000; // milliseconds
constexpr unsigned int greatestOfAll = 0xFFFFFFFF;

/// Whether \p status is no failure. The driver is asked for the words of one.
bool Succeeded(NvApi const & api, NvApi::Status status)
{
    if (status == NvApi::ok)
        return true;
    char message[NvApi::textSize] = {};
    api.getErrorMessage(status, message);
    return false;
}

/// How the PnP device id of an adapter begins.
GMString PnpPrefix(NvApi const & api, NvApi::Gpu gpu)
{
    unsigned int device = 0;
    unsigned int subSystem = 0;
    unsigned int revision = 0;
    unsigned int extDevice = 0;
    api.getPciIdentifiers(gpu, &device, &subSystem, &revision, &extDevice);
    return GMStringUtils::FormatResult(L"PCI\\VEN_%04X&DEV_%04X&SUBSYS_%08X&REV_%02X",
                                       device & 0xFFFF, extDevice, subSystem, revision);
}

void ReadClocks(NvApi const & api, NvApi::Gpu gpu, std::vector<GMVideoCardInfo> & cards)
{
    char name[NvApi::textSize] = {};
    if (!Succeeded(api, api.getFullName(gpu, name)))
        return;
    GMString const prefix = PnpPrefix(api, gpu);
    auto const card =
        std::find_if(cards.rbegin(), cards.rend(),
                     [&prefix](GMVideoCardInfo const & each)
                     { return GMStringUtils::BeginWithNoCase(each.m_pnpDeviceId, prefix); });
    if (card == cards.rend())
        return;
    NvApi::Clocks clocks = {};
    clocks.version = NvApi::clocksVersion;
    if (!Succeeded(api, api.getAllClockFrequencies(gpu, &clocks)))
        return;
    NvApi::Clock const & memory = clocks.domains[NvApi::memoryDomain];
    NvApi::Clock const & core = clocks.domains[NvApi::graphicsDomain];
    card->m_memoryClock = memory.IsPresent() ? memory.kilohertz : 0;
    card->m_coreClock = core.IsPresent() ? core.kilohertz : 0;
}

/// In kilohertz, as the driver's users reckon it: in 32 bits with sign.
unsigned __int64 AdlKilohertz(int clock)
{
    return static_cast<unsigned __int64>(
        static_cast<__int64>(static_cast<int>(static_cast<unsigned int>(clock) * 10)));
}

} // namespace

bool GMHardwareDetect::DetectVideoCard()
{
    m_videoCards.clear();
    {
        GMWmiSession const session(GMWmiSession::lenient);
        session.ReadClass(L"Win32_VideoController", rowPatience,
                          [this](IWbemClassObject & row)
                          {
                              GMVideoCardInfo card;
                              card.m_name = WmiValue(&row, L"Name").Text();
                              card.m_pnpDeviceId = WmiValue(&row, L"PNPDeviceID").Text();
                              card.m_adapterRam = WmiValue(&row, L"AdapterRAM").Size();
                              card.m_minRefreshRate = WmiValue(&row, L"MinRefreshRate").Number();
                              card.m_maxRefreshRate = WmiValue(&row, L"MaxRefreshRate").Number();
                              m_videoCards.push_back(card);
                              return true;
                          });
    }
    return !m_videoCards.empty() && DetectGPUFrequency();
}

bool GMHardwareDetect::DetectGPUFrequency()
{
    bool const fromAmd = DetectATIGpuFrequency() == 0;
    bool const fromNvidia = DetectNVIDIAGpuFrequency();
    return fromAmd || fromNvidia;
}

bool GMHardwareDetect::DetectNVIDIAGpuFrequency()
{
    NvApi const api;
    char version[NvApi::textSize] = {};
    NvApi::Gpu gpus[NvApi::mostGpus] = {};
    unsigned int count = 0;
    if (!Succeeded(api, api.initialize()) ||
        !Succeeded(api, api.getInterfaceVersionString(version)) ||
        !Succeeded(api, api.enumPhysicalGpus(gpus, &count)))
    {
        return false;
    }
    for (unsigned int i = 0; i < std::min(count, NvApi::mostGpus); ++i)
        ReadClocks(api, gpus[i], m_videoCards);
    return true;
}

int GMHardwareDetect::DetectATIGpuFrequency()
{
    std::optional<AdlClocks> clocks;
    AdlAnswer const answer = ReadAdlClocks(clocks);
    // The driver's number serves as the position in WMI's list. A negative one is beyond it, too.
    if (clocks && static_cast<unsigned int>(clocks->adapter) < m_videoCards.size())
    {
        GMVideoCardInfo & card = m_videoCards[static_cast<unsigned int>(clocks->adapter)];
        card.m_memoryClock += AdlKilohertz(clocks->memoryClock);
        card.m_coreClock += AdlKilohertz(clocks->coreClock);
    }
    return static_cast<int>(answer);
}

bool GMHardwareDetect::GetVideoCardInfo(unsigned int index, GMVideoCardInfo & info) const
{
    if (index >= m_videoCards.size())
        return false;
    info = m_videoCards[index];
    return true;
}

GMString GMHardwareDetect::GetVideoCardName(bool compact, unsigned int index) const
{
    if (index >= m_videoCards.size())
        return GMString();
    GMString name = m_videoCards[index].m_name;
    if (compact)
        GMStringUtils::TrimDupChar(name, L' ');
    return name;
}

unsigned int GMHardwareDetect::GetVideoCardRAW(unsigned int index) const
{
    unsigned __int64 bytes = 0;
    if (index == greatestOfAll)
    {
        for (GMVideoCardInfo const & card : m_videoCards)
            bytes = std::max(bytes, card.m_adapterRam);
    }
    else if (index < m_videoCards.size())
    {
        bytes = m_videoCards[index].m_adapterRam;
    }
    return static_cast<unsigned int>(bytes >> 20);
}

} // namespace Velmora
