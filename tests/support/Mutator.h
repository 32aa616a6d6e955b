#pragma once

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
    template <class Container>
    auto const & Pick(Container const & from)
    {
        return from[Below(from.size())];
    }

private:
    std::mt19937 m_engine;
};

/// Damages valid inputs: flips, overwrites, inserts, removes, repeats and cuts, and sets 32-bit
/// fields to sizes that hurt.
class Mutator
{
public:
    /// \p words are pieces that mean something in the format; they get inserted now and then.
    explicit Mutator(std::uint32_t seed, std::vector<std::string> words = {})
        : m_random(seed),
          m_words(std::move(words))
    {
    }

    std::string Mutate(std::string bytes)
    {
        for (std::size_t changes = 1 + m_random.Below(4); changes != 0; --changes)
            Change(bytes);
        return bytes;
    }

    Random & Generator() { return m_random; }

private:
    void Change(std::string & bytes)
    {
        static std::vector<std::string> const sizes = {
            {"\0\0\0\0", 4},    {"\1\0\0\0", 4},   {"\x7F\0\0\0", 4},  {"\xFF\xFF\0\0", 4},
            "\xFF\xFF\xFF\x7F", {"\0\0\0\x80", 4}, "\xF8\xFF\xFF\xFF", "\xFF\xFF\xFF\xFF"};
        std::size_t const at = m_random.Below(bytes.size() + 1);
        std::size_t const count = 1 + m_random.Below(16);
        switch (m_random.Below(m_words.empty() ? 6 : 8))
        {
        case 0:
            bytes.replace(at, 1, 1, static_cast<char>(m_random.Below(256)));
            break;
        case 1:
            if (at < bytes.size())
                bytes[at] = static_cast<char>(bytes[at] ^ (1 << m_random.Below(8)));
            break;
        case 2:
            bytes.erase(at, count);
            break;
        case 3:
            bytes.insert(m_random.Below(bytes.size() + 1), bytes.substr(at, count));
            break;
        case 4:
            bytes.resize(at);
            break;
        case 5:
            bytes.replace(at, 4, m_random.Pick(sizes));
            break;
        default:
            bytes.insert(at, m_random.Pick(m_words));
            break;
        }
    }

    Random m_random;
    std::vector<std::string> m_words;
};

} // namespace Velmora::Testing
