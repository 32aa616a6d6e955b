#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tests/executable/PEBytes.h"

namespace Velmora::Testing
{

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
    DWORD beyond = 0; ///< added to the size
};

/// The bytes of an icon file.
inline std::string IconFileBytes(std::vector<IconFileEntry> const & entries)
{
    std::string bytes = Raw(WORD(0), WORD(1), static_cast<WORD>(entries.size()));
    std::string images;
    for (IconFileEntry const & each : entries)
    {
        bytes += Raw(each.width, each.height, each.colors, '\0', WORD(1), each.bits,
                     static_cast<DWORD>(each.image.size() + each.beyond),
                     static_cast<DWORD>(6 + 16 * entries.size() + images.size()));
        images += each.image;
    }
    return bytes + images;
}

/// A group of the images with the numbers \p ids; it may claim to have another number of them.
inline std::string GroupBytes(std::vector<WORD> const & ids, int claimed = -1)
{
    std::string bytes =
        Raw(WORD(0), WORD(1), static_cast<WORD>(claimed < 0 ? ids.size() : unsigned(claimed)));
    for (WORD const id : ids)
        bytes += std::string("\x20\x20\0\0\x01\0\x20\0\0\0\0\0", 12) + Raw(id);
    return bytes;
}

/// A program of nothing but icons. Images are numbered from 1 on. Groups have names, those first,
/// or are numbered from 1 on, too.
struct IconProgram
{
    std::vector<std::string> images;
    std::vector<std::pair<std::wstring, std::string>> groups;
};

/// Moves the section, which begins behind the headers, so that the last byte of the file is that of
/// a page: behind it nothing can be read.
inline std::string AlignEnd(std::string bytes)
{
    DWORD const padding = static_cast<DWORD>(4096 - bytes.size() % 4096) % 4096;
    std::size_t const field = sectionsOffset + offsetof(IMAGE_SECTION_HEADER, PointerToRawData);
    DWORD offset = 0;
    std::memcpy(&offset, &bytes.at(field), sizeof(offset));
    Place(bytes, field, offset + padding);
    return bytes.insert(sectionOffset, padding, '\0');
}

// The tables of a program: the types; images and groups; the one language of each; where they are.
constexpr std::size_t tableHeader = sizeof(IMAGE_RESOURCE_DIRECTORY);
constexpr std::size_t tableEntry = 8;
constexpr std::size_t imageTable = tableHeader + 2 * tableEntry;
inline std::size_t GroupTable(IconProgram const & program)
{
    return imageTable + tableHeader + program.images.size() * tableEntry;
}
constexpr DWORD tableBit = 0x80000000; // of an offset: leads to a table, or to a name

/// The bytes of \p program. The tables stand last, from \p tables on.
inline std::string IconProgramBytes(IconProgram const & program, std::size_t * tables = nullptr)
{
    std::string data;
    std::string leaves;
    auto const add = [&](std::string const & bytes)
    {
        leaves += Raw(static_cast<DWORD>(sectionRva + data.size()),
                      static_cast<DWORD>(bytes.size()), 0ull);
        data += bytes;
    };
    auto const table = [](std::size_t named, std::size_t numbered)
    { return Raw(0ull, 0ul, static_cast<WORD>(named), static_cast<WORD>(numbered)); };
    auto const entry = [](std::size_t name, std::size_t target)
    { return Raw(static_cast<DWORD>(name), static_cast<DWORD>(target)); };

    std::size_t const all = program.images.size() + program.groups.size();
    std::size_t const languages =
        GroupTable(program) + tableHeader + program.groups.size() * tableEntry;
    std::size_t const firstLeaf = languages + all * (tableHeader + tableEntry);
    std::size_t next = languages;
    auto const nextLanguage = [&]
    { return (next += tableHeader + tableEntry) - (tableHeader + tableEntry) + tableBit; };
    std::size_t named = 0;
    std::string names;
    std::string bytes = table(0, 2) + entry(3, imageTable + tableBit) +
                        entry(14, GroupTable(program) + tableBit) + table(0, program.images.size());
    for (std::size_t i = 0; i != program.images.size(); ++i)
    {
        add(program.images[i]);
        bytes += entry(i + 1, nextLanguage());
    }
    std::string groups;
    for (std::size_t i = 0; i != program.groups.size(); ++i)
    {
        auto const & [name, group] = program.groups[i];
        add(group);
        std::size_t const text = firstLeaf + all * sizeof(IMAGE_RESOURCE_DATA_ENTRY) + names.size();
        groups += entry(name.empty() ? i - named + 1 : text + tableBit, nextLanguage());
        if (name.empty())
            continue;
        ++named;
        names += Raw(static_cast<WORD>(name.size()));
        for (wchar_t const unit : name)
            names += Raw(unit);
    }
    bytes += table(named, program.groups.size() - named) + groups;
    for (std::size_t i = 0; i != all; ++i)
        bytes += table(0, 1) + entry(0x409, firstLeaf + i * sizeof(IMAGE_RESOURCE_DATA_ENTRY));
    bytes += leaves + names;
    std::string const file = AlignEnd(FileBytes(
        data + bytes,
        {{IMAGE_DIRECTORY_ENTRY_RESOURCE,
          {static_cast<DWORD>(sectionRva + data.size()), static_cast<DWORD>(bytes.size())}}}));
    if (tables != nullptr)
        *tables = file.size() - bytes.size();
    return file;
}

} // namespace Velmora::Testing
