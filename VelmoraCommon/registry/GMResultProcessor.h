#pragma once

#include "VelmoraCommon/frame/Export.h"

namespace Velmora
{

/// Takes what the scanner of `.reg` text finds, piece by piece and in the text's order.
///
/// Each span runs from its first character to the one behind its last and points into the scanned
/// text, so it lives as long as that text. There is no virtual destructor: nobody deletes an object
/// through this interface.
class VELMORA_API GMResultProcessor
{
public:
    /// The inside of the brackets of a key line.
    virtual void OnKeyFound(wchar_t const * begin, wchar_t const * end) = 0;

    /// What stands left of the `=` of a value line, its quotes included.
    virtual void OnValueNameFound(wchar_t const * begin, wchar_t const * end) = 0;

    /// What stands right of that `=`; for continued hex data all its lines, with their backslashes
    /// and line breaks.
    virtual void OnValueDataFound(wchar_t const * begin, wchar_t const * end) = 0;
};

} // namespace Velmora
