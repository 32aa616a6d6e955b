#include "VelmoraCommon/text/GMStringUtils.h"

#include <algorithm>
#include <cstddef>
#include <cwchar>
#include <functional>
#include <utility>
#include <vector>

#include "VelmoraCommon/text/internal/CaseFolding.h"

namespace Velmora
{

namespace
{

bool SameLowered(wchar_t a, wchar_t b) { return a == b || ToLower()(a) == ToLower()(b); }

/// One pass that goes back to the last star: what an earlier one takes more than it must is lost to
/// the rest of the pattern.
template <class Same>
bool FitsPattern(wchar_t const * text, wchar_t const * pattern, Same same)
{
    wchar_t const * behindStar = nullptr;
    wchar_t const * afterStar = nullptr; // the text that the star leaves
    for (;;)
    {
        if (*pattern == L'*')
        {
            behindStar = ++pattern;
            afterStar = text;
            if (*pattern == L'\0')
                return true;
        }
        else if (*text == L'\0')
        {
            return *pattern == L'\0';
        }
        else if (*pattern == L'?' || same(*pattern, *text))
        {
            ++pattern;
            ++text;
        }
        else if (behindStar == nullptr)
        {
            return false;
        }
        else
        {
            do
                text = ++afterStar;
            while (*text != L'\0' && *behindStar != L'?' && !same(*behindStar, *text));
            pattern = behindStar;
        }
    }
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
    return noCase ? FitsPattern(text, pattern, SameLowered)
                  : FitsPattern(text, pattern, std::equal_to<>());
}

unsigned int GMStringUtils::FindNoCase(GMString const & s, GMString const & x, unsigned int start)
{
    GMString const lowered = Lowered(x);
    if (start > s.length())
        return static_cast<unsigned int>(GMString::npos);
    for (GMString::size_type at = start; s.length() - at >= x.length(); ++at)
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
