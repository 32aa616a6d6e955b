#include "VelmoraCommon/executable/GMIconExtract.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iterator>

#include "VelmoraCommon/executable/internal/IconFormat.h"
#include "VelmoraCommon/executable/internal/IconImage.h"
#include "VelmoraCommon/executable/internal/ResourceModule.h"
#include "VelmoraCommon/files/GMFile.h"

namespace Velmora
{

namespace
{

/// Stands in the place of an image's number for the choice of the system.
constexpr unsigned int bestImage = 0xFFFFFFFF;

/// The version of the icon format that `CreateIconFromResource` wants to hear.
constexpr DWORD iconVersion = 0x00030000;

/// The images of a group may share their bytes, and each is copied. All together they are at most
/// that many times as large as the file.
constexpr std::uint64_t copyLimit = 16;

HICON CreateIcon(unsigned char const * image, std::size_t size)
{
    // The system takes the bytes as constant in fact.
    return CreateIconFromResource(const_cast<unsigned char *>(image), static_cast<DWORD>(size),
                                  TRUE, iconVersion);
}

/// An icon of \p image, if that is whole.
HICON CreateIcon(ResourceBytes const & image)
{
    auto const info = ReadImageInfo(image);
    if (!info || !IsWholeImage(image, *info))
        return nullptr;
    if (info->end <= image.size)
        return CreateIcon(image.data, image.size);
    // Some icons lack a part of the mask, or all of it: what is missing is opaque.
    std::vector<unsigned char> whole(image.data, image.data + image.size);
    whole.resize(static_cast<std::size_t>(info->end));
    return CreateIcon(whole.data(), whole.size());
}

void FreeIcon(ICON_RESOURCE * icon)
{
    for (unsigned int i = 0; i != icon->imageCount; ++i)
        std::free(icon->images[i].data);
    std::free(icon);
}

struct IconDeleter
{
    void operator()(ICON_RESOURCE * icon) const { FreeIcon(icon); }
};
using ScopedIconResource = std::unique_ptr<ICON_RESOURCE, IconDeleter>;

ScopedIconResource AllocateIcon(unsigned int count)
{
    ScopedIconResource icon(static_cast<ICON_RESOURCE *>(
        std::calloc(1, offsetof(ICON_RESOURCE, images) + count * sizeof(ICON_IMAGE))));
    if (icon)
        icon->imageCount = count;
    return icon;
}

/// Fills \p copy with a copy of \p image.
bool CopyImage(ResourceBytes const & image, ICON_IMAGE & copy)
{
    auto const info = ReadImageInfo(image);
    bool const isPng = IsPngImage(image);
    if (!info && !isPng)
        return false;
    copy.data = static_cast<unsigned char *>(std::malloc(image.size));
    if (copy.data == nullptr)
        return false;
    std::memcpy(copy.data, image.data, image.size);
    copy.dataSize = image.size;
    copy.header = reinterpret_cast<BITMAPINFOHEADER *>(copy.data);
    copy.colorBits = 32;
    if (isPng)
        return true;
    auto const at = [&](std::uint64_t offset)
    { return offset <= image.size ? copy.data + offset : nullptr; };
    copy.width = static_cast<unsigned int>(info->width);
    copy.height = static_cast<unsigned int>(info->height);
    copy.colorBits = info->depth;
    copy.colorBitsStart = at(info->colorBits);
    copy.maskBitsStart = at(info->maskBits);
    return true;
}

IconEntry DirectoryEntry(ICON_IMAGE const & image, DWORD offset)
{
    IconEntry entry = {};
    entry.width = static_cast<BYTE>(image.width);
    entry.height = static_cast<BYTE>(image.height);
    entry.planes = 1;
    if (entry.width != 0 || entry.height != 0)
    {
        entry.planes = image.header->biPlanes;
        entry.bits = image.header->biBitCount;
        unsigned int const depth = unsigned(entry.planes) * entry.bits;
        entry.colors = static_cast<BYTE>(depth < 8 ? 1u << depth : 0);
    }
    entry.size = image.dataSize;
    entry.offset = offset;
    return entry;
}

bool WriteAll(GMFile & file, void const * bytes, std::size_t size)
{
    unsigned int written = 0;
    return file.Write(bytes, static_cast<unsigned int>(size), written);
}

bool WriteImage(GMFile & file, ICON_IMAGE const & image)
{
    if (IsPngImage({image.data, image.dataSize}))
        return WriteAll(file, image.data, image.dataSize);
    BITMAPINFOHEADER header = *image.header;
    header.biSizeImage = 0;
    std::size_t const rest = image.dataSize - sizeof(header);
    return WriteAll(file, &header, sizeof(header)) &&
           (rest == 0 || WriteAll(file, image.data + sizeof(header), rest));
}

} // namespace

GMIconExtract::GMIconExtract(GMString const & path)
    : m_path(path),
      m_module(std::make_shared<ResourceModule>(path)),
      m_firstKind(GroupKind::None)
{
}

GMIconExtract::~GMIconExtract() = default;
GMIconExtract::GMIconExtract(GMIconExtract const &) = default;
GMIconExtract & GMIconExtract::operator=(GMIconExtract const &) = default;

bool GMIconExtract::IsOpen() { return m_module->IsOpen(); }

/// What the callback of an enumeration works on. The system's frames lie between it and the caller,
/// and no exception may pass them.
struct GMIconExtract::Enumeration
{
    GMIconExtract & extract;
    std::exception_ptr failure; // null for none
};

bool GMIconExtract::EnumIconNums()
{
    if (!m_module->HasSoundTables())
        return false;
    Enumeration enumeration = {*this, nullptr};
    BOOL const enumerated =
        EnumResourceNamesW(m_module->Get(), RT_GROUP_ICON, &EnumResourceNamesFunc,
                           reinterpret_cast<LONG_PTR>(&enumeration));
    if (enumeration.failure)
    {
        m_names.clear(); // half of the groups aren't taken for all of them
        m_numbers.clear();
        m_firstKind = GroupKind::None;
        std::rethrow_exception(enumeration.failure);
    }
    return enumerated != FALSE;
}

unsigned int GMIconExtract::GetIconNums()
{
    EnumIconNumsOnce();
    return static_cast<unsigned int>(m_names.size() + m_numbers.size());
}

std::vector<GMString> GMIconExtract::GetIconIDs(std::vector<unsigned __int64> & numbers)
{
    EnumIconNumsOnce();
    numbers = m_numbers;
    return m_names;
}

HICON GMIconExtract::GetDefultIcon()
{
    wchar_t const * const group = FirstGroup();
    return group == nullptr ? nullptr : GetIcon(group, 48, 48, 32, false);
}

HICON GMIconExtract::GetIcon(wchar_t const * group, int width, int height, unsigned int bitDepth,
                             bool exact)
{
    ResourceBytes const bytes = m_module->Find(RT_GROUP_ICON, group);
    auto const count = ImageCount(bytes);
    if (!count)
        return nullptr;
    unsigned int bestId = 0;
    int bestWidth = 0;
    int bestHeight = 0;
    unsigned int bestDepth = 0;
    for (unsigned int i = 0; i != *count; ++i)
    {
        WORD const id = ImageId(bytes, i);
        ResourceBytes const image = m_module->Find(RT_ICON, MAKEINTRESOURCEW(id));
        auto const info = ReadImageInfo(image);
        if (!info)
            return nullptr;
        if (info->width == width && info->height == height && info->depth == bitDepth)
            return CreateIcon(image);
        if (info->width >= bestWidth && info->height >= bestHeight && info->depth > bestDepth)
        {
            bestId = id;
            bestWidth = info->width;
            bestHeight = info->height;
            bestDepth = info->depth;
        }
    }
    return exact ? nullptr : GetIcon(group, bestId);
}

HICON GMIconExtract::GetIcon(wchar_t const * group, unsigned int imageId)
{
    if (imageId == bestImage)
    {
        ResourceBytes const bytes = m_module->Find(RT_GROUP_ICON, group);
        if (!ImageCount(bytes))
            return nullptr;
        imageId = static_cast<unsigned int>(
            LookupIconIdFromDirectory(const_cast<unsigned char *>(bytes.data), TRUE));
    }
    return CreateIcon(m_module->Find(RT_ICON, MAKEINTRESOURCEW(LOWORD(imageId))));
}

bool GMIconExtract::SaveIcon(GMString & path)
{
    wchar_t const * const group = FirstGroup();
    if (group == nullptr)
        return false;
    ScopedIconResource const icon(ReadIcon(group));
    return icon && SaveFile(icon.get(), path);
}

/// Null if there is none.
wchar_t const * GMIconExtract::FirstGroup()
{
    EnumIconNumsOnce();
    switch (m_firstKind)
    {
    case GroupKind::Number:
        return reinterpret_cast<wchar_t const *>(static_cast<ULONG_PTR>(m_numbers.front()));
    case GroupKind::Name:
        return m_names.front().c_str();
    default:
        return nullptr;
    }
}

void GMIconExtract::EnumIconNumsOnce()
{
    if (m_names.empty() && m_numbers.empty())
        EnumIconNums();
}

/// A copy of \p group, whose images and whose block the caller frees with `free`; null on failure.
ICON_RESOURCE * GMIconExtract::ReadIcon(wchar_t const * group)
{
    ResourceBytes const bytes = m_module->Find(RT_GROUP_ICON, group);
    auto const count = ImageCount(bytes);
    if (!count || *count == 0)
        return nullptr;
    ScopedIconResource icon = AllocateIcon(*count);
    if (!icon)
        return nullptr;
    m_path.copy(icon->sourceName, std::size(icon->sourceName) - 1);
    std::uint64_t left = copyLimit * m_module->Size();
    for (unsigned int i = 0; i != *count; ++i)
    {
        ResourceBytes const image = m_module->Find(RT_ICON, MAKEINTRESOURCEW(ImageId(bytes, i)));
        if (image.size > left || !CopyImage(image, icon->images[i]))
            return nullptr;
        left -= image.size;
    }
    return icon.release();
}

bool GMIconExtract::SaveFile(ICON_RESOURCE * icon, GMString & path)
{
    IconHeader const header = {0, iconType, static_cast<WORD>(icon->imageCount)};
    std::vector<IconEntry> entries;
    std::uint64_t size = sizeof(header) + icon->imageCount * sizeof(IconEntry);
    for (unsigned int i = 0; i != icon->imageCount; ++i)
    {
        entries.push_back(DirectoryEntry(icon->images[i], static_cast<DWORD>(size)));
        size += icon->images[i].dataSize;
    }
    GMFile file;
    if (size > MAXDWORD ||
        !file.Create(path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, CREATE_ALWAYS,
                     FILE_ATTRIBUTE_NORMAL) ||
        !WriteAll(file, &header, sizeof(header)) ||
        !WriteAll(file, entries.data(), entries.size() * sizeof(IconEntry)))
        return false;
    for (unsigned int i = 0; i != icon->imageCount; ++i)
    {
        if (!WriteImage(file, icon->images[i]))
            return false;
    }
    return true;
}

void GMIconExtract::AddGroup(wchar_t const * group)
{
    bool const isNumber = IS_INTRESOURCE(group);
    if (isNumber)
        m_numbers.push_back(reinterpret_cast<ULONG_PTR>(group));
    else
        m_names.push_back(group);
    if (m_firstKind == GroupKind::None)
        m_firstKind = isNumber ? GroupKind::Number : GroupKind::Name;
}

int __stdcall GMIconExtract::EnumResourceNamesFunc(HINSTANCE, wchar_t const *, wchar_t * name,
                                                   LONG_PTR object)
{
    auto & enumeration = *reinterpret_cast<Enumeration *>(object);
    try
    {
        enumeration.extract.AddGroup(name);
        return TRUE;
    }
    catch (...)
    {
        enumeration.failure = std::current_exception();
        return FALSE;
    }
}

} // namespace Velmora
