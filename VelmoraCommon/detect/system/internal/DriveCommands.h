#pragma once

#include "VelmoraCommon/frame/WindowsApi.h"

#include <winioctl.h>

// Needs the declarations above.
#include <ntddscsi.h>

namespace Velmora
{

// What drives are asked by, and the sizes that their drivers go by.

static_assert(sizeof(GETVERSIONINPARAMS) == 24, "the drivers' layout");
static_assert(sizeof(SENDCMDINPARAMS) == 33, "the drivers' layout");
static_assert(sizeof(SRB_IO_CONTROL) == 28, "the drivers' layout");
static_assert(SMART_GET_VERSION == 0x74080 && SMART_RCV_DRIVE_DATA == 0x7C088,
              "the drivers' codes");

constexpr unsigned int driveCount = 16;
constexpr unsigned int identifySize = 512; // bytes of an identify record
/// In front of the data of a `SENDCMDOUTPARAMS`.
constexpr unsigned int commandHeadSize = sizeof(SENDCMDOUTPARAMS) - 1;

constexpr BYTE identifyDevice = 0xEC;
constexpr BYTE identifyPacketDevice = 0xA1; // for drives that speak ATAPI, such as those for CDs

constexpr DWORD miniportControl = 0x4D008; // IOCTL_SCSI_MINIPORT
constexpr DWORD miniportIdentify = 0x1B0501;
constexpr char miniportSignature[] = "SCSIDISK"; // stands without its NUL

/// The driver for systems other than NT fills this.
struct PortDriverBlock
{
    BYTE channelExists[4];
    BYTE driveExists[8];
    BYTE records[8][identifySize];
};
static_assert(sizeof(PortDriverBlock) == 4108, "the driver's layout");

} // namespace Velmora
