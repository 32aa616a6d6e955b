#pragma once

#include <cstddef>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

/// A block of memory in the process of a window, for messages whose records must lie there. It goes
/// with the object.
class RemoteMemory
{
public:
    /// \p size in bytes.
    RemoteMemory(HWND window, std::size_t size);
    ~RemoteMemory();
    RemoteMemory(RemoteMemory const &) = delete;
    RemoteMemory & operator=(RemoteMemory const &) = delete;

    /// False when the process or its memory can't be had.
    explicit operator bool() const noexcept { return m_address != nullptr; }

    /// The block's address in the other process.
    std::size_t Address() const noexcept { return reinterpret_cast<std::size_t>(m_address); }

    /// Whether addresses of the other process have 64 bits, which the layout of records goes by.
    bool IsWide() const;

    /// \p offset and \p size in bytes, within the block.
    bool Write(std::size_t offset, void const * data, std::size_t size) const;
    bool Read(std::size_t offset, void * data, std::size_t size) const;

private:
    ScopedKernelObject m_process;
    void * m_address;
};

} // namespace Velmora
