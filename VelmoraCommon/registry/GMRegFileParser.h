#pragma once

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/registry/GMRegFileObserver.h"
#include "VelmoraCommon/registry/GMResultProcessor.h"

namespace Velmora
{

/// Splits `.reg` text into keys, value names and value data, and hands keys and whole values to an
/// observer. What a path, a name or a data text means is left to the observer.
///
/// A line ends at CR LF alone; a lone CR or LF is a character like any other. `[...]` is a key line,
/// a line with a `=` outside quotes is a value line, every other line is passed over. There is no
/// comment syntax: `; a = b` is a value line. A value goes on in the next line when its line ends in
/// a backslash and it, or a value line shortly before it, mentions `hex` or `dword`.
///
/// Doesn't own the observer. A copy reports to the same one. Use from one thread at a time.
class VELMORA_API GMRegFileParser : public GMResultProcessor
{
public:
    /// \p observer must outlive the parser.
    explicit GMRegFileParser(GMRegFileObserver * observer);

    /// Parses \p text, which must not be null and ends at its first NUL. A text without any CR LF
    /// holds nothing. The last value is dropped when the text ends where its next line should be.
    /// \return true
    /// \throws std::exception if a value line that isn't hex data ends in a backslash and another
    ///     line follows; the parser is of no further use then
    /// \throws std::out_of_range if the very last line is a piece of hex data that ends in a
    ///     backslash and has no CR LF
    /// \throws what the observer throws
    bool Parse(wchar_t const * text);

    void OnKeyFound(wchar_t const * begin, wchar_t const * end) override;
    void OnValueNameFound(wchar_t const * begin, wchar_t const * end) override;
    void OnValueDataFound(wchar_t const * begin, wchar_t const * end) override;

private:
    void CheckVNameProcessed(bool expected) const;

    wchar_t const * m_nameBegin; // the name that was found last
    wchar_t const * m_nameEnd;
    GMRegFileObserver * m_observer;
    bool m_valueDone; // no name is waiting for its data
};

} // namespace Velmora
