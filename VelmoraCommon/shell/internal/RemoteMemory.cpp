#include "VelmoraCommon/shell/internal/RemoteMemory.h"

#include "VelmoraCommon/frame/internal/SystemFunction.h"

namespace Velmora
{

namespace
{

ScopedKernelObject OpenProcessOf(HWND window)
{
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    return ScopedKernelObject(OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ |
                                              PROCESS_VM_WRITE | PROCESS_QUERY_INFORMATION,
                                          FALSE, process));
}

} // namespace

RemoteMemory::RemoteMemory(HWND window, std::size_t size)
    : m_process(OpenProcessOf(window)),
      m_address(m_process
                    ? VirtualAllocEx(m_process.Get(), nullptr, size, MEM_COMMIT, PAGE_READWRITE)
                    : nullptr)
{
}

RemoteMemory::~RemoteMemory()
{
    if (m_address != nullptr)
        VirtualFreeEx(m_process.Get(), m_address, 0, MEM_RELEASE);
}

bool RemoteMemory::IsWide() const
{
    SYSTEM_INFO system = {};
    GetNativeSystemInfo(&system);
    if (system.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_INTEL)
        return false;
    SystemFunction<decltype(::IsWow64Process)> const isWow64Process(L"kernel32.dll",
                                                                    "IsWow64Process");
    BOOL emulated = FALSE;
    return isWow64Process && isWow64Process(m_process.Get(), &emulated) && !emulated;
}

bool RemoteMemory::Write(std::size_t offset, void const * data, std::size_t size) const
{
    return WriteProcessMemory(m_process.Get(), static_cast<char *>(m_address) + offset, data, size,
                              nullptr) != FALSE;
}

bool RemoteMemory::Read(std::size_t offset, void * data, std::size_t size) const
{
    return ReadProcessMemory(m_process.Get(), static_cast<char *>(m_address) + offset, data, size,
                             nullptr) != FALSE;
}

} // namespace Velmora
