#include <algorithm>
#include <boost/algorithm/string/replace.hpp>
#include <cstdio>
#include <cwctype>
#include <random>
#include <shlwapi.h>

#include "VelmoraCommon/text/GMStringUtils.h"
#include "benchmarks/Families.h"

namespace Velmora::Benchmarks
{

namespace
{

constexpr std::size_t largeUnits = 4 << 20; // 8 MB
constexpr double largeMegabytes = largeUnits * sizeof(wchar_t) / double(1 << 20);

/// English-like words, one blank between.
GMString Words(std::size_t length)
{
    // By frequency in English, roughly.
    static constexpr wchar_t letters[] =
        L"eeeeeeeeeeeetttttttttaaaaaaaaoooooooiiiiiiinnnnnnnsssssshhhhhh"
        L"rrrrrrddddllllcccuuummwwffggyyppbbvk";
    std::mt19937 random(22);
    GMString text;
    text.reserve(length + 12);
    while (text.length() < length)
    {
        for (auto run = 2 + random() % 8; run != 0; --run)
            text += letters[random() % (std::size(letters) - 1)];
        text += L' ';
    }
    text.resize(length);
    return text;
}

GMString Chinese(std::size_t length)
{
    std::mt19937 random(23);
    GMString text(length, L'\0');
    for (wchar_t & unit : text)
        unit = static_cast<wchar_t>(0x4E00 + random() % (0x9FA6 - 0x4E00));
    return text;
}

void MeasureNumbers(Report & report)
{
    std::mt19937 random(24);
    std::vector<int> numbers(256);
    for (int & number : numbers)
        number = static_cast<int>(random() >> random() % 32);
    std::vector<GMString> texts;
    for (int const number : numbers)
        texts.push_back(std::to_wstring(static_cast<unsigned int>(number)));
    auto const amount = static_cast<double>(numbers.size());

    report.Measure({"string: int to text",
                    amount,
                    "numbers",
                    [&]
                    {
                        for (int const number : numbers)
                            Use(GMStringUtils::ToString(number).data());
                    },
                    {{"std::to_wstring",
                      [&]
                      {
                          for (int const number : numbers)
                              Use(std::to_wstring(number).data());
                      },
                      Bar::RateAtLeast(1.2)}}});

    unsigned __int64 sum = 0;
    report.Measure({"string: text to int",
                    amount,
                    "numbers",
                    [&]
                    {
                        for (GMString const & text : texts)
                            sum += GMStringUtils::ToUInt64(text);
                        Use(&sum);
                    },
                    {{"wcstoull",
                      [&]
                      {
                          for (GMString const & text : texts)
                              sum += std::wcstoull(text.c_str(), nullptr, 10);
                          Use(&sum);
                      },
                      Bar::RateAtLeast(2)}}});
}

void MeasureFormat(Report & report)
{
    report.Measure({"string: Format(\"%s-%d-%08x\")",
                    1,
                    "texts",
                    []
                    {
                        GMString text;
                        GMStringUtils::Format(text, L"%s-%d-%08x", L"textures", 4711, 0xBEEFu);
                        Use(text.data());
                    },
                    {{"_vsnwprintf and string",
                      []
                      {
                          wchar_t buffer[1024];
                          int const length =
                              _snwprintf(buffer, 1024, L"%s-%d-%08x", L"textures", 4711, 0xBEEFu);
                          GMString const text(buffer, static_cast<std::size_t>(length));
                          Use(text.data());
                      },
                      Bar::RateAtLeast(0.95)}},
                    25});
}

/// The rate must not fall as the text grows: \p edit on 1 and on 4 times the text.
template <class Make, class Edit>
void MeasureLinear(Report & report, std::string const & name, Make make, Edit edit)
{
    GMString const small = make(largeUnits / 4);
    GMString const large = make(largeUnits);
    report.Measure({"string: " + name + ", 8 MB",
                    largeMegabytes,
                    "MB",
                    [&]
                    {
                        GMString text = large;
                        edit(text);
                        Use(text.data());
                    },
                    {{"4 times 2 MB",
                      [&]
                      {
                          for (int i = 0; i < 4; ++i)
                          {
                              GMString text = small;
                              edit(text);
                              Use(text.data());
                          }
                      },
                      Bar::RateAtLeast(0.8)}}});
}

void MeasureEditing(Report & report)
{
    if (!report.IsWanted("string: Replace") && !report.IsWanted("string: RemoveChar") &&
        !report.IsWanted("string: TrimDupChar"))
        return;
    GMString const words = Words(largeUnits);
    GMString edited;
    report.Measure({"string: Replace \"e\" by \"EE\", 8 MB",
                    largeMegabytes,
                    "MB",
                    [&] { GMStringUtils::Replace(edited, L"e", L"EE"); },
                    {{"boost::replace_all", [&] { boost::replace_all(edited, L"e", L"EE"); },
                      Bar::RateAtLeast(1.8)}},
                    9,
                    [&] { GMString(words).swap(edited); }});
    MeasureLinear(report, "Replace", Words,
                  [](GMString & text) { GMStringUtils::Replace(text, L"e", L"EE"); });
    MeasureLinear(report, "RemoveChar", Words,
                  [](GMString & text) { GMStringUtils::RemoveChar(text, L'e'); });
    MeasureLinear(report, "TrimDupChar", Words,
                  [](GMString & text) { GMStringUtils::TrimDupChar(text, L'e'); });
}

/// Lines of 20 units in all.
GMString Lines(std::size_t count)
{
    GMString text;
    for (std::size_t i = 0; i < count; ++i)
        text += L"name = some value\r\n";
    return text;
}

void MeasureLines(Report & report)
{
    // What stays must lie at the start of the text, so moving it is the floor of each call.
    GMString const lines = Lines(5000);
    GMString const delimiter = L"\r\n";
    report.Measure({"string: GetLine, 5,000 lines",
                    5000,
                    "lines",
                    [&]
                    {
                        GMString text = lines;
                        while (!text.empty())
                            Use(GMStringUtils::GetLine(text, delimiter).data());
                    },
                    {{"find, copy and erase",
                      [&]
                      {
                          GMString text = lines;
                          while (!text.empty())
                          {
                              auto const end = text.find(delimiter);
                              GMString const line = text.substr(0, end);
                              Use(line.data());
                              text.erase(0, end + delimiter.length());
                          }
                      },
                      Bar::RateAtLeast(0.8)}}});
}

void MeasureFind(Report & report, std::string const & what, GMString const & text,
                 GMString const & x)
{
    report.Measure(
        {"string: FindNoCase, absent, 8 MB of " + what,
         largeMegabytes,
         "MB",
         [&]
         {
             unsigned int const found = GMStringUtils::FindNoCase(text, x, 0);
             Use(&found);
         },
         {{"StrStrIW", [&] { Use(StrStrIW(text.c_str(), x.c_str())); }, Bar::RateAtLeast(8)},
          {"lower both and find",
           [&]
           {
               GMString lowText = text;
               GMString lowX = x;
               std::transform(lowText.begin(), lowText.end(), lowText.begin(), towlower);
               std::transform(lowX.begin(), lowX.end(), lowX.begin(), towlower);
               auto const found = lowText.find(lowX);
               Use(&found);
           },
           Bar::None()}},
         7});
}

/// One loop that goes back to the last star.
bool WildcardLoop(wchar_t const * pattern, wchar_t const * text)
{
    wchar_t const * star = nullptr;
    wchar_t const * retry = nullptr;
    while (*text != L'\0')
    {
        if (*pattern == L'*')
        {
            star = ++pattern;
            retry = text + 1;
        }
        else if (*pattern == L'?' || *pattern == *text)
        {
            ++pattern;
            ++text;
        }
        else if (star != nullptr)
        {
            pattern = star;
            text = retry++;
        }
        else
        {
            return false;
        }
    }
    while (*pattern == L'*')
        ++pattern;
    return *pattern == L'\0';
}

void MeasureWildcard(Report & report)
{
    wchar_t const * const names[] = {
        L"textures_of_the_first_level.pa", L"a_sound_of_thunder_in_2012.ogg",
        L"configuration_of_display.json1", L"save_2012_04_01_at_12_30_00.da"};
    wchar_t const * const patterns[] = {L"*.ogg", L"*of*", L"save_????_*_at_*.da", L"*.txt"};
    bool fits = false;
    auto const onAll = [&](auto match)
    {
        for (wchar_t const * name : names)
        {
            for (wchar_t const * pattern : patterns)
                fits ^= match(pattern, name);
        }
        Use(&fits);
    };
    report.Measure({"string: WildcardCompare, 30-unit names",
                    static_cast<double>(std::size(names) * std::size(patterns)),
                    "names",
                    [&]
                    {
                        onAll([](auto pattern, auto name)
                              { return GMStringUtils::WildcardCompare(pattern, name, false); });
                    },
                    {{"one-backtrack loop", [&] { onAll(WildcardLoop); }, Bar::RateAtLeast(0.9)}}});

    GMString const text(20000, L'a');
    GMString pattern;
    for (int i = 0; i < 100; ++i)
        pattern += L"*a";
    pattern += L"*b";
    auto const worst = [&]
    {
        bool const found = GMStringUtils::WildcardCompare(pattern.c_str(), text.c_str(), false);
        Use(&found);
    };
    worst();
    double seconds = 1;
    for (int i = 0; i < 9; ++i)
        seconds = std::min(seconds, SecondsOf(worst));
    report.Figure("string: WildcardCompare, 20,000 units at worst", seconds * 1e6, "us", 50);
}

} // namespace

void MeasureStrings(Report & report)
{
    MeasureNumbers(report);
    MeasureFormat(report);
    MeasureEditing(report);
    MeasureLines(report);
    if (report.IsWanted("string: FindNoCase"))
    {
        MeasureFind(report, "English", Words(largeUnits), L"Texture");
        MeasureFind(report, "Chinese", Chinese(largeUnits), L"\u8BCD\u5178 Text");
    }
    MeasureWildcard(report);
}

} // namespace Velmora::Benchmarks
