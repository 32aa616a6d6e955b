#include "VelmoraCommon/executable/GMPEInfo.h"

#include <gtest/gtest.h>

#include "tests/executable/PEBytes.h"
#include "tests/support/GuardBuffer.h"

namespace Velmora::Testing
{

namespace
{

constexpr std::size_t sectionField(std::size_t section, std::size_t field)
{
    return sectionsOffset + section * sizeof(IMAGE_SECTION_HEADER) + field;
}
constexpr std::size_t virtualSize = offsetof(IMAGE_SECTION_HEADER, Misc);
constexpr std::size_t virtualAddress = offsetof(IMAGE_SECTION_HEADER, VirtualAddress);
constexpr std::size_t rawSize = offsetof(IMAGE_SECTION_HEADER, SizeOfRawData);
constexpr std::size_t rawOffset = offsetof(IMAGE_SECTION_HEADER, PointerToRawData);
constexpr std::size_t sectionCount =
    ntOffset + offsetof(IMAGE_NT_HEADERS32, FileHeader.NumberOfSections);
constexpr std::size_t alignment =
    ntOffset + offsetof(IMAGE_NT_HEADERS32, OptionalHeader.SectionAlignment);
constexpr std::size_t ntField = offsetof(IMAGE_DOS_HEADER, e_lfanew);

} // namespace

TEST(GMPEInfo, TranslatesAddressesWithinSections)
{
    struct Patch
    {
        std::size_t at;
        DWORD value;
    };
    struct Case
    {
        char const * what;
        std::vector<Patch> patches;
        DWORD rva;
        int offset;
        bool isInSection;
    };
    constexpr DWORD end = sectionRva + 0x1000;
    Case const cases[] = {
        {"start of the section", {}, sectionRva, sectionOffset, true},
        {"in front of it", {}, sectionRva - 1, -1, false},
        {"last byte of the data", {{sectionField(0, rawSize), 8}}, sectionRva + 7, 0x407, true},
        {"behind the data", {{sectionField(0, rawSize), 8}}, sectionRva + 8, -1, true},
        {"last byte but one", {{sectionField(0, rawSize), 0x1000}}, end - 2, 0x13FE, true},
        {"last byte", {{sectionField(0, rawSize), 0x1000}}, end - 1, -1, true},
        {"behind the section", {{sectionField(0, rawSize), 0x2000}}, end, -1, false},
        {"empty in memory at 0",
         {{sectionField(0, virtualSize), 0}, {sectionField(0, virtualAddress), 0}},
         5,
         -1,
         false},
        {"without alignment, within", {{alignment, 0}}, sectionRva + 1, sectionOffset + 1, true},
        {"end beyond 4 GiB",
         {{sectionField(0, virtualAddress), 0xFFFFF000},
          {sectionField(0, virtualSize), 0xFFFFFFFF}},
         0xFFFFF001,
         sectionOffset + 1,
         true},
        {"offset that wraps", {{sectionField(0, rawOffset), 0xFFFFFFFF}}, sectionRva + 1, -1, true},
        {"no sections", {{sectionCount, 0}}, sectionRva, -1, false},
        {"65,535 sections claimed, not found", {{sectionCount, 0xFFFF}}, 0xF0000000, -1, false},
        {"headers near 4 GiB", {{ntField, 0xFFFFFF88}}, sectionRva, -1, false},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        std::string bytes = ProgramBytes({"a.dll"});
        for (Patch const & patch : each.patches)
        {
            if (patch.at == sectionCount)
                Place(bytes, patch.at, static_cast<WORD>(patch.value));
            else
                Place(bytes, patch.at, patch.value);
        }
        GuardBuffer<char> const guarded(bytes);
        GMPEInfo const info(guarded.Data(), static_cast<unsigned int>(bytes.size()));
        EXPECT_EQ(each.offset, info.RvaToOffset(each.rva));
        unsigned char const * const name = info.GetSectionNameByRva(each.rva);
        EXPECT_STREQ(each.isInSection ? ".idata" : nullptr, reinterpret_cast<char const *>(name));
    }
}

TEST(GMPEInfo, RoundsUpAsFarAsItFits)
{
    GMPEInfo const info(nullptr, 0);
    EXPECT_EQ(8192ul, info.Align(4097, 4096));
    EXPECT_EQ(4096ul, info.Align(4096, 4096));
    EXPECT_EQ(0ul, info.Align(0, 4096));
    EXPECT_EQ(0xFFFFF000ul, info.Align(0xFFFFF001, 4096));
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
        EXPECT_EQ(hasHeaders, info.IsPEFile());
        EXPECT_EQ(size >= 4, info.GetDosHeader(dos));
        EXPECT_EQ(hasHeaders, info.GetImageNTHeader(headers));
        EXPECT_EQ(hasHeaders ? guarded.Data() + ntOffset : nullptr,
                  reinterpret_cast<char *>(headers));
        EXPECT_EQ(size >= ntOffset + 288, info.GetSectionHeader(section));
        EXPECT_EQ(size >= ntOffset + 288 ? sectionOffset + 0 : -1u,
                  static_cast<unsigned int>(info.RvaToOffset(sectionRva)));
    }
}

} // namespace Velmora::Testing
