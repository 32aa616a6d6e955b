#include "VelmoraCommon/executable/GMPEInfo.h"

#include <map>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/executable/SampleFiles.h"
#include "tests/support/GuardBuffer.h"

namespace Velmora::Testing
{

TEST(GMPEInfo, TranslatesAddressesWithinSections)
{
    constexpr std::size_t virtualSize = sectionsOffset + 8;
    constexpr std::size_t address = sectionsOffset + 12;
    constexpr std::size_t rawSize = sectionsOffset + 16;
    constexpr std::size_t sectionCount = ntOffset + 6; // with half of the time stamp
    constexpr std::size_t alignment = ntOffset + 56;
    constexpr std::size_t ntField = offsetof(IMAGE_DOS_HEADER, e_lfanew);
    std::tuple<char const *, std::map<std::size_t, DWORD>, DWORD, int, bool> const cases[] = {
        // what is patched, the address, its offset, and whether it is in the section
        {"last byte of the data", {{rawSize, 8}}, sectionRva + 7, 0x407, true},
        {"behind the data", {{rawSize, 8}}, sectionRva + 8, -1, true},
        {"last byte but one", {{rawSize, 0x1000}}, sectionRva + 0xFFE, 0x13FE, true},
        {"last byte", {{rawSize, 0x1000}}, sectionRva + 0xFFF, -1, true},
        {"behind the section", {{rawSize, 0x2000}}, sectionRva + 0x1000, -1, false},
        {"empty in memory at 0", {{virtualSize, 0}, {address, 0}}, 5, -1, false},
        {"without alignment, within", {{alignment, 0}}, sectionRva + 1, sectionOffset + 1, true},
        {"end beyond 4 GiB", {{address, 0xFFFFF000}, {virtualSize, ~0u}}, 0xFFFFF001, 0x401, true},
        {"offset that wraps", {{rawOffset, 0xFFFFFFFF}}, sectionRva + 1, -1, true},
        {"65,535 sections claimed, not found", {{sectionCount, 0xFFFF}}, 0xF0000000, -1, false},
        {"headers near 4 GiB", {{ntField, 0xFFFFFF88}}, sectionRva, -1, false},
    };
    for (auto const & [what, patches, rva, offset, isInSection] : cases)
    {
        std::string bytes = ProgramBytes({"a.dll"});
        for (auto const & [at, value] : patches)
            Place(bytes, at, value);
        GuardBuffer<char> const guarded(bytes);
        GMPEInfo const info(guarded.Data(), static_cast<unsigned int>(bytes.size()));
        EXPECT_EQ(offset, info.RvaToOffset(rva)) << what;
        unsigned char const * const name = info.GetSectionNameByRva(rva);
        EXPECT_STREQ(isInSection ? ".idata" : nullptr, reinterpret_cast<char const *>(name))
            << what;
    }
    GMPEInfo const info(nullptr, 0);
    EXPECT_EQ(8192ul, info.Align(4097, 4096));
    EXPECT_EQ(4096ul, info.Align(4096, 4096));
    EXPECT_EQ(0xFFFFF000ul, info.Align(0xFFFFF001, 4096)); // as far as it fits
    EXPECT_EQ(7ul, info.Align(7, 0));
}

TEST(GMPEInfo, NeedsEachPartWhole)
{
    std::string const bytes = ProgramBytes({"a.dll"});
    for (unsigned int size = 0; size <= bytes.size(); ++size)
    {
        SCOPED_TRACE(size);
        GuardBuffer<char> const guarded(bytes.substr(0, size));
        GMPEInfo const info(guarded.Data(), size);
        _IMAGE_DOS_HEADER * dos = nullptr;
        _IMAGE_NT_HEADERS * headers = nullptr;
        _IMAGE_SECTION_HEADER * section = nullptr;
        bool const hasHeaders = size >= ntOffset + 248;
        bool const hasSections = size >= ntOffset + 288;
        EXPECT_EQ(size >= 4, info.GetDosHeader(dos));
        EXPECT_TRUE(hasHeaders == info.IsPEFile() && hasHeaders == info.GetImageNTHeader(headers));
        EXPECT_EQ(hasHeaders ? static_cast<void *>(guarded.Data() + ntOffset) : nullptr, headers);
        EXPECT_EQ(hasSections, info.GetSectionHeader(section));
        EXPECT_EQ(hasSections ? int(sectionOffset) : -1, info.RvaToOffset(sectionRva));
    }
}

} // namespace Velmora::Testing
