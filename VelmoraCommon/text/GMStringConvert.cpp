#include "VelmoraCommon/text/GMStringConvert.h"

#include <climits>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

namespace
{

/// What a code page gets for a character that it lacks, unless the caller chooses.
constexpr char defaultReplacement = '_';

/// A conversion with a replacement may take a little more room than measured without.
constexpr std::size_t replacementRoom = 8;

/// Whether the system converts texts of this length: it counts in `int`.
bool IsConvertible(std::size_t length) { return length >= 1 && length <= INT_MAX; }

template <class Text>
void CutAtNul(Text & text)
{
    auto const end = text.find(typename Text::value_type());
    if (end != Text::npos)
        text.resize(end);
}

/// \return empty on failure, also for an empty text
GMString ToUtf16(char const * s, std::size_t length, unsigned int codePage, bool & ok)
{
    ok = false;
    if (!IsConvertible(length))
        return GMString();
    int const size = MultiByteToWideChar(codePage, 0, s, static_cast<int>(length), nullptr, 0);
    if (size < 1)
        return GMString();
    GMString text(static_cast<std::size_t>(size), L'\0');
    ok = MultiByteToWideChar(codePage, 0, s, static_cast<int>(length), text.data(), size) >= 1;
    if (!ok)
        return GMString();
    CutAtNul(text);
    return text;
}

/// \return empty on failure, also for an empty text
GMStringA FromUtf16(wchar_t const * s, std::size_t length, unsigned int codePage, char replacement,
                    bool & usedReplacement, bool & ok)
{
    ok = false;
    usedReplacement = false;
    if (!IsConvertible(length))
        return GMStringA();
    auto const units = static_cast<int>(length);
    int const size = WideCharToMultiByte(codePage, 0, s, units, nullptr, 0, nullptr, nullptr);
    if (size < 1 || size > INT_MAX - static_cast<int>(replacementRoom))
        return GMStringA();
    GMStringA bytes(static_cast<std::size_t>(size) + replacementRoom, '\0');
    char const defaultText[] = {replacement, '\0'}; // some systems read on up to a NUL
    BOOL used = FALSE;
    int const written = WideCharToMultiByte(
        codePage, 0, s, units, bytes.data(), static_cast<int>(bytes.size()),
        replacement != '\0' ? defaultText : nullptr, replacement != '\0' ? &used : nullptr);
    if (written < 1)
        return GMStringA();
    ok = true;
    usedReplacement = used != FALSE;
    bytes.resize(static_cast<std::size_t>(written));
    CutAtNul(bytes);
    return bytes;
}

/// Runs \p convert by \p codePage, or by \p defaultCodePage if there is one and it stands in for the
/// one asked for. When the default code page fails, the one asked for has its turn.
template <class Convert>
auto ByDefaultCodePage(unsigned int codePage, unsigned int defaultCodePage, Convert convert)
{
    bool ok = false;
    bool const standsIn = codePage == CP_ACP || codePage == CP_OEMCP;
    if (defaultCodePage == 0 || !standsIn)
        return convert(codePage, ok);
    auto result = convert(defaultCodePage, ok);
    if (ok)
        return result;
    return convert(codePage, ok);
}

std::size_t TextLength(char const * s, int length)
{
    if (s == nullptr)
        return 0;
    return length < 0 ? std::strlen(s) : static_cast<std::size_t>(length);
}

} // namespace

unsigned int GMStringConvert::s_defaultCodePage = 0;

GMStringConvert::GMStringConvert() {}

GMStringConvert::~GMStringConvert() {}

void GMStringConvert::SetDefaultCodePage(unsigned int codePage) { s_defaultCodePage = codePage; }

GMString GMStringConvert::MultiByteToUnicodeString(char const * s, int length,
                                                   unsigned int codePage)
{
    return ByDefaultCodePage(codePage, s_defaultCodePage,
                             [&](unsigned int page, bool & ok)
                             { return ToUtf16(s, TextLength(s, length), page, ok); });
}

GMString GMStringConvert::MultiByteToUnicodeString(GMStringA const & s, unsigned int codePage)
{
    return ByDefaultCodePage(codePage, s_defaultCodePage,
                             [&](unsigned int page, bool & ok)
                             { return ToUtf16(s.data(), s.length(), page, ok); });
}

GMString GMStringConvert::DoMultiByteToUnicodeString(char const * s, int length,
                                                     unsigned int codePage, bool & ok)
{
    GMString text = ToUtf16(s, TextLength(s, length), codePage, ok);
    ok = ok || s == nullptr;
    return text;
}

GMStringA GMStringConvert::UnicodeStringToMultiByte(GMString const & s, unsigned int codePage)
{
    bool usedReplacement = false;
    char const replacement = codePage == CP_UTF8 ? '\0' : defaultReplacement;
    return UnicodeStringToMultiByte(s, codePage, replacement, usedReplacement);
}

GMStringA GMStringConvert::UnicodeStringToMultiByte(GMString const & s, unsigned int codePage,
                                                    char replacement, bool & usedReplacement)
{
    return ByDefaultCodePage(
        codePage, s_defaultCodePage,
        [&](unsigned int page, bool & ok)
        { return FromUtf16(s.data(), s.length(), page, replacement, usedReplacement, ok); });
}

GMStringA GMStringConvert::DoUnicodeStringToMultiByte(GMString const & s, unsigned int codePage,
                                                      char replacement, bool & usedReplacement,
                                                      bool & ok)
{
    return FromUtf16(s.data(), s.length(), codePage, replacement, usedReplacement, ok);
}

GMStringA GMStringConvert::GMStringToGMStringA(GMString const & s)
{
    return UnicodeStringToMultiByte(s, CP_ACP);
}

GMStringA GMStringConvert::GMStringToUtf8(GMString const & s)
{
    return UnicodeStringToMultiByte(s, CP_UTF8);
}

GMString GMStringConvert::Utf8ToGMString(char const * s)
{
    return MultiByteToUnicodeString(s, -1, CP_UTF8);
}

GMString GMStringConvert::CharToGMString(char const * s)
{
    return MultiByteToUnicodeString(s, -1, CP_ACP);
}

GMString GMStringConvert::CharToGMString(char const * s, unsigned int codePage)
{
    bool ok = false;
    return ToUtf16(s, std::strlen(s), codePage, ok);
}

GMString GMStringConvert::GMStringToGMStringW(GMString const & s) { return s; }

GMString GMStringConvert::GMStringWToGMString(GMString const & s) { return s; }

bool GMStringConvert::ConvertUTF8ToUnicode(char const * s, unsigned int length, GMString & out)
{
    bool ok = false;
    out = ToUtf16(s, s == nullptr ? 0 : length, CP_UTF8, ok);
    return true;
}

bool GMStringConvert::ConvertUnicodeToUTF8(wchar_t const * s, unsigned int length, GMStringA & out)
{
    bool ok = false;
    bool usedReplacement = false;
    out = FromUtf16(s, s == nullptr ? 0 : length, CP_UTF8, '\0', usedReplacement, ok);
    return true;
}

bool GMStringConvert::GetEncodingType(char const * data, unsigned int length, GMEncodingType & type,
                                      unsigned int * signatureLength)
{
    struct Signature
    {
        GMEncodingType type;
        unsigned int length;
        char bytes[5];
    };
    // The longer of two that begin alike comes first.
    static constexpr Signature signatures[] = {
        {GMEncodingType::Utf32LE, 4, "\xFF\xFE\x00\x00"},
        {GMEncodingType::Utf32BE, 4, "\x00\x00\xFE\xFF"},
        {GMEncodingType::Utf8, 3, "\xEF\xBB\xBF"},
        {GMEncodingType::Utf16LE, 2, "\xFF\xFE"},
        {GMEncodingType::Utf16BE, 2, "\xFE\xFF"},
    };

    if (data == nullptr)
        return false;
    for (Signature const & each : signatures)
    {
        if (length < each.length || std::memcmp(data, each.bytes, each.length) != 0)
            continue;
        type = each.type;
        if (signatureLength != nullptr)
            *signatureLength = each.length;
        return true;
    }
    return false;
}

GMStringA GMStringConvert::GetEncodingString(GMEncodingType type)
{
    // By the encoding's number.
    static constexpr char const * names[] = {
        "",
        "ANSI/OEM - Simplified Chinese (PRC, Singapore)",
        "ANSI/OEM - Simplified Chinese (PRC, Singapore)",
        "Windows XP: GB18030 Simplified Chinese (4 Byte)",
        "ANSI/OEM - Traditional Chinese",
        "UTF-7",
        "UTF-8",
        "UCS-2-LE",
        "UCS-2-BE",
        "UCS-2-LE",
        "UTF-32-LE",
        "UTF-32-BE",
        "UTF-32-LE",
        "UCS-2-LE",
        "UCS-2-BE",
        "UCS-2-LE",
        "UTF-32-LE",
        "UTF-32-BE",
        "UTF-32-LE",
    };

    auto const number = static_cast<std::size_t>(type); // a negative one becomes large
    return number < std::size(names) ? names[number] : "";
}

bool GMStringConvert::IsLittleEndian() { return true; }

} // namespace Velmora
