#include <algorithm>
#include <cstddef>
#include <utility>

#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/internal/CaseFolding.h"

namespace Velmora
{

namespace
{

/// Calls \p onUnit for each unit of \p s that stays and \p onMatch for each place where \p matches
/// finds the \p length units that are looked for.
template <class Matches, class OnUnit, class OnMatch>
void WalkMatches(GMString const & s, std::size_t length, Matches matches, OnUnit onUnit,
                 OnMatch onMatch)
{
    wchar_t const * const end = s.data() + s.length();
    for (wchar_t const * unit = s.data(); unit != end;)
    {
        if (static_cast<std::size_t>(end - unit) >= length && matches(unit))
        {
            onMatch();
            unit += length;
        }
        else
        {
            onUnit(*unit++);
        }
    }
}

/// Replaces each match of \p length units by \p to.
template <class Matches>
void ReplaceMatches(GMString & s, std::size_t length, GMString const & to, Matches matches)
{
    // A text that can't grow is edited where it lies. Else the matches are counted first, so that
    // the result is allocated once, and only if there is one.
    GMString grown;
    if (to.length() > length)
    {
        std::size_t count = 0;
        if (length == 1) // a plain sum, which compilers make several units at a time
        {
            for (wchar_t const & unit : s)
                count += matches(&unit);
        }
        else
        {
            WalkMatches(
                s, length, matches, [](wchar_t) {}, [&] { ++count; });
        }
        if (count == 0)
            return;
        grown.resize(s.length() + count * (to.length() - length));
    }

    GMString & result = grown.empty() ? s : grown;
    wchar_t * out = result.data();
    WalkMatches(
        s, length, matches, [&](wchar_t unit) { *out++ = unit; },
        [&]
        {
            for (wchar_t const unit : to) // a loop, since most are short
                *out++ = unit;
        });
    result.resize(static_cast<std::size_t>(out - result.data()));
    if (!grown.empty())
        s = std::move(grown);
}

} // namespace

void GMStringUtils::TrimLeft(GMString & s, wchar_t const * set)
{
    if (set != nullptr)
        s.erase(0, s.find_first_not_of(set));
}

void GMStringUtils::TrimRight(GMString & s, wchar_t const * set)
{
    if (set != nullptr)
        s.resize(s.find_last_not_of(set) + 1); // 0 when there is no other unit
}

void GMStringUtils::Trim(GMString & s, wchar_t const * set)
{
    TrimRight(s, set); // first, so that less is moved to the front
    TrimLeft(s, set);
}

void GMStringUtils::TrimDupChar(GMString & s, wchar_t c)
{
    s.erase(std::unique(s.begin(), s.end(), [c](wchar_t a, wchar_t b) { return a == c && b == c; }),
            s.end());
}

void GMStringUtils::RemoveChar(GMString & s, wchar_t c)
{
    s.erase(std::remove(s.begin(), s.end(), c), s.end());
}

void GMStringUtils::RemoveQuote(GMString & s)
{
    if (s.empty() || s.front() != L'"' || s.back() != L'"')
        return;
    s.pop_back();
    s.erase(0, 1);
}

void GMStringUtils::Replace(GMString & s, wchar_t from, wchar_t to)
{
    std::replace(s.begin(), s.end(), from, to);
}

void GMStringUtils::Replace(GMString & s, wchar_t const * from, wchar_t const * to)
{
    if (from == nullptr || to == nullptr || *from == L'\0')
        return;
    GMString const sought(from);
    ReplaceMatches(s, sought.length(), to,
                   [&](wchar_t const * units) {
                       return *units == sought.front() &&
                              std::equal(sought.begin() + 1, sought.end(), units + 1);
                   });
}

void GMStringUtils::ReplaceNoCase(GMString & s, wchar_t const * from, wchar_t const * to)
{
    if (from == nullptr || to == nullptr || *from == L'\0')
        return;
    GMString const sought = Lowered(from);
    ReplaceMatches(s, sought.length(), to,
                   [&](wchar_t const * units) { return FoldsTo(units, sought); });
}

void GMStringUtils::MakeLower(GMString & s)
{
    std::transform(s.begin(), s.end(), s.begin(), ToLower());
}

void GMStringUtils::MakeUpper(GMString & s)
{
    std::transform(s.begin(), s.end(), s.begin(), ToUpper());
}

void GMStringUtils::SimapleXmlEscape(GMString & s)
{
    Replace(s, L"&", L"&amp;"); // first, for the other one inserts "&"
    Replace(s, L"\"", L"&quot;");
}

void GMStringUtils::SimapleXmlUnEscape(GMString & s)
{
    Replace(s, L"&quot;", L"\"");
    Replace(s, L"&amp;", L"&");
}

wchar_t GMStringUtils::CharToLower(wchar_t c) { return ToLower()(c); }

wchar_t GMStringUtils::CharToUpper(wchar_t c) { return ToUpper()(c); }

} // namespace Velmora
