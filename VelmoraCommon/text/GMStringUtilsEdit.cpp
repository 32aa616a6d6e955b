#include <algorithm>
#include <cstdlib>
#include <cwchar>

#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/text/internal/CaseFolding.h"
#include "VelmoraCommon/text/internal/CaselessText.h"

namespace Velmora
{

namespace
{

/// Replaces each place of \p s that \p find names by \p to. \p find answers the next place at or
/// behind a position, where \p length units go out.
template <class Find>
void ReplaceEach(GMString & s, GMString::size_type length, GMString const & to, Find find)
{
    // The places are counted first, so that the result is allocated once and none is for nothing.
    GMString::size_type count = 0;
    for (auto at = find(0); at != GMString::npos; at = find(at + length))
        ++count;
    if (count == 0)
        return;

    GMString result(s.length() - count * length + count * to.length(), L'\0');
    wchar_t * out = result.data();
    wchar_t const * const units = s.data();
    GMString::size_type from = 0;
    for (auto at = find(0); at != GMString::npos; at = find(from))
    {
        out = std::copy(units + from, units + at, out);
        out = std::copy(to.begin(), to.end(), out);
        from = at + length;
    }
    std::copy(units + from, units + s.length(), out);
    s = std::move(result);
}

/// As `s.find(x, from)`, but inlined: the places may be close together. \p x isn't empty.
GMString::size_type FindText(GMString const & s, GMString const & x, GMString::size_type from)
{
    if (s.length() < x.length())
        return GMString::npos;
    wchar_t const * const end = s.data() + (s.length() - x.length() + 1);
    for (wchar_t const * at = s.data() + from; at < end; ++at)
    {
        if (*at == x.front() && std::equal(x.begin() + 1, x.end(), at + 1))
            return static_cast<GMString::size_type>(at - s.data());
    }
    return GMString::npos;
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
    ReplaceEach(s, sought.length(), to,
                [&](GMString::size_type at) { return FindText(s, sought, at); });
}

void GMStringUtils::ReplaceNoCase(GMString & s, wchar_t const * from, wchar_t const * to)
{
    if (from == nullptr || to == nullptr || *from == L'\0')
        return;
    CaselessText const sought(from);
    ReplaceEach(s, std::wcslen(from), to,
                [&](GMString::size_type at) { return sought.FindIn(s, at); });
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
