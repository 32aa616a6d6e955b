#pragma once

#include <cstddef>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

// Records hold numbers and UTF-16 units in little-endian order and without alignment. That is the
// order of every Windows machine, so they are copied as they are.

/// \p size as the length of a GMBuffer.
/// \throws std::length_error if 32 bits don't hold it
inline unsigned int BufferLength(unsigned long long size)
{
    if (size > std::numeric_limits<unsigned int>::max())
        throw std::length_error("A buffer holds less than 4 GB");
    return static_cast<unsigned int>(size);
}

/// Reads the fields of a record from foreign bytes, in order and never past their end. An operation
/// that finds too few bytes gives false.
class RecordReader
{
public:
    RecordReader(unsigned char const * data, std::size_t size) noexcept
        : m_at(data),
          m_left(data == nullptr ? 0 : size)
    {
    }

    template <class Number>
    bool ReadNumber(Number & number) noexcept
    {
        if (sizeof number > m_left)
            return false;
        std::memcpy(&number, m_at, sizeof number);
        Skip(sizeof number);
        return true;
    }

    /// A text with its number of units in front.
    bool ReadText(GMString & text)
    {
        unsigned int length = 0;
        if (!ReadNumber(length) || length > m_left / sizeof(wchar_t))
            return false;
        text.resize(length);
        std::memcpy(text.data(), m_at, length * sizeof(wchar_t));
        Skip(length * sizeof(wchar_t));
        return true;
    }

    /// Bytes with their number in front; \p bytes points into the record.
    bool ReadBytes(unsigned char const *& bytes, unsigned int & size) noexcept
    {
        if (!ReadNumber(size) || size > m_left)
            return false;
        bytes = m_at;
        Skip(size);
        return true;
    }

    /// Number of bytes not read yet.
    std::size_t Left() const noexcept { return m_left; }

private:
    void Skip(std::size_t size) noexcept
    {
        m_at += size;
        m_left -= size;
    }

    unsigned char const * m_at;
    std::size_t m_left;
};

/// Writes the fields of a record into room that the caller has measured before.
class RecordWriter
{
public:
    explicit RecordWriter(unsigned char * out) noexcept : m_out(out) {}

    template <class Number>
    void WriteNumber(Number number) noexcept
    {
        std::memcpy(m_out, &number, sizeof number);
        m_out += sizeof number;
    }

    /// A text with its number of units in front.
    void WriteText(std::wstring_view text) noexcept
    {
        WriteNumber(static_cast<unsigned int>(text.size()));
        std::memcpy(m_out, text.data(), text.size() * sizeof(wchar_t));
        m_out += text.size() * sizeof(wchar_t);
    }

    /// The next position to write at, for those who write there themselves.
    unsigned char * Position() const noexcept { return m_out; }
    void SetPosition(unsigned char * out) noexcept { m_out = out; }

private:
    unsigned char * m_out;
};

} // namespace Velmora
