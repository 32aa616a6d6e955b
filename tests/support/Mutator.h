#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace Velmora::Testing
{

/// A random generator with the same numbers on every machine for the same seed.
class Random
{
public:
    explicit Random(std::uint32_t seed) : m_engine(seed) {}
    /// Below \p limit, which isn't 0.
    std::size_t Below(std::size_t limit) { return m_engine() % limit; }
    bool OneIn(std::size_t n) { return Below(n) == 0; }
    template <class Container>
    auto const & Pick(Container const & from)
    {
        return from[Below(from.size())];
    }
    /// A text of fewer than \p limit of the \p pieces, which are units or texts themselves.
    template <class Pieces>
    std::wstring TextOf(Pieces const & pieces, std::size_t limit)
    {
        std::wstring text;
        for (std::size_t count = Below(limit); count != 0; --count)
            text += Pick(pieces);
        return text;
    }

private:
    std::mt19937 m_engine;
};

/// Damages valid inputs: flips, overwrites, inserts, removes, repeats and cuts, and sets 32-bit
/// fields to sizes that hurt. \p Unit is a byte or a UTF-16 unit.
template <class Unit>
class Mutator
{
public:
    using Text = std::basic_string<Unit>;

    /// \p words are pieces that mean something in the format; they get inserted now and then.
    explicit Mutator(std::uint32_t seed, std::vector<Text> words = {})
        : m_random(seed),
          m_words(std::move(words))
    {
    }

    Text Mutate(Text text)
    {
        for (std::size_t changes = 1 + m_random.Below(4); changes != 0; --changes)
            Change(text);
        return text;
    }

    Random & Generator() { return m_random; }

private:
    void Change(Text & text)
    {
        std::size_t const at = m_random.Below(text.size() + 1);
        std::size_t const count = std::min(text.size() - at, 1 + m_random.Below(16));
        switch (m_random.Below(m_words.empty() ? 6 : 8))
        {
        case 0:
            if (at < text.size())
                text[at] = static_cast<Unit>(text[at] ^ (Unit(1) << m_random.Below(8)));
            break;
        case 1:
            if (at < text.size())
                text[at] = static_cast<Unit>(m_random.Below(std::size_t(1) << 8 * sizeof(Unit)));
            break;
        case 2:
            text.erase(at, count);
            break;
        case 3:
            text.insert(m_random.Below(text.size() + 1), text.substr(at, count));
            break;
        case 4:
            text.resize(at);
            break;
        case 5:
            SetField(text, at);
            break;
        default:
            text.insert(at, m_random.Pick(m_words));
            break;
        }
    }

    void SetField(Text & text, std::size_t at)
    {
        static constexpr std::uint32_t hostile[] = {0,          1,          0x7F,       0xFFFF,
                                                    0x7FFFFFFF, 0x80000000, 0xFFFFFFF8, 0xFFFFFFFF};
        std::uint32_t value = hostile[m_random.Below(std::size(hostile))];
        for (std::size_t i = at; i < std::min(text.size(), at + 4 / sizeof(Unit)); ++i)
        {
            text[i] = static_cast<Unit>(value);
            value = static_cast<std::uint32_t>(std::uint64_t(value) >> 8 * sizeof(Unit));
        }
    }

    Random m_random;
    std::vector<Text> m_words;
};

} // namespace Velmora::Testing
