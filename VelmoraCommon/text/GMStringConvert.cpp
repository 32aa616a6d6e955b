#include "VelmoraCommon/text/GMStringConvert.h"

#include <climits>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <utility>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/internal/Utf8.h"

namespace Velmora
{

namespace
{

/// What a code page gets for a character that it lacks, unless the caller chooses.
constexpr char defaultReplacement = '_';

/// Elements of a short text, which is converted on the stack at once, without asking for its size.
constexpr std::size_t shortText = 256;

// The two directions, which Convert() takes alike: by the system, and in UTF-8 also without it.

struct ToUtf16
{
    using Result = GMString;
    static constexpr std::size_t shortRoom = shortText; // a byte makes one unit at most
    static constexpr std::size_t spareRoom = 0;

    char const * text;
    std::size_t length;
    unsigned int codePage;

    bool IsFast() const { return codePage == CP_UTF8; }
    std::size_t FastSize() const { return CountUtf16Units(text, length); }
    Utf8Progress FastConvert(wchar_t * to, std::size_t room) const
    {
        return DecodeUtf8(text, length, to, room);
    }

    /// Converts from \p begin on, or measures for a null \p to; 0 on failure.
    int SystemConvert(std::size_t begin, wchar_t * to, std::size_t room) const
    {
        return MultiByteToWideChar(codePage, 0, text + begin, static_cast<int>(length - begin), to,
                                   static_cast<int>(room));
    }
};

struct FromUtf16
{
    using Result = GMStringA;
    static constexpr std::size_t shortRoom = shortText * 3; // the most that a unit makes in UTF-8
    static constexpr std::size_t spareRoom = 8; // for replacements: without them it is measured

    wchar_t const * text;
    std::size_t length;
    unsigned int codePage;
    char replacement;
    bool & usedReplacement;

    bool IsFast() const { return codePage == CP_UTF8 && replacement == '\0'; }
    std::size_t FastSize() const { return CountUtf8Bytes(text, length); }
    Utf8Progress FastConvert(char * to, std::size_t room) const
    {
        return EncodeUtf8(text, length, to, room);
    }

    /// Converts from \p begin on, or measures for a null \p to; 0 on failure.
    int SystemConvert(std::size_t begin, char * to, std::size_t room) const
    {
        bool const replaces = replacement != '\0' && to != nullptr;
        char const defaultText[] = {replacement, '\0'}; // some systems read on up to a NUL
        BOOL used = FALSE;
        int const written = WideCharToMultiByte(
            codePage, 0, text + begin, static_cast<int>(length - begin), to, static_cast<int>(room),
            replaces ? defaultText : nullptr, replaces ? &used : nullptr);
        usedReplacement = used != FALSE;
        return written;
    }
};

/// Converts into \p room elements at \p to, in UTF-8 as far as possible without the system.
/// \param written the elements of the result, which ends in front of its first NUL
/// \return false on failure, as for want of room
template <class Conversion, class Unit>
bool ConvertInto(Unit * to, std::size_t room, Conversion const & conversion, std::size_t & written)
{
    Utf8Progress fast{};
    if (conversion.IsFast())
        fast = conversion.FastConvert(to, room);
    written = fast.written;
    if (fast.isWhole)
        return true;

    // UTF-8 can be cut between two characters: what follows doesn't depend on what was. The system
    // is asked for the size, since it may take half a pair for success when the room ends there.
    if (conversion.IsFast() &&
        conversion.SystemConvert(fast.read, nullptr, 0) > static_cast<int>(room - written))
        return false;
    int const rest = conversion.SystemConvert(fast.read, to + written, room - written);
    if (rest < 1)
        return false;
    written += LengthToNul(to + written, static_cast<std::size_t>(rest));
    return true;
}

/// The same into a text of its own, which is allocated once.
template <class Conversion>
bool ConvertSized(Conversion const & conversion, std::size_t size,
                  typename Conversion::Result & result)
{
    if (size > INT_MAX)
        return false;
    typename Conversion::Result text(size, 0);
    std::size_t written;
    if (!ConvertInto(text.data(), size, conversion, written))
        return false;
    text.resize(written);
    result = std::move(text);
    return true;
}

template <class Conversion>
bool ConvertShort(Conversion const & conversion, typename Conversion::Result & result)
{
    typename Conversion::Result::value_type buffer[Conversion::shortRoom];
    std::size_t written;
    if (!ConvertInto(buffer, Conversion::shortRoom, conversion, written))
        return false;
    result.assign(buffer, written);
    return true;
}

/// Where each byte makes one unit at most, a text of some size needn't be measured: converting it into a
/// block of that many takes half of the time. Of a longer text the block would take too much of its own.
bool ConvertBounded(ToUtf16 const & conversion, GMString & result)
{
    constexpr std::size_t mostBytes = std::size_t(512) * 1024;
    if (conversion.length > mostBytes)
        return false;
    std::unique_ptr<wchar_t[]> const block(new wchar_t[conversion.length]); // not zeroed
    std::size_t written;
    if (!ConvertInto(block.get(), conversion.length, conversion, written))
        return false;
    result.assign(block.get(), written);
    return true;
}

/// How many bytes a unit makes depends on the code page.
bool ConvertBounded(FromUtf16 const &, GMStringA &) { return false; }

template <class Conversion>
bool ConvertMeasured(Conversion const & conversion, typename Conversion::Result & result)
{
    int const size = conversion.SystemConvert(0, nullptr, 0);
    return size >= 1 &&
           ConvertSized(conversion, static_cast<std::size_t>(size) + Conversion::spareRoom, result);
}

/// \param ok false when the conversion failed, also for an empty text and for one that is longer
///     than the system can count
/// \return empty on failure
template <class Conversion>
typename Conversion::Result Convert(Conversion const & conversion, bool & ok)
{
    typename Conversion::Result result;
    ok = conversion.length >= 1 && conversion.length <= INT_MAX &&
         ((conversion.length <= shortText && ConvertShort(conversion, result)) ||
          (conversion.IsFast() && ConvertSized(conversion, conversion.FastSize(), result)) ||
          ConvertBounded(conversion, result) || ConvertMeasured(conversion, result));
    return result;
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
                             [&](unsigned int page, bool & ok) {
                                 return Convert(ToUtf16{s, TextLength(s, length), page}, ok);
                             });
}

GMString GMStringConvert::MultiByteToUnicodeString(GMStringA const & s, unsigned int codePage)
{
    return ByDefaultCodePage(codePage, s_defaultCodePage,
                             [&](unsigned int page, bool & ok) {
                                 return Convert(ToUtf16{s.data(), s.length(), page}, ok);
                             });
}

GMString GMStringConvert::DoMultiByteToUnicodeString(char const * s, int length,
                                                     unsigned int codePage, bool & ok)
{
    GMString text = Convert(ToUtf16{s, TextLength(s, length), codePage}, ok);
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
    usedReplacement = false;
    return ByDefaultCodePage(
        codePage, s_defaultCodePage,
        [&](unsigned int page, bool & ok) {
            return Convert(FromUtf16{s.data(), s.length(), page, replacement, usedReplacement}, ok);
        });
}

GMStringA GMStringConvert::DoUnicodeStringToMultiByte(GMString const & s, unsigned int codePage,
                                                      char replacement, bool & usedReplacement,
                                                      bool & ok)
{
    usedReplacement = false;
    return Convert(FromUtf16{s.data(), s.length(), codePage, replacement, usedReplacement}, ok);
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
    return Convert(ToUtf16{s, std::strlen(s), codePage}, ok);
}

GMString GMStringConvert::GMStringToGMStringW(GMString const & s) { return s; }

GMString GMStringConvert::GMStringWToGMString(GMString const & s) { return s; }

bool GMStringConvert::ConvertUTF8ToUnicode(char const * s, unsigned int length, GMString & out)
{
    out = MultiByteToUnicodeString(s, static_cast<int>(length), CP_UTF8);
    return true;
}

bool GMStringConvert::ConvertUnicodeToUTF8(wchar_t const * s, unsigned int length, GMStringA & out)
{
    bool ok = false;
    bool usedReplacement = false;
    out = Convert(FromUtf16{s, s == nullptr ? 0 : length, CP_UTF8, '\0', usedReplacement}, ok);
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
