#pragma once

#include "benchmarks/Bench.h"

namespace Velmora::Benchmarks
{

// One function a family of rows, each in a source file of its own.
void MeasureBuffers(Report & report);
void MeasureEncodings(Report & report);
void MeasureExecutables(Report & report);
void MeasureMachine(Report & report);
void MeasurePinyin(Report & report);
void MeasureRegInstall(Report & report);
void MeasureRegRecords(Report & report);
void MeasureRegText(Report & report);
void MeasureShell(Report & report);
void MeasureSoftware(Report & report);
void MeasureStrings(Report & report);
void MeasureTextFiles(Report & report);
void MeasureThreads(Report & report);
void MeasureTokens(Report & report);
void MeasureTrees(Report & report);
void MeasureUrls(Report & report);

/// The program started with this option is a child that fills its output, for MeasureShell.
constexpr wchar_t floodOption[] = L"--flood";
int Flood();

} // namespace Velmora::Benchmarks
