#include <algorithm>
#include <array>
#include <cstdlib>
#include <type_traits>

#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

template <class Unit>
unsigned __int64 ScanDecimal(Unit const * s, Unit const ** end)
{
    unsigned __int64 value = 0;
    for (; *s >= Unit('0') && *s <= Unit('9'); ++s)
        value = value * 10 + static_cast<unsigned int>(*s - Unit('0'));
    if (end != nullptr)
        *end = s;
    return value;
}

/// The value of a hexadecimal digit; 16 for any other unit.
unsigned int HexDigitValue(wchar_t c)
{
    if (c >= L'0' && c <= L'9')
        return static_cast<unsigned int>(c - L'0');
    if (c >= L'a' && c <= L'f')
        return static_cast<unsigned int>(c - L'a' + 10);
    if (c >= L'A' && c <= L'F')
        return static_cast<unsigned int>(c - L'A' + 10);
    return 16;
}

constexpr char upperHexDigits[] = "0123456789ABCDEF";
constexpr char lowerHexDigits[] = "0123456789abcdef";

constexpr std::array<wchar_t, 200> MakeDigitPairs()
{
    std::array<wchar_t, 200> pairs{};
    for (std::size_t i = 0; i < 100; ++i)
    {
        pairs[2 * i] = static_cast<wchar_t>(L'0' + i / 10);
        pairs[2 * i + 1] = static_cast<wchar_t>(L'0' + i % 10);
    }
    return pairs;
}

/// "00" to "99", for half as many divisions.
constexpr std::array<wchar_t, 200> digitPairs = MakeDigitPairs();

/// Writes the digits of \p value in front of \p end.
/// \return where they begin
template <class Unsigned>
wchar_t * WriteDigits(Unsigned value, wchar_t * end)
{
    for (; value >= 100; value /= 100)
    {
        auto const pair = static_cast<std::size_t>(value % 100) * 2;
        *--end = digitPairs[pair + 1];
        *--end = digitPairs[pair];
    }
    auto const pair = static_cast<std::size_t>(value) * 2;
    *--end = digitPairs[pair + 1];
    if (value >= 10)
        *--end = digitPairs[pair];
    return end;
}

template <class Integer>
wchar_t * WriteDecimal(Integer value, wchar_t * end)
{
    using Unsigned = std::make_unsigned_t<Integer>;
    auto const magnitude = static_cast<Unsigned>(value);
    if (value >= 0)
        return WriteDigits(magnitude, end);
    // Negated as unsigned, since the smallest value has no positive counterpart.
    wchar_t * const begin = WriteDigits(static_cast<Unsigned>(0 - magnitude), end) - 1;
    *begin = L'-';
    return begin;
}

/// The longest number, and its NUL.
constexpr std::size_t decimalSize = 21;

template <class Integer>
void CopyDecimal(Integer value, wchar_t * out)
{
    wchar_t buffer[decimalSize];
    wchar_t * const end = buffer + decimalSize;
    *std::copy(WriteDecimal(value, end), end, out) = L'\0';
}

template <class Integer>
GMString DecimalText(Integer value)
{
    wchar_t buffer[decimalSize];
    wchar_t * const end = buffer + decimalSize;
    return GMString(WriteDecimal(value, end), end);
}

} // namespace

unsigned __int64 GMStringUtils::ConvertStringToUInt64(wchar_t const * s, wchar_t const ** end)
{
    return ScanDecimal(s, end);
}

unsigned __int64 GMStringUtils::ConvertStringToUInt64(char const * s, char const ** end)
{
    return ScanDecimal(s, end);
}

unsigned int GMStringUtils::ConvertStringToUInt32(wchar_t const * s, wchar_t const ** end)
{
    return static_cast<unsigned int>(ScanDecimal(s, end));
}

__int64 GMStringUtils::ConvertStringToInt64(wchar_t const * s, wchar_t const ** end)
{
    if (*s != L'-')
        return static_cast<__int64>(ScanDecimal(s, end));
    return static_cast<__int64>(0 - ScanDecimal(s + 1, end));
}

int GMStringUtils::ConvertStringToInt32(wchar_t const * s, wchar_t const ** end)
{
    return static_cast<int>(ConvertStringToInt64(s, end));
}

__int64 GMStringUtils::ToInt64(GMString const & s)
{
    return ConvertStringToInt64(s.c_str(), nullptr);
}

unsigned __int64 GMStringUtils::ToUInt64(GMString const & s)
{
    return ConvertStringToUInt64(s.c_str(), nullptr);
}

int GMStringUtils::ToInt32(GMString const & s) { return static_cast<int>(ToInt64(s)); }

unsigned int GMStringUtils::ToUInt32(GMString const & s)
{
    return static_cast<unsigned int>(ToUInt64(s));
}

short GMStringUtils::ToInt16(GMString const & s) { return static_cast<short>(ToInt64(s)); }

unsigned short GMStringUtils::ToUInt16(GMString const & s)
{
    return static_cast<unsigned short>(ToUInt64(s));
}

double GMStringUtils::ConvertStringToDouble(GMString const & s)
{
    return std::atof(GMStringConvert::UnicodeStringToMultiByte(s, 0).c_str());
}

unsigned int GMStringUtils::ConvertHexToUInt32(GMString const & s)
{
    constexpr int mostDigits = 8;

    bool const hasPrefix = s.length() >= 2 && s[0] == L'0' && (s[1] == L'x' || s[1] == L'X');
    wchar_t const * unit = s.c_str() + (hasPrefix ? 2 : 0);
    unsigned int value = 0;
    for (int i = 0; i < mostDigits; ++i, ++unit)
    {
        unsigned int const digit = HexDigitValue(*unit); // the NUL isn't one
        if (digit > 15)
            break;
        value = value * 16 + digit;
    }
    return value;
}

void GMStringUtils::ConvertUInt64ToString(unsigned __int64 value, wchar_t * out)
{
    CopyDecimal(value, out);
}

void GMStringUtils::ConvertInt64ToString(__int64 value, wchar_t * out) { CopyDecimal(value, out); }

GMString GMStringUtils::ConvertUInt64ToString(unsigned __int64 value) { return DecimalText(value); }

GMString GMStringUtils::ConvertInt64ToString(__int64 value) { return DecimalText(value); }

GMString GMStringUtils::ConvertUInt32ToString(unsigned int value) { return DecimalText(value); }

GMString GMStringUtils::ConvertInt32ToString(int value) { return DecimalText(value); }

GMString GMStringUtils::ToString(int value) { return DecimalText(value); }

GMString GMStringUtils::ToString(unsigned int value) { return DecimalText(value); }

GMString GMStringUtils::ToString(__int64 value) { return DecimalText(value); }

GMString GMStringUtils::ToString(unsigned __int64 value) { return DecimalText(value); }

GMString GMStringUtils::ConvertUInt32ToHex(unsigned int value)
{
    GMString text(8, L'0');
    for (auto digit = text.rbegin(); value != 0; ++digit, value /= 16)
        *digit = static_cast<wchar_t>(upperHexDigits[value % 16]);
    return text;
}

GMStringA GMStringUtils::ConvertBinaryToHex(unsigned char const * p, unsigned int n, bool lower)
{
    char const * const digits = lower ? lowerHexDigits : upperHexDigits;
    GMStringA text(GMStringA::size_type(n) * 2, '\0');
    char * out = text.data();
    for (unsigned char const * const end = p + n; p != end; ++p)
    {
        *out++ = digits[*p / 16];
        *out++ = digits[*p % 16];
    }
    return text;
}

GMString GMStringUtils::GetFormatSize(unsigned __int64 size, bool showBytes)
{
    constexpr double step = 1.0 / 1024;
    auto const bytes = static_cast<double>(size);
    if (size >= 1u << 30)
        return FormatResult(L"%.2fGB", bytes * step * step * step);
    if (size >= 1u << 20)
        return FormatResult(L"%.1fMB", bytes * step * step);
    if (size >= 1024 || !showBytes)
        return FormatResult(L"%.0fKB", bytes * step);
    return FormatResult(L"%.0fB", bytes);
}

} // namespace Velmora
