#pragma once

#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// Takes the keys and values of a `.reg` text in the text's order, uninterpreted.
///
/// Each span runs from its first character to the one behind its last and points into the parsed
/// text; copy what has to outlive it. An exception thrown here ends the parse and reaches its
/// caller.
class VELMORA_API GMRegFileObserver
{
public:
    virtual ~GMRegFileObserver() = default;

    /// A key line: the full path, with its leading `-` if the key is to be removed.
    virtual void OnKeyFound(wchar_t const * begin, wchar_t const * end) = 0;

    /// A value line: the name with its quotes, and all of the data text.
    virtual void OnValueFound(wchar_t const * nameBegin, wchar_t const * nameEnd,
                              wchar_t const * dataBegin, wchar_t const * dataEnd) = 0;
};

} // namespace Velmora
