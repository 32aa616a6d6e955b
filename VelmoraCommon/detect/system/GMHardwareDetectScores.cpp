#include "VelmoraCommon/detect/system/GMHardwareDetect.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>

#include "VelmoraCommon/detect/system/internal/CpuId.h"
#include "VelmoraCommon/text/GMStringToken.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

struct BonusRow
{
    unsigned int type; // a brand's level up to 14, else one of the system's processor types
    unsigned int bonus;
};
constexpr BonusRow bonuses[] = {
    {1, 130},   {386, 130},  {2, 150},  {3, 150},   {12, 150}, {586, 150}, {4, 170},
    {5, 200},   {9, 200},    {6, 220},  {7, 250},   {8, 230},  {10, 180},  {8664, 180},
    {11, 160},  {2200, 160}, {13, 140}, {486, 140}, {14, 120}, {601, 120}, {603, 120},
    {604, 120}, {620, 120},  {4000, 0}, {21064, 0},
};
constexpr unsigned int otherBonus = 100;

unsigned int BonusOf(unsigned int type)
{
    auto const * const row =
        std::find_if(std::begin(bonuses), std::end(bonuses),
                     [type](BonusRow const & each) { return each.type == type; });
    return row == std::end(bonuses) ? otherBonus : row->bonus;
}

enum Register
{
    ecx = 2,
    edx = 3
};

constexpr unsigned int basicLeaf = 1;
constexpr unsigned int extendedLeaf = 0x80000001;

struct InstructionRow
{
    unsigned int leaf;
    Register place;
    unsigned int bit;
};
constexpr InstructionRow instructions[] = {
    {extendedLeaf, edx, 29}, // 64-bit mode
    {basicLeaf, edx, 23},    // MMX
    {basicLeaf, edx, 25},    // SSE
    {basicLeaf, edx, 26},    // SSE2
    {basicLeaf, ecx, 0},     // SSE3
    {basicLeaf, ecx, 9},     // SSSE3
    {basicLeaf, ecx, 19},    // SSE4.1
    {basicLeaf, ecx, 20},    // SSE4.2
    {extendedLeaf, ecx, 6},  // SSE4a
    {basicLeaf, ecx, 28},    // AVX
    {extendedLeaf, ecx, 11}, // XOP
    {extendedLeaf, ecx, 16}, // FMA4
    {basicLeaf, ecx, 12},    // FMA
};
constexpr DWORD systemFeatures[] = {
    PF_3DNOW_INSTRUCTIONS_AVAILABLE,
    PF_RDTSC_INSTRUCTION_AVAILABLE,
    PF_XMMI_INSTRUCTIONS_AVAILABLE,
    PF_XMMI64_INSTRUCTIONS_AVAILABLE,
};
constexpr double pointsOfAllFeatures = 100;

using Words = std::vector<GMString>;

Words SplitWords(GMString const & text)
{
    Words words;
    GMStringToken::StringToArray(text, L' ', words);
    return words;
}

constexpr std::size_t fewestSharedWords = 3;
constexpr std::size_t mostOtherWords = 3;

/// The score of \p name by \p table, which has tenths of scores; none if no row fits. A row of 0 counts
/// only for its very name.
std::optional<unsigned int> ScoreByName(GMString name,
                                        std::map<GMString, unsigned int> const & table)
{
    GMStringUtils::MakeLower(name);
    Words const words = SplitWords(name);
    unsigned int score = 0;
    std::size_t best = 0;
    for (auto const & [key, tenth] : table)
    {
        GMString lower = key;
        GMStringUtils::MakeLower(lower);
        if (lower == name)
            return tenth * 10;
        Words const keyWords = SplitWords(lower);
        auto const shared = static_cast<std::size_t>(std::count_if(
            words.begin(), words.end(),
            [&keyWords](GMString const & word)
            { return std::find(keyWords.begin(), keyWords.end(), word) != keyWords.end(); }));
        if (shared > best)
        {
            best = shared;
            score = tenth * 10;
        }
    }
    if (score == 0 || best < fewestSharedWords || words.size() - best > mostOtherWords)
        return std::nullopt;
    return score;
}

} // namespace

void GMHardwareDetect::MakeCPUScore(unsigned int & score)
{
    CheckCPUInfo();
    unsigned int const count = m_cpu.m_count;
    unsigned int const clockPoints = m_cpu.m_clockSum * count * 500 / 80000;
    double sum = clockPoints;
    sum += std::log10(count == 1 ? 1.1 : count) / 3.5 * 300;
    sum += static_cast<double>(m_cpu.m_lineSize) * 7.5 / 512;
    sum += static_cast<double>(m_cpu.m_l2Size) * 30 / 4096;
    sum += static_cast<double>(m_cpu.m_l3Size) * 112.5 / 12288;
    sum += BonusOf(m_cpu.m_type);
    CheckCPUInstruction(sum);
    score = static_cast<unsigned int>(sum);
}

void GMHardwareDetect::CheckCPUInfo()
{
    m_cpu.m_count = m_cpu.m_count == 0 ? 1 : std::min(m_cpu.m_count, 16u);
    m_cpu.m_clockSum = m_cpu.m_clockSum == 0 ? 1500 : std::min(m_cpu.m_clockSum, 5000u);
    if (m_cpu.m_cacheLevels == 0)
        m_cpu.m_cacheLevels = 1;
    if (m_cpu.m_lineSize == 0)
        m_cpu.m_lineSize = 32;
    if (m_cpu.m_type == 0)
        m_cpu.m_type = PROCESSOR_INTEL_PENTIUM;
}

void GMHardwareDetect::CheckCPUInstruction(double & score)
{
    constexpr double points =
        pointsOfAllFeatures / (std::size(instructions) + std::size(systemFeatures));
    auto const basic = ReadCpuId(basicLeaf);
    auto const extended = ReadCpuId(extendedLeaf);
    double sum = 0;
    for (InstructionRow const & row : instructions)
    {
        auto const & registers = row.leaf == basicLeaf ? basic : extended;
        if ((registers[row.place] >> row.bit & 1) != 0)
            sum += points;
    }
    for (DWORD const feature : systemFeatures)
    {
        if (IsProcessorFeaturePresent(feature))
            sum += points;
    }
    score += sum;
}

void GMHardwareDetect::MakeGPUScore(unsigned int & score)
{
    if (auto const known = ScoreByName(GetVideoCardName(true, 0), m_gpuScores))
    {
        score = *known;
        return;
    }
    CheckGPUInfo();
    unsigned __int64 const sum = m_gpuSummary.m_coreClock * 350 / 8000 +
                                 m_gpuSummary.m_memoryClock * 300 / 1500 +
                                 m_gpuSummary.m_adapterRam * 350 / 4096;
    score = static_cast<unsigned int>(sum) / 2;
}

void GMHardwareDetect::CheckGPUInfo()
{
    GMVideoCardInfo & gpu = m_gpuSummary;
    if (gpu.m_memoryClock == 0 || gpu.m_coreClock == 0)
    {
        gpu.m_memoryClock = 500000;
        gpu.m_coreClock = 800000;
    }
    if (gpu.m_memoryClock > 1500000 || gpu.m_coreClock > 8000000)
    {
        gpu.m_memoryClock = 1500000;
        gpu.m_coreClock = 8000000;
    }
    if (gpu.m_memoryClock > 1500 || gpu.m_coreClock > 8000) // kilohertz, not megahertz
    {
        gpu.m_memoryClock /= 1000;
        gpu.m_coreClock /= 1000;
    }
    unsigned int const megabytes = GetVideoCardRAW(0);
    gpu.m_adapterRam = megabytes == 0 ? 1024 : std::min(megabytes, 4096u);
}

} // namespace Velmora
