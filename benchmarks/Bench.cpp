#include "benchmarks/Bench.h"

#include <algorithm>
#include <cstdio>

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora::Benchmarks
{

namespace
{

constexpr double shortestTurn =
    0.005; // seconds; well above the counter's step and a scheduler tick

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// How often \p run is repeated to fill a turn. Prepared work runs once a turn.
unsigned int Repetitions(Work const & work, std::function<void()> const & run)
{
    if (work.prepare)
        return 1;
    // The fastest of a few, which warm up, too: on a busy machine one alone may be far too long, and
    // turns that are shorter than the others' are interrupted less often.
    double const once = std::min({SecondsOf(run), SecondsOf(run), SecondsOf(run)});
    return once >= shortestTurn ? 1u : static_cast<unsigned int>(shortestTurn / (once + 1e-7)) + 1u;
}

double Turn(Work const & work, std::function<void()> const & run, unsigned int repetitions)
{
    if (work.prepare)
        work.prepare();
    return SecondsOf(
               [&]
               {
                   for (unsigned int i = 0; i < repetitions; ++i)
                       run();
               }) /
           repetitions;
}

void PrintRate(double amount, double seconds, std::string const & unit)
{
    double const rate = amount / seconds;
    if (rate >= 1e6)
        std::printf("%9.2f M%s/s", rate / 1e6, unit.c_str());
    else if (rate >= 1e4)
        std::printf("%9.1f k%s/s", rate / 1e3, unit.c_str());
    else
        std::printf("%9.1f %s/s", rate, unit.c_str());
}

} // namespace

void Use(void const * result)
{
    static void const * volatile s_sink;
    s_sink = result;
    static_cast<void>(s_sink);
}

double SecondsOf(std::function<void()> const & run)
{
    LARGE_INTEGER frequency;
    LARGE_INTEGER begin;
    LARGE_INTEGER end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&begin);
    run();
    QueryPerformanceCounter(&end);
    return static_cast<double>(end.QuadPart - begin.QuadPart) /
           static_cast<double>(frequency.QuadPart);
}

bool Report::IsWanted(std::string const & name) const
{
    return name.find(m_filter) != std::string::npos;
}

void Report::Measure(Work const & work)
{
    if (!IsWanted(work.name))
        return;

    std::vector<std::function<void()>> runs{work.ours};
    for (Peer const & peer : work.peers)
        runs.push_back(peer.run);
    std::vector<unsigned int> repetitions;
    for (auto const & run : runs)
        repetitions.push_back(Repetitions(work, run));

    std::vector<std::vector<double>> seconds(runs.size());
    for (unsigned int turn = 0; turn < work.turns; ++turn)
    {
        for (std::size_t i = 0; i < runs.size(); ++i)
            seconds[i].push_back(Turn(work, runs[i], repetitions[i]));
    }

    double const ours = Median(seconds[0]);
    std::printf("%s\n    %-34s", work.name.c_str(), "ours");
    PrintRate(work.amount, ours, work.unit);
    std::printf("\n");
    for (std::size_t i = 0; i < work.peers.size(); ++i)
    {
        Peer const & peer = work.peers[i];
        double const theirs = Median(seconds[i + 1]);
        std::printf("    %-34s", peer.name.c_str());
        PrintRate(work.amount, theirs, work.unit);
        double const ratio = peer.bar.ofRates ? theirs / ours : ours / theirs;
        std::printf("  %s ratio %.2f", peer.bar.ofRates ? "rate" : "time", ratio);
        if (peer.bar.ratio != 0)
        {
            bool const met = peer.bar.ofRates ? ratio >= peer.bar.ratio : ratio <= peer.bar.ratio;
            std::printf(", bar %s %.2f: %s", peer.bar.ofRates ? ">=" : "<=", peer.bar.ratio,
                        met ? "met" : "MISSED");
            m_missed += met ? 0u : 1u;
        }
        std::printf("\n");
    }
    std::fflush(stdout);
}

void Report::Figure(std::string const & name, double value, std::string const & unit, double limit)
{
    if (!IsWanted(name))
        return;
    bool const met = value <= limit;
    m_missed += met ? 0u : 1u;
    std::printf("%s\n    %-34s%9.2f %s, bar <= %.2f: %s\n", name.c_str(), "ours", value,
                unit.c_str(), limit, met ? "met" : "MISSED");
    std::fflush(stdout);
}

} // namespace Velmora::Benchmarks
