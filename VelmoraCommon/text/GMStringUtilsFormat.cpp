#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

constexpr int fits = 0;
constexpr int tooLong = 1;
constexpr int unusableFormat = -1;

int FormatFailure() { return errno == EINVAL ? unusableFormat : tooLong; }

/// A null format must not reach the C library, which may end the program for it.
int RefuseFormat()
{
    errno = EINVAL;
    return unusableFormat;
}

int Attempt(wchar_t * dst, int size, wchar_t const * format, va_list args)
{
    return GMStringUtils::FormatToBuffer(dst, size, format, args);
}

int Attempt(char * dst, int size, char const * format, va_list args)
{
    return GMStringUtils::FormatToBufferA(dst, size, format, args);
}

/// The formatted text, however long; empty for an unusable format.
template <class Unit>
std::basic_string<Unit> FormatText(Unit const * format, va_list args)
{
    constexpr int firstSize = 1024;

    // A list of arguments serves one attempt only.
    auto const attempt = [&](Unit * dst, int size)
    {
        va_list copy;
        va_copy(copy, args);
        int const result = Attempt(dst, size, format, copy);
        va_end(copy);
        return result;
    };

    Unit first[firstSize];
    int result = attempt(first, firstSize);
    if (result == fits)
        return first;

    std::basic_string<Unit> text;
    for (int size = firstSize; result == tooLong && size <= INT_MAX / 2;)
    {
        size *= 2;
        text.resize(static_cast<std::size_t>(size));
        result = attempt(text.data(), size);
    }
    text.resize(result == fits ? std::char_traits<Unit>::length(text.data()) : 0);
    return text;
}

template <class Unit>
bool IsEmptyFormat(Unit const * format)
{
    return format == nullptr || *format == 0;
}

} // namespace

int GMStringUtils::FormatToBuffer(wchar_t * dst, int size, wchar_t const * format, va_list args)
{
    if (format == nullptr)
        return RefuseFormat();
    if (dst == nullptr || size <= 0)
        return tooLong;
    auto const room = static_cast<std::size_t>(size);
    errno = 0;
    return _vsnwprintf_s(dst, room, room - 1, format, args) >= 0 ? fits : FormatFailure();
}

int GMStringUtils::FormatToBufferA(char * dst, int size, char const * format, va_list args)
{
    if (format == nullptr)
        return RefuseFormat();
    if (dst == nullptr || size <= 0)
        return tooLong;
    errno = 0;
    int const length = std::vsnprintf(dst, static_cast<std::size_t>(size), format, args);
    if (length < 0)
        return FormatFailure();
    return length < size ? fits : tooLong;
}

void GMStringUtils::Format(GMString & out, wchar_t const * format, ...)
{
    if (IsEmptyFormat(format))
        return;
    va_list args;
    va_start(args, format);
    out = FormatText(format, args);
    va_end(args);
}

GMString GMStringUtils::FormatResult(wchar_t const * format, ...)
{
    if (IsEmptyFormat(format))
        return GMString();
    va_list args;
    va_start(args, format);
    GMString text = FormatText(format, args);
    va_end(args);
    return text;
}

GMStringA GMStringUtils::FormatResultA(char const * format, ...)
{
    if (IsEmptyFormat(format))
        return GMStringA();
    va_list args;
    va_start(args, format);
    GMStringA text = FormatText(format, args);
    va_end(args);
    return text;
}

GMString GMStringUtils::RandomString(unsigned int length, GMString const & alphabet)
{
    GMString text;
    if (alphabet.empty())
        return text;
    text.resize(length);
    for (wchar_t & unit : text)
        unit = alphabet[static_cast<GMString::size_type>(std::rand()) % alphabet.size()];
    return text;
}

} // namespace Velmora
