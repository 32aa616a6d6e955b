#pragma once

#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "VelmoraCommon/text/GMStringUtils.h"

#include <iphlpapi.h>

namespace Velmora
{

constexpr wchar_t adapterLibrary[] = L"Iphlpapi.dll";

/// Six bytes as pairs of lower-case hexadecimal digits.
inline GMString AddressText(unsigned char const * address)
{
    return GMStringUtils::FormatResult(L"%02x%02x%02x%02x%02x%02x", address[0], address[1],
                                       address[2], address[3], address[4], address[5]);
}

/// The counters of an interface; all 0 if the system doesn't tell, but for the index where \p library
/// has nothing to ask.
inline MIB_IFROW ReadInterfaceRow(HMODULE library, unsigned long index)
{
    auto * const getIfEntry = FindExport<decltype(::GetIfEntry)>(library, "GetIfEntry");
    MIB_IFROW row = {};
    row.dwIndex = index;
    return getIfEntry == nullptr || getIfEntry(&row) == NO_ERROR ? row : MIB_IFROW{};
}

} // namespace Velmora
