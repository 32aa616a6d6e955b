#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "tests/executable/PEBytes.h"

namespace Velmora::Testing
{

template <class T>
void Append(std::string & bytes, T const & value)
{
    bytes.append(reinterpret_cast<char const *>(&value), sizeof(value));
}

/// What BitmapImage paints with; the alpha of pixels that have one is 0x80.
constexpr DWORD imageColor = 0x00336699;

/// A bitmap as icons have it: one colour all over, with a mask that lets the upper half through.
inline std::string BitmapImage(int width, int height, WORD depth)
{
    BITMAPINFOHEADER const header = {
        sizeof(header), width, 2 * height, 1, depth, BI_RGB, 77, 0, 0, 0, 0};
    std::string bytes;
    Append(bytes, header);
    for (int i = 0; depth <= 8 && i != 1 << depth; ++i)
        Append(bytes, imageColor);
    std::size_t const row = static_cast<std::size_t>((width * depth + 31) / 32 * 4);
    std::size_t const maskRow = static_cast<std::size_t>((width + 31) / 32 * 4);
    for (int y = 0; y != height; ++y)
    {
        std::string pixels;
        for (int x = 0; x != width && depth > 8; ++x)
        {
            Append(pixels, imageColor | 0x80000000);
            pixels.resize(pixels.size() - 4 + depth / 8u);
        }
        pixels.resize(row);
        bytes += pixels;
    }
    bytes.append(maskRow * static_cast<unsigned>(height / 2), '\xFF'); // the lowest row is first
    bytes.append(maskRow * static_cast<unsigned>(height - height / 2), '\0');
    return bytes;
}

/// The start of a PNG stream: signature, and the chunk of the size.
inline std::string PngStart(BYTE width, BYTE height)
{
    std::string bytes("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\0w\0\0\0h\x08\x06\0\0\0", 29);
    bytes[19] = static_cast<char>(width);
    bytes[23] = static_cast<char>(height);
    return bytes;
}

/// A group of the images with the numbers \p ids; it may claim to have another number of them.
inline std::string GroupBytes(std::vector<WORD> const & ids, int claimed = -1)
{
    std::string bytes;
    Append(bytes, std::array<WORD, 3>{0, 1, static_cast<WORD>(claimed < 0 ? ids.size() : claimed)});
    for (WORD const id : ids)
    {
        bytes += std::string("\x20\x20\0\0\x01\0\x20\0\0\0\0\0", 12);
        Append(bytes, id);
    }
    return bytes;
}

/// A program of nothing but icons. Images and groups are numbered from 1 on, groups with names apart.
struct IconProgram
{
    struct Group
    {
        std::string bytes;
        std::wstring name = {}; ///< those that have one come first
    };
    std::vector<std::string> images;
    std::vector<Group> groups;
    /// Whether the resource tables stand last in the file, or the images and groups. The last byte
    /// of either is the last one of a page.
    bool areTablesLast = true;
    /// Where the tables are cut off.
    std::size_t tablesLimit = std::string::npos;
};

/// The tables of \p program, whose data lies at \p rva.
inline std::string ResourceTables(IconProgram const & program, DWORD rva)
{
    constexpr DWORD highBit = 0x80000000;
    std::string tables;
    auto const directory = [&](std::size_t named, std::size_t all)
    {
        IMAGE_RESOURCE_DIRECTORY header = {};
        header.NumberOfNamedEntries = static_cast<WORD>(named);
        header.NumberOfIdEntries = static_cast<WORD>(all - named);
        Append(tables, header);
    };
    auto const entry = [&](std::size_t name, std::size_t target) {
        Append(tables, std::array<DWORD, 2>{static_cast<DWORD>(name), static_cast<DWORD>(target)});
    };
    std::size_t const header = sizeof(IMAGE_RESOURCE_DIRECTORY);
    std::size_t const images = program.images.size();
    std::size_t const all = images + program.groups.size();
    std::size_t const languages = 3 * header + 8 * (2 + all);
    std::size_t const leaves = languages + (header + 8) * all;
    std::size_t const texts = leaves + sizeof(IMAGE_RESOURCE_DATA_ENTRY) * all;

    directory(0, 2);
    entry(3, (header + 16) | highBit);
    entry(14, (2 * header + 16 + 8 * images) | highBit);
    directory(0, images);
    for (std::size_t i = 0; i != images; ++i)
        entry(i + 1, (languages + (header + 8) * i) | highBit);
    std::string names;
    std::size_t const named = static_cast<std::size_t>(
        std::count_if(program.groups.begin(), program.groups.end(),
                      [](auto const & group) { return !group.name.empty(); }));
    directory(named, all - images);
    for (std::size_t i = images; i != all; ++i)
    {
        std::wstring const & name = program.groups[i - images].name;
        entry(name.empty() ? i - images - named + 1 : (texts + names.size()) | highBit,
              (languages + (header + 8) * i) | highBit);
        Append(names, static_cast<WORD>(name.size()));
        for (wchar_t const unit : name)
            Append(names, unit);
    }
    for (std::size_t i = 0; i != all; ++i)
    {
        directory(0, 1);
        entry(0x409, leaves + sizeof(IMAGE_RESOURCE_DATA_ENTRY) * i);
    }
    for (std::size_t i = 0; i != all; ++i)
    {
        std::string const & data =
            i < images ? program.images[i] : program.groups[i - images].bytes;
        Append(tables, std::array<DWORD, 4>{rva, static_cast<DWORD>(data.size()), 0, 0});
        rva += static_cast<DWORD>(data.size());
    }
    return (tables + names).substr(0, program.tablesLimit);
}

inline std::string IconProgramBytes(IconProgram const & program)
{
    std::string data;
    for (std::string const & image : program.images)
        data += image;
    for (auto const & group : program.groups)
        data += group.bytes;
    std::size_t const tables = ResourceTables(program, 0).size();
    std::string const padding(4096 - (sectionOffset + tables + data.size()) % 4096, '\0');
    DWORD const begin = static_cast<DWORD>(sectionRva + padding.size());
    DWORD const dataRva = begin + static_cast<DWORD>(program.areTablesLast ? 0 : tables);
    DWORD const tablesRva = begin + static_cast<DWORD>(program.areTablesLast ? data.size() : 0);
    data.insert(program.areTablesLast ? data.size() : 0, ResourceTables(program, dataRva));
    return FileBytes(padding + data,
                     {{IMAGE_DIRECTORY_ENTRY_RESOURCE, {tablesRva, static_cast<DWORD>(tables)}}});
}

} // namespace Velmora::Testing
