#pragma once

#include <algorithm>

#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/text/internal/CaseFolding.h"

namespace Velmora
{

/// A text to look for without regard to case, folded to lower case once.
class CaselessText
{
public:
    explicit CaselessText(GMString text) : m_lowered(std::move(text))
    {
        std::transform(m_lowered.begin(), m_lowered.end(), m_lowered.begin(), ToLower());
    }

    /// Where \p text first has it at \p start or behind; `GMString::npos` if it hasn't. An empty
    /// one is found at \p start, unless that lies behind the end.
    GMString::size_type FindIn(GMString const & text, GMString::size_type start) const
    {
        if (start > text.length())
            return GMString::npos;
        auto const found = std::search(text.begin() + static_cast<std::ptrdiff_t>(start),
                                       text.end(), m_lowered.begin(), m_lowered.end(),
                                       [](wchar_t a, wchar_t b) { return ToLower()(a) == b; });
        if (found == text.end() && !m_lowered.empty())
            return GMString::npos;
        return static_cast<GMString::size_type>(found - text.begin());
    }

private:
    GMString m_lowered;
};

} // namespace Velmora
