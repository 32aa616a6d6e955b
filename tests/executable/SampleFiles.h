#pragma once

#include <cstddef>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "VelmoraCommon/frame/GMSharedLibrary.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora::Testing
{

// The libraries of nothing but resources that lie beside this program; the signed one only where the
// build had the tools to sign it.

inline std::wstring Subject(wchar_t const * name = L"subject.dll")
{
    return std::filesystem::path(GMSharedLibrary::GetModuleFullName(nullptr))
        .replace_filename(name);
}

inline std::wstring SignedSubject() { return Subject(L"subject-signed.dll"); }

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
constexpr DWORD rawOffset = sectionsOffset + 20; // the field that tells sectionOffset
constexpr DWORD sectionRva = 0x3000;
constexpr DWORD sectionOffset = 0x400;

/// The bytes of a 32-bit program of the one section \p section, in which \p directories lie.
inline std::string FileBytes(std::string const & section,
                             std::vector<std::pair<int, IMAGE_DATA_DIRECTORY>> const & directories)
{
    IMAGE_NT_HEADERS32 headers = {};
    headers.Signature = IMAGE_NT_SIGNATURE;
    headers.FileHeader = {IMAGE_FILE_MACHINE_I386,    1, 0, 0, 0, sizeof(headers.OptionalHeader),
                          IMAGE_FILE_EXECUTABLE_IMAGE};
    headers.OptionalHeader.Magic = IMAGE_NT_OPTIONAL_HDR32_MAGIC;
    headers.OptionalHeader.SectionAlignment = 0x1000;
    headers.OptionalHeader.SizeOfHeaders = sectionOffset;
    headers.OptionalHeader.NumberOfRvaAndSizes = IMAGE_NUMBEROF_DIRECTORY_ENTRIES;
    for (auto const & [index, directory] : directories)
        headers.OptionalHeader.DataDirectory[index] = directory;
    DWORD const size = DWORD(section.size());
    std::string file(sectionOffset, '\0');
    Place(file, 0, WORD(IMAGE_DOS_SIGNATURE));
    Place(file, offsetof(IMAGE_DOS_HEADER, e_lfanew), ntOffset);
    Place(file, ntOffset, headers);
    Place(file, sectionsOffset,
          IMAGE_SECTION_HEADER{".idata", {size}, sectionRva, size, sectionOffset, 0, 0, 0, 0, 0});
    return file + section;
}

/// The bytes of a 32-bit program of one section, which imports the libraries \p imports, and at
/// first use \p delayed. The tables stand first in the section, in front of the names.
inline std::string ProgramBytes(std::vector<std::string> const & imports,
                                std::vector<std::string> const & delayed = {})
{
    DWORD const importSize = imports.empty() ? 0 : DWORD(imports.size() + 1) * 20;
    DWORD const delaySize = delayed.empty() ? 0 : DWORD(delayed.size() + 1) * 32;
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

/// The bytes of \p values, one behind the other.
template <class... T>
std::string Raw(T const &... values)
{
    return (std::string(reinterpret_cast<char const *>(&values), sizeof(values)) + ...);
}

/// What BitmapImage paints with; pixels of 32 bits have an alpha of 0x80.
constexpr DWORD imageColor = 0x00336699;

/// A bitmap as icons have it: one colour all over, and a mask that hides the lower half.
inline std::string BitmapImage(int width, int height, WORD depth, DWORD sizeField = 77)
{
    std::string bytes =
        Raw(BITMAPINFOHEADER{40, width, 2 * height, 1, depth, BI_RGB, sizeField, 0, 0, 0, 0});
    for (int i = 0; depth <= 8 && i != 1 << depth; ++i)
        bytes += Raw(imageColor);
    std::string row; // of the first colour of the table, or of the colour itself
    for (int x = 0; x != width && depth > 8; ++x)
        row += Raw(imageColor | 0x80000000).substr(0, depth / 8u);
    row.resize(static_cast<std::size_t>((width * depth + 31) / 32 * 4));
    for (int y = 0; y != height; ++y)
        bytes += row;
    std::string const mask(static_cast<std::size_t>((width + 31) / 32 * 4 * (height / 2)), '\xFF');
    return bytes + mask + std::string(mask.size(), '\0'); // the lowest row comes first
}

/// The start of a PNG stream: signature, and the chunk of the size.
inline std::string PngStart(BYTE width, BYTE height)
{
    return std::string("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\0", 19) + char(width) +
           std::string("\0\0\0", 3) + char(height) + std::string("\x08\x06\0\0\0", 5);
}

struct IconFileEntry
{
    BYTE width;
    BYTE height;
    BYTE colors;
    WORD bits;
    std::string image = {};
};

/// The bytes of an icon file.
inline std::string IconFileBytes(std::vector<IconFileEntry> const & entries)
{
    std::string bytes = Raw(WORD(0), WORD(1), static_cast<WORD>(entries.size()));
    std::string images;
    for (IconFileEntry const & each : entries)
    {
        bytes += Raw(each.width, each.height, each.colors, '\0', WORD(1), each.bits,
                     static_cast<DWORD>(each.image.size()),
                     static_cast<DWORD>(6 + 16 * entries.size() + images.size()));
        images += each.image;
    }
    return bytes + images;
}

/// A group of the images with the numbers \p ids.
inline std::string GroupBytes(std::vector<WORD> const & ids)
{
    std::string bytes = Raw(WORD(0), WORD(1), static_cast<WORD>(ids.size()));
    for (WORD const id : ids)
        bytes += std::string("\x20\x20\0\0\x01\0\x20\0\0\0\0\0", 12) + Raw(id);
    return bytes;
}

/// Moves the section, which begins behind the headers, so that the last byte of the file is that of
/// a page: behind it nothing can be read.
inline std::string AlignEnd(std::string bytes)
{
    DWORD const padding = static_cast<DWORD>(4096 - bytes.size() % 4096) % 4096;
    Place(bytes, rawOffset, sectionOffset + padding);
    return bytes.insert(sectionOffset, padding, '\0');
}

/// A program of nothing but icons. Images and groups are numbered from 1 on, but for the first group
/// if that has a name.
struct IconProgram
{
    std::vector<std::string> images;
    std::vector<std::string> groups;
    std::wstring firstName = {};
};
constexpr DWORD tableBit = 0x80000000; // of an offset that leads to a table, or to a name

inline IconProgram SampleIcons()
{
    return {{BitmapImage(16, 16, 4), BitmapImage(32, 32, 8), PngStart(48, 48)},
            {GroupBytes({1, 2, 3}), GroupBytes({2, 1}), GroupBytes({3})},
            L"NAME"};
}

/// The bytes of \p program. The tables stand last, from \p tables on: of types, of images, of groups,
/// each with 16 bytes and 8 for an entry; then for each image and group a table of one language, and
/// the place of the bytes.
inline std::string IconProgramBytes(IconProgram const & program, std::size_t * tables = nullptr)
{
    auto const table = [](std::size_t named, std::size_t numbered)
    { return Raw(0ull, 0ul, WORD(named), WORD(numbered)); };
    std::size_t const images = program.images.size();
    std::size_t const groups = program.groups.size();
    std::size_t const named = program.firstName.empty() ? 0 : 1;
    DWORD const places = DWORD(64 + 8 * (images + groups));
    DWORD const nameOffset = DWORD(places + 40 * (images + groups));
    std::string imageEntries, groupEntries, placeBytes, data;
    auto const add = [&](std::string & entries, DWORD id, std::string const & bytes)
    {
        DWORD const place = DWORD(places + placeBytes.size());
        entries += Raw(id, place | tableBit);
        placeBytes += table(0, 1) + Raw(0x409, place + 24, DWORD(sectionRva + data.size()),
                                        DWORD(bytes.size()), 0ull);
        data += bytes;
    };
    for (std::size_t i = 0; i != images; ++i)
        add(imageEntries, DWORD(i + 1), program.images[i]);
    for (std::size_t i = 0; i != groups; ++i)
        add(groupEntries, i < named ? nameOffset | tableBit : DWORD(i + 1), program.groups[i]);
    std::string bytes = table(0, 2) + Raw(3, 32 | tableBit, 14, DWORD(48 + 8 * images) | tableBit) +
                        table(0, images) + imageEntries + table(named, groups - named) +
                        groupEntries + placeBytes + Raw(WORD(program.firstName.size()));
    bytes.append(reinterpret_cast<char const *>(program.firstName.data()),
                 program.firstName.size() * sizeof(wchar_t));
    DWORD const rva = DWORD(sectionRva + data.size());
    data = AlignEnd(
        FileBytes(data + bytes, {{IMAGE_DIRECTORY_ENTRY_RESOURCE, {rva, DWORD(bytes.size())}}}));
    if (tables != nullptr)
        *tables = data.size() - bytes.size();
    return data;
}

} // namespace Velmora::Testing
