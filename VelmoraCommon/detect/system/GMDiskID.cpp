#include "VelmoraCommon/detect/system/GMDiskID.h"

#include "VelmoraCommon/detect/system/GMDiskIDImpl.h"
#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

GMString GMDiskID::GetDiskID()
{
    GMDiskIDImpl disks;
    disks.LoadDiskInfo();
    for (unsigned int i = 0; i != disks.GetCount(); ++i)
    {
        if (!disks.IsFixedDriveType(i))
            continue;
        GMString serial = GMStringConvert::MultiByteToUnicodeString(disks.SerialNumber(i), CP_ACP);
        GMStringUtils::Trim(serial, L" \r\t\n");
        if (!serial.empty())
            return serial;
    }
    return GMString();
}

} // namespace Velmora
