#include "VelmoraCommon/text/GMStringUtils.h"

#include <algorithm>
#include <cstddef>
#include <cwchar>
#include <utility>
#include <vector>

#include "VelmoraCommon/text/internal/CaseFolding.h"

namespace Velmora
{

namespace
{

bool SameLowered(wchar_t a, wchar_t b) { return a == b || ToLower()(a) == ToLower()(b); }

/// What lies between two stars of a pattern, and before the first and behind the last.
struct PatternPart
{
    wchar_t const * begin;
    wchar_t const * end; // at a star or at the pattern's NUL

    explicit PatternPart(wchar_t const * pattern) : begin(pattern), end(pattern)
    {
        while (*end != L'\0' && *end != L'*')
            ++end;
    }

    bool IsLast() const { return *end == L'\0'; }
};

enum class PartFit
{
    Fits,
    Differs,
    TextTooShort
};

template <class Fold>
PartFit CompareWithPart(wchar_t const * text, PatternPart const & part, Fold fold)
{
    for (wchar_t const * unit = part.begin; unit != part.end; ++unit, ++text)
    {
        if (*text == L'\0')
            return PartFit::TextTooShort;
        if (*unit != L'?' && *unit != *text && fold(*unit) != fold(*text))
            return PartFit::Differs;
    }
    return PartFit::Fits;
}

constexpr std::ptrdiff_t longPart = 64;

/// The search of Knuth, Morris and Pratt, which looks at each unit of the text once. A long part on
/// a text of few letters would else be compared nearly whole at every place.
template <class Fold>
wchar_t const * FindLongPart(wchar_t const * text, PatternPart const & part, Fold fold)
{
    auto const length = static_cast<std::size_t>(part.end - part.begin);
    // For each beginning of the part, the length of what it both begins and ends with.
    std::vector<std::size_t> borders(length);
    auto const advance = [&](std::size_t matched, wchar_t unit)
    {
        while (matched != 0 && fold(part.begin[matched]) != fold(unit))
            matched = borders[matched - 1];
        return fold(part.begin[matched]) == fold(unit) ? matched + 1 : matched;
    };
    for (std::size_t i = 1; i < length; ++i)
        borders[i] = advance(borders[i - 1], part.begin[i]);

    for (std::size_t matched = 0; *text != L'\0'; ++text)
    {
        matched = advance(matched, *text);
        if (matched == length)
            return text + 1 - length;
    }
    return nullptr;
}

/// The first place in \p text where \p part fits; null if there is none.
template <class Fold>
wchar_t const * FindPart(wchar_t const * text, PatternPart const & part, Fold fold)
{
    if (part.end - part.begin > longPart && std::find(part.begin, part.end, L'?') == part.end)
        return FindLongPart(text, part, fold);
    PartFit fit;
    while ((fit = CompareWithPart(text, part, fold)) == PartFit::Differs)
        ++text;
    return fit == PartFit::Fits ? text : nullptr;
}

/// Fits one part after the other, each at the first place possible: what a star takes more than it
/// must is lost to the parts behind it.
template <class Fold>
bool FitsPattern(wchar_t const * text, wchar_t const * pattern, Fold fold)
{
    PatternPart part(pattern);
    if (CompareWithPart(text, part, fold) != PartFit::Fits)
        return false;
    for (;;)
    {
        text += part.end - part.begin;
        if (part.IsLast())
            return *text == L'\0';

        part = PatternPart(part.end + 1);
        if (part.IsLast())
            break;
        text = FindPart(text, part, fold);
        if (text == nullptr)
            return false;
    }

    // Behind the last star there is one place only.
    auto const rest = static_cast<std::ptrdiff_t>(std::wcslen(text));
    auto const length = part.end - part.begin;
    return length <= rest && CompareWithPart(text + (rest - length), part, fold) == PartFit::Fits;
}

} // namespace

GMStringUtils::GMStringUtils() {}

GMStringUtils::~GMStringUtils() {}

bool GMStringUtils::IsDigits(GMString const & s)
{
    return !s.empty() &&
           std::all_of(s.begin(), s.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
}

bool GMStringUtils::IsMobilePhone(GMString const & s)
{
    return s.length() == 11 && s.front() == L'1' && IsDigits(s);
}

int GMStringUtils::Compare(GMString const & a, GMString const & b)
{
    int const order = a.compare(b);
    return (order > 0) - (order < 0);
}

int GMStringUtils::CompareNoCase(wchar_t const * a, wchar_t const * b, unsigned int n)
{
    for (; n != 0; --n, ++a, ++b)
    {
        if (*a != *b)
        {
            int const difference = ToUpper()(*a) - ToUpper()(*b);
            if (difference != 0)
                return difference;
        }
        else if (*a == L'\0')
        {
            return 0;
        }
    }
    return 0;
}

int GMStringUtils::CompareNoCase(GMString const & a, GMString const & b)
{
    return CompareNoCase(a.c_str(), b.c_str(),
                         static_cast<unsigned int>(std::max(a.length(), b.length())));
}

bool GMStringUtils::BeginWith(GMString const & s, GMString const & x)
{
    return s.compare(0, x.length(), x) == 0;
}

bool GMStringUtils::EndWith(GMString const & s, GMString const & x)
{
    return s.length() >= x.length() && s.compare(s.length() - x.length(), x.length(), x) == 0;
}

bool GMStringUtils::BeginWithNoCase(GMString const & s, GMString const & x)
{
    return s.length() >= x.length() && std::equal(x.begin(), x.end(), s.begin(), SameLowered);
}

bool GMStringUtils::EndWithNoCase(GMString const & s, GMString const & x)
{
    return s.length() >= x.length() && std::equal(x.rbegin(), x.rend(), s.rbegin(), SameLowered);
}

bool GMStringUtils::WildcardCompare(wchar_t const * pattern, wchar_t const * text, bool noCase)
{
    if (pattern == nullptr || text == nullptr)
        return false;
    return noCase ? FitsPattern(text, pattern, ToLower()) : FitsPattern(text, pattern, KeepCase());
}

unsigned int GMStringUtils::FindNoCase(GMString const & s, GMString const & x, unsigned int start)
{
    GMString const lowered = Lowered(x);
    for (GMString::size_type at = start; at + x.length() <= s.length(); ++at)
    {
        if (FoldsTo(s.data() + at, lowered))
            return static_cast<unsigned int>(at);
    }
    return static_cast<unsigned int>(GMString::npos);
}

GMString GMStringUtils::Left(GMString const & s, int n)
{
    return n < 0 ? GMString() : s.substr(0, static_cast<GMString::size_type>(n));
}

GMString GMStringUtils::Right(GMString const & s, int n)
{
    if (n < 0)
        return GMString();
    return s.substr(s.length() - std::min(s.length(), static_cast<GMString::size_type>(n)));
}

GMString GMStringUtils::Mid(GMString const & s, int start, unsigned int count)
{
    if (start < 0 || static_cast<GMString::size_type>(start) >= s.length())
        return GMString();
    return s.substr(static_cast<GMString::size_type>(start), count);
}

GMString GMStringUtils::GetLine(GMString & s, GMString const & delimiter)
{
    if (s.empty() || delimiter.empty())
        return GMString();
    auto const end = s.find(delimiter);
    if (end == GMString::npos)
        return std::exchange(s, GMString());

    GMString line(s, 0, end);
    s.erase(0, end + delimiter.length());
    return line;
}

GMString GMStringUtils::GetSubStr(GMString & s, GMString const & before, GMString const & after)
{
    auto const begin = s.find(before);
    if (begin == GMString::npos)
    {
        s.clear();
        return GMString();
    }
    auto const first = begin + before.length();
    auto const finish = after.empty() ? GMString::npos : s.find(after, begin);
    if (finish == GMString::npos)
    {
        GMString text(s, first);
        s.clear();
        return text;
    }
    GMString text(s, first, finish >= first ? finish - first : GMString::npos);
    s.erase(0, finish + after.length());
    return text;
}

unsigned int GMStringUtils::StringLen(wchar_t const * s)
{
    return s == nullptr ? 0 : static_cast<unsigned int>(std::wcslen(s));
}

wchar_t * GMStringUtils::StringCopy(wchar_t * dst, wchar_t const * src)
{
    if (dst == nullptr || src == nullptr)
        return nullptr;
    std::copy_n(src, std::wcslen(src) + 1, dst);
    return dst;
}

wchar_t const * GMStringUtils::StringChr(wchar_t const * s, wchar_t c)
{
    return s == nullptr ? nullptr : std::wcschr(s, c);
}

unsigned int GMStringUtils::StringChrNum(wchar_t const * s, wchar_t c)
{
    if (s == nullptr)
        return 0;
    return static_cast<unsigned int>(std::count(s, s + std::wcslen(s), c));
}

} // namespace Velmora
