#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora::Testing
{

/// Puts \p value over the bytes at \p at, which are there.
template <class T>
void Place(std::string & bytes, std::size_t at, T const & value)
{
    std::memcpy(&bytes.at(at + sizeof(T) - 1) - (sizeof(T) - 1), &value, sizeof(T));
}

/// \p bytes with \p value put over those at \p at.
template <class T>
std::string Patched(std::string bytes, std::size_t at, T const & value)
{
    Place(bytes, at, value);
    return bytes;
}

// The layout of the files below.
constexpr DWORD ntOffset = 0x80;
constexpr DWORD sectionsOffset = ntOffset + sizeof(IMAGE_NT_HEADERS32);
constexpr DWORD sectionRva = 0x3000;
constexpr DWORD sectionOffset = 0x400;

/// The bytes of a 32-bit program of the one section \p section, in which \p directories lie.
inline std::string FileBytes(std::string const & section,
                             std::vector<std::pair<int, IMAGE_DATA_DIRECTORY>> const & directories)
{
    IMAGE_DOS_HEADER dos = {};
    dos.e_magic = IMAGE_DOS_SIGNATURE;
    dos.e_lfanew = ntOffset;
    IMAGE_NT_HEADERS32 headers = {};
    headers.Signature = IMAGE_NT_SIGNATURE;
    headers.FileHeader.Machine = IMAGE_FILE_MACHINE_I386;
    headers.FileHeader.NumberOfSections = 1;
    headers.FileHeader.SizeOfOptionalHeader = sizeof(headers.OptionalHeader);
    headers.FileHeader.Characteristics = IMAGE_FILE_EXECUTABLE_IMAGE;
    headers.OptionalHeader.Magic = IMAGE_NT_OPTIONAL_HDR32_MAGIC;
    headers.OptionalHeader.SectionAlignment = 0x1000;
    headers.OptionalHeader.SizeOfHeaders = sectionOffset;
    headers.OptionalHeader.NumberOfRvaAndSizes = IMAGE_NUMBEROF_DIRECTORY_ENTRIES;
    for (auto const & [index, directory] : directories)
        headers.OptionalHeader.DataDirectory[index] = directory;
    IMAGE_SECTION_HEADER header = {};
    std::memcpy(header.Name, ".idata", 6);
    header.Misc.VirtualSize = static_cast<DWORD>(section.size());
    header.VirtualAddress = sectionRva;
    header.SizeOfRawData = static_cast<DWORD>(section.size());
    header.PointerToRawData = sectionOffset;

    std::string file(sectionOffset, '\0');
    Place(file, 0, dos);
    Place(file, ntOffset, headers);
    Place(file, sectionsOffset, header);
    return file + section;
}

/// The bytes of a 32-bit program of one section, which imports the libraries \p imports, and at
/// first use \p delayed. The tables stand first in the section, in front of the names.
inline std::string ProgramBytes(std::vector<std::string> const & imports,
                                std::vector<std::string> const & delayed = {})
{
    auto const sizeOf = [](std::vector<std::string> const & names, std::size_t each)
    { return DWORD(names.empty() ? 0 : (names.size() + 1) * each); };
    DWORD const importSize = sizeOf(imports, sizeof(IMAGE_IMPORT_DESCRIPTOR));
    DWORD const delaySize = sizeOf(delayed, sizeof(IMAGE_DELAYLOAD_DESCRIPTOR));
    std::string section(importSize + delaySize, '\0');
    for (std::size_t i = 0; i != imports.size(); ++i)
    {
        DWORD const name = DWORD(sectionRva + section.size());
        Place(section, i * 20, IMAGE_IMPORT_DESCRIPTOR{{0}, 0, 0, name, sectionRva});
        section += imports[i] + '\0';
    }
    for (std::size_t i = 0; i != delayed.size(); ++i)
    {
        Place(section, importSize + i * 32 + 4, DWORD(sectionRva + section.size())); // of the name
        section += delayed[i] + '\0';
    }
    DWORD const delayRva = delayed.empty() ? 0 : sectionRva + importSize;
    return FileBytes(
        section, {{IMAGE_DIRECTORY_ENTRY_IMPORT, {imports.empty() ? 0 : sectionRva, importSize}},
                  {IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT, {delayRva, delaySize}}});
}

} // namespace Velmora::Testing
