#include "VelmoraCommon/text/GMUrlEncode.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

constexpr std::string_view specialBytes = "@*-._";
constexpr std::string_view spaceBytes = " \t\n\v\f\r";
constexpr std::string_view hexDigits = "0123456789ABCDEF";

constexpr std::size_t escapeLength = 3; // "%", two digits

constexpr bool Contains(std::string_view set, unsigned char byte)
{
    return set.find(static_cast<char>(byte)) != std::string_view::npos;
}

constexpr bool IsBetween(unsigned char byte, char first, char last)
{
    return byte >= static_cast<unsigned char>(first) && byte <= static_cast<unsigned char>(last);
}

/// What one byte is written as.
struct EncodedByte
{
    char text[escapeLength];
    unsigned char length;
};

constexpr EncodedByte EncodeByte(unsigned char byte)
{
    if (IsBetween(byte, '0', '9') || IsBetween(byte, 'A', 'Z') || IsBetween(byte, 'a', 'z') ||
        Contains(specialBytes, byte))
    {
        return {{static_cast<char>(byte)}, 1};
    }
    unsigned char const written = Contains(spaceBytes, byte) ? ' ' : byte;
    return {{'%', hexDigits[written >> 4], hexDigits[written & 15]}, escapeLength};
}

constexpr unsigned char noDigit = 0xFF;

constexpr unsigned char DigitValue(unsigned char byte)
{
    if (IsBetween(byte, '0', '9'))
        return static_cast<unsigned char>(byte - '0');
    if (IsBetween(byte, 'A', 'F'))
        return static_cast<unsigned char>(byte - 'A' + 10);
    if (IsBetween(byte, 'a', 'f'))
        return static_cast<unsigned char>(byte - 'a' + 10);
    return noDigit;
}

/// The answers of \p function for all bytes.
template <class Entry>
constexpr std::array<Entry, 256> TableOf(Entry (*function)(unsigned char))
{
    std::array<Entry, 256> table = {};
    for (unsigned int byte = 0; byte < table.size(); ++byte)
        table[byte] = function(static_cast<unsigned char>(byte));
    return table;
}

constexpr std::array<EncodedByte, 256> encodedBytes = TableOf(&EncodeByte);
constexpr std::array<unsigned char, 256> digitValues = TableOf(&DigitValue);

/// Reads the two bytes behind a "%". Where they aren't two digits the C library decides: one digit
/// may stand beside a blank, a sign or anything behind it.
/// \return false if there is no number at all
bool DecodeByte(char const * digits, char & byte)
{
    unsigned int const high = digitValues[static_cast<unsigned char>(digits[0])];
    unsigned int const low = digitValues[static_cast<unsigned char>(digits[1])];
    if (high != noDigit && low != noDigit)
    {
        byte = static_cast<char>(high << 4 | low);
        return true;
    }
    char const text[] = {digits[0], digits[1], '\0'};
    char * end = nullptr;
    byte = static_cast<char>(std::strtoul(text, &end, 16));
    return end != text;
}

unsigned int CodePage(bool utf8) { return utf8 ? CP_UTF8 : CP_ACP; }

} // namespace

GMUrlEncode::GMUrlEncode(GMString url, bool utf8) : m_url(std::move(url)), m_utf8(utf8) {}

void GMUrlEncode::AddGetParam(GMString name, GMString value, bool valueIsEncoded)
{
    if (name.empty())
        return;
    if (!m_params.empty())
        m_params += L'&';
    m_params += name + L'=' + (valueIsEncoded ? value : Encode(value, m_utf8));
}

void GMUrlEncode::AddGetParam(GMString name, unsigned int value)
{
    AddGetParam(std::move(name), GMStringUtils::ToString(value), true);
}

void GMUrlEncode::AddGetParam(GMString name, unsigned __int64 value)
{
    AddGetParam(std::move(name), GMStringUtils::ToString(value), true);
}

void GMUrlEncode::AddGetParams(GMString const & text)
{
    if (text.empty())
        return;
    if (!m_params.empty() && text.front() != L'&')
        m_params += L'&';
    m_params += text;
}

GMString GMUrlEncode::GetParams() const { return m_params; }

GMString GMUrlEncode::GetEncodedUrl() const
{
    return m_params.empty() ? m_url : m_url + L'?' + m_params;
}

GMStringA GMUrlEncode::EncodeA(GMStringA const & text)
{
    if (text.size() > text.max_size() / escapeLength)
        throw std::bad_alloc(); // the product could wrap
    // Three bytes are copied at any rate, since that takes no decision.
    GMStringA encoded(text.size() * escapeLength, '\0');
    char * to = encoded.data();
    for (char const byte : text)
    {
        EncodedByte const & entry = encodedBytes[static_cast<unsigned char>(byte)];
        std::memcpy(to, entry.text, escapeLength);
        to += entry.length;
    }
    encoded.resize(static_cast<std::size_t>(to - encoded.data()));
    return encoded;
}

GMStringA GMUrlEncode::DecodeA(GMStringA const & text)
{
    GMStringA decoded = text;
    std::size_t const first = text.find('%');
    if (first == GMStringA::npos)
        return decoded;

    char const * from = text.data() + first;
    char const * const end = text.data() + text.size();
    char * to = decoded.data() + first;
    while (from != end)
    {
        if (*from == '%' && end - from >= static_cast<std::ptrdiff_t>(escapeLength) &&
            DecodeByte(from + 1, *to))
        {
            ++to;
            from += escapeLength;
        }
        else
            *to++ = *from++;
    }
    decoded.resize(static_cast<std::size_t>(to - decoded.data()));
    return decoded;
}

GMString GMUrlEncode::Encode(GMString const & text, bool utf8)
{
    GMStringA const encoded =
        EncodeA(GMStringConvert::UnicodeStringToMultiByte(text, CodePage(utf8)));
    return GMString(encoded.begin(), encoded.end());
}

GMString GMUrlEncode::Decode(GMString const & text, bool utf8)
{
    GMStringA const bytes = GMStringConvert::UnicodeStringToMultiByte(text, CP_ACP);
    return GMStringConvert::MultiByteToUnicodeString(DecodeA(bytes), CodePage(utf8));
}

GMString GMUrlEncode::EncodeEx(GMString const & url, bool utf8)
{
    using Position = GMString::size_type;
    Position begin = url.find(L'?');
    GMString encoded = url.substr(0, begin);
    for (Position equals; (equals = url.find(L'=', begin)) != GMString::npos;)
    {
        Position const value = equals + 1;
        Position const end = std::min(url.find(L'&', value), url.size());
        encoded.append(url, begin, value - begin);
        encoded += Encode(url.substr(value, end - value), utf8);
        if (end != url.size())
            encoded += L'&';
        begin = end + 1;
    }
    return encoded;
}

bool GMUrlEncode::IsSpecial(unsigned char const & byte) { return Contains(specialBytes, byte); }

unsigned char GMUrlEncode::ToHex(unsigned char const & nibble)
{
    return static_cast<unsigned char>(nibble > 9 ? nibble - 10 + 'A' : nibble + '0');
}

unsigned char GMUrlEncode::FromHex(unsigned char const & digit)
{
    return static_cast<unsigned char>(IsBetween(digit, '0', '9') ? digit - '0' : digit - 'A' + 10);
}

} // namespace Velmora
