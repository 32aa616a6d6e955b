// What drives and adapters tell, with faked drivers and sources.
#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "VelmoraCommon/detect/system/GMDiskID.h"
#include "VelmoraCommon/detect/system/GMDiskIDImpl.h"
#include "VelmoraCommon/detect/system/GMNetworkAdapter.h"
#include "VelmoraCommon/detect/system/internal/DriveCommands.h"
#include "tests/support/FailingCall.h"
#include "tests/support/HandleCount.h"
#include "tests/support/Hex.h"
#include "tests/support/RegistrySandbox.h"

#include <iphlpapi.h>
#include <lmcons.h>
#include <lmwksta.h>

namespace Velmora::Testing
{

namespace
{

decltype(&CreateFileW) s_open;
std::map<HANDLE, std::wstring> s_drives;       // open ones
std::map<std::wstring, std::string> s_records; // by the drive's name; for a port by target, too
std::string s_log;                             // opened drives and their commands

HANDLE WINAPI OpenDrive(wchar_t const * path, DWORD access, DWORD share,
                        SECURITY_ATTRIBUTES * rights, DWORD way, DWORD flags, HANDLE like)
{
    std::wstring const name = path + 4;
    if (s_records.count(name) == 0)
        return INVALID_HANDLE_VALUE;
    HANDLE const handle = s_open(L"NUL", GENERIC_READ, share, rights, way, 0, like);
    s_drives[handle] = name;
    s_log += std::string(name.begin(), name.end()) + " " + Hex(&access, 4) + " " +
             std::to_string(share) + " " + std::to_string(flags) + "\n";
    return handle;
}

/// Gives the version with 2 as map of devices, and a record behind the head of the answer.
BOOL WINAPI Control(HANDLE drive, DWORD code, void * in, DWORD inSize, void * out, DWORD outSize,
                    DWORD *, OVERLAPPED *)
{
    auto * const answer = static_cast<char *>(out);
    std::string const bytes(static_cast<char const *>(in), inSize);
    std::string const record = s_records[s_drives[drive]];
    if (code == SMART_GET_VERSION)
    {
        answer[3] = char(record[0] == 'P' ? 0x22 : 2);
        return record[0] != '-';
    }
    s_log += Hex(&code, 4) + " " + std::to_string(inSize) + " " + std::to_string(outSize) + " " +
             Hex(bytes) + "\n";
    if (code == IOCTL_STORAGE_QUERY_PROPERTY)
        std::memset(out, 0x7F, outSize); // a descriptor that points out of the answer
    std::size_t const at = code == miniportControl ? 44 : code == 1 ? 0 : 16;
    record.copy(answer + at, record.size());
    return at != 44 || bytes[40] == 0;
}

/// An identify record; the first byte says whether the disk is fixed.
std::string Record(char general, std::string serial)
{
    std::string record(512, '\0');
    record[0] = general;
    serial.resize(20, ' ');
    for (std::size_t i = 0; i != 20; ++i)
        record[20 + (i ^ 1)] = serial[i];
    record[54] = 'm';
    return record;
}

} // namespace

TEST(GMDiskID, AsksEachChannelByItsBlock)
{
    ImportHook const open("CreateFileW", &OpenDrive, s_open);
    ImportHook const control("DeviceIoControl", &Control);
    unsigned int const handles = HandleCount();
    s_records = {{L"PhysicalDrive1", Record('P', "p")},
                 {L"PhysicalDrive2", "-"},
                 {L"Scsi3:", Record('@', "s")}};
    s_log.clear();
    GMDiskIDImpl disks;
    EXPECT_TRUE(disks.LoadDiskInfo());
    auto const zeros = [](std::size_t count)
    {
        std::string text;
        while (count-- != 0)
            text += " 00";
        return text;
    };
    EXPECT_EQ("PhysicalDrive1 00 00 00 c0 3 0\n"
              "88 c0 07 00 32 528 00 02 00 00 00 01 01 00 00 b0 a1 00 01" +
                  zeros(19) + "\n",
              s_log.substr(0, s_log.find("PhysicalDrive2")));
    s_log.erase(0, s_log.find("Scsi3:"));
    std::string const port =
        "08 d0 04 00 60 557 1c 00 00 00 53 43 53 49 44 49 53 4b 10 27 00 00 01 05 "
        "1b 00 00 00 00 00 11 02" +
        zeros(12) + " ec 00 0";
    EXPECT_EQ("Scsi3: 00 00 00 c0 3 0\n" + port + "0" + zeros(19) + "\n" + port + "1" + zeros(19) +
                  "\nPhysicalDrive1 00 00 00 c0 7 0\n88 c0 07 00 33 545" + zeros(10) + " ec" +
                  zeros(22) + "\n",
              s_log.substr(0, s_log.find("PhysicalDrive2")));
    EXPECT_EQ(2u, disks.GetCount()); // what two channels read is one
    GMDiskIDImpl const copy(disks);
    disks.LoadDiskInfo();
    EXPECT_EQ("p", GMDiskIDImpl(copy).SerialNumber(0));
    EXPECT_EQ(0, disks.ReadPhysicalDriveInNTWithZeroRights());

    FailingCall<0, decltype(&CreateFileW)> const failOpen("CreateFileW", INVALID_HANDLE_VALUE);
    FailingCall<1, decltype(&DeviceIoControl)> const failControl("DeviceIoControl", FALSE);
    unsigned int missed = 0; // calls without which one of the disks isn't found
    FailEachCall(
        [&missed](unsigned int call)
        {
            FailureScope const failure(call);
            GMDiskIDImpl some;
            EXPECT_TRUE(some.LoadDiskInfo());
            missed += some.GetCount() != 2;
        });
    EXPECT_EQ(2u, missed); // those of the port, which has a disk that no other channel sees
    EXPECT_EQ(handles, HandleCount());
}

TEST(GMDiskID, TakesTheFirstFixedDiskWithASerial)
{
    ImportHook const open("CreateFileW", &OpenDrive, s_open);
    ImportHook const control("DeviceIoControl", &Control);
    s_records = {{L"PhysicalDrive0", Record('\0', "removable")},
                 {L"PhysicalDrive1", Record('@', " \t")},
                 {L"PhysicalDrive2", Record('@', " \tAB C")},
                 {L"PhysicalDrive3", Record('@', "later")}};
    EXPECT_EQ(L"AB C", GMDiskID().GetDiskID());
    s_records.erase(L"PhysicalDrive2");
    s_records.erase(L"PhysicalDrive3");
    EXPECT_EQ(L"", GMDiskID().GetDiskID());

    // The driver for other systems: channel 1 and drives 2 and 4.
    std::string block(4108, '\0');
    block[1] = block[4 + 2] = block[4 + 4] = 1;
    block.replace(12 + 2 * 512, 512, Record('@', "nine"));
    s_records = {{L"IDE21201.VXD", block}};
    GMDiskIDImpl disks;
    EXPECT_EQ(1, disks.ReadDrivePortsInWin9X());
    EXPECT_EQ(1, disks.ReadDrivePortsInWin9X());
    ASSERT_EQ(1u, disks.GetCount());
    EXPECT_EQ("nine", disks.SerialNumber(0));
    EXPECT_EQ(DWORD(NORMAL_PRIORITY_CLASS), GetPriorityClass(GetCurrentProcess()));

    std::pair<char const *, char const *> const texts[] = {
        {"31323334", "2143"}, {"0031", "1"}, {"4A61x2", "a\x40\x02"}, {"", ""}};
    for (auto const & [digits, text] : texts)
        EXPECT_EQ(text, disks.flipAndCodeBytes(const_cast<char *>(digits))) << digits;
}

namespace
{

IP_ADAPTER_INFO s_adapters[3];
std::vector<WKSTA_TRANSPORT_INFO_0> s_transports;
int s_freed;

ULONG WINAPI GetAdapters(IP_ADAPTER_INFO * list, ULONG * size)
{
    bool const fits = *size >= sizeof s_adapters;
    *size = sizeof s_adapters;
    if (!fits)
        return ERROR_BUFFER_OVERFLOW;
    std::copy(s_adapters, s_adapters + 3, list);
    list[0].Next = list + 1;
    list[1].Next = list + 2;
    list[2].Next = s_adapters[2].Next != nullptr ? list + 3 : nullptr; // behind the buffer
    return NO_ERROR;
}

DWORD WINAPI GetRow(MIB_IFROW * row)
{
    row->dwOperStatus = 5;
    row->dwInOctets = row->dwIndex;
    return row->dwIndex == 9 ? ERROR_INVALID_DATA : NO_ERROR;
}

DWORD WINAPI GetTransports(wchar_t *, DWORD, BYTE ** buffer, DWORD, DWORD * count, DWORD *, DWORD *)
{
    *buffer = reinterpret_cast<BYTE *>(s_transports.data());
    *count = DWORD(s_transports.size());
    return 0;
}

DWORD WINAPI FreeTransports(void *)
{
    ++s_freed;
    return 0;
}

FARPROC WINAPI FindSource(HMODULE module, char const * name)
{
    std::pair<char const *, void *> const sources[] = {
        {"GetAdaptersInfo", reinterpret_cast<void *>(&GetAdapters)},
        {"GetIfEntry", reinterpret_cast<void *>(&GetRow)},
        {"NetWkstaTransportEnum", reinterpret_cast<void *>(&GetTransports)},
        {"NetApiBufferFree", reinterpret_cast<void *>(&FreeTransports)}};
    for (auto const & [known, function] : sources)
    {
        if (std::strcmp(name, known) == 0)
            return reinterpret_cast<FARPROC>(function);
    }
    return GetProcAddress(module, name);
}

void SetText(std::wstring const & key, wchar_t const * name, std::wstring const & text)
{
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, REG_SZ, text.data(),
                    DWORD(text.size() * sizeof(wchar_t)));
}

} // namespace

TEST(GMNetworkAdapter, ReadsItsThreeSources)
{
    RegistrySandbox const machine(HKEY_LOCAL_MACHINE);
    FailingCall<0, decltype(&LoadLibraryW)> const load("LoadLibraryW", nullptr);
    ImportHook const find("GetProcAddress", &FindSource);
    for (DWORD i = 0; i != 3; ++i)
    {
        s_adapters[i].Index = 7 + i;
        std::memset(s_adapters[i].AdapterName, 'n', sizeof s_adapters[i].AdapterName);
        std::fill_n(s_adapters[i].Address, 6, BYTE(0xA0 + i));
        s_adapters[i].Next = s_adapters;
    }
    wchar_t digits[] = L"00A1fG7";
    wchar_t name[] = L"\\a{b}{card}";
    s_transports = {{0, 0, name, digits, FALSE},
                    {0, 0, name, digits, FALSE},
                    {0, 0, digits, digits, FALSE},
                    {0, 0, nullptr, nullptr, FALSE}};
    std::wstring const cards = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\NetworkCards\\";
    std::wstring const system = L"SYSTEM\\CurrentControlSet\\";
    std::wstring const networks =
        system + L"Control\\Network\\{4D36E972-E325-11CE-BFC1-08002BE10318}\\";
    for (std::wstring const card : {L"{card}", L"{bare}", L"{lost}"})
    {
        SetText(cards + card, L"ServiceName", card); // without its NUL
        SetText(networks + card + L"\\Connection", L"Name", card == L"{bare}" ? L"" : L"LAN");
        SetText(system + L"Services\\Tcpip\\Parameters\\Interfaces\\" +
                    (card == L"{lost}" ? L"" : card),
                L"", L"");
    }
    s_freed = 0;
    unsigned int const calls = FailEachCall(
        [](unsigned int call)
        {
            FailureScope const failure(call);
            GMNetworkAdapter const all;
            EXPECT_EQ(call == 1 ? 0u : 3u, all.m_adapters.size());
            EXPECT_EQ(call == 2 ? 0u : 2u, all.m_transports.size());
            ASSERT_EQ(1u, all.m_physicalNics.size());
            EXPECT_EQ(L"{card}", all.m_physicalNics[0].m_serviceName);
            if (call <= 2)
                return;
            EXPECT_EQ(GMString(260, L'n'), all.m_adapters[0].m_name);
            EXPECT_EQ(L"a1a1a1a1a1a1", all.m_adapters[1].GetMacAddress());
            EXPECT_EQ(8u, all.m_adapters[1].getIndex());
            EXPECT_EQ(0u, all.m_adapters[2].getIndex());
            EXPECT_EQ(L"{card}", all.m_transports[0].m_name);
            EXPECT_EQ(L"00a1f0070000", all.m_transports[0].m_macAddress);
            EXPECT_EQ(L"00a1f0070000", all.SelectMacAddress());
            unsigned char address[6] = {};
            EXPECT_TRUE(all.GetMacAddressData(L"a0a0a0a0a0a0", address));
            EXPECT_EQ(0xA0, address[5]);
            EXPECT_FALSE(all.FindMacAddress(L"A0A0A0A0A0A0") || all.FindMacAddress(L""));
        });
    EXPECT_EQ(2u, calls); // each library once
    EXPECT_EQ(2, s_freed);

    FailingCall<1, decltype(&RegOpenKeyExW)> const open("RegOpenKeyExW", ERROR_CRC);
    FailingCall<2, decltype(&RegQueryInfoKeyW)> const sizes("RegQueryInfoKeyW", ERROR_CRC);
    FailingCall<3, decltype(&RegEnumKeyExW)> const list("RegEnumKeyExW", ERROR_CRC);
    FailingCall<4, decltype(&RegQueryValueExW)> const query("RegQueryValueExW", ERROR_CRC);
    unsigned int const handles = HandleCount();
    unsigned int survived = 0;
    FailEachCall(
        [&survived](unsigned int call)
        {
            FailureScope const failure(call);
            survived += static_cast<unsigned int>(GMNetworkAdapter().m_physicalNics.size());
        });
    EXPECT_EQ(handles, HandleCount());
    EXPECT_LT(0u, survived); // of a failure with another card
}

TEST(GMNetworkAdapter, ChoosesTheBusiestCardThatIsUp)
{
    struct Row
    {
        std::string
            adapters; // each: physical or virtual, up or down, its traffic, which is its address
        wchar_t const * address;
    };
    Row const rows[] = {
        {"", L"net"},    {"pu1 pu2 pu2", L"2-1"}, {"pd9 pu1 pd8 vu7", L"1-1"}, {"pd9 pd1", L"1-1"},
        {"vu7", L"net"}, {"pu0 pu1", L"1-1"},     {"pu5 pu0", L"5-0"},
    };
    RegistrySandbox const machine(HKEY_LOCAL_MACHINE);
    ImportHook const load(
        "LoadLibraryW", +[](wchar_t const *) WINAPI -> HMODULE { return nullptr; });
    for (Row const & row : rows)
    {
        GMNetworkAdapter all; // of nothing
        all.m_transports = {{L"virtual", L"no", {}}, {L"card", L"net", {}}};
        all.m_physicalNics = {{L"card", L"", L""}};
        for (std::size_t at = 0; at < row.adapters.size(); at += 4)
        {
            GMNetworkAdapterInfo info;
            char const traffic = row.adapters[at + 2];
            info.m_name = row.adapters[at] == 'p' ? L"card" : L"virtual";
            info.m_ifRow.dwOperStatus = row.adapters[at + 1] == 'u' ? 5 : 4;
            info.m_ifRow.dwInOctets = DWORD(traffic - '0');
            if (traffic != '0')
                info.m_macAddress = std::wstring(1, traffic) + L"-" + std::to_wstring(at / 4);
            all.m_adapters.push_back(info);
        }
        EXPECT_EQ(row.address, all.SelectMacAddress()) << row.adapters;
    }
}

} // namespace Velmora::Testing
