#include <cstring>
#include <random>
#include <vector>

#include "VelmoraCommon/text/GMLetterConvert.h"
#include "benchmarks/Families.h"

namespace Velmora::Benchmarks
{

namespace
{

constexpr unsigned int characterCount = 1000000;

struct Entry
{
    char letters[7];
    unsigned char length;
};

/// The floor: the answers themselves, in a table of all pairs of bytes.
using DirectTable = std::vector<Entry>;

template <class Convert>
DirectTable MakeTable(Convert convert)
{
    DirectTable table(0x10000);
    for (unsigned int pair = 0xA1A1; pair < table.size(); ++pair)
    {
        if ((pair & 0xFF) < 0xA1)
            continue;
        GMStringA const letters =
            convert(GMStringA{static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF)});
        std::memcpy(table[pair].letters, letters.data(), letters.size());
        table[pair].length = static_cast<unsigned char>(letters.size());
    }
    return table;
}

GMStringA ConvertByTable(DirectTable const & table, GMStringA const & text)
{
    GMStringA letters;
    letters.reserve(text.size() * 2);
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
    {
        Entry const & entry = table[static_cast<unsigned char>(text[i]) * 256u +
                                    static_cast<unsigned char>(text[i + 1])];
        letters.append(entry.letters, entry.length);
    }
    return letters;
}

/// Characters of both levels.
GMStringA MakeText()
{
    std::mt19937 random(9);
    GMStringA text;
    for (unsigned int i = 0; i < characterCount; ++i)
    {
        text += static_cast<char>(0xB0 + random() % 72);
        text += static_cast<char>(0xA1 + random() % 94);
    }
    return text;
}

template <class Convert>
void MeasureConversion(Report & report, std::string const & name, Convert convert)
{
    if (!report.IsWanted(name))
        return;
    GMStringA const text = MakeText();
    DirectTable const table = MakeTable(convert);
    report.Measure({name,
                    characterCount / 1e6,
                    "M characters",
                    [&] { Use(convert(text).data()); },
                    {{"direct table", [&] { Use(ConvertByTable(table, text).data()); },
                      Bar::RateAtLeast(0.6)}}});
}

} // namespace

void MeasurePinyin(Report & report)
{
    GMLetterConvert convert;
    MeasureConversion(report, "pinyin: by position, 1 M characters",
                      [&](GMStringA const & text) { return convert.ConvertChineseToLetter(text); });
    MeasureConversion(report, "pinyin: by bounds, 1 M characters",
                      [&](GMStringA const & text)
                      { return convert.ConvertChineseToLetterEx(text); });
}

} // namespace Velmora::Benchmarks
