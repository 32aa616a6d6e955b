#include <cstdio>
#include <cstring>

#include "benchmarks/Families.h"

using namespace Velmora::Benchmarks;

// velmora_bench [FILTER]: prints every row, or those whose name contains FILTER. Ends with 0 if
// every bar was met, else with 1.
int main(int argc, char ** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--flood") == 0)
        return Flood();
    Report report(argc > 1 ? argv[1] : "");
    MeasureBuffers(report);
    MeasureEncodings(report);
    MeasureExecutables(report);
    MeasureMachine(report);
    MeasurePinyin(report);
    MeasureRegInstall(report);
    MeasureRegRecords(report);
    MeasureRegText(report);
    MeasureShell(report);
    MeasureSoftware(report);
    MeasureStrings(report);
    MeasureTextFiles(report);
    MeasureThreads(report);
    MeasureTokens(report);
    MeasureTrees(report);
    MeasureUrls(report);
    std::printf("%u bars missed\n", report.Missed());
    return report.Missed() == 0 ? 0 : 1;
}
