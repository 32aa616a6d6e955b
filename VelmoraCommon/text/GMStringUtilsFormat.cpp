#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <utility>

#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

// What an attempt answers in place of the length of the text. The reason comes from `errno`, which
// has to be cleared before.
constexpr int tooLong = -1;
constexpr int unusableFormat = -2;
constexpr int otherFailure = -3; // no larger buffer helps

int Attempt(wchar_t * dst, int size, wchar_t const * format, va_list args)
{
    auto const room = static_cast<std::size_t>(size);
    int const length = _vsnwprintf_s(dst, room, room - 1, format, args);
    if (length >= 0)
        return length;
    return errno == EINVAL ? unusableFormat : tooLong; // other failures can't be told apart
}

int Attempt(char * dst, int size, char const * format, va_list args)
{
    int const length = std::vsnprintf(dst, static_cast<std::size_t>(size), format, args);
    if (length >= 0)
        return length < size ? length : tooLong;
    return errno == EINVAL ? unusableFormat : otherFailure;
}

/// One attempt for a caller who brings the buffer and wants to know how it went.
template <class Unit>
int AttemptFor(Unit * dst, int size, Unit const * format, va_list args)
{
    if (format == nullptr) // must not reach the C library, which may end the program for it
    {
        errno = EINVAL;
        return -1;
    }
    errno = 0;
    int const result = dst == nullptr || size <= 0 ? tooLong : Attempt(dst, size, format, args);
    if (result >= 0)
        return 0;
    return result == unusableFormat ? -1 : 1;
}

/// Puts the formatted text into \p out, however long; nothing on failure. \p out may be among the
/// arguments.
template <class Unit>
void FormatText(std::basic_string<Unit> & out, Unit const * format, va_list args)
{
    constexpr int firstSize = 1024;

    // Windows passes a list of arguments as a plain pointer, so every attempt begins with a fresh one.
    Unit first[firstSize];
    int result = Attempt(first, firstSize, format, args);
    if (result >= 0)
    {
        out.assign(first, static_cast<std::size_t>(result));
        return;
    }

    // Only now is the reason of a failure worth the call that clears the old one.
    std::basic_string<Unit> text;
    result = tooLong;
    for (int size = firstSize; result == tooLong && size <= INT_MAX / 2;)
    {
        size *= 2;
        text.resize(static_cast<std::size_t>(size));
        errno = 0;
        result = Attempt(text.data(), size, format, args);
    }
    text.resize(result >= 0 ? static_cast<std::size_t>(result) : 0);
    out = std::move(text);
}

template <class Unit>
bool IsEmptyFormat(Unit const * format)
{
    return format == nullptr || *format == 0;
}

} // namespace

int GMStringUtils::FormatToBuffer(wchar_t * dst, int size, wchar_t const * format, va_list args)
{
    return AttemptFor(dst, size, format, args);
}

int GMStringUtils::FormatToBufferA(char * dst, int size, char const * format, va_list args)
{
    return AttemptFor(dst, size, format, args);
}

void GMStringUtils::Format(GMString & out, wchar_t const * format, ...)
{
    if (IsEmptyFormat(format))
        return;
    va_list args;
    va_start(args, format);
    FormatText(out, format, args);
    va_end(args);
}

GMString GMStringUtils::FormatResult(wchar_t const * format, ...)
{
    GMString text;
    if (IsEmptyFormat(format))
        return text;
    va_list args;
    va_start(args, format);
    FormatText(text, format, args);
    va_end(args);
    return text;
}

GMStringA GMStringUtils::FormatResultA(char const * format, ...)
{
    GMStringA text;
    if (IsEmptyFormat(format))
        return text;
    va_list args;
    va_start(args, format);
    FormatText(text, format, args);
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
