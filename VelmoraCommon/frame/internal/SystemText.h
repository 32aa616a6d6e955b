#pragma once

#include <cstddef>
#include <cwchar>

#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Text of a system call that tells its size first; empty on failure, cut at its first NUL.
///
/// \p fill gets a buffer and its size in units. It answers the units written without the NUL, or,
/// when the buffer is too small, the size to come back with; 0 is a failure.
template <class Fill>
GMString ReadSystemText(Fill fill)
{
    GMString text;
    unsigned long size = fill(nullptr, 0ul);
    while (size > text.size()) // once more if the text grew in between
    {
        text.resize(size);
        size = fill(text.data(), static_cast<unsigned long>(text.size()));
    }
    text.resize(size);
    text.resize(std::wcslen(text.c_str()));
    return text;
}

/// Text of a system call that promises to fit \p Size units; empty when \p fill answers false.
template <std::size_t Size, class Fill>
GMString ReadFixedSystemText(Fill fill)
{
    wchar_t buffer[Size] = {};
    if (!fill(buffer))
        return GMString();
    buffer[Size - 1] = L'\0';
    return GMString(buffer);
}

} // namespace Velmora
