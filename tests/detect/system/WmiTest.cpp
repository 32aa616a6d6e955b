#include <array>
#include <string>

#include <gmock/gmock.h>

#include <comdef.h>
#include <wbemcli.h>

#include "VelmoraCommon/detect/system/GMHardwareDetect.h"
#include "VelmoraCommon/detect/system/GMSystemInfo.h"
#include "tests/detect/system/FakeWmi.h"
#include "tests/support/FailingCall.h"

namespace Velmora::Testing
{

namespace
{

wchar_t const modules[] = L"SELECT * FROM Win32_PhysicalMemory";
wchar_t const adapters[] = L"Win32_VideoController";
wchar_t const usbDevices[] = L"select Dependent from Win32_USBControllerDevice";
wchar_t const computer[] = L"SELECT * FROM Win32_ComputerSystem";

wchar_t const mouse[] = L"\\\\PC\\root\\cimv2:Win32_PnPEntity.DeviceID="
                        L"\"USB\\\\VID_046D&PID_C52B&MI_00\\\\7&1\"";

/// Rows with the property \p name as each of \p cells.
std::vector<WmiRow> Rows(wchar_t const * name, std::vector<WmiCell> const & cells)
{
    std::vector<WmiRow> rows;
    for (WmiCell const & cell : cells)
        rows.push_back({{{name, cell}}});
    return rows;
}

} // namespace

TEST(GMHardwareDetect, AsksTheRealWmi)
{
    GMHardwareDetect machine;
    machine.Detect({}, true);
    SYSTEM_INFO info = {};
    GetSystemInfo(&info);
    EXPECT_EQ(info.dwNumberOfProcessors, machine.GetCPUNum());
    EXPECT_LT(0u, machine.m_cpu.m_clockSum);
    EXPECT_FALSE(machine.GetCPUName(false).empty());
    EXPECT_LT(0u, machine.GetRealMemorySize());
    EXPECT_LE(machine.GetRealMemorySize(), machine.GetMemorySize());
    EXPECT_FALSE(machine.GetVideoCardName(false, 0).empty());
    EXPECT_EQ(sizeof(void *) == 8 ? 2 : machine.GetOSBit(), machine.GetOSBit());
    unsigned int score = 0;
    machine.MakeCPUScore(score);
    EXPECT_LT(100u, score);
}

TEST(GMHardwareDetect, ReadsWhatWmiTells)
{
    FakeWmi wmi;
    GMHardwareDetect machine;
    wmi.answers[adapters] = {
        {{{L"Name", {VT_BSTR, 0, L"First"}},
          {L"PNPDeviceID", {VT_NULL, 0}},
          {L"AdapterRAM", {VT_I4, -1048576}}, // 4095 MB in 32 bits
          {L"MinRefreshRate", {VT_UI1, 60}},
          {L"MaxRefreshRate", {VT_BSTR, 0, L"-75"}}}},
        {{{L"Name", {VT_BSTR, 0, L"skipped"}}}, WBEM_S_PARTIAL_RESULTS},
        {{{L"Name", {VT_NULL, 0}}, {L"AdapterRAM", {VT_UI8, 24ll << 30}}}},
        {{{L"Name", {VT_I4, 42}}, {L"AdapterRAM", {VT_BSTR, 0, L"4293918720"}}}},
        {{}, WBEM_S_TIMEDOUT},
        {{{L"Name", {VT_BSTR, 0, L"too late"}}}},
    };
    EXPECT_FALSE(machine.DetectVideoCard()); // without a driver
    ASSERT_EQ(3u, machine.m_videoCards.size());
    GMVideoCardInfo card;
    EXPECT_TRUE(machine.GetVideoCardInfo(0, card));
    EXPECT_EQ(L"First", card.m_name);
    EXPECT_EQ(L"", card.m_pnpDeviceId);
    EXPECT_EQ(4293918720u, card.m_adapterRam);
    EXPECT_EQ(60, card.m_minRefreshRate);
    EXPECT_EQ(-75, card.m_maxRefreshRate);
    EXPECT_EQ(L"", machine.GetVideoCardName(true, 1));
    EXPECT_EQ(24u << 10, machine.GetVideoCardRAW(1));
    EXPECT_EQ(L"42", machine.GetVideoCardName(false, 2));
    EXPECT_EQ(4095u, machine.GetVideoCardRAW(2));
    EXPECT_FALSE(machine.GetVideoCardInfo(3, card));

    wmi.answers[adapters] = Rows(L"MinRefreshRate", {{VT_UNKNOWN, 0}});
    EXPECT_THROW(machine.DetectVideoCard(), _com_error);

    wmi.answers[modules] = Rows(
        L"Capacity",
        {{VT_BSTR, 0, L"8589934592"}, {VT_NULL, 0}, {VT_I4, 5}, {VT_BSTR, 0, L"1"}, {VT_EMPTY, 0}});
    EXPECT_TRUE(machine.DetectMemory());
    EXPECT_EQ(8193u, machine.GetRealMemorySize());
    EXPECT_EQ(DWORD(RPC_C_AUTHN_WINNT), wmi.authentication);
    machine.m_memoryStatus.ullTotalPhys = (9000ull << 20) - 1; // half a megabyte more, rounded up
    EXPECT_EQ(9001u, machine.GetMemorySize());

    wmi.answers[usbDevices] =
        Rows(L"Dependent", {{VT_BSTR, 0, mouse},
                            {VT_NULL, 0},
                            {VT_BSTR, 0, L"DeviceID=\"USB\\\\ROOT_HUB\""},
                            {VT_BSTR, 0, L"DeviceID=\"USB\\\\VID_1&PID_2\\\\3"},
                            {VT_BSTR, 0, L"DeviceID='USB\\\\VID_1&PID_2\\\\3'"},
                            {VT_BSTR, 0, L"=\"USB\\\\VID_1&PID_2\\\\3&4\""},
                            {VT_BSTR, 0, L"=\"USB\\\\PID_2&VID_1\\\\3\""}});
    machine.DetectUSB();
    EXPECT_EQ(DWORD(RPC_C_AUTHN_DEFAULT), wmi.authentication);
    std::vector<std::array<GMString, 3>> devices;
    for (auto const & device : machine.GetUSBInfos())
        devices.push_back({device.m_vid, device.m_pid, device.m_deviceId});
    std::vector<std::array<GMString, 3>> const expected = {
        {L"046D", L"C52B", L"USB\\\\VID_046D&PID_C52B&MI_00\\\\7&1"},
        {L"1", L"2\\\\3", L"USB\\\\VID_1&PID_2\\\\3&4"},
        {L"", L"2", L"USB\\\\PID_2&VID_1\\\\3"}};
    EXPECT_EQ(expected, devices);

    struct Model
    {
        WmiCell cell;
        unsigned int environment;
    };
    GMString const longName = L"VirtualBox" + GMString(200, L'x');
    for (Model const & each :
         {Model{{VT_BSTR, 0, L"virtualBOX"}, 1}, Model{{VT_BSTR, 0, L"Virtual Machine"}, 2},
          Model{{VT_BSTR, 0, L"VMware Virtual Platform"}, 3},
          Model{{VT_BSTR, 0, L"VirtualBox 2"}, 0}, Model{{VT_BSTR, 0, longName.c_str()}, 0},
          Model{{VT_NULL, 0}, 0}})
    {
        wmi.answers[computer] = Rows(L"Model", {each.cell, {VT_BSTR, 0, L"Virtual Machine"}});
        EXPECT_EQ(each.environment, GMSystemInfo::GetSystemEnvironment());
    }
    EXPECT_FALSE(wmi.keptRow);
    EXPECT_EQ(0, FakeWmi::References());

    for (HRESULT FakeWmi::*step : {&FakeWmi::connection, &FakeWmi::question, &FakeWmi::security})
    {
        wmi.*step = E_FAIL;
        EXPECT_FALSE(machine.DetectRealMemory());
        EXPECT_EQ(0u, machine.GetRealMemorySize());
        machine.DetectUSB();
        // The security that this connection asks for is no condition of it.
        EXPECT_EQ(step == &FakeWmi::security ? 3u : 0u, machine.GetUSBInfos().size());
        wmi.*step = S_OK;
    }
}

TEST(GMHardwareDetect, SurvivesEachFailingCall)
{
    FakeWmi wmi;
    wmi.answers[adapters] = Rows(L"Name", {{VT_BSTR, 0, L"First"}, {VT_I4, 2}});
    wmi.answers[modules] = Rows(L"Capacity", {{VT_BSTR, 0, L"1048576"}});
    wmi.answers[usbDevices] = Rows(L"Dependent", {{VT_BSTR, 0, mouse}});
    wmi.answers[L"Win32_Processor.DeviceID=\"CPU0\""] = Rows(L"CurrentClockSpeed", {{VT_UI2, 5}});
    FailingCall<0, decltype(&CoInitializeEx)> const apartment("CoInitializeEx", RPC_E_CHANGED_MODE);
    FailingCall<1, decltype(&CoInitializeSecurity)> const security("CoInitializeSecurity", E_FAIL);
    FailingCall<2, decltype(&CoCreateInstance)> const locator("CoCreateInstance", E_FAIL);
    FailingCall<3, decltype(&CoSetProxyBlanket)> const blanket("CoSetProxyBlanket", E_FAIL);
    FailingCall<4, decltype(&SysAllocString)> const text("SysAllocString", nullptr);
    FailingCall<5, decltype(&VariantChangeType)> const convert("VariantChangeType", E_OUTOFMEMORY);
    FailingCall<6, decltype(&GlobalMemoryStatusEx)> const memory("GlobalMemoryStatusEx", FALSE);
    std::string found; // by the number of the call: the parts that are there in spite of it
    unsigned int const calls = FailEachCall(
        [&found](unsigned int call)
        {
            GMHardwareDetect machine;
            FailureScope const scope(call);
            try
            {
                machine.Detect({}, true);
            }
            catch (_com_error const & failure)
            {
                EXPECT_EQ(E_OUTOFMEMORY, failure.Error());
                found += '!';
            }
            found += std::to_string((machine.m_realMemorySize != 0) +
                                    2 * (machine.m_cpu.m_clockSum != 0) +
                                    4 * (machine.m_videoCards.size() == 2) +
                                    8 * !machine.m_usbDevices.empty()) +
                     ' ';
            EXPECT_EQ(0, FakeWmi::References()) << call;
        });
    EXPECT_EQ(30u, calls);
    // COM, its security (a condition for the modules alone), the locator, the name space, the
    // connection's security; then what is asked for, and values to be converted.
    EXPECT_EQ("15 14 14 !0 14 !0 !0 15 " // modules, and the system's memory
              "15 15 13 !1 15 !1 !1 !3 " // processors, the last attempt of which finds none
              "15 15 11 !3 15 !3 !3 "    // adapters
              "15 15 7 !7 15 !7 !7 15 ", // USB; and without a failure
              found);
    // COM is left as often as it was taken: only the fake's own use of it remains.
    EXPECT_EQ(S_FALSE, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
    CoUninitialize();
}

} // namespace Velmora::Testing
