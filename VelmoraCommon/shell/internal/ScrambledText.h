#pragma once

#include <cstddef>

namespace Velmora
{

/// A text that stands clear in the source and scrambled in the binary. An object of namespace scope,
/// `constexpr`; a call of it gives the clear text in a local buffer:
///
///     constexpr ScrambledText valueName(L"EnableLUA", 23);
///     ... valueName().c_str() ...
///
/// Each unit is combined with its number plus a key of the text's own.
template <std::size_t Size>
class ScrambledText
{
public:
    class Clear
    {
    public:
        wchar_t const * c_str() const noexcept { return m_units; }
        /// In units, without the NUL.
        static constexpr std::size_t size() noexcept { return Size - 1; }

    private:
        friend class ScrambledText;
        wchar_t m_units[Size];
    };

    constexpr ScrambledText(wchar_t const (&text)[Size], int key) : m_units(), m_key(key)
    {
        for (std::size_t i = 0; i < Size; ++i)
            m_units[i] = Combine(text[i], i, key);
    }

    Clear operator()() const noexcept
    {
        // Otherwise the compiler knows key and units, and puts the clear text into the binary.
        int const volatile barrier = m_key;
        int const key = barrier;
        Clear clear;
        for (std::size_t i = 0; i < Size; ++i)
            clear.m_units[i] = Combine(m_units[i], i, key);
        return clear;
    }

private:
    static constexpr wchar_t Combine(wchar_t unit, std::size_t number, int key) noexcept
    {
        return static_cast<wchar_t>(unit ^ ((number + static_cast<std::size_t>(key)) & 0xFFFF));
    }

    wchar_t m_units[Size];
    int m_key;
};

} // namespace Velmora
