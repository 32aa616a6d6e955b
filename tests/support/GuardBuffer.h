#pragma once

#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora::Testing
{

/// A copy of elements whose end touches an unreadable page: reading one behind the end faults.
template <class T>
class GuardBuffer
{
    static_assert(std::is_trivially_copyable_v<T>);

public:
    GuardBuffer(T const * data, std::size_t size)
        : m_size(size),
          m_pages(Round(size * sizeof(T))),
          m_base(static_cast<unsigned char *>(
              VirtualAlloc(nullptr, m_pages + pageSize, MEM_RESERVE, PAGE_NOACCESS)))
    {
        if (m_base == nullptr)
            throw std::bad_alloc();
        if (m_pages != 0)
            VirtualAlloc(m_base, m_pages, MEM_COMMIT, PAGE_READWRITE);
        if (size != 0)
            std::memcpy(Data(), data, size * sizeof(T));
    }
    explicit GuardBuffer(std::basic_string<T> const & text) : GuardBuffer(text.data(), text.size())
    {
    }
    ~GuardBuffer() { VirtualFree(m_base, 0, MEM_RELEASE); }
    GuardBuffer(GuardBuffer const &) = delete;
    GuardBuffer & operator=(GuardBuffer const &) = delete;

    T * Data() const { return reinterpret_cast<T *>(m_base + m_pages - m_size * sizeof(T)); }
    std::size_t Size() const { return m_size; }

private:
    static constexpr std::size_t pageSize = 4096;
    static std::size_t Round(std::size_t bytes) { return (bytes + pageSize - 1) & ~(pageSize - 1); }

    std::size_t m_size;
    std::size_t m_pages;
    unsigned char * m_base;
};

} // namespace Velmora::Testing
