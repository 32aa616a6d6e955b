#include "VelmoraCommon/registry/GMRegFileParser.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string_view>

#include "VelmoraCommon/frame/internal/MessageException.h"

namespace Velmora
{

namespace
{

/// The CR LF or NUL that ends the line at \p from.
wchar_t const * FindLineEnd(wchar_t const * from)
{
    while (*from != L'\0' && !(*from == L'\r' && from[1] == L'\n'))
        ++from;
    return from;
}

/// The first `=` outside quotes; \p end if there is none. A quote behind a backslash is part of the
/// quoted text.
wchar_t const * FindEquals(wchar_t const * begin, wchar_t const * end)
{
    bool quoted = false;
    wchar_t previous = L'\0';
    for (wchar_t const * at = begin; at != end; previous = *at++)
    {
        if (*at == L'=' && !quoted)
            return at;
        if (*at == L'"' && previous != L'\\')
            quoted = !quoted;
    }
    return end;
}

bool IsBlank(wchar_t unit)
{
    return unit == L' ' || unit == L'\t' || unit == L'\r' || unit == L'\n';
}

bool MentionsHexData(std::wstring_view data)
{
    return data.find(L"hex") != data.npos || data.find(L"dword") != data.npos;
}

/// One pass over a text, line by line.
class Scanner
{
public:
    Scanner(wchar_t const * text, GMResultProcessor & processor)
        : m_processor(processor),
          m_lineStart(text),
          m_lineEnd(FindLineEnd(text)),
          m_segmentStart(text)
    {
    }

    void Run()
    {
        bool more = *m_lineEnd != L'\0'; // a text without a line break holds nothing
        while (more)
            more = m_hexData && m_continuing ? ScanContinuation() : ScanLine();
    }

private:
    // Each of these leaves the scanner at its next line and answers whether there is one.

    bool ScanContinuation()
    {
        if (m_lineEnd > m_segmentStart && m_lineEnd[-1] == L'\\')
        {
            if (*m_lineEnd == L'\0')
                throw std::out_of_range("The next line of a value starts behind the text");
            m_segmentStart = m_lineEnd + 2;
            m_lineEnd = FindLineEnd(m_segmentStart); // may be empty: that ends the value
            return true;
        }
        ReportData(m_equalsAt);
        m_hexData = false;
        m_continuing = false;
        return StartLine();
    }

    bool ScanLine()
    {
        m_lineStart = std::find_if_not(m_lineStart, m_lineEnd, IsBlank);
        if (*m_lineStart == L'[' && m_lineEnd[-1] == L']')
        {
            m_processor.OnKeyFound(m_lineStart + 1, m_lineEnd - 1);
            return StartLine();
        }
        wchar_t const * const equals = FindEquals(m_lineStart, m_lineEnd);
        if (equals == m_lineEnd)
        {
            m_hexData = false;
            m_continuing = false;
            return StartLine();
        }
        return ScanValue(equals);
    }

    bool ScanValue(wchar_t const * equals)
    {
        m_processor.OnValueNameFound(m_lineStart, equals);
        auto const equalsAt = static_cast<std::size_t>(equals - m_lineStart);
        auto const dataSize = static_cast<std::size_t>(m_lineEnd - equals) - 1;
        // Once set it holds for the lines that follow, too.
        m_hexData = m_hexData || MentionsHexData({equals + 1, dataSize});
        if (m_lineEnd[-1] == L'\\')
        {
            m_equalsAt = equalsAt;
            m_continuing = true;
            return StartSegment();
        }
        ReportData(equalsAt);
        return StartLine();
    }

    bool StartLine()
    {
        if (!StartSegment())
            return false;
        m_lineStart = m_segmentStart;
        return true;
    }

    /// Steps behind the line end, but leaves the start of the line where it is. There is no next
    /// line where the text ends, but a last one without a line break counts.
    bool StartSegment()
    {
        if (*m_lineEnd == L'\0' || m_lineEnd[2] == L'\0')
            return false;
        m_segmentStart = m_lineEnd + 2;
        m_lineEnd = FindLineEnd(m_segmentStart);
        return true;
    }

    void ReportData(std::size_t equalsAt)
    {
        // The line can only be shorter than that for a processor which let a key pass between a name
        // and its data.
        auto const lineSize = static_cast<std::size_t>(m_lineEnd - m_lineStart);
        m_processor.OnValueDataFound(m_lineStart + std::min(equalsAt + 1, lineSize), m_lineEnd);
    }

    GMResultProcessor & m_processor;
    wchar_t const * m_lineStart;
    wchar_t const * m_lineEnd;
    wchar_t const * m_segmentStart; // of the line at hand, when a value spreads over several
    std::size_t m_equalsAt = 0;     // where the continued value's `=` stands in its line
    bool m_hexData = false;
    bool m_continuing = false;
};

} // namespace

GMRegFileParser::GMRegFileParser(GMRegFileObserver * observer)
    : m_nameBegin(nullptr),
      m_nameEnd(nullptr),
      m_observer(observer),
      m_valueDone(true)
{
}

bool GMRegFileParser::Parse(wchar_t const * text)
{
    Scanner(text, *this).Run();
    return true;
}

void GMRegFileParser::OnKeyFound(wchar_t const * begin, wchar_t const * end)
{
    CheckVNameProcessed(true);
    m_observer->OnKeyFound(begin, end);
}

void GMRegFileParser::OnValueNameFound(wchar_t const * begin, wchar_t const * end)
{
    CheckVNameProcessed(true);
    m_nameBegin = begin;
    m_nameEnd = end;
    m_valueDone = false;
}

void GMRegFileParser::OnValueDataFound(wchar_t const * begin, wchar_t const * end)
{
    CheckVNameProcessed(false);
    m_valueDone = true;
    m_observer->OnValueFound(m_nameBegin, m_nameEnd, begin, end);
}

void GMRegFileParser::CheckVNameProcessed(bool expected) const
{
    if (m_valueDone != expected)
        throw MessageException("Value data not found for founded value name");
}

} // namespace Velmora
