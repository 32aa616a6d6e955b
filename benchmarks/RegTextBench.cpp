#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "VelmoraCommon/registry/GMRegFileWriter.h"
#include "VelmoraCommon/registry/GMRegParser.h"
#include "benchmarks/Families.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Benchmarks
{

namespace
{

using Text = std::wstring;

/// Text with the shape of a large export: paths and strings of real lengths, half of the values
/// texts, the rest numbers, wrapped bytes and wide texts as bytes.
class ExportMaker
{
public:
    Text Make(unsigned int keys, unsigned int values)
    {
        m_text = L"Windows Registry Editor Version 5.00\r\n";
        for (unsigned int key = 0; key < keys; ++key)
        {
            m_text += L"\r\n[HKEY_LOCAL_MACHINE\\Software\\Classes\\";
            AppendWord(24, 56);
            m_text += L"]\r\n";
            unsigned int const count = values / (keys - key);
            unsigned int const own = count + (key % 2 == 0 && values > count ? 1 : 0);
            for (unsigned int value = 0; value < own; ++value)
                AppendValue(value == 0);
            values -= own;
        }
        return std::move(m_text);
    }

private:
    unsigned int Below(unsigned int limit) { return static_cast<unsigned int>(m_random() % limit); }

    void AppendWord(unsigned int least, unsigned int most)
    {
        for (unsigned int size = least + Below(most - least); size != 0; --size)
            m_text += static_cast<wchar_t>(L'a' + Below(26));
    }

    void AppendBytes(unsigned int count)
    {
        constexpr wchar_t digits[] = L"0123456789abcdef";
        for (unsigned int i = 0; i < count; ++i)
        {
            if (i != 0)
                m_text += i % 25 == 24 ? L",\\\r\n  " : L",";
            m_text += digits[Below(16)];
            m_text += digits[Below(16)];
        }
    }

    void AppendValue(bool first)
    {
        if (first)
        {
            m_text += L"@=";
        }
        else
        {
            m_text += L'"';
            AppendWord(6, 24);
            m_text += L"\"=";
        }
        unsigned int const kind = Below(100);
        if (kind < 60)
        {
            m_text += L"\"C:\\\\";
            AppendWord(8, 80);
            m_text += L'"';
        }
        else if (kind < 75)
        {
            m_text += L"dword:0000002a";
        }
        else
        {
            m_text += kind < 90 ? L"hex:" : kind < 97 ? L"hex(2):" : L"hex(7):";
            AppendBytes(8 + Below(kind < 90 ? 44 : 100));
        }
        m_text += L"\r\n";
    }

    std::mt19937 m_random{2024};
    Text m_text;
};

std::string Utf16Bytes(Text const & text)
{
    return "\xFF\xFE" +
           std::string(reinterpret_cast<char const *>(text.data()), text.size() * sizeof(wchar_t));
}

struct BareKey
{
    Text path;
    std::vector<std::pair<Text, Text>> values;
};

/// The floor: one read and one pass over the lines, which keeps paths, names and data as they are, understands
/// nothing and checks nothing.
std::vector<BareKey> ParseBarely(Text const & path)
{
    GMBuffer<unsigned char> buffer;
    GMRegParser::ReadFile(path, buffer); // one call
    std::vector<BareKey> keys;
    auto const * at = reinterpret_cast<wchar_t const *>(buffer.m_data + 2);
    auto const * const end = at + buffer.m_length / sizeof(wchar_t) - 1;
    while (at < end)
    {
        auto const * line = at;
        auto const * equals = end;
        for (; at != end && (*at != L'\r' || at[-1] == L'\\'); ++at)
        {
            if (*at == L'=' && equals == end)
                equals = at;
        }
        if (*line == L'[')
            keys.push_back({Text(line + 1, at - 1), {}});
        else if (equals != end)
            keys.back().values.emplace_back(Text(line, equals), Text(equals + 1, at));
        at = std::min(at + 2, end);
    }
    return keys;
}

} // namespace

void MeasureRegText(Report & report)
{
    std::string const parseRow = ".reg text: parse a file of 41 MB";
    std::string const memoryRow = ".reg text: memory of that, in sizes of the file";
    std::string const writeRow = ".reg text: write the same to a buffer";
    if (!report.IsWanted(parseRow) && !report.IsWanted(memoryRow) && !report.IsWanted(writeRow))
        return;

    constexpr unsigned int keys = 84'250;
    constexpr unsigned int values = 188'600;
    constexpr unsigned int parts = 16;
    Testing::TemporaryFolder const folder;
    Text const large = folder.File(L"large.reg");
    Text const small = folder.File(L"small.reg");
    std::string const bytes = Utf16Bytes(ExportMaker().Make(keys, values));
    double const megabytes = static_cast<double>(bytes.size()) / 1e6;
    Testing::WriteBytes(large, bytes);
    Testing::WriteBytes(small, Utf16Bytes(ExportMaker().Make(keys / parts, values / parts)));

    auto const parse = [](Text const & path)
    {
        GMRegParser parser;
        parser.Load(path);
        Use(&parser);
    };
    Work const parsing{parseRow,
                       megabytes,
                       "MB",
                       [&] { parse(large); },
                       {{"2.6 MB, as often as it takes",
                         [&]
                         {
                             for (unsigned int i = 0; i < parts; ++i)
                                 parse(small);
                         },
                         Bar::RateAtLeast(0.8)},
                        // The bar is 45 MB/s on a machine where this peer makes 150; we aim at 0.6.
                        {"read, parse barely, keep the texts",
                         [&]
                         {
                             auto const parsed = ParseBarely(large);
                             Use(parsed.data());
                         },
                         Bar::RateAtLeast(0.3)}}};
    report.Measure(parsing);

    GMRegParser parser;
    {
        Testing::AllocationMeter const meter;
        parser.Load(large);
        report.Figure(memoryRow, static_cast<double>(meter.Peak()) / 1e6 / megabytes, "x", 6);
    }

    Work const writing{writeRow,
                       megabytes,
                       "MB",
                       [&]
                       {
                           GMBuffer<unsigned char> text;
                           GMRegFileWriter writer(text, GMRegFileTypeVersion5, L"\r\n");
                           for (GMRegKey const & key : parser.GetRegList())
                               writer.WriteRegKey(key);
                           Use(text.m_data);
                       },
                       {{"parse", [&] { parse(large); }, Bar::RateAtLeast(1)}}};
    report.Measure(writing);
}

} // namespace Velmora::Benchmarks
