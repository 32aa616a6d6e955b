#include <algorithm>
#include <cctype>
#include <random>

#include "VelmoraCommon/text/GMCmdLineParser.h"
#include "VelmoraCommon/text/GMUrlEncode.h"
#include "benchmarks/Families.h"

namespace Velmora::Benchmarks
{

namespace
{

// Long for a URL, but short enough that the heap has the room at hand: beyond that the first touch of
// fresh pages takes most of the time.
constexpr std::size_t textBytes = 16 << 10;

constexpr std::size_t shortLine = 1000;
constexpr std::size_t longLine = 32767; // the system takes no longer ones

/// Words of ASCII with marks between, and now and then some Chinese in UTF-8.
std::string MakeText()
{
    std::mt19937 random(7);
    std::string text;
    while (text.size() < textBytes)
    {
        for (std::size_t length = 1 + random() % 10; length != 0; --length)
            text += static_cast<char>('a' + random() % 26);
        text += " /&=?.-"[random() % 7];
        if (random() % 8 == 0)
            text += "\xE4\xB8\xAD\xE6\x96\x87";
    }
    return text;
}

/// The barest loop with a table that writes three bytes for some and one for others; \p to has room
/// for three times the text. It encodes, but for the exceptions.
std::size_t EncodeBarely(std::string const & text, bool const (&isKept)[256], char * to)
{
    char const * const start = to;
    for (char const c : text)
    {
        auto const byte = static_cast<unsigned char>(c);
        if (isKept[byte])
        {
            *to++ = c;
            continue;
        }
        *to++ = '%';
        *to++ = "0123456789ABCDEF"[byte >> 4];
        *to++ = "0123456789ABCDEF"[byte & 15];
    }
    return static_cast<std::size_t>(to - start);
}

/// The barest loop back; \p text must be well-formed.
std::size_t DecodeBarely(std::string const & text, unsigned char const (&digits)[256], char * to)
{
    char const * const start = to;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] != '%')
        {
            *to++ = text[i];
            continue;
        }
        *to++ = static_cast<char>(digits[static_cast<unsigned char>(text[i + 1])] << 4 |
                                  digits[static_cast<unsigned char>(text[i + 2])]);
        i += 2;
    }
    return static_cast<std::size_t>(to - start);
}

/// Seconds a unit to parse a line of entries and words until it has \p units.
double SecondsOfParsedUnit(std::size_t units, wchar_t const * entry)
{
    GMString line;
    while (line.size() < units)
        line += entry;
    GMCmdLineParser parser;
    auto const runs = static_cast<unsigned int>(std::max<std::size_t>(1, 4000000 / units));
    double best = 1;
    for (int turn = 0; turn < 5; ++turn)
    {
        best = std::min(best, SecondsOf(
                                  [&]
                                  {
                                      for (unsigned int i = 0; i < runs; ++i)
                                          parser.Parse(line.c_str(), nullptr, nullptr, nullptr);
                                  }));
    }
    return best / runs / static_cast<double>(line.size());
}

} // namespace

void MeasureUrls(Report & report)
{
    std::string const text = MakeText();
    std::string const encoded = GMUrlEncode::EncodeA(text);
    std::string buffer(3 * text.size(), '\0');
    bool isKept[256] = {};
    unsigned char digits[256] = {};
    for (unsigned int byte = 0; byte < 256; ++byte)
    {
        auto const value = static_cast<unsigned char>(byte);
        isKept[byte] = GMUrlEncode::IsSpecial(value) || (byte < 128 && std::isalnum(value) != 0);
    }
    for (unsigned char number = 0; number < 16; ++number)
        digits[GMUrlEncode::ToHex(number)] = number;

    report.Measure({"URLs: encode 16 KB",
                    static_cast<double>(text.size()) / 1e6,
                    "MB",
                    [&] { Use(GMUrlEncode::EncodeA(text).data()); },
                    {{"bare loop into a buffer",
                      [&]
                      {
                          EncodeBarely(text, isKept, buffer.data());
                          Use(buffer.data());
                      },
                      Bar::RateAtLeast(0.5)}}});
    report.Measure({"URLs: decode to 16 KB",
                    static_cast<double>(text.size()) / 1e6,
                    "MB",
                    [&] { Use(GMUrlEncode::DecodeA(encoded).data()); },
                    {{"bare loop into a buffer",
                      [&]
                      {
                          DecodeBarely(encoded, digits, buffer.data());
                          Use(buffer.data());
                      },
                      Bar::RateAtLeast(0.5)}}});

    struct Line
    {
        char const * name;
        wchar_t const * entry;
    };
    Line const lines[] = {
        {"command lines: entries, time a unit, 32,767 over 1,000", L"-key=\"some value\" "},
        {"command lines: words, time a unit, 32,767 over 1,000", L"words without keys "},
        {"command lines: delimiters, time a unit, 32,767 over 1,000", L"-/"},
    };
    for (Line const & line : lines)
    {
        if (!report.IsWanted(line.name))
            continue;
        double const atShort = SecondsOfParsedUnit(shortLine, line.entry);
        report.Figure(line.name, SecondsOfParsedUnit(longLine, line.entry) / atShort, "x", 2);
    }
}

} // namespace Velmora::Benchmarks
