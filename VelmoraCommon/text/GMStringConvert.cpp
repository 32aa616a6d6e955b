#include "VelmoraCommon/text/GMStringConvert.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/internal/Utf8.h"

namespace Velmora
{

namespace
{

/// What a code page gets for a character that it lacks, unless the caller chooses.
constexpr char defaultReplacement = '_';

/// Elements of a text that is converted by way of the stack.
constexpr std::size_t shortText = 256;

// UTF-8 is cut into pieces, of which what comes stays in the processor's first caches. A piece's end may
// part a character, of which it has three elements at most.
constexpr std::size_t utf8Piece = std::size_t(16) * 1024;
constexpr std::size_t longestCut = 3;

// The two directions, which Convert() takes alike: by the system, and in UTF-8 also without it. Up to
// mostUnmeasured elements, to convert into a block of the most that they can make takes half of the time
// of asking for the size first; of longer texts the block would take too much.

struct ToUtf16
{
    using Result = GMString;
    static constexpr std::size_t most = mostUnitsOfByte; // that a byte makes in most code pages
    static constexpr std::size_t mostUnmeasured = std::size_t(512) * 1024;
    static constexpr std::size_t spareRoom = 0;

    char const * text;
    std::size_t length;
    unsigned int codePage;

    bool IsFast() const { return codePage == CP_UTF8; }

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
    static constexpr std::size_t most = mostBytesOfUnit; // that a unit makes in most code pages
    static constexpr std::size_t mostUnmeasured = shortText;
    static constexpr std::size_t spareRoom = 8; // for replacements: without them it is measured

    wchar_t const * text;
    std::size_t length;
    unsigned int codePage;
    char replacement;
    bool & usedReplacement;

    bool IsFast() const { return codePage == CP_UTF8 && replacement == '\0'; }

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

/// Appends what comes of the text without the system, by way of a block: that is faster than to measure
/// the text, and the result is written once.
/// \return how far it came: up to what isn't valid, or to the end, which a NUL is, too
template <class Conversion>
std::size_t AppendUtf8(Conversion const & conversion, typename Conversion::Result & result)
{
    using Unit = typename Conversion::Result::value_type;
    Unit shortBlock[shortText * Conversion::most + 1];
    std::unique_ptr<Unit[]> longBlock;
    std::size_t pieceLength = shortText;
    if (conversion.length > shortText)
    {
        pieceLength = std::min(conversion.length, utf8Piece);
        longBlock.reset(new Unit[pieceLength * Conversion::most + 1]); // not zeroed
    }
    Unit * const block = longBlock ? longBlock.get() : shortBlock;
    std::size_t at = 0;
    while (at != conversion.length)
    {
        std::size_t const piece = std::min(conversion.length - at, pieceLength);
        Utf8Progress const fast = ConvertUtf8(conversion.text + at, piece, block);
        bool const isCut = fast.read != 0 && piece - fast.read <= longestCut;
        if (isCut && at == 0 && piece != conversion.length)
            result.reserve(fast.written * (conversion.length / piece + 1)); // more of the same
        result.append(block, fast.written);
        at += fast.read;
        if (fast.read != piece && conversion.text[at] == 0)
            return conversion.length;
        if (!isCut)
            return at;
    }
    return at;
}

/// Appends what the system makes of the text from \p begin on, up to its first NUL. In UTF-8 that may be
/// the middle: what follows a character doesn't depend on it.
template <class Conversion>
bool AppendBySystem(Conversion const & conversion, std::size_t begin,
                    typename Conversion::Result & result)
{
    using Unit = typename Conversion::Result::value_type;
    std::size_t const length = conversion.length - begin;
    if (length <= Conversion::mostUnmeasured)
    {
        std::size_t const room = length * Conversion::most;
        std::unique_ptr<Unit[]> const block(new Unit[room]); // not zeroed
        int const written = conversion.SystemConvert(begin, block.get(), room);
        result.append(block.get(), LengthToNul(block.get(), static_cast<std::size_t>(written)));
        if (written >= 1)
            return true;
    }
    int const size = conversion.SystemConvert(begin, nullptr, 0);
    if (size < 1)
        return false;
    std::size_t const room = static_cast<std::size_t>(size) + Conversion::spareRoom;
    std::size_t const before = result.length();
    result.resize(before + room);
    int const written = conversion.SystemConvert(begin, &result[before], room);
    result.resize(before + LengthToNul(&result[before], static_cast<std::size_t>(written)));
    return written >= 1;
}

/// \param ok false when the conversion failed, also for an empty text and for one that is longer
///     than the system can count
/// \return empty on failure
template <class Conversion>
typename Conversion::Result Convert(Conversion const & conversion, bool & ok)
{
    typename Conversion::Result result;
    ok = conversion.length >= 1 && conversion.length <= INT_MAX;
    if (!ok)
        return result;
    std::size_t const begin = conversion.IsFast() ? AppendUtf8(conversion, result) : 0;
    ok = begin == conversion.length || AppendBySystem(conversion, begin, result);
    if (!ok)
        result.clear();
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
