#pragma once

#include <utility>
#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Turns Chinese text into its Latin reading (pinyin without tones), for sorting and searching by
/// Latin letters.
///
/// Texts are bytes whose double-byte characters are GB2312; convert other texts first. A character
/// has one reading, whatever stands beside it. An object is a few settings, and any number of
/// threads may use it.
class VELMORA_API GMLetterConvert
{
public:
    /// \param useSeparator whether a `'` follows each piece of ConvertChineseToLetter's text
    /// \param upperFirst, upperRest whether the first letter of a syllable and the others stay
    ///     upper-case; otherwise 0x20 is added to each byte, so that the "?" of an unknown
    ///     character becomes "_"
    /// \param firstLetterOnly whether a syllable is cut to its first letter
    explicit GMLetterConvert(bool useSeparator = false, bool upperFirst = false,
                             bool upperRest = false, bool firstLetterOnly = false);

    /// The upper-case syllable of a character of either level of GB2312.
    ///
    /// The letter U with a diaeresis is "V" in level 1. In level 2 it is itself a character of
    /// GB2312: 0xA8 0xB9 behind "L", 0xA8 0xB5 behind "N".
    /// \param code row * 100 + position
    /// \return "?" for any other character or number
    GMStringA FindLetter(int code);

    /// Whether \p text has two bytes in a row that are both 0xA1 or more, of which the first may be
    /// the second one of a character.
    bool ContainsChinese(GMStringA text) const;

    /// The reading of \p text. ASCII stays as it is; bytes from 0x80 on that don't begin a character
    /// are dropped.
    GMStringA ConvertChineseToLetter(GMStringA text);

    /// Appends the pieces of \p text with their readings to \p pieces. A piece is a character or a
    /// byte that isn't part of one; such a byte is its own reading.
    /// \return whether there was a character
    bool ConvertChineseToLetter(GMStringA text,
                                std::vector<std::pair<GMStringA, GMStringA>> & pieces);

    /// The reading of \p text in lower case, whatever the settings. Knows level 1 of GB2312 alone:
    /// what comes in front of it is dropped, what comes behind it reads "zuo", and a lone byte from
    /// 0x80 on at the end is dropped.
    GMStringA ConvertChineseToLetterEx(GMStringA const & text);

private:
    bool m_useSeparator;
    bool m_upperFirst;
    bool m_upperRest;
    bool m_firstLetterOnly;
};

} // namespace Velmora
