#pragma once

#include <algorithm>
#include <utility>

namespace Velmora
{

/// An owned block of memory with a used length, for binary data and file images.
///
/// Use it with `unsigned char` and `char`. Capacity and length count elements, and 0 to `m_length`
/// is the content; behind it may lie spare room, which copies carry over. The fields are open for
/// reading and for writing through `m_data`; capacity and length change by the operations alone. A
/// copy has a block of its own.
template <class T>
class GMBuffer
{
public:
    /// Allocates \p capacity elements, left uninitialised. The content is empty.
    /// \throws std::bad_alloc
    explicit GMBuffer(unsigned int capacity = 0)
        : m_capacity(capacity),
          m_data(Allocate(capacity)),
          m_length(0)
    {
    }

    /// Copies the whole block of \p other, its spare room too.
    GMBuffer(GMBuffer const & other) : GMBuffer() { *this = other; }

    /// Takes the content of \p other, which is empty then.
    GMBuffer(GMBuffer && other) noexcept
        : m_capacity(std::exchange(other.m_capacity, 0)),
          m_data(std::exchange(other.m_data, nullptr)),
          m_length(std::exchange(other.m_length, 0))
    {
    }

    virtual ~GMBuffer() { delete[] m_data; }

    /// Copies the whole block of \p other, its spare room too. The old block goes first, so the
    /// buffer is empty when the allocation throws std::bad_alloc.
    GMBuffer & operator=(GMBuffer const & other)
    {
        if (this == &other)
            return *this;
        Clear();
        m_data = Allocate(other.m_capacity);
        m_capacity = other.m_capacity;
        std::copy_n(other.m_data, m_capacity, m_data);
        SetLength(other.m_length);
        return *this;
    }

    /// Takes the block of \p other, which is empty then.
    GMBuffer & operator=(GMBuffer && other) noexcept
    {
        if (this == &other)
            return *this;
        Clear();
        std::swap(m_capacity, other.m_capacity);
        std::swap(m_data, other.m_data);
        std::swap(m_length, other.m_length);
        return *this;
    }

    /// Changes the capacity and keeps the head of the data. `m_length` isn't touched: call
    /// SetLength next.
    /// \throws std::bad_alloc and leaves the buffer as it was
    void Resize(unsigned int capacity)
    {
        if (capacity == m_capacity)
            return;
        T * const data = Allocate(capacity);
        if (data != nullptr)
            std::copy_n(m_data, std::min(m_capacity, capacity), data);
        delete[] m_data;
        m_data = data;
        m_capacity = capacity;
    }

    /// The content becomes the first \p length elements, or the whole block if that is less.
    void SetLength(unsigned int length) noexcept { m_length = std::min(length, m_capacity); }

    unsigned int m_capacity; ///< elements allocated; 0 exactly when `m_data` is null
    T * m_data;              ///< the block; owned
    unsigned int m_length;   ///< elements in use

private:
    static T * Allocate(unsigned int count) { return count == 0 ? nullptr : new T[count]; }

    void Clear() noexcept
    {
        delete[] std::exchange(m_data, nullptr);
        m_capacity = 0;
        m_length = 0;
    }
};

} // namespace Velmora
