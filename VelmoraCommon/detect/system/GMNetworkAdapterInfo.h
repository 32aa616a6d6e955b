#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

// Needs the declarations above.
#include <iprtrmib.h>

namespace Velmora
{

/// One network adapter. Addresses as text have six pairs of lower-case hexadecimal digits.
class VELMORA_API GMNetworkAdapterInfo
{
public:
    /// All of it empty.
    GMNetworkAdapterInfo();

    /// Asks the system for the counters of the interface \p index. All of them are 0 if it doesn't
    /// tell, the index too; but the index stays on a system that can't be asked.
    explicit GMNetworkAdapterInfo(unsigned long index);

    /// \param data six bytes
    void SetMacAddress(unsigned char * data);
    GMString const & GetMacAddress() const;

    /// \param data gets six bytes
    void GetMacData(unsigned char * const data) const;

    /// The number that the system gives the interface.
    unsigned long getIndex() const;

    /// One of `IF_OPER_STATUS_...`
    unsigned long GetState();

    // Bytes since the adapter started, in 32 bits: they begin anew at 4 GB.

    unsigned long GetReceiveBytes();
    unsigned long GetSendBytes();

    GMString m_name;                 ///< a GUID in braces
    GMString m_description;          ///< for people
    GMString m_ipAddress;            ///< the first one, as the next two
    GMString m_ipMask;               ///< of the same form
    GMString m_gateway;              ///< of the same form
    GMString m_macAddress;           ///< as SetMacAddress made it
    unsigned char m_macData[6] = {}; ///< the same in bytes
    MIB_IFROW m_ifRow = {};          ///< the system's record, with the counters
};

} // namespace Velmora
