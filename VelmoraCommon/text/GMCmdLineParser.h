#pragma once

#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Keys and values of one command line, for asking and for building a line again.
///
/// `-key`, `/key=value` and `-key:"some value"` are entries; words outside of them are keys without
/// value. The grammar goes by units, not by words: a delimiter counts wherever it stands outside of
/// a value, so that `foo-bar` is the keys "foo" and "bar". There are no syntax errors: every line
/// has some meaning. A value must be joined to its key by a separator; a blank doesn't do that.
///
/// Keys are in the order of their unit values, and of entries with the same key the first counts.
/// Unless the object is case-sensitive keys are folded to lower case, but words without delimiter
/// keep theirs, so that FindKey can't reach those with capitals. A copy is independent. Several
/// threads may ask at once, but none may change the object meanwhile.
class VELMORA_API GMCmdLineParser
{
public:
    /// A key's text, which alone counts in comparisons, and how it was introduced.
    class VELMORA_API GMKey
    {
    public:
        GMString m_text;
        int m_delimiter = 0; ///< 0: by nothing, 1: by "-", 2: by "/"

        /// By their texts.
        bool operator<(GMKey const & other) const { return m_text < other.m_text; }
    };

    /// A value's text, without quotes, and how it was joined to its key.
    class VELMORA_API GMValue
    {
    public:
        GMString m_text;
        int m_separator = 0; ///< 0: by nothing or a unit of the caller's own, 1: by ":", 2: by "="
    };

    // The sets of units that Parse takes by default. They can be used before main().
    static wchar_t const * const m_keyDelimeters;  ///< start a key
    static wchar_t const * const m_valueSeparates; ///< end a key; all but a blank start a value
    static wchar_t const * const m_quotes;         ///< enclose a value

    /// Parses \p cmdLine by the default sets, unless it is null.
    explicit GMCmdLineParser(wchar_t const * cmdLine = nullptr, bool caseSensitive = false);

    /// Replaces the entries by those of \p cmdLine, which includes no program name.
    ///
    /// Each set is a text of the units that belong to it; null stands for the default one, and an
    /// empty one has no units. Delimiters other than "-" and "/" stay at the head of their key.
    /// Without delimiters a key may start anywhere; Build's lines are read so. A quote that isn't
    /// closed goes to the end of the line. Time grows in proportion to the line.
    /// \return false for a null \p cmdLine: the object stays as it was then
    bool Parse(wchar_t const * cmdLine, wchar_t const * keyDelimiters,
               wchar_t const * valueSeparators, wchar_t const * quotes);

    /// Removes all entries; whether case counts stays.
    void Clear();

    /// Says whether case counts from now on; the present entries aren't folded again.
    void SetCaseSensitive(bool caseSensitive);

    /// The entry of \p key, which may be spelled as on the command line, as "-key" or "key=": one
    /// default delimiter in front and one default separator behind are taken off.
    /// \return an iterator that the next change of the object may make useless. When there is no
    ///     such entry it is the end, which FindKey(GMString()) always gives.
    std::map<GMKey, GMValue>::const_iterator FindKey(GMString const & key) const;

    // Questions; each key is spelled as for FindKey.

    bool HasKey(GMString const & key) const;

    /// Whether \p key has a value that isn't empty.
    bool HasValue(GMString const & key) const;

    /// Empty if there is no such key.
    GMString GetValue(GMString const & key) const;

    /// The decimal number at the start of the value, cut to its low 32 bits; 0 if there is none.
    unsigned int GetIntValue(GMString const & key) const;

    unsigned int GetKeyNum() const;

    /// All keys with their values, in order.
    std::vector<std::pair<GMString, GMString>> GetKeyValues() const;

    /// Adds an entry or changes its value. \p key is taken as it stands: nothing is taken off or
    /// folded, so that FindKey can't reach a key with capitals unless the object is case-sensitive.
    void SetKeyValue(GMString const & key, GMString const & value);

    /// A line of all entries in order, as `key="some value" other=1 word`, without delimiters.
    ///
    /// Parse reads it back with an empty set of delimiters, if keys are not empty, have no units of
    /// the default separators and no capitals where case doesn't count, and if no value begins with
    /// a quote or has both quotes and units of the separators: quotes aren't escaped.
    GMString Build() const;

private:
    struct Sets;

    GMString::size_type ParseEntry(GMString::size_type cursor, Sets const & sets);
    GMString::size_type FindKeyStart(GMString::size_type cursor, Sets const & sets,
                                     int & delimiter);
    GMString Folded(std::wstring_view key) const;

    GMString m_cmdLine;
    bool m_caseSensitive;
    std::map<GMKey, GMValue> m_keys;
};

} // namespace Velmora
