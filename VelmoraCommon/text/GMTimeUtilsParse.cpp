#include <algorithm>
#include <cstring>
#include <iterator>

#include "VelmoraCommon/text/GMTimeUtils.h"

namespace Velmora
{

namespace
{

/// A conversion that reads a number and stores it as it is, but for an offset.
struct NumberRow
{
    char conversion;
    int least;
    int most;
    int tm::*field; // null: the number isn't stored
    int offset;
};
constexpr int firstYear = 1900; // the year 0 of tm
constexpr NumberRow numberRows[] = {
    {'H', 0, 23, &tm::tm_hour, 0},   {'M', 0, 59, &tm::tm_min, 0},
    {'S', 0, 61, &tm::tm_sec, 0},    {'U', 0, 53, nullptr, 0},
    {'W', 0, 53, nullptr, 0},        {'Y', 0, 9999, &tm::tm_year, -firstYear},
    {'d', 1, 31, &tm::tm_mday, 0},   {'e', 1, 31, &tm::tm_mday, 0},
    {'j', 1, 366, &tm::tm_yday, -1}, {'k', 0, 23, &tm::tm_hour, 0},
    {'m', 1, 12, &tm::tm_mon, -1},   {'w', 0, 6, &tm::tm_wday, 0},
};

/// A conversion that stands for several.
struct CompositeRow
{
    char conversion;
    char const * format;
};
constexpr CompositeRow compositeRows[] = {
    {'D', "%m/%d/%y"}, {'R', "%H:%M"},       {'T', "%H:%M:%S"}, {'X', "%H:%M:%S"},
    {'c', "%x %X"},    {'r', "%I:%M:%S %p"}, {'x', "%m/%d/%y"},
};

struct NameRow
{
    char const * full;
    char const * abbreviation;
};
constexpr NameRow days[] = {
    {"Sunday", "Sun"},   {"Monday", "Mon"}, {"Tuesday", "Tue"},  {"Wednesday", "Wed"},
    {"Thursday", "Thu"}, {"Friday", "Fri"}, {"Saturday", "Sat"},
};
constexpr NameRow months[] = {
    {"January", "Jan"},   {"February", "Feb"}, {"March", "Mar"},    {"April", "Apr"},
    {"May", "May"},       {"June", "Jun"},     {"July", "Jul"},     {"August", "Aug"},
    {"September", "Sep"}, {"October", "Oct"},  {"November", "Nov"}, {"December", "Dec"},
};

template <class Row, std::size_t Count>
Row const * FindRow(Row const (&rows)[Count], char conversion)
{
    auto const row = std::find_if(std::begin(rows), std::end(rows),
                                  [&](Row const & each) { return each.conversion == conversion; });
    return row != std::end(rows) ? row : nullptr;
}

// As in the "C" locale, and for any char.
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

/// Walks a text along formats and stores what it reads.
class TimeReader
{
public:
    TimeReader(char const * text, tm & out) : m_text(text), m_out(out) {}

    /// Where reading stands.
    char const * Position() const { return m_text; }

    /// \return false at the first mismatch
    bool Read(char const * format)
    {
        for (; *format != '\0'; ++format)
        {
            if (IsSpace(*format))
            {
                SkipSpace();
                continue;
            }
            bool const isConversion = *format == '%';
            if (isConversion)
                format = SkipModifiers(format + 1);
            if (isConversion && *format != '%' ? !ReadConversion(*format) : !ReadUnit(*format))
                return false;
        }
        return true;
    }

private:
    static char const * SkipModifiers(char const * format)
    {
        while (*format == 'E' || *format == 'O')
            ++format;
        return format;
    }

    bool ReadUnit(char expected)
    {
        if (*m_text != expected)
            return false;
        ++m_text;
        return true;
    }

    void SkipSpace()
    {
        while (IsSpace(*m_text))
            ++m_text;
    }

    bool ReadConversion(char conversion)
    {
        if (auto const * const number = FindRow(numberRows, conversion))
            return ReadNumber(*number);
        if (auto const * const composite = FindRow(compositeRows, conversion))
            return Read(composite->format);
        switch (conversion)
        {
        case 'A':
        case 'a':
            return ReadName(days, m_out.tm_wday);
        case 'B':
        case 'b':
        case 'h':
            return ReadName(months, m_out.tm_mon);
        case 'C':
            return ReadCentury();
        case 'I':
        case 'l':
            return ReadHourOfHalfDay();
        case 'n':
        case 't':
            SkipSpace();
            return true;
        case 'y':
            return ReadYearOfCentury();
        default: // the end of the format among them
            return false;
        }
    }

    /// Reads at most as many digits as \p most has.
    bool ReadNumber(int least, int most, int & value)
    {
        if (!IsDigit(*m_text))
            return false;
        value = 0;
        for (int limit = most; limit > 0 && IsDigit(*m_text); limit /= 10)
            value = value * 10 + (*m_text++ - '0');
        return value >= least && value <= most;
    }

    bool ReadNumber(NumberRow const & row)
    {
        int value;
        if (!ReadNumber(row.least, row.most, value))
            return false;
        if (row.field != nullptr)
            m_out.*row.field = value + row.offset;
        return true;
    }

    bool ReadHourOfHalfDay()
    {
        int hour;
        if (!ReadNumber(1, 12, hour))
            return false;
        m_out.tm_hour = hour % 12;
        return true;
    }

    bool ReadCentury()
    {
        int century;
        if (!ReadNumber(0, 99, century))
            return false;
        m_out.tm_year = century * 100 + (m_hasYearPart ? m_out.tm_year % 100 : 0);
        m_hasYearPart = true;
        m_hasCentury = true;
        return true;
    }

    bool ReadYearOfCentury()
    {
        constexpr int firstOf1900s = 69; // lower ones are of the 2000s

        int year;
        if (!ReadNumber(0, 99, year))
            return false;
        if (m_hasCentury)
            m_out.tm_year = m_out.tm_year / 100 * 100 + year;
        else
            m_out.tm_year = year >= firstOf1900s ? year : year + 100;
        m_hasYearPart = true;
        return true;
    }

    template <std::size_t Count>
    bool ReadName(NameRow const (&names)[Count], int & index)
    {
        for (std::size_t i = 0; i < Count; ++i)
        {
            if (ReadWord(names[i].full) || ReadWord(names[i].abbreviation))
            {
                index = static_cast<int>(i);
                return true;
            }
        }
        return false;
    }

    bool ReadWord(char const * word)
    {
        std::size_t const length = std::strlen(word);
        if (_strnicmp(m_text, word, length) != 0)
            return false;
        m_text += length;
        return true;
    }

    char const * m_text;
    tm & m_out;
    bool m_hasYearPart = false; // a century or a year of one
    bool m_hasCentury = false;
};

} // namespace

char * GMTimeUtils::strptime(char const * text, char const * format, tm * out)
{
    TimeReader reader(text, *out);
    return reader.Read(format) ? const_cast<char *>(reader.Position()) : nullptr;
}

} // namespace Velmora
