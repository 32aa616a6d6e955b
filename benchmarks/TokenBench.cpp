#include <random>

#include <boost/algorithm/string.hpp>

#include "VelmoraCommon/text/GMStringToken.h"
#include "benchmarks/Families.h"

namespace Velmora::Benchmarks
{

namespace
{

constexpr std::size_t textUnits = (8 << 20) / sizeof(wchar_t);

/// Words of 1 to 20 letters with ";" and "," between.
GMString MakeList()
{
    std::mt19937 random(3);
    GMString list;
    list.reserve(textUnits + 20);
    while (list.size() < textUnits)
    {
        for (std::size_t length = 1 + random() % 20; length != 0; --length)
            list += static_cast<wchar_t>(L'a' + random() % 26);
        list += random() % 2 == 0 ? L';' : L',';
    }
    return list;
}

/// Seconds a unit of a match that looks at every unit of both texts.
double SecondsOfMatchedUnit(std::size_t units)
{
    GMString const text(units, L'a');
    unsigned int const runs = static_cast<unsigned int>(4000000 / units);
    double const seconds = SecondsOf(
        [&]
        {
            for (unsigned int i = 0; i < runs; ++i)
            {
                if (GMStringToken::WildcardMatch(text, text))
                    Use(text.data());
            }
        });
    return seconds / runs / static_cast<double>(units);
}

} // namespace

void MeasureTokens(Report & report)
{
    if (report.IsWanted("tokens: 8 MB at \";,\""))
    {
        GMString const list = MakeList();
        report.Measure({"tokens: 8 MB at \";,\"",
                        static_cast<double>(list.size() * sizeof(wchar_t)) / 1e6,
                        "MB",
                        [&]
                        {
                            std::vector<GMString> tokens;
                            GMStringToken::StringToken(list, L";,", tokens);
                            Use(tokens.data());
                        },
                        {{"boost::split",
                          [&]
                          {
                              std::vector<GMString> tokens;
                              boost::split(tokens, list, boost::is_any_of(L";,"),
                                           boost::token_compress_on);
                              Use(tokens.data());
                          },
                          Bar::RateAtLeast(1.2)}}});
    }

    std::string const wildcards = "wildcard match: time a unit, 100,000 over 1,000 units";
    if (report.IsWanted(wildcards))
    {
        SecondsOfMatchedUnit(1000); // warms up
        report.Figure(wildcards, SecondsOfMatchedUnit(100000) / SecondsOfMatchedUnit(1000), "x", 2);
    }
}

} // namespace Velmora::Benchmarks
