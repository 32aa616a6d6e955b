#include "VelmoraCommon/text/GMStringToken.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/internal/WhiteSpace.h"

namespace Velmora
{

namespace
{

using Position = GMString::size_type;

constexpr Position none = GMString::npos;

/// The units of a text, asked for each unit of a long one.
class UnitSet
{
public:
    explicit UnitSet(std::wstring_view units) : m_units(units)
    {
        for (wchar_t const unit : units)
        {
            if (unit < smc_asciiUnits)
                m_ascii[unit] = true;
            else
                m_hasOthers = true;
        }
    }

    bool Contains(wchar_t unit) const
    {
        if (unit < smc_asciiUnits)
            return m_ascii[unit];
        return m_hasOthers && m_units.find(unit) != std::wstring_view::npos;
    }

private:
    static constexpr unsigned int smc_asciiUnits = 128;

    bool m_ascii[smc_asciiUnits] = {};
    bool m_hasOthers = false;
    std::wstring_view m_units;
};

/// Calls \p visit for each token of \p text, the runs of units outside \p delimiters.
template <class Visit>
void VisitTokens(std::wstring_view text, std::wstring_view delimiters, Visit visit)
{
    UnitSet const ends(delimiters);
    Position begin = 0;
    for (Position i = 0; i < text.size(); ++i)
    {
        if (!ends.Contains(text[i]))
            continue;
        if (i > begin)
            visit(text.substr(begin, i - begin));
        begin = i + 1;
    }
    if (begin < text.size())
        visit(text.substr(begin));
}

/// Adds the results of a call only when all are there: \p out may hold the text that it reads.
void Append(std::vector<GMString> & out, std::vector<GMString> && results)
{
    if (out.empty())
        out = std::move(results);
    else
        out.insert(out.end(), std::move_iterator(results.begin()),
                   std::move_iterator(results.end()));
}

GMString Trimmed(GMString text, wchar_t const * units)
{
    GMStringUtils::Trim(text, units);
    return text;
}

/// Puts the numbers among the tokens over the elements of \p out.
template <class Number>
bool TokensToNumbers(GMString const & text, GMString const & delimiters, std::vector<Number> & out)
{
    std::vector<GMString> tokens;
    GMStringToken::StringToken(text, delimiters, tokens);
    if (out.size() < tokens.size())
        out.resize(tokens.size());

    for (std::size_t i = 0; i < tokens.size(); ++i)
    {
        GMString & token = tokens[i];
        GMStringUtils::Trim(token, whiteSpace);
        wchar_t const * end = nullptr;
        out[i] = static_cast<Number>(GMStringUtils::ConvertStringToUInt64(token.c_str(), &end));
        if (end != token.c_str() + token.size())
            return false;
    }
    return true;
}

/// End of the shortest text before a blank, or of the whole line, that ends in ".exe"; else none.
Position FindExecutableEnd(GMString const & line)
{
    GMString const extension = L".exe";
    for (Position end = 0; end <= line.size(); ++end)
    {
        end = std::min(line.find(L' ', end), line.size());
        if (end >= extension.size() &&
            GMStringUtils::EndWithNoCase(line.substr(end - extension.size(), extension.size()),
                                         extension))
        {
            return end;
        }
    }
    return none;
}

} // namespace

void GMStringToken::StringToken(GMString const & text, GMString const & delimiters,
                                std::vector<GMString> & out)
{
    std::size_t count = 0;
    VisitTokens(text, delimiters, [&count](std::wstring_view) { ++count; });
    std::vector<GMString> tokens;
    tokens.reserve(count);
    VisitTokens(text, delimiters, [&](std::wstring_view token) { tokens.emplace_back(token); });
    Append(out, std::move(tokens));
}

void GMStringToken::StringToArray(GMString const & text, wchar_t separator,
                                  std::vector<GMString> & out)
{
    std::vector<GMString> fields;
    for (Position begin = 0; begin < text.size();)
    {
        Position const end = std::min(text.find(separator, begin), text.size());
        fields.emplace_back(text, begin, end - begin);
        begin = end + 1;
    }
    Append(out, std::move(fields));
}

void GMStringToken::StringTokenToMap(GMString const & text, GMString const & delimiters,
                                     std::map<GMString, GMString> & out, GMString const & separator)
{
    VisitTokens(text, delimiters,
                [&](std::wstring_view token)
                {
                    Position const mark = token.find(separator);
                    GMString & value = out[GMString(token.substr(0, mark))];
                    value = mark == none ? std::wstring_view() : token.substr(mark + 1);
                });
}

bool GMStringToken::StringTokenToUInt64(GMString const & text, GMString const & delimiters,
                                        std::vector<unsigned __int64> & out)
{
    return TokensToNumbers(text, delimiters, out);
}

bool GMStringToken::StringTokenToInt(GMString const & text, GMString const & delimiters,
                                     std::vector<unsigned int> & out)
{
    return TokensToNumbers(text, delimiters, out);
}

void GMStringToken::SplitLine(GMString const & line, std::vector<GMString> & out)
{
    std::vector<GMString> tokens; // the line may be one of the results of an earlier call
    Position begin = line.find_first_not_of(L' ');
    while (begin != none)
    {
        Position end = begin;
        if (line[begin] == L'"')
        {
            do
                end = line.find(L'"', end + 1);
            while (end != none && line[end - 1] == L'\\');
            end = std::min(end, line.size() - 1) + 1; // the quote belongs to the token
        }
        else
        {
            end = std::min(line.find(L' ', begin), line.size());
        }
        tokens.emplace_back(line, begin, end - begin);
        begin = line.find_first_not_of(L' ', end);
    }
    out = std::move(tokens);
}

void GMStringToken::SplitCommand(GMString const & line, GMString & program, GMString & arguments)
{
    if (line.empty())
        return;

    GMString const whole = line; // either result may be the line's own object
    if (whole.front() == L'"')
    {
        Position const quote = whole.find(L'"', 1);
        if (quote == none)
        {
            program = whole;
            return;
        }
        program = Trimmed(whole.substr(1, quote - 1), whiteSpace);
        arguments = Trimmed(whole.substr(quote + 1), whiteSpace);
        return;
    }

    Position const programEnd = FindExecutableEnd(whole);
    if (programEnd != none)
    {
        program = whole.substr(0, programEnd);
        if (programEnd < whole.size())
            arguments = whole.substr(programEnd + 1);
        return;
    }

    Position const blank = whole.find(L' ', 1);
    if (blank == none)
    {
        program = whole;
        return;
    }
    program = Trimmed(whole.substr(0, blank), whiteSpace);
    arguments = Trimmed(whole.substr(blank + 1), whiteSpace);
}

GMString GMStringToken::ExtractExecutablePath(GMString const & line)
{
    GMString const trimmed = Trimmed(line, whiteSpace);
    if (trimmed.empty())
        return GMString();
    if (trimmed.front() == L'"')
        return trimmed.substr(1, trimmed.find(L'"', 1) - 1); // none closes it: all that is left

    Position const programEnd = FindExecutableEnd(trimmed);
    return trimmed.substr(0, programEnd != none ? programEnd : trimmed.find(L' '));
}

void GMStringToken::StringToFileNameArray(GMString const & text, std::vector<GMString> & out,
                                          wchar_t separator, bool trim)
{
    if (text.empty())
        return;

    std::vector<GMString> names;
    GMString name;
    bool isQuoted = false;
    for (wchar_t const unit : text)
    {
        if (unit == L'"')
        {
            isQuoted = !isQuoted;
        }
        else if (unit == separator && !isQuoted)
        {
            if (trim)
                GMStringUtils::Trim(name, whiteSpace);
            if (!name.empty())
                names.push_back(name);
            name.clear();
        }
        else
        {
            name += unit;
        }
    }
    if (trim)
        GMStringUtils::Trim(name, whiteSpace);
    names.push_back(std::move(name));
    Append(out, std::move(names));
}

GMString GMStringToken::FileNameArrayToString(std::vector<GMString> const & names)
{
    GMString list;
    for (GMString const & name : names)
    {
        if (name.empty())
            continue;
        if (!list.empty())
            list += L' ';
        list.append(1, L'"').append(name).append(1, L'"');
    }
    return list;
}

GMString GMStringToken::Implode(std::vector<GMString> const & parts, GMString const & glue,
                                bool glueAfterLast)
{
    GMString joined;
    for (std::size_t i = 0; i < parts.size(); ++i)
    {
        if (parts[i].empty())
            continue;
        joined += parts[i];
        if (glueAfterLast || i + 1 < parts.size())
            joined += glue;
    }
    return joined;
}

bool GMStringToken::ParseSimpleKeyValueLine(GMString line, wchar_t const * quotes,
                                            std::map<GMString, GMString> & out)
{
    std::wstring_view const quoteUnits = quotes == nullptr ? L"" : quotes;
    Position at = line.find_first_not_of(whiteSpace);
    while (at != none)
    {
        Position const equals = line.find(L'=', at);
        if (equals == none)
            break;
        GMString & value = out[line.substr(at, equals - at)];
        value.clear();

        at = line.find_first_not_of(whiteSpace, equals + 1);
        if (at == none)
            break;
        bool const isQuoted = quoteUnits.find(line[at]) != std::wstring_view::npos;
        Position const begin = isQuoted ? at + 1 : at;
        Position const end = isQuoted ? std::wstring_view(line).find_first_of(quoteUnits, begin)
                                      : line.find(L' ', begin);
        if (end == none)
        {
            value = line.substr(at);
            break;
        }
        value = line.substr(begin, end - begin);
        at = line.find_first_not_of(whiteSpace, end + 1);
    }
    return !out.empty();
}

bool GMStringToken::ParseSimpleJsonArray(GMString text, std::map<GMString, GMString> & out)
{
    GMStringUtils::Trim(text, L" \r\t\n{}");
    if (text.empty())
        return false;

    std::vector<GMString> fields;
    StringToArray(text, L',', fields);
    for (GMString & value : fields)
    {
        GMString key = GMStringUtils::GetLine(value, L":"); // leaves the value
        for (GMString * const each : {&key, &value})
        {
            GMStringUtils::Trim(*each, L" ");
            GMStringUtils::RemoveQuote(*each);
        }
        out[std::move(key)] = std::move(value);
    }
    return true;
}

bool GMStringToken::QuickFindJsonValue(GMString const & json, GMString const & key,
                                       GMString & value)
{
    std::map<GMString, GMString> values;
    if (!ParseSimpleJsonArray(json, values))
        return false;
    auto const found = values.find(key);
    if (found == values.end())
        return false;
    value = found->second;
    return true;
}

GMString GMStringToken::SubStrBefore(GMString const & text, GMString const & mark)
{
    Position const at = text.find(mark);
    return at == none ? GMString() : text.substr(0, at);
}

GMString GMStringToken::SubStrAfter(GMString const & text, GMString const & mark)
{
    Position const at = text.find(mark);
    return at == none ? GMString() : text.substr(at + mark.size());
}

GMString GMStringToken::FindStringBetween(GMString const & text, GMString const & open,
                                          GMString const & close, unsigned int start)
{
    Position const opened = text.find(open, start);
    if (opened == none)
        return GMString();
    Position const begin = opened + open.size();
    Position const end = text.find(close, begin);
    return end == none ? GMString() : text.substr(begin, end - begin);
}

GMString GMStringToken::ReplaceBetween(GMString const & text, GMString const & open,
                                       GMString const & close)
{
    GMString rest;
    Position at = 0;
    while (at < text.size())
    {
        Position const opened = text.find(open, at);
        Position const closed = opened == none ? none : text.find(close, opened + 1);
        if (closed == none)
            return rest.append(text, at);
        rest.append(text, at, opened - at);
        at = closed + 1;
    }
    return rest;
}

bool GMStringToken::IsWildcardString(GMString const & text)
{
    return text.find_first_of(L"?*") != none;
}

bool GMStringToken::WildcardMatch(GMString const & text, GMString const & pattern)
{
    return WildcardMatch(text, pattern, GMString());
}

bool GMStringToken::WildcardMatch(GMString const & text, GMString const & pattern,
                                  GMString const & previous)
{
    bool afterStar = previous == L"*";
    Position at = 0;
    for (wchar_t const head : pattern)
    {
        if (head == L'*')
        {
            afterStar = true;
            continue;
        }
        if (head == L'?')
        {
            if (at == text.size() || text[at] == L'.')
                return false;
        }
        else
        {
            Position const found = text.find(head, at);
            if (found == none || (found != at && !afterStar))
                return false;
            at = found;
        }
        ++at;
        afterStar = false;
    }
    return afterStar || at == text.size();
}

} // namespace Velmora
