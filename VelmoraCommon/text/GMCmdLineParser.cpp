#include "VelmoraCommon/text/GMCmdLineParser.h"

#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/internal/CaseFolding.h"

namespace Velmora
{

namespace
{

using Position = GMString::size_type;

constexpr Position none = GMString::npos;

// It always ends a value, whichever sets are in use.
constexpr wchar_t blank = L' ';

/// The position behind that of a unit; none behind one that wasn't found.
Position Behind(Position position) { return position == none ? none : position + 1; }

bool Contains(std::wstring_view set, wchar_t unit) { return set.find(unit) != none; }

/// The number by which callers know \p unit: its place in \p known, counted from 1; else 0.
int KindOf(wchar_t unit, std::wstring_view known) { return static_cast<int>(known.find(unit) + 1); }

} // namespace

struct GMCmdLineParser::Sets
{
    std::wstring_view keyDelimiters;
    std::wstring_view valueSeparators;
    std::wstring_view quotes;
};

wchar_t const * const GMCmdLineParser::m_keyDelimeters = L"-/";
wchar_t const * const GMCmdLineParser::m_valueSeparates = L" :=";
wchar_t const * const GMCmdLineParser::m_quotes = L"\"";

GMCmdLineParser::GMCmdLineParser(wchar_t const * cmdLine, bool caseSensitive)
    : m_caseSensitive(caseSensitive)
{
    Parse(cmdLine, nullptr, nullptr, nullptr);
}

bool GMCmdLineParser::Parse(wchar_t const * cmdLine, wchar_t const * keyDelimiters,
                            wchar_t const * valueSeparators, wchar_t const * quotes)
{
    if (cmdLine == nullptr)
        return false;
    m_cmdLine = cmdLine;
    m_keys.clear();
    Sets const sets = {keyDelimiters != nullptr ? keyDelimiters : m_keyDelimeters,
                       valueSeparators != nullptr ? valueSeparators : m_valueSeparates,
                       quotes != nullptr ? quotes : m_quotes};
    Position cursor = 0;
    while (cursor < m_cmdLine.size())
        cursor = ParseEntry(cursor, sets);
    return true;
}

/// Stores the entry at \p cursor and the word in front of it.
/// \return the position behind them; none when the rest of the line was used up
Position GMCmdLineParser::ParseEntry(Position cursor, Sets const & sets)
{
    std::wstring_view const line = m_cmdLine;
    int delimiter = 0;
    Position const keyBegin = FindKeyStart(cursor, sets, delimiter);
    if (keyBegin >= line.size())
        return none;

    Position const keyEnd = line.find_first_of(sets.valueSeparators, keyBegin);
    GMKey key{Folded(line.substr(keyBegin, keyEnd - keyBegin)), delimiter};
    GMValue value;
    Position next = Behind(keyEnd);
    if (next < line.size() && line[keyEnd] != blank)
    {
        bool const isQuoted = Contains(sets.quotes, line[next]);
        Position const begin = isQuoted ? next + 1 : next;
        Position const end =
            isQuoted ? line.find_first_of(sets.quotes, begin) : line.find(blank, begin);
        value.m_text = line.substr(begin, end - begin);
        value.m_separator = KindOf(line[keyEnd], L":=");
        next = Behind(end);
    }
    if (!key.m_text.empty())
        m_keys.try_emplace(std::move(key), std::move(value));
    return next;
}

/// Finds the next key and stores the word in front of it.
/// \return the line's size or none when no key follows
Position GMCmdLineParser::FindKeyStart(Position cursor, Sets const & sets, int & delimiter)
{
    if (sets.keyDelimiters.empty())
        return cursor;

    Position begin = m_cmdLine.find_first_of(sets.keyDelimiters, cursor);
    GMKey word{m_cmdLine.substr(cursor, begin - cursor), 0};
    GMStringUtils::Trim(word.m_text, L" ");
    if (!word.m_text.empty())
        m_keys.try_emplace(std::move(word));
    if (begin == none)
        return none;

    if (m_cmdLine[begin] == blank)
        ++begin;
    delimiter = KindOf(m_cmdLine[begin], L"-/"); // the NUL behind the line is neither
    return delimiter != 0 ? begin + 1 : begin;
}

GMString GMCmdLineParser::Folded(std::wstring_view key) const
{
    return m_caseSensitive ? GMString(key) : Lowered(GMString(key));
}

void GMCmdLineParser::Clear() { m_keys.clear(); }

void GMCmdLineParser::SetCaseSensitive(bool caseSensitive) { m_caseSensitive = caseSensitive; }

std::map<GMCmdLineParser::GMKey, GMCmdLineParser::GMValue>::const_iterator
GMCmdLineParser::FindKey(GMString const & key) const
{
    GMString text = Folded(key);
    if (!text.empty() && Contains(m_keyDelimeters, text.front()))
        text.erase(0, 1);
    if (!text.empty() && Contains(m_valueSeparates, text.back()))
        text.pop_back();
    if (text.empty())
        return m_keys.end();
    return m_keys.find(GMKey{std::move(text), 0});
}

bool GMCmdLineParser::HasKey(GMString const & key) const { return FindKey(key) != m_keys.end(); }

bool GMCmdLineParser::HasValue(GMString const & key) const { return !GetValue(key).empty(); }

GMString GMCmdLineParser::GetValue(GMString const & key) const
{
    auto const entry = FindKey(key);
    return entry != m_keys.end() ? entry->second.m_text : GMString();
}

unsigned int GMCmdLineParser::GetIntValue(GMString const & key) const
{
    return static_cast<unsigned int>(
        GMStringUtils::ConvertStringToUInt64(GetValue(key).c_str(), nullptr));
}

unsigned int GMCmdLineParser::GetKeyNum() const { return static_cast<unsigned int>(m_keys.size()); }

std::vector<std::pair<GMString, GMString>> GMCmdLineParser::GetKeyValues() const
{
    std::vector<std::pair<GMString, GMString>> pairs;
    pairs.reserve(m_keys.size());
    for (auto const & [key, value] : m_keys)
        pairs.emplace_back(key.m_text, value.m_text);
    return pairs;
}

void GMCmdLineParser::SetKeyValue(GMString const & key, GMString const & value)
{
    m_keys[GMKey{key, 0}] = GMValue{value, 0};
}

GMString GMCmdLineParser::Build() const
{
    GMString line;
    for (auto const & [key, value] : m_keys)
    {
        if (!line.empty())
            line += blank;
        line += key.m_text;
        if (value.m_text.empty())
            continue;
        bool const needsQuotes = value.m_text.find_first_of(m_valueSeparates) != none;
        wchar_t const * const quote = needsQuotes ? m_quotes : L"";
        line += L'=';
        line += quote;
        line += value.m_text;
        line += quote;
    }
    return line;
}

} // namespace Velmora
