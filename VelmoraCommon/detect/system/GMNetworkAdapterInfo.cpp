#include "VelmoraCommon/detect/system/GMNetworkAdapterInfo.h"

#include <algorithm>
#include <iterator>

#include "VelmoraCommon/detect/system/internal/Adapters.h"

namespace Velmora
{

GMNetworkAdapterInfo::GMNetworkAdapterInfo() = default;

GMNetworkAdapterInfo::GMNetworkAdapterInfo(unsigned long index)
{
    ScopedModule const library(LoadLibraryW(adapterLibrary));
    m_ifRow = ReadInterfaceRow(library.Get(), index);
}

void GMNetworkAdapterInfo::SetMacAddress(unsigned char * data)
{
    std::copy_n(data, std::size(m_macData), m_macData);
    m_macAddress = AddressText(data);
}

GMString const & GMNetworkAdapterInfo::GetMacAddress() const { return m_macAddress; }

void GMNetworkAdapterInfo::GetMacData(unsigned char * const data) const
{
    std::copy_n(m_macData, std::size(m_macData), data);
}

unsigned long GMNetworkAdapterInfo::getIndex() const { return m_ifRow.dwIndex; }

unsigned long GMNetworkAdapterInfo::GetState() { return m_ifRow.dwOperStatus; }

unsigned long GMNetworkAdapterInfo::GetReceiveBytes() { return m_ifRow.dwInOctets; }

unsigned long GMNetworkAdapterInfo::GetSendBytes() { return m_ifRow.dwOutOctets; }

} // namespace Velmora
