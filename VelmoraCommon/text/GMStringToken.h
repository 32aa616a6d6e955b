#pragma once

#include <map>
#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Small parsers: lists, command lines, keys with values, flat JSON and wildcards.
///
/// Each has the narrow grammar that its comment gives, and takes any text: what doesn't fit gives a
/// shorter or emptier result. White space is blank, CR, TAB and LF. Results are added to what a
/// container holds, and in maps a later value replaces an earlier one; only SplitLine clears first.
/// Without state, and reentrant. All take time in proportion to the text.
class VELMORA_API GMStringToken
{
public:
    /// Splits at every unit of \p delimiters. Empty tokens are dropped.
    static void StringToken(GMString const & text, GMString const & delimiters,
                            std::vector<GMString> & out);

    /// Splits at every \p separator and keeps empty fields; one at the very end adds no field.
    static void StringToArray(GMString const & text, wchar_t separator,
                              std::vector<GMString> & out);

    /// Splits as StringToken does, then each token into key and value at the first \p separator.
    /// The value starts one unit behind the start of \p separator; without one it is empty.
    static void StringTokenToMap(GMString const & text, GMString const & delimiters,
                                 std::map<GMString, GMString> & out, GMString const & separator);

    /// Splits as StringToken does and puts the numbers over the elements of \p out from its start,
    /// which grows if it has fewer. Numbers are decimal, without sign, with white space around; they
    /// wrap.
    /// \return false at the first token that goes on behind its digits: its digits are stored, the
    ///     elements behind it stay, and new ones among them are 0
    static bool StringTokenToUInt64(GMString const & text, GMString const & delimiters,
                                    std::vector<unsigned __int64> & out);

    /// The same with the low 32 bits of each number.
    static bool StringTokenToInt(GMString const & text, GMString const & delimiters,
                                 std::vector<unsigned int> & out);

    /// Splits a command line at blanks. A token that begins with `"` goes to the next `"` without a
    /// backslash before it, or to the end, and keeps its quotes. TABs are ordinary units.
    static void SplitLine(GMString const & line, std::vector<GMString> & out);

    /// Splits a command line into program and rest. The program is what the quotes at the start
    /// hold, or the shortest text before a blank that ends in ".exe", or else the text before the
    /// first blank. If nothing follows it \p arguments stays as it was, unless quotes closed the
    /// program; an empty \p line changes nothing.
    static void SplitCommand(GMString const & line, GMString & program, GMString & arguments);

    /// The program of a command line, found as SplitCommand finds it once white space around the
    /// line is trimmed. A quote that isn't closed is dropped.
    static GMString ExtractExecutablePath(GMString const & line);

    /// Splits a list of file names at every \p separator outside of `"`. Quotes are dropped, and so
    /// are empty names, but for one behind a separator that ends the text.
    /// \param trim whether white space around names is removed, from quoted ones too
    static void StringToFileNameArray(GMString const & text, std::vector<GMString> & out,
                                      wchar_t separator, bool trim);

    /// The names in `"` with blanks between; empty ones are left out.
    static GMString FileNameArrayToString(std::vector<GMString> const & names);

    /// Joins \p parts, and drops empty ones together with their glue.
    /// \param glueAfterLast whether the last part gets glue behind it; an empty last part leaves the
    ///     glue of the one before
    static GMString Implode(std::vector<GMString> const & parts, GMString const & glue,
                            bool glueAfterLast);

    /// Reads pairs as in `key=value key="some value"`. A key is all from the last value, or from
    /// the first unit that isn't white space, to the "="; a value ends at a blank, a quoted one at
    /// the next quote of any kind. A value without end is the rest of the line with its quote.
    /// \param quotes the units that quote, a text; null for none
    /// \return whether \p out holds anything now
    static bool ParseSimpleKeyValueLine(GMString line, wchar_t const * quotes,
                                        std::map<GMString, GMString> & out);

    /// Reads one flat JSON object of texts and numbers. Every comma separates, also within quotes;
    /// there is no nesting and no escape. Around keys and values only blanks are trimmed, and then
    /// one pair of quotes.
    /// \return false when there is nothing but white space and braces
    static bool ParseSimpleJsonArray(GMString text, std::map<GMString, GMString> & out);

    /// The value of \p key in a text as ParseSimpleJsonArray reads it.
    /// \return false when it isn't there; \p value is left alone then
    static bool QuickFindJsonValue(GMString const & json, GMString const & key, GMString & value);

    /// The text before or behind the first \p mark; empty if there is none.
    static GMString SubStrBefore(GMString const & text, GMString const & mark);
    static GMString SubStrAfter(GMString const & text, GMString const & mark);

    /// The text between the first \p open at \p start or behind it and the next \p close; empty if
    /// either is missing.
    static GMString FindStringBetween(GMString const & text, GMString const & open,
                                      GMString const & close, unsigned int start);

    /// \p text without its spans from an \p open to the next \p close. Of a \p close of more than
    /// one unit only the first unit goes. An \p open that isn't closed stays.
    static GMString ReplaceBetween(GMString const & text, GMString const & open,
                                   GMString const & close);

    /// Whether \p text holds "?" or "*".
    static bool IsWildcardString(GMString const & text);

    /// Whether \p text as a whole fits \p pattern, made for names with extensions; case counts.
    ///
    /// "?" stands for one unit other than a dot. "*" stands for the units up to the first one that
    /// equals the next unit of the pattern, and never tries a later one; at the end of the pattern
    /// it stands for all that is left. A dot fits the first dot of the rest of the text.
    static bool WildcardMatch(GMString const & text, GMString const & pattern);

    /// The same for the rest of a pattern. \p previous is the unit of the pattern before it; only
    /// "*" makes a difference.
    static bool WildcardMatch(GMString const & text, GMString const & pattern,
                              GMString const & previous);
};

} // namespace Velmora
