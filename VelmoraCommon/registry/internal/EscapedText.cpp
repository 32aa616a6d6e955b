#include "VelmoraCommon/registry/internal/EscapedText.h"

#include <algorithm>
#include <cstddef>

namespace Velmora
{

void AppendEscaped(GMString & text, std::wstring_view plain)
{
    std::size_t begin = 0;
    for (std::size_t at; (at = plain.find_first_of(L"\\\"", begin)) != plain.npos; begin = at + 1)
    {
        text.append(plain, begin, at - begin);
        text.append(plain[at] == L'"' ? L"\\\\\"" : L"\\\\");
    }
    text.append(plain, begin);
}

void Unescape(GMString & text)
{
    auto out = std::find(text.begin(), text.end(), L'\\');
    for (auto in = out; in != text.end();)
    {
        if (*in != L'\\')
        {
            *out++ = *in++;
            continue;
        }
        auto const rest = std::find_if(in, text.end(), [](wchar_t unit) { return unit != L'\\'; });
        auto backslashes = (rest - in + 1) / 2;
        if (rest != text.end() && *rest == L'"')
            --backslashes; // the last one stands for the quote
        out = std::fill_n(out, backslashes, L'\\');
        in = rest;
    }
    text.erase(out, text.end());
}

} // namespace Velmora
