#pragma once

#include <cstddef>
#include <string>

namespace Velmora::Testing
{

/// Bytes as text, "0a ff", for messages that show where two byte runs part.
inline std::string Hex(void const * data, std::size_t size)
{
    static char const digits[] = "0123456789abcdef";
    auto const * bytes = static_cast<unsigned char const *>(data);
    std::string text;
    text.reserve(size * 3);
    for (std::size_t i = 0; i < size; ++i)
    {
        if (i != 0)
            text += ' ';
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

template <class Container>
std::string Hex(Container const & container)
{
    return Hex(container.data(), container.size() * sizeof(container[0]));
}

} // namespace Velmora::Testing
