// Records that go to the system, to a device or to another process as a block of bytes. A wrong packing
// or a field of the wrong width would shift what lies behind it.
#include <gtest/gtest.h>

#include "VelmoraCommon/frame/WindowsApi.h"

#include <commctrl.h>
#include <commdlg.h>
#include <setupapi.h>
#include <shellapi.h>
#include <tlhelp32.h>
#include <winioctl.h>

namespace Velmora::Testing
{

namespace
{

TEST(RecordSizes, AreThoseOfTheSystem)
{
    struct Case
    {
        char const * what;
        std::size_t size;
        std::size_t in32Bits;
        std::size_t in64Bits;
    };
    Case const cases[] = {
        {"EVENTMSG", sizeof(EVENTMSG), 20, 24},
        {"GETVERSIONINPARAMS", sizeof(GETVERSIONINPARAMS), 24, 24},
        {"IMAGE_NT_HEADERS32", sizeof(IMAGE_NT_HEADERS32), 248, 248},
        {"IMAGE_SECTION_HEADER", sizeof(IMAGE_SECTION_HEADER), 40, 40},
        {"LVHITTESTINFO", sizeof(LVHITTESTINFO), 24, 24},
        {"LVITEMW", sizeof(LVITEMW), 60, 88},
        {"OPENFILENAMEW", sizeof(OPENFILENAMEW), 88, 152},
        {"OSVERSIONINFOEXW", sizeof(OSVERSIONINFOEXW), 284, 284},
        {"OSVERSIONINFOW", sizeof(OSVERSIONINFOW), 276, 276},
        {"PROCESSENTRY32W", sizeof(PROCESSENTRY32W), 556, 568},
        {"SECURITY_ATTRIBUTES", sizeof(SECURITY_ATTRIBUTES), 12, 24},
        {"SENDCMDINPARAMS", sizeof(SENDCMDINPARAMS), 33, 33},
        {"SENDCMDOUTPARAMS", sizeof(SENDCMDOUTPARAMS), 17, 17},
        {"SHELLEXECUTEINFOW", sizeof(SHELLEXECUTEINFOW), 60, 112},
        {"SHFILEINFOW", sizeof(SHFILEINFOW), 692, 696},
        {"SP_DEVINFO_DATA", sizeof(SP_DEVINFO_DATA), 28, 32},
        {"STARTUPINFOW", sizeof(STARTUPINFOW), 68, 104},
        {"SYSTEM_LOGICAL_PROCESSOR_INFORMATION", sizeof(SYSTEM_LOGICAL_PROCESSOR_INFORMATION), 24,
         32},
    };
    for (Case const & each : cases)
        EXPECT_EQ(sizeof(void *) == 4 ? each.in32Bits : each.in64Bits, each.size) << each.what;
}

} // namespace

} // namespace Velmora::Testing
