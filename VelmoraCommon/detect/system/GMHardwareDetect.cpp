#include "VelmoraCommon/detect/system/GMHardwareDetect.h"

#include <algorithm>
#include <cmath>

#include "VelmoraCommon/detect/system/internal/GMWmiSession.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

constexpr double bytesPerMegabyte = 1024.0 * 1024.0;

bool ReadMemoryStatus(MEMORYSTATUSEX & status)
{
    status.dwLength = sizeof(status);
    return GlobalMemoryStatusEx(&status) != FALSE;
}

} // namespace

GMHardwareDetect::GMHardwareDetect() : m_memoryStatus{}, m_realMemorySize(0) {}
GMHardwareDetect::~GMHardwareDetect() = default;
GMHardwareDetect::GMHardwareDetect(GMHardwareDetect const &) = default;
GMHardwareDetect & GMHardwareDetect::operator=(GMHardwareDetect const &) = default;

void GMHardwareDetect::Detect(std::map<GMString, unsigned int> const & gpuScores, bool detect)
{
    if (gpuScores != m_gpuScores)
        m_gpuScores = gpuScores;
    if (!detect)
        return;
    DetectOS();
    DetectMemory();
    DetectCPU();
    DetectVideoCard();
    DetectUSB();
}

bool GMHardwareDetect::DetectMemory()
{
    DetectRealMemory();
    return ReadMemoryStatus(m_memoryStatus);
}

bool GMHardwareDetect::DetectRealMemory()
{
    m_realMemorySize = 0;
    GMWmiSession const session(GMWmiSession::strict);
    return session.Query(L"SELECT * FROM Win32_PhysicalMemory",
                         [this](IWbemClassObject & row)
                         {
                             m_realMemorySize +=
                                 GMStringUtils::ToUInt64(WmiValue(&row, L"Capacity").StoredText());
                             return true;
                         });
}

unsigned __int64 GMHardwareDetect::GetRealMemorySize() const
{
    return static_cast<unsigned __int64>(
        std::ceil(static_cast<double>(m_realMemorySize) / bytesPerMegabyte));
}

unsigned __int64 GMHardwareDetect::GetMemorySize() const
{
    double const usable =
        std::ceil(static_cast<double>(m_memoryStatus.ullTotalPhys) / bytesPerMegabyte + 0.5);
    return std::max(GetRealMemorySize(), static_cast<unsigned __int64>(usable));
}

} // namespace Velmora
