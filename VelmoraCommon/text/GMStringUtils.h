#pragma once

#include <cstdarg>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Helpers for numbers in texts, comparing, searching, cutting, editing and formatting.
///
/// Without state, and reentrant. Cases are folded unit by unit with `towlower` and `towupper` in
/// the program's C locale: as long as the program doesn't set another one, only A to Z fold.
/// Pointers to texts must not be null unless the operation says otherwise. Nothing here throws but
/// std::bad_alloc.
class VELMORA_API GMStringUtils
{
public:
    GMStringUtils();
    ~GMStringUtils();

    // Text to number. A number is a run of decimal digits at the very start of the text: blanks,
    // "+" and prefixes aren't accepted, and a text without digits is 0. Values that don't fit wrap.

    /// \param end when not null, gets the position behind the last digit
    static unsigned __int64 ConvertStringToUInt64(wchar_t const * s, wchar_t const ** end);
    static unsigned __int64 ConvertStringToUInt64(char const * s, char const ** end);
    static unsigned int ConvertStringToUInt32(wchar_t const * s, wchar_t const ** end);

    /// Accepts one "-" in front of the digits; \p end then stands behind it at least.
    static __int64 ConvertStringToInt64(wchar_t const * s, wchar_t const ** end);
    static int ConvertStringToInt32(wchar_t const * s, wchar_t const ** end);

    static __int64 ToInt64(GMString const & s);
    static unsigned __int64 ToUInt64(GMString const & s);
    static int ToInt32(GMString const & s);
    static unsigned int ToUInt32(GMString const & s);
    static short ToInt16(GMString const & s);
    static unsigned short ToUInt16(GMString const & s);

    /// As `atof` reads it.
    static double ConvertStringToDouble(GMString const & s);

    /// Reads up to eight hexadecimal digits of either case behind an optional "0x" or "0X"; what
    /// follows them is ignored.
    static unsigned int ConvertHexToUInt32(GMString const & s);

    // Number to text, in decimal unless the name says otherwise.

    /// Writes the digits and a NUL to \p out, which has room for 21 units.
    static void ConvertUInt64ToString(unsigned __int64 value, wchar_t * out);
    static void ConvertInt64ToString(__int64 value, wchar_t * out);

    static GMString ConvertUInt64ToString(unsigned __int64 value);
    static GMString ConvertInt64ToString(__int64 value);
    static GMString ConvertUInt32ToString(unsigned int value);
    static GMString ConvertInt32ToString(int value);

    static GMString ToString(int value);
    static GMString ToString(unsigned int value);
    static GMString ToString(__int64 value);
    static GMString ToString(unsigned __int64 value);

    /// Always eight digits, in upper case, without a prefix.
    static GMString ConvertUInt32ToHex(unsigned int value);

    /// Two digits for each of \p n bytes at \p p.
    static GMStringA ConvertBinaryToHex(unsigned char const * p, unsigned int n, bool lower);

    /// A file size for people, in GB, MB, KB or B with 2, 1, 0 and 0 decimals.
    /// \param size in bytes
    /// \param showBytes whether a size below 1024 is given in bytes; otherwise in KB, rounded
    static GMString GetFormatSize(unsigned __int64 size, bool showBytes);

    // Classification and comparison.

    /// Whether \p s consists of decimal digits, and of one at least.
    static bool IsDigits(GMString const & s);

    /// Whether \p s is the number of a mobile phone in mainland China: 11 digits, a 1 first.
    static bool IsMobilePhone(GMString const & s);

    /// Order by unit values: -1, 0 or 1.
    static int Compare(GMString const & a, GMString const & b);

    /// Order of the first \p n units after folding to upper case; a NUL in both ends it.
    /// \return the difference of the first two folded units that differ, else 0
    static int CompareNoCase(wchar_t const * a, wchar_t const * b, unsigned int n);
    static int CompareNoCase(GMString const & a, GMString const & b);

    static bool BeginWith(GMString const & s, GMString const & x);
    static bool EndWith(GMString const & s, GMString const & x);

    /// These fold to lower case.
    static bool BeginWithNoCase(GMString const & s, GMString const & x);
    static bool EndWithNoCase(GMString const & s, GMString const & x);

    /// Whether the whole \p text fits \p pattern, where "*" stands for any units or none and "?"
    /// for one unit. At worst it takes the product of the lengths, as for a pattern of thousands of
    /// units behind a star and a text of few letters.
    /// \param noCase whether units are folded to lower case
    /// \return false also for a null pointer
    static bool WildcardCompare(wchar_t const * pattern, wchar_t const * text, bool noCase);

    // Searching and cutting. Positions count from 0, and `npos` is 0xFFFFFFFF, the standard one cut
    // to 32 bits.

    /// Position of the first \p x at \p start or behind it, with both folded to lower case; `npos`
    /// if there is none. An empty \p x is found at \p start, unless that lies behind the end.
    static unsigned int FindNoCase(GMString const & s, GMString const & x, unsigned int start);

    /// The first \p n units, or all; empty for a negative \p n.
    static GMString Left(GMString const & s, int n);

    /// The last \p n units, or all; empty for a negative \p n.
    static GMString Right(GMString const & s, int n);

    /// \p count units from \p start on, or all that there are; empty for a \p start outside.
    static GMString Mid(GMString const & s, int start, unsigned int count);

    /// Takes the text in front of the first \p delimiter off \p s, together with the delimiter; all
    /// of it when there is none. With an empty \p delimiter \p s stays, and the result is empty.
    static GMString GetLine(GMString & s, GMString const & delimiter);

    /// Takes the text between two marks off \p s, which keeps what follows the second mark.
    ///
    /// An empty \p before stands for the start; an empty or missing \p after for the end. \p after
    /// is looked for from the first unit of \p before on: where it begins in front of the text, the
    /// result goes on to the end.
    /// \return empty when \p before is missing; \p s is empty then, too
    static GMString GetSubStr(GMString & s, GMString const & before, GMString const & after);

    // As the C functions, but a null text is allowed: it has no length and no occurrence, and
    // copying gives null.

    static unsigned int StringLen(wchar_t const * s);
    static wchar_t * StringCopy(wchar_t * dst, wchar_t const * src);
    static wchar_t const * StringChr(wchar_t const * s, wchar_t c);

    /// How many units \p c the text \p s has.
    static unsigned int StringChrNum(wchar_t const * s, wchar_t c);

    // Editing in place.

    /// Removes the units of \p set from the ends of \p s. A null \p set has none.
    static void TrimLeft(GMString & s, wchar_t const * set);
    static void TrimRight(GMString & s, wchar_t const * set);
    static void Trim(GMString & s, wchar_t const * set);

    /// Leaves one \p c of each run of them.
    static void TrimDupChar(GMString & s, wchar_t c);
    static void RemoveChar(GMString & s, wchar_t c);

    /// Removes a double quote from both ends if both have one; a quote alone goes, too.
    static void RemoveQuote(GMString & s);

    static void Replace(GMString & s, wchar_t from, wchar_t to);

    /// Replaces each \p from by \p to in one pass: what was put in isn't searched again. Nothing
    /// happens if either is null, or if \p from is empty.
    static void Replace(GMString & s, wchar_t const * from, wchar_t const * to);

    /// The same, finding \p from as FindNoCase does.
    static void ReplaceNoCase(GMString & s, wchar_t const * from, wchar_t const * to);

    static void MakeLower(GMString & s);
    static void MakeUpper(GMString & s);

    /// Escapes "&" and the double quote, but not "<" and ">": enough for attribute values that are
    /// known to have none.
    static void SimapleXmlEscape(GMString & s);
    static void SimapleXmlUnEscape(GMString & s);

    static wchar_t CharToLower(wchar_t c);
    static wchar_t CharToUpper(wchar_t c);

    // Formatting by the formats of the C library: "%s" in a wide format takes a wide text. The
    // arguments must fit the format, and its conversions must be such as the C library knows:
    // Microsoft's ends the process for any other.

    /// Formats into \p dst, which has room for \p size units with the NUL.
    /// \return 0 when the text fits, 1 when it doesn't, -1 when the format is unusable, as a null
    ///     one
    static int FormatToBuffer(wchar_t * dst, int size, wchar_t const * format, va_list args);
    static int FormatToBufferA(char * dst, int size, char const * format, va_list args);

    /// Replaces \p out by the formatted text, of any length. A null or empty \p format leaves
    /// \p out as it is; an unusable one empties it.
    static void Format(GMString & out, wchar_t const * format, ...);

    /// The formatted text, of any length; empty for an empty, null or unusable \p format.
    static GMString FormatResult(wchar_t const * format, ...);
    static GMStringA FormatResultA(char const * format, ...);

    /// \p length units drawn from \p alphabet with `rand`, which the caller seeds. Empty when
    /// \p alphabet is.
    static GMString RandomString(unsigned int length, GMString const & alphabet);
};

} // namespace Velmora
