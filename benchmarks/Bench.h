#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Velmora::Benchmarks
{

/// What a row has to reach against one peer.
struct Bar
{
    /// Our rate is at least \p ratio times the peer's.
    static Bar RateAtLeast(double ratio) { return {ratio, true}; }
    /// Our time is at most \p ratio times the peer's.
    static Bar TimeAtMost(double ratio) { return {ratio, false}; }
    /// Printed for comparison only.
    static Bar None() { return {0, true}; }

    double ratio;
    bool ofRates;
};

/// Somebody who does the same work: a floor (the fewest calls that can do it), the literal steps, a
/// known library or tool.
struct Peer
{
    std::string name;
    std::function<void()> run;
    Bar bar;
};

/// One kind of work. Ours and the peers run in turn, A B C A B C, in one process, and medians are
/// compared: only ratios within one run mean anything.
struct Work
{
    std::string name;
    double amount;    // units of work in one run
    std::string unit; // "MB", "calls", "values"
    std::function<void()> ours;
    std::vector<Peer> peers;
    unsigned int turns = 9;
    /// Runs before each turn of each contender, outside the measured time.
    std::function<void()> prepare = {};
};

/// The table that the program prints.
class Report
{
public:
    /// \p filter: only rows whose name contains it run; empty for all.
    explicit Report(std::string filter) : m_filter(std::move(filter)) {}

    /// Measures and prints. Short work is repeated within a turn until it takes some milliseconds.
    void Measure(Work const & work);

    /// Prints a figure that isn't a time: calls a value, bytes of memory. Met when \p value is at
    /// most \p limit.
    void Figure(std::string const & name, double value, std::string const & unit, double limit);

    /// True if a row of this name is wanted; asks before costly preparation.
    bool IsWanted(std::string const & name) const;

    unsigned int Missed() const { return m_missed; }

private:
    std::string m_filter;
    unsigned int m_missed = 0;
};

/// Keeps the compiler from leaving a result out.
void Use(void const * result);

/// Seconds of one call, by the performance counter.
double SecondsOf(std::function<void()> const & run);

} // namespace Velmora::Benchmarks
