#include "VelmoraCommon/detect/system/GMHardwareDetect.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>

#include "VelmoraCommon/detect/system/internal/CpuId.h"
#include "VelmoraCommon/detect/system/internal/GMWmiSession.h"
#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

struct BrandRow
{
    wchar_t const * pattern;
    unsigned char level;
};

/// In the order in which they are looked for, without regard to case.
constexpr BrandRow brands[] = {
    {L"i7", 7},   {L"i5", 6},      {L"i3", 5},      {L"core2", 4},   {L"core(tm)2", 4},
    {L"core", 3}, {L"pentium", 2}, {L"celeron", 1}, {L"A10", 8},     {L"A8", 9},
    {L"A6", 10},  {L"A4", 11},     {L"Phenom", 12}, {L"Athlon", 13}, {L"Sempron", 14},
};

constexpr unsigned int brandLeaves[] = {0x80000002, 0x80000003, 0x80000004};

GMString ReadBrand()
{
    GMStringA bytes;
    for (unsigned int const leaf : brandLeaves)
    {
        auto const registers = ReadCpuId(leaf);
        bytes.append(reinterpret_cast<char const *>(registers.data()), sizeof(registers));
    }
    GMString brand = GMStringConvert::MultiByteToUnicodeString(bytes, CP_ACP);
    GMStringUtils::Trim(brand, L" \r\t\n");
    return brand;
}

/// The records of the system's caches, cores and nodes.
struct ProcessorRecords
{
    using Record = SYSTEM_LOGICAL_PROCESSOR_INFORMATION;

    std::unique_ptr<Record[]> records;
    DWORD size = 0; // in bytes

    Record const * begin() const { return records.get(); }
    Record const * end() const { return records.get() + size / sizeof(Record); }
};

// The answers of DetectCPUCache.
constexpr int success = 0;
constexpr int noFunction = 1;
constexpr int noMemory = 2;
constexpr int systemFailure = 3;
constexpr int noSystemLibrary = 4;

int ReadProcessorRecords(ProcessorRecords & found)
{
    HMODULE const kernel = GetModuleHandleW(L"kernel32.dll");
    if (kernel == nullptr)
        return noSystemLibrary;
    auto * const getInformation = FindExport<decltype(::GetLogicalProcessorInformation)>(
        kernel, "GetLogicalProcessorInformation");
    if (getInformation == nullptr)
        return noFunction;
    for (DWORD capacity = 0;;)
    {
        found.size = capacity;
        if (getInformation(found.records.get(), &found.size))
        {
            found.size = std::min(found.size, capacity);
            return success;
        }
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER || found.size <= capacity)
            return systemFailure;
        capacity = found.size;
        std::size_t const count = capacity / sizeof(ProcessorRecords::Record) + 1;
        found.records.reset(new (std::nothrow) ProcessorRecords::Record[count]());
        if (found.records == nullptr)
            return noMemory;
    }
}

constexpr std::size_t mostCacheLevels = 4;

} // namespace

bool GMHardwareDetect::DetectCPU()
{
    m_cpu.m_clocks.clear();
    m_cpu.m_count = 0;
    m_cpu.m_clockSum = 0;
    {
        GMWmiSession const session(GMWmiSession::lenient);
        for (;; ++m_cpu.m_count)
        {
            auto const processor = session.Object(
                GMStringUtils::FormatResult(L"Win32_Processor.DeviceID=\"CPU%u\"", m_cpu.m_count));
            WmiValue clock(processor.Get(), L"CurrentClockSpeed");
            if (!clock.IsThere())
                break;
            auto const speed = static_cast<unsigned int>(clock.Number());
            m_cpu.m_clocks.push_back(speed);
            m_cpu.m_clockSum += speed;
        }
    }

    m_cpu.m_name = ReadBrand();
    if (m_cpu.m_count == 0)
        return false;
    auto const * const brand =
        std::find_if(std::begin(brands), std::end(brands),
                     [this](BrandRow const & row)
                     {
                         return GMStringUtils::FindNoCase(m_cpu.m_name, row.pattern, 0) !=
                                static_cast<unsigned int>(GMString::npos);
                     });
    if (brand != std::end(brands))
        m_cpu.m_level = brand->level;
    DetectCPUTypeInfo();
    DetectCPUCache();
    return true;
}

bool GMHardwareDetect::DetectCPUTypeInfo()
{
    SYSTEM_INFO info = {};
    GetSystemInfo(&info);
    m_cpu.m_type = m_cpu.m_level != 0 ? m_cpu.m_level : info.dwProcessorType;
    m_cpu.m_count = info.dwNumberOfProcessors;
    return true;
}

int GMHardwareDetect::DetectCPUCache()
{
    // The first cache of each level, from level 1 on.
    CACHE_DESCRIPTOR caches[mostCacheLevels] = {};
    ProcessorRecords found;
    int const result = ReadProcessorRecords(found);
    if (result == success)
    {
        for (auto const & record : found)
        {
            if (record.Relationship != RelationCache)
                continue;
            std::size_t const index = record.Cache.Level - std::size_t(1);
            if (index < mostCacheLevels && caches[index].Level == 0)
                caches[index] = record.Cache;
        }
    }
    m_cpu.m_cacheLevels = static_cast<unsigned int>(
        std::count_if(std::begin(caches), std::end(caches),
                      [](CACHE_DESCRIPTOR const & cache) { return cache.Level != 0; }));
    m_cpu.m_lineSize = caches[0].LineSize;
    m_cpu.m_l2Size = caches[1].Size / 1024;
    m_cpu.m_l3Size = caches[2].Size / 1024;
    return result;
}

GMString GMHardwareDetect::GetCPUName(bool compact) const
{
    GMString name = m_cpu.m_name;
    if (compact)
        GMStringUtils::TrimDupChar(name, L' ');
    return name;
}

unsigned char GMHardwareDetect::GetCPULevel() const { return m_cpu.m_level; }

unsigned int GMHardwareDetect::GetCPUNum() const { return m_cpu.m_count; }

float GMHardwareDetect::GetCPUFrequency() const
{
    unsigned int const clock =
        m_cpu.m_count == 0 ? m_cpu.m_clockSum : m_cpu.m_clockSum / m_cpu.m_count;
    return static_cast<float>(clock / 1000.0);
}

} // namespace Velmora
