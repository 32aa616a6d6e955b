#include "VelmoraCommon/detect/system/GMNetworkAdapter.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "VelmoraCommon/detect/system/internal/Adapters.h"
#include "VelmoraCommon/registry/internal/KeyEnumeration.h"
#include "VelmoraCommon/text/GMStringConvert.h"

#include <lmcons.h>
// Needs the declarations above.
#include <lmapibuf.h>
#include <lmwksta.h>

namespace Velmora
{
namespace
{

constexpr wchar_t cardsKey[] = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\NetworkCards";
constexpr wchar_t connectionsKey[] = L"SYSTEM\\CurrentControlSet\\Control\\Network\\"
                                     L"{4D36E972-E325-11CE-BFC1-08002BE10318}\\";
constexpr wchar_t interfacesKey[] =
    L"SYSTEM\\CurrentControlSet\\Services\\Tcpip\\Parameters\\Interfaces\\";

constexpr DWORD mostCards = 1024; // and units of their keys' names
constexpr std::size_t longestValue = 260;
constexpr std::size_t addressSize = 6;
constexpr ULONG largestList = 16 << 20; // bytes; no machine has so many adapters

/// A text that fills its array may lack a NUL.
template <std::size_t size>
GMString Text(char const (&text)[size])
{
    return GMStringConvert::MultiByteToUnicodeString(GMStringA(text, strnlen(text, size)), CP_ACP);
}

unsigned char HexValue(wchar_t digit)
{
    if (digit >= L'0' && digit <= L'9')
        return static_cast<unsigned char>(digit - L'0');
    wchar_t const small = digit | 0x20;
    return small >= L'a' && small <= L'f' ? static_cast<unsigned char>(small - L'a' + 10) : 0;
}

ScopedRegKey OpenMachineKey(GMString const & path)
{
    ScopedRegKey key;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, key.Receive());
    return key;
}

/// Owns what `NetWkstaTransportEnum` gives.
class TransportList
{
public:
    explicit TransportList(decltype(::NetApiBufferFree) * free) : m_free(free) {}
    ~TransportList()
    {
        if (m_buffer != nullptr)
            m_free(m_buffer);
    }
    TransportList(TransportList const &) = delete;
    TransportList & operator=(TransportList const &) = delete;

    BYTE ** Receive() { return &m_buffer; }
    WKSTA_TRANSPORT_INFO_0 const * Get() const
    {
        return reinterpret_cast<WKSTA_TRANSPORT_INFO_0 const *>(m_buffer);
    }

private:
    decltype(::NetApiBufferFree) * m_free;
    BYTE * m_buffer = nullptr;
};

} // namespace

GMNetworkAdapter::GMNetworkAdapter()
{
    GetMacIdByIPHelp();
    GetMacIdByNetBiosEnum();
    GetPhysicalNicInfo();
}

bool GMNetworkAdapter::GetMacIdByIPHelp()
{
    ScopedModule const library(LoadLibraryW(adapterLibrary));
    auto * const getAdaptersInfo =
        FindExport<decltype(::GetAdaptersInfo)>(library.Get(), "GetAdaptersInfo");
    if (getAdaptersInfo == nullptr)
        return false;
    ULONG size = 0;
    std::vector<IP_ADAPTER_INFO> list;
    ULONG result = getAdaptersInfo(nullptr, &size);
    while (result == ERROR_BUFFER_OVERFLOW && size > list.size() * sizeof list[0]) // it may grow
    {
        if (size > largestList)
            return false;
        list.resize((size - 1) / sizeof list[0] + 1);
        size = static_cast<ULONG>(list.size() * sizeof list[0]);
        result = getAdaptersInfo(list.data(), &size);
    }
    if (result != NO_ERROR || list.empty())
        return false;
    // Within the buffer and no more than it has room for, whatever the links say.
    IP_ADAPTER_INFO const * adapter = list.data();
    for (std::size_t left = list.size(); left != 0 && adapter != nullptr; --left)
    {
        auto const offset = reinterpret_cast<std::uintptr_t>(adapter) -
                            reinterpret_cast<std::uintptr_t>(list.data());
        if (offset > (list.size() - 1) * sizeof list[0])
            break;
        GMNetworkAdapterInfo info;
        info.m_ifRow = ReadInterfaceRow(library.Get(), adapter->Index);
        info.m_name = Text(adapter->AdapterName);
        info.m_description = Text(adapter->Description);
        info.m_ipAddress = Text(adapter->IpAddressList.IpAddress.String);
        info.m_ipMask = Text(adapter->IpAddressList.IpMask.String);
        info.m_gateway = Text(adapter->GatewayList.IpAddress.String);
        unsigned char address[addressSize];
        std::copy_n(adapter->Address, addressSize, address);
        info.SetMacAddress(address);
        m_adapters.push_back(info);
        adapter = adapter->Next;
    }
    return true;
}

bool GMNetworkAdapter::GetMacIdByNetBiosEnum()
{
    constexpr DWORD anyLength = 0xFFFFFFFF; // MAX_PREFERRED_LENGTH
    ScopedModule const library(LoadLibraryW(L"netapi32.dll"));
    auto * const freeBuffer =
        FindExport<decltype(::NetApiBufferFree)>(library.Get(), "NetApiBufferFree");
    auto * const enumerate =
        FindExport<decltype(::NetWkstaTransportEnum)>(library.Get(), "NetWkstaTransportEnum");
    if (freeBuffer == nullptr || enumerate == nullptr)
        return false;
    TransportList transports(freeBuffer);
    DWORD count = 0;
    DWORD total = 0;
    if (enumerate(nullptr, 0, transports.Receive(), anyLength, &count, &total, nullptr) !=
            NO_ERROR ||
        transports.Get() == nullptr)
    {
        return false;
    }
    for (DWORD i = 1; i < count; ++i) // the first one is no card's
    {
        WKSTA_TRANSPORT_INFO_0 const & transport = transports.Get()[i];
        wchar_t const * digits = transport.wkti0_transport_address;
        unsigned char address[addressSize] = {};
        for (std::size_t at = 0; digits != nullptr && *digits != L'\0' && at != addressSize * 2;
             ++at)
            address[at / 2] =
                static_cast<unsigned char>(address[at / 2] << 4 | HexValue(*digits++));
        wchar_t const * const name = transport.wkti0_transport_name;
        AddNetBiosMACAddress(name == nullptr ? L"" : name, address);
    }
    return true;
}

void GMNetworkAdapter::AddNetBiosMACAddress(GMString const & transportName,
                                            unsigned char * const data)
{
    GMNetBiosInfo info;
    info.m_macAddress = AddressText(data);
    std::copy_n(data, addressSize, info.m_macData);
    auto const begin = transportName.rfind(L'{');
    auto const end = transportName.rfind(L'}');
    if (begin != GMString::npos && end != GMString::npos && begin < end)
        info.m_name = transportName.substr(begin, end - begin + 1);
    if (std::none_of(m_transports.begin(), m_transports.end(),
                     [&info](GMNetBiosInfo const & known)
                     { return known.m_macAddress == info.m_macAddress; }))
    {
        m_transports.push_back(info);
    }
}

bool GMNetworkAdapter::GetPhysicalNicInfo()
{
    ScopedRegKey const cards = OpenMachineKey(cardsKey);
    KeySizes sizes;
    std::vector<GMString> names;
    if (!cards || QueryKeySizes(cards.Get(), sizes) != ERROR_SUCCESS || sizes.subKeys > mostCards ||
        sizes.longestSubKey > mostCards)
    {
        return false;
    }
    ListSubKeyNames(cards.Get(), sizes, names);
    for (GMString const & name : names)
    {
        ScopedRegKey const card = OpenMachineKey(cardsKey + (L'\\' + name));
        GMPhysicalNic nic;
        nic.m_serviceName = ReadRegString(card.Get(), L"ServiceName");
        nic.m_description = ReadRegString(card.Get(), L"Description");
        nic.m_connectionName = ReadRegString(
            OpenMachineKey(connectionsKey + nic.m_serviceName + L"\\Connection").Get(), L"Name");
        if (!nic.m_connectionName.empty() && OpenMachineKey(interfacesKey + nic.m_serviceName))
            m_physicalNics.push_back(nic);
    }
    return true;
}

/// \param key may be null
GMString GMNetworkAdapter::ReadRegString(HKEY key, GMString const & name)
{
    wchar_t text[longestValue + 2] = {}; // a stored text may lack its NUL
    DWORD size = (longestValue + 1) * sizeof(wchar_t);
    DWORD type = REG_NONE;
    if (key == nullptr ||
        RegQueryValueExW(key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE *>(text),
                         &size) != ERROR_SUCCESS ||
        type != REG_SZ)
    {
        return GMString();
    }
    text[longestValue] = L'\0';
    return text;
}

void GMNetworkAdapter::FilterPhysicalNicInfoList(std::vector<GMNetworkAdapterInfo> & adapters,
                                                 std::vector<GMNetBiosInfo> & transports) const
{
    auto const isPhysical = [this](auto const & entry) { return IsPhysicalNic(entry.m_name); };
    std::copy_if(m_adapters.begin(), m_adapters.end(), std::back_inserter(adapters), isPhysical);
    std::copy_if(m_transports.begin(), m_transports.end(), std::back_inserter(transports),
                 isPhysical);
}

bool GMNetworkAdapter::IsPhysicalNic(GMString const & name) const
{
    return std::any_of(m_physicalNics.begin(), m_physicalNics.end(),
                       [&name](GMPhysicalNic const & nic) { return nic.m_serviceName == name; });
}

GMString GMNetworkAdapter::SelectMacAddress() const
{
    std::vector<GMNetworkAdapterInfo> adapters;
    std::vector<GMNetBiosInfo> transports;
    FilterPhysicalNicInfoList(adapters, transports);

    GMNetworkAdapterInfo const * chosen = nullptr;
    GMString spare;
    for (GMNetworkAdapterInfo const & adapter : adapters)
    {
        if (adapter.m_ifRow.dwOperStatus != MIB_IF_OPER_STATUS_OPERATIONAL)
            spare = adapter.m_macAddress;
        else if (chosen == nullptr || chosen->m_macAddress.empty() ||
                 adapter.m_ifRow.dwInOctets > chosen->m_ifRow.dwInOctets)
        {
            chosen = &adapter;
        }
    }
    GMString address =
        chosen == nullptr || chosen->m_macAddress.empty() ? spare : chosen->m_macAddress;
    for (GMNetBiosInfo const & transport : transports)
    {
        if (!address.empty())
            break;
        address = transport.m_macAddress;
    }
    return address;
}

/// Null if no entry has the address.
unsigned char const * GMNetworkAdapter::FindAddress(GMString const & text) const
{
    if (text.empty())
        return nullptr;
    for (GMNetBiosInfo const & transport : m_transports)
    {
        if (transport.m_macAddress == text)
            return transport.m_macData;
    }
    for (GMNetworkAdapterInfo const & adapter : m_adapters)
    {
        if (adapter.m_macAddress == text)
            return adapter.m_macData;
    }
    return nullptr;
}

bool GMNetworkAdapter::FindMacAddress(GMString const & text) const
{
    return FindAddress(text) != nullptr;
}

bool GMNetworkAdapter::GetMacAddressData(GMString const & text, unsigned char * const data) const
{
    unsigned char const * const found = FindAddress(text);
    if (found != nullptr)
        std::copy_n(found, addressSize, data);
    return found != nullptr;
}

} // namespace Velmora
