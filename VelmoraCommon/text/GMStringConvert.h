#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Encodings of a text file. The numbers are fixed, since callers store them. A name without a byte
/// order stands for that of this machine, which is little-endian.
enum class GMEncodingType : int
{
    Unknown = 0,
    Gb2312 = 1, ///< code page 936
    Gbk = 2,    ///< code page 936
    Gb18030 = 3,
    Big5 = 4, ///< code page 950
    Utf7 = 5,
    Utf8 = 6,
    Utf16 = 7,
    Utf16BE = 8,
    Utf16LE = 9,
    Utf32 = 10,
    Utf32BE = 11,
    Utf32LE = 12,
    Ucs2 = 13,
    Ucs2BE = 14,
    Ucs2LE = 15,
    Ucs4 = 16,
    Ucs4BE = 17,
    Ucs4LE = 18
};

/// Conversion between texts and bytes in a code page, and the byte-order marks of text files.
///
/// Code pages are the numbers of the system: 0 is its ANSI code page, 1 its OEM code page, 65001
/// UTF-8. A default code page, once set, stands in for 0 and 1. Nothing here throws but
/// std::bad_alloc: a conversion that fails gives an empty text, as does one of more than INT_MAX
/// units or bytes. A result ends in front of its first NUL. May be used from any thread once the
/// default code page is set.
class VELMORA_API GMStringConvert
{
public:
    GMStringConvert();
    ~GMStringConvert();

    /// Sets the code page that conversions by code page 0 and 1 try first; 0 takes it back. Call it
    /// before other threads convert.
    static void SetDefaultCodePage(unsigned int codePage);

    /// The text of \p length bytes at \p s; a negative \p length takes all up to the NUL, and a
    /// null \p s is an empty text. When the default code page stands in and fails, \p codePage
    /// itself is tried.
    static GMString MultiByteToUnicodeString(char const * s, int length, unsigned int codePage);
    static GMString MultiByteToUnicodeString(GMStringA const & s, unsigned int codePage);

    /// The same by \p codePage alone, without regard to the default code page.
    /// \param ok false when the conversion failed, also for an empty text; a null \p s is fine
    static GMString DoMultiByteToUnicodeString(char const * s, int length, unsigned int codePage,
                                               bool & ok);

    /// The bytes of \p s. A character that \p codePage lacks becomes "_"; in UTF-8, where only a
    /// surrogate without its partner is wrong, the system's own replacement stands for it.
    static GMStringA UnicodeStringToMultiByte(GMString const & s, unsigned int codePage);

    /// The bytes of \p s, with \p replacement for characters that the code page lacks.
    /// \param replacement 0 leaves the choice to the system, and must be 0 for UTF-8
    /// \param usedReplacement whether \p replacement was needed; false when it is 0
    static GMStringA UnicodeStringToMultiByte(GMString const & s, unsigned int codePage,
                                              char replacement, bool & usedReplacement);

    /// The same by \p codePage alone, without regard to the default code page.
    /// \param ok false when the conversion failed, also for an empty text
    static GMStringA DoUnicodeStringToMultiByte(GMString const & s, unsigned int codePage,
                                                char replacement, bool & usedReplacement,
                                                bool & ok);

    /// By the default code page, or the system's ANSI code page when none is set.
    static GMStringA GMStringToGMStringA(GMString const & s);

    /// To UTF-8.
    static GMStringA GMStringToUtf8(GMString const & s);

    /// A null \p s is an empty text.
    static GMString Utf8ToGMString(char const * s);

    /// By the default code page, or the system's ANSI code page when none is set. A null \p s is an
    /// empty text.
    static GMString CharToGMString(char const * s);

    /// By \p codePage alone, without regard to the default code page; \p s must not be null.
    static GMString CharToGMString(char const * s, unsigned int codePage);

    /// A copy: both are UTF-16 here.
    static GMString GMStringToGMStringW(GMString const & s);
    static GMString GMStringWToGMString(GMString const & s);

    /// Fills \p out from \p length bytes of UTF-8; one above INT_MAX takes all up to the NUL.
    /// \return true, also when the conversion failed: then \p out is empty
    static bool ConvertUTF8ToUnicode(char const * s, unsigned int length, GMString & out);

    /// Fills \p out with the UTF-8 of \p length units.
    /// \return true, also when the conversion failed: then \p out is empty
    static bool ConvertUnicodeToUTF8(wchar_t const * s, unsigned int length, GMStringA & out);

    /// Recognises the byte-order mark at the start of \p length bytes; the content behind it isn't
    /// looked at, so plain text is never recognised. FF FE 00 00 counts as UTF-32, though a UTF-16
    /// text could begin with a NUL.
    /// \param type, signatureLength the encoding and the bytes of its mark; untouched without one.
    ///     \p signatureLength may be null.
    /// \return whether there is a mark
    static bool GetEncodingType(char const * data, unsigned int length, GMEncodingType & type,
                                unsigned int * signatureLength);

    /// The name of an encoding for people; empty for an unknown one.
    static GMStringA GetEncodingString(GMEncodingType type);

    /// True on every machine of Windows.
    static bool IsLittleEndian();

private:
    static unsigned int s_defaultCodePage; // 0: none
};

} // namespace Velmora
