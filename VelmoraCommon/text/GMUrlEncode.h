#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Percent-encoding of texts, and a URL that gets its query parameter by parameter.
///
/// Letters and digits of ASCII stay as they are, and so do `@*-._`; white space of any kind becomes
/// `%20`, every other byte `%` and two digits. "+" never stands for a blank. A URL is taken as it
/// comes: nothing is checked or put right. Static operations may be used from any thread, an object
/// from one at a time. A copy is independent.
class VELMORA_API GMUrlEncode
{
public:
    /// \param url the URL without a query
    /// \param utf8 whether values are encoded as UTF-8; otherwise in the ANSI code page
    GMUrlEncode(GMString url, bool utf8);

    /// Appends `name=value`, or nothing if \p name is empty. \p name isn't encoded.
    /// \param valueIsEncoded whether \p value goes in as it stands
    void AddGetParam(GMString name, GMString value, bool valueIsEncoded);

    /// The same with a number in decimal.
    void AddGetParam(GMString name, unsigned int value);
    void AddGetParam(GMString name, unsigned __int64 value);

    /// Appends a text of parameters as it stands, behind a "&" if one is needed.
    void AddGetParams(GMString const & text);

    /// The query so far, without "?".
    GMString GetParams() const;

    /// The URL with "?" and the query, or without both as long as there are no parameters.
    GMString GetEncodedUrl() const;

    /// Each byte that isn't a letter, a digit or one of the few signs that a query takes as they are, by
    /// `%` and two digits. \throws std::bad_alloc
    static GMStringA EncodeA(GMStringA const & text);

    /// The bytes that \p text stands for; digits may be in either case. Where `%` has less than two
    /// bytes behind it, or no number begins there, it is an ordinary byte.
    static GMStringA DecodeA(GMStringA const & text);

    /// Encodes the bytes of \p text in UTF-8 or, if not \p utf8, in the ANSI code page. Characters
    /// that it lacks are lost, as in GMStringConvert::UnicodeStringToMultiByte.
    static GMString Encode(GMString const & text, bool utf8);

    /// The text of the decoded bytes, up to the first NUL among them; empty if they are no text.
    static GMString Decode(GMString const & text, bool utf8);

    /// Encodes the values in the query of \p url and leaves the rest as it stands. A value goes from
    /// a "=" to the next "&". A name without "=" at the end is dropped, though not the "&" before it;
    /// where it is the whole query the "?" goes, too.
    static GMString EncodeEx(GMString const & url, bool utf8);

    /// Whether \p byte is one of the five marks that need no encoding.
    static bool IsSpecial(unsigned char const & byte);

    /// The digit of a number below 16, in upper case.
    static unsigned char ToHex(unsigned char const & nibble);

    /// The number of a digit; letters must be in upper case.
    static unsigned char FromHex(unsigned char const & digit);

private:
    GMString m_url;
    GMString m_params;
    bool m_utf8;
};

} // namespace Velmora
