#include "VelmoraCommon/executable/GMPEInfo.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>

#include "VelmoraCommon/executable/internal/PEFormat.h"

namespace Velmora
{

namespace
{

/// What GetDosHeader and IsPEFile want at least: the mark "MZ", rounded up.
constexpr unsigned int markSize = 4;

std::uint64_t RoundUp(std::uint64_t value, std::uint32_t alignment)
{
    return alignment == 0 ? value : (value + alignment - 1) / alignment * alignment;
}

} // namespace

GMPEInfo::GMPEInfo(void * image, unsigned int size)
    : m_image(static_cast<unsigned char *>(image)),
      m_size(image == nullptr ? 0 : size)
{
}

bool GMPEInfo::IsPEFile() const
{
    unsigned int offset;
    return m_size >= markSize && ReadUnaligned<WORD>(m_image) == IMAGE_DOS_SIGNATURE &&
           FindNtHeaders(offset, 0) && ReadUnaligned<DWORD>(m_image + offset) == IMAGE_NT_SIGNATURE;
}

bool GMPEInfo::GetDosHeader(_IMAGE_DOS_HEADER *& header) const
{
    if (m_size < markSize)
        return false;
    header = reinterpret_cast<_IMAGE_DOS_HEADER *>(m_image);
    return true;
}

bool GMPEInfo::GetImageNTHeader(_IMAGE_NT_HEADERS *& header) const
{
    unsigned int offset;
    if (!FindNtHeaders(offset, 0))
        return false;
    header = reinterpret_cast<NtHeaders *>(m_image + offset);
    return true;
}

bool GMPEInfo::GetSectionHeader(_IMAGE_SECTION_HEADER *& first) const
{
    unsigned int offset;
    if (!FindNtHeaders(offset, sizeof(SectionHeader)))
        return false;
    first = reinterpret_cast<SectionHeader *>(m_image + offset + sizeof(NtHeaders));
    return true;
}

unsigned long GMPEInfo::Align(unsigned long value, unsigned long alignment) const
{
    std::uint64_t const rounded = RoundUp(value, alignment);
    return static_cast<unsigned long>(rounded <= ULONG_MAX ? rounded : rounded - alignment);
}

unsigned char * GMPEInfo::GetSectionNameByRva(unsigned long rva) const
{
    static_assert(offsetof(SectionHeader, Name) == 0);
    return FindSection(rva, 0);
}

int GMPEInfo::RvaToOffset(unsigned long rva) const
{
    unsigned char const * const found = FindSection(rva, 1);
    if (found == nullptr)
        return -1;
    auto const section = ReadUnaligned<SectionHeader>(found);
    unsigned long const inSection = rva - section.VirtualAddress;
    if (inSection >= section.SizeOfRawData)
        return -1;
    std::uint64_t const offset = std::uint64_t(section.PointerToRawData) + inSection;
    return offset <= INT_MAX ? static_cast<int>(offset) : -1;
}

/// Takes the place of the NT headers from the DOS header.
/// \return whether they are whole and have \p following bytes behind them
bool GMPEInfo::FindNtHeaders(unsigned int & offset, unsigned int following) const
{
    constexpr unsigned int field = offsetof(_IMAGE_DOS_HEADER, e_lfanew);
    if (m_size < field + sizeof(DWORD))
        return false;
    offset = ReadUnaligned<DWORD>(m_image + field);
    return offset <= m_size && m_size - offset >= sizeof(NtHeaders) + following;
}

/// The header of the first section that holds \p rva in memory; its last bytes, \p lastBytes of
/// them, don't count. Null for none.
unsigned char * GMPEInfo::FindSection(unsigned long rva, unsigned int lastBytes) const
{
    unsigned int offset;
    if (!FindNtHeaders(offset, sizeof(SectionHeader)))
        return nullptr;
    unsigned char const * const headers = m_image + offset;
    auto const alignment =
        ReadUnaligned<DWORD>(headers + offsetof(NtHeaders, OptionalHeader.SectionAlignment));
    auto const sections =
        ReadUnaligned<WORD>(headers + offsetof(NtHeaders, FileHeader.NumberOfSections));
    offset += sizeof(NtHeaders);
    std::size_t const count =
        std::min<std::size_t>(sections, (m_size - offset) / sizeof(SectionHeader));
    unsigned char * at = m_image + offset;
    for (unsigned char * const end = at + count * sizeof(SectionHeader); at != end;
         at += sizeof(SectionHeader))
    {
        auto const section = ReadUnaligned<SectionHeader>(at);
        if (rva < section.VirtualAddress)
            continue;
        std::uint64_t const inSection = rva - section.VirtualAddress;
        if (inSection + lastBytes < RoundUp(section.Misc.VirtualSize, alignment))
            return at;
    }
    return nullptr;
}

} // namespace Velmora
