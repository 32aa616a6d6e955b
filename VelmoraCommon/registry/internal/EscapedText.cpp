#include "VelmoraCommon/registry/internal/EscapedText.h"

#include <algorithm>

namespace Velmora
{

void AppendEscaped(GMString & text, std::wstring_view plain)
{
    auto const isSpecial = [](wchar_t unit) { return unit == L'\\' || unit == L'"'; };
    for (auto from = plain.begin();; ++from)
    {
        auto const at = std::find_if(from, plain.end(), isSpecial);
        text.append(from, at);
        if (at == plain.end())
            return;
        text.append(*at == L'"' ? L"\\\\\"" : L"\\\\");
        from = at;
    }
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
