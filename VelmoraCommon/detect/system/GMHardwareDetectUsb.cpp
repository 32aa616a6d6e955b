#include "VelmoraCommon/detect/system/GMHardwareDetect.h"

#include "VelmoraCommon/detect/system/internal/GMWmiSession.h"
#include "VelmoraCommon/text/GMStringToken.h"

namespace Velmora
{

void GMHardwareDetect::DetectUSB()
{
    m_usbDevices.clear();
    GMWmiSession const session(GMWmiSession::lenient);
    session.Query(L"select Dependent from Win32_USBControllerDevice",
                  [this](IWbemClassObject & row)
                  {
                      GMUSBInfo device;
                      if (MakeUsbInfo(WmiValue(&row, L"Dependent").StoredText(), device))
                          m_usbDevices.push_back(device);
                      return true;
                  });
}

bool GMHardwareDetect::MakeUsbInfo(GMString const & text, GMUSBInfo & info)
{
    if (text.find(L"USB") == GMString::npos || text.find(L"VID") == GMString::npos)
        return false;
    GMString::size_type begin = text.find(L"=\"");
    if (begin == GMString::npos)
        return false;
    begin += 2;
    GMString::size_type const end = text.find(L'"', begin);
    if (end == GMString::npos)
        return false;
    GMString const id = text.substr(begin, end - begin);
    info.m_vid = GMStringToken::FindStringBetween(id, L"VID_", L"&", 0);
    info.m_pid = GMStringToken::FindStringBetween(id, L"PID_", L"&", 0);
    info.m_deviceId = id;
    return true;
}

std::vector<GMUSBInfo> GMHardwareDetect::GetUSBInfos() const { return m_usbDevices; }

} // namespace Velmora
