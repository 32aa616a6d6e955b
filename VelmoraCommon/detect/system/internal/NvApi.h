#pragma once

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// The library of NVIDIA's driver, as far as clocks need it: the one that the process has, or that of
/// the system's directory, which then stays loaded. Each function is looked up once an object.
class NvApi
{
public:
    using Status = int;
    static constexpr Status ok = 0;
    static constexpr Status noImplementation = -3;

    using Gpu = struct GpuHandle *;
    static constexpr unsigned int mostGpus = 64;
    static constexpr unsigned int textSize = 64; // of every text, with its NUL

    struct Clock
    {
        bool IsPresent() const noexcept { return (flags & 1) != 0; }

        unsigned int flags;
        unsigned int kilohertz;
    };
    struct Clocks
    {
        unsigned int version;
        unsigned int type; // 0 for the present ones
        Clock domains[32];
    };
    static constexpr unsigned int clocksVersion = sizeof(Clocks) | 2 << 16;
    static constexpr unsigned int graphicsDomain = 0;
    static constexpr unsigned int memoryDomain = 4;

    using QueryInterface = void * __cdecl(unsigned int id);

    /// A function of the library; noImplementation is the answer of one that it lacks.
    template <class... Arguments>
    class Operation
    {
    public:
        Operation(QueryInterface * query, unsigned int id)
            : m_function(query == nullptr ? nullptr : reinterpret_cast<Function *>(query(id)))
        {
        }
        Status operator()(Arguments... arguments) const
        {
            return m_function == nullptr ? noImplementation : m_function(arguments...);
        }

    private:
        using Function = Status __cdecl(Arguments...);
        Function * m_function;
    };

private:
    static QueryInterface * FindQuery();

    QueryInterface * const m_query = FindQuery(); // null without a library; first, for all ask it

public:
    Operation<> const initialize{m_query, 0x0150E828};
    Operation<char *> const getInterfaceVersionString{m_query, 0x01053FA5};
    Operation<Gpu *, unsigned int *> const enumPhysicalGpus{m_query, 0xE5AC921F};
    Operation<Gpu, char *> const getFullName{m_query, 0xCEEE8E9F};
    /// Device with vendor, subsystem, revision, and the device once more.
    Operation<Gpu, unsigned int *, unsigned int *, unsigned int *, unsigned int *> const
        getPciIdentifiers{m_query, 0x2DDFB66E};
    Operation<Gpu, Clocks *> const getAllClockFrequencies{m_query, 0xDCB616C3};
    Operation<Status, char *> const getErrorMessage{m_query, 0x6C2D048C};
};

static_assert(NvApi::clocksVersion == 0x20108, "the driver looks at it");

} // namespace Velmora
