#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "VelmoraCommon/registry/GMRegValue.h"
#include "VelmoraCommon/registry/internal/EscapedText.h"
#include "VelmoraCommon/registry/internal/RecordBytes.h"
#include "VelmoraCommon/text/GMStringUtils.h"

// A byte list is most of what a large .reg file holds, so it is read in one pass, cleaning and all.

namespace Velmora
{

namespace
{

constexpr char upperDigits[] = "0123456789ABCDEF";
constexpr char lowerDigits[] = "0123456789abcdef";

/// Hexadecimal digits by their unit; -1 for what is none.
constexpr auto digitValues = []
{
    std::array<signed char, 128> values{};
    for (signed char & each : values)
        each = -1;
    for (signed char digit = 0; digit < 16; ++digit)
    {
        values[static_cast<unsigned char>(upperDigits[digit])] = digit;
        values[static_cast<unsigned char>(lowerDigits[digit])] = digit;
    }
    return values;
}();

int DigitValue(wchar_t unit) { return unit < digitValues.size() ? digitValues[unit] : -1; }

/// The most units that ConvertHexToUInt32 looks at: "0x" and eight digits.
constexpr std::size_t longestNumber = 10;

/// The units of a data text without what line breaks leave in it: every backslash with a line end
/// behind it, CR, LF and blank.
class CleanUnits
{
public:
    explicit CleanUnits(std::wstring_view text)
        : m_at(text.data()),
          m_end(text.data() + text.size())
    {
    }

    /// Goes to the next unit that counts; false if there is none.
    bool Find()
    {
        for (; m_at != m_end; ++m_at)
        {
            if (*m_at == L'\\' && m_end - m_at > 2 && m_at[1] == L'\r' && m_at[2] == L'\n')
                m_at += 2;
            else if (*m_at != L' ' && *m_at != L'\r' && *m_at != L'\n')
                return true;
        }
        return false;
    }

    /// The unit that Find has found.
    wchar_t Unit() const { return *m_at; }
    void Skip() { ++m_at; }

    /// Reads two digits and a comma without a gap, which nearly every byte is.
    bool TakePlainByte(unsigned int & value)
    {
        if (m_end - m_at <= 2 || m_at[2] != L',')
            return false;
        int const number = DigitValue(m_at[0]) * 16 | DigitValue(m_at[1]);
        if (number < 0)
            return false;
        value = static_cast<unsigned int>(number);
        m_at += 3;
        return true;
    }

    std::wstring_view Rest() const
    {
        return std::wstring_view(m_at, static_cast<std::size_t>(m_end - m_at));
    }

private:
    wchar_t const * m_at;
    wchar_t const * m_end;
};

/// The number up to the next comma or the end; a comma is taken away.
unsigned int ReadToken(CleanUnits & units)
{
    GMString number;
    for (; units.Find() && units.Unit() != L','; units.Skip())
    {
        if (number.size() < longestNumber)
            number += units.Unit();
    }
    if (units.Find())
        units.Skip();
    return GMStringUtils::ConvertHexToUInt32(number);
}

/// Calls \p use with the number of every token between commas; nothing behind the last comma is no
/// token.
template <class Use>
void ForEachToken(std::wstring_view list, Use use)
{
    CleanUnits units(list);
    unsigned int value = 0;
    for (;;)
    {
        while (units.TakePlainByte(value))
            use(value);
        if (!units.Find())
            return;
        use(ReadToken(units));
    }
}

/// Number of calls that ForEachToken makes.
std::size_t CountTokens(std::wstring_view list)
{
    auto const commas = std::count(list.begin(), list.end(), L',');
    std::wstring_view const last = list.substr(list.rfind(L',') + 1);
    return static_cast<std::size_t>(commas) + (CleanUnits(last).Find() ? 1 : 0);
}

GMBuffer<unsigned char> ReadByteList(std::wstring_view list)
{
    GMBuffer<unsigned char> bytes(BufferLength(CountTokens(list)));
    unsigned char * out = bytes.m_data;
    ForEachToken(list, [&](unsigned int token) { *out++ = static_cast<unsigned char>(token); });
    bytes.SetLength(bytes.m_capacity);
    return bytes;
}

/// Adds the UTF-16 units that a byte list makes; an odd last byte makes none.
void AppendUnitList(GMString & text, std::wstring_view list)
{
    text.reserve(text.size() + CountTokens(list) / 2);
    unsigned int low = 0;
    bool haveLow = false;
    ForEachToken(list,
                 [&](unsigned int token)
                 {
                     if (haveLow)
                         text += static_cast<wchar_t>(low | (token & 0xFF) << 8);
                     else
                         low = token & 0xFF;
                     haveLow = !haveLow;
                 });
}

/// Adds the strings that end at a zero behind \p begin; empty ones don't count.
void AppendStrings(std::vector<GMString> & strings, GMString const & units,
                   GMString::size_type begin)
{
    for (GMString::size_type zero = units.find(L'\0', begin); zero != GMString::npos;
         zero = units.find(L'\0', begin))
    {
        if (zero != begin)
            strings.emplace_back(units, begin, zero - begin);
        begin = zero + 1;
    }
}

/// A number from the bytes of its tokens, low one first. A token's high bits count too.
unsigned __int64 ReadQuardWord(std::wstring_view list)
{
    unsigned __int64 number = 0;
    unsigned int shift = 0;
    ForEachToken(list,
                 [&](unsigned int token)
                 {
                     if (shift >= 64)
                         return;
                     number += static_cast<unsigned __int64>(token) << shift;
                     shift += 8;
                 });
    return number;
}

/// The decimal type of `hex(type)`; \p text becomes the list behind its colon.
unsigned int ReadHexType(std::wstring_view & text)
{
    unsigned int type = 0;
    CleanUnits units(text);
    for (; units.Find() && units.Unit() >= L'0' && units.Unit() <= L'9'; units.Skip())
        type = type * 10 + (units.Unit() - L'0');
    text = units.Rest();
    std::size_t const colon = text.find(L':');
    text.remove_prefix(colon == text.npos ? text.size() : colon + 1);
    return type;
}

/// Takes off the quotes, if there is one at each end, and undoes the escapes.
GMString ReadQuoted(std::wstring_view text)
{
    if (text.back() == L'"')
        text = text.substr(1, std::max<std::size_t>(text.size(), 2) - 2);
    GMString result(text);
    Unescape(result);
    return result;
}

/// Takes \p prefix off the front of \p text if it stands there.
bool TakePrefix(std::wstring_view & text, std::wstring_view prefix)
{
    if (text.substr(0, prefix.size()) != prefix)
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

/// Adds two digits a byte, with commas between.
void AppendByteList(GMString & text, void const * data, std::size_t size)
{
    if (size == 0)
        return;
    auto const bytes = static_cast<unsigned char const *>(data);
    GMString::size_type const length = text.size();
    text.resize(length + size * 3 - 1, L',');
    wchar_t * out = text.data() + length;
    for (std::size_t i = 0; i < size; ++i, out += 3)
    {
        out[0] = static_cast<wchar_t>(upperDigits[bytes[i] >> 4]);
        out[1] = static_cast<wchar_t>(upperDigits[bytes[i] & 0xF]);
    }
}

/// The strings as the store holds them, but for empty ones, which would end the list.
GMString JoinStrings(std::vector<GMString> const & strings)
{
    GMString units;
    for (GMString const & each : strings)
    {
        if (!each.empty())
            units.append(each.c_str(), each.size() + 1);
    }
    units += L'\0';
    return units;
}

/// `hex(type):` and the bytes. The type is printed as "%d" does, so a huge one gets a sign.
void AppendTyped(GMString & text, unsigned int type, GMBuffer<unsigned char> const & bytes)
{
    text += L"hex(";
    text += std::to_wstring(static_cast<int>(type));
    text += L"):";
    AppendByteList(text, bytes.m_data, bytes.m_length);
}

} // namespace

bool GMRegValue::ParseValue(GMString const & text) { return ParseText(text); }

bool GMRegValue::ParseText(std::wstring_view text)
{
    if (text == L"-")
    {
        m_removeFlag = true;
    }
    else if (!text.empty() && text.front() == L'"')
    {
        m_string = ReadQuoted(text);
        m_type = REG_SZ;
    }
    else if (TakePrefix(text, L"hex:"))
    {
        m_binary = ReadByteList(text);
        m_type = REG_BINARY;
    }
    else if (TakePrefix(text, L"dword:"))
    {
        m_doubleWord = GMStringUtils::ConvertHexToUInt32(GMString(text.substr(0, longestNumber)));
        m_type = REG_DWORD;
    }
    else if (TakePrefix(text, L"hex(b):"))
    {
        m_quardWord = ReadQuardWord(text);
        m_type = REG_QWORD;
    }
    else if (TakePrefix(text, L"hex(2):"))
    {
        AppendUnitList(m_string, text);
        m_type = REG_EXPAND_SZ;
    }
    else if (TakePrefix(text, L"hex(7):"))
    {
        GMString::size_type const begin = m_string.size();
        AppendUnitList(m_string, text);
        AppendStrings(m_mutiString, m_string, begin);
        m_type = REG_MULTI_SZ;
    }
    else if (TakePrefix(text, L"hex("))
    {
        m_type = ReadHexType(text);
        m_binary = ReadByteList(text);
    }
    else
    {
        return false;
    }
    return true;
}

bool GMRegValue::SaveValueToLiteral(GMString & text) const
{
    if (m_removeFlag)
    {
        text += L'-';
        return true;
    }
    switch (m_type)
    {
    case REG_SZ:
        text += L'"';
        AppendEscaped(text, m_string);
        text += L'"';
        return true;
    case REG_EXPAND_SZ:
        text += L"hex(2):";
        AppendByteList(text, m_string.c_str(), (m_string.size() + 1) * sizeof(wchar_t));
        return true;
    case REG_BINARY:
        text += L"hex:";
        AppendByteList(text, m_binary.m_data, m_binary.m_length);
        return true;
    case REG_DWORD:
        text += L"dword:";
        text += GMStringUtils::ConvertUInt32ToHex(m_doubleWord);
        return true;
    case REG_DWORD_BIG_ENDIAN:
        return false;
    case REG_MULTI_SZ:
    {
        GMString const units = JoinStrings(m_mutiString);
        text += L"hex(7):";
        AppendByteList(text, units.data(), units.size() * sizeof(wchar_t));
        return true;
    }
    case REG_QWORD:
        text += L"hex(b):";
        AppendByteList(text, &m_quardWord, sizeof m_quardWord);
        return true;
    default:
        AppendTyped(text, m_type, m_binary);
        return true;
    }
}

bool GMRegValue::SaveValueToString(GMString & text) const
{
    if (m_removeFlag)
    {
        text += L'-';
        return true;
    }
    switch (m_type)
    {
    case REG_SZ:
    case REG_EXPAND_SZ:
        text = m_string;
        return true;
    case REG_BINARY:
        return SaveValueToLiteral(text);
    case REG_DWORD:
        text = GMStringUtils::ConvertUInt32ToHex(m_doubleWord);
        return true;
    case REG_DWORD_BIG_ENDIAN:
        return false;
    case REG_MULTI_SZ:
    {
        wchar_t const * gap = L"";
        for (GMString const & each : m_mutiString)
        {
            if (each.empty())
                continue;
            text.append(gap).append(each);
            gap = L"  ";
        }
        return true;
    }
    case REG_QWORD:
        text = GMStringUtils::ConvertUInt32ToHex(static_cast<unsigned int>(m_quardWord));
        return true;
    default:
        AppendTyped(text, m_type, m_binary);
        return true;
    }
}

} // namespace Velmora
