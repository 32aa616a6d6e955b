#include "VelmoraCommon/executable/GMIconConvert.h"

#include <cstring>
#include <vector>

#include <shellapi.h>

#include "VelmoraCommon/executable/internal/IconFormat.h"
#include "VelmoraCommon/executable/internal/IconImage.h"
#include "VelmoraCommon/executable/internal/ResourceModule.h"
#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/frame/internal/ScopedGdiHandle.h"
#include "VelmoraCommon/frame/internal/SystemText.h"

namespace Velmora
{

namespace
{

/// The number that the system chooses for the small icon; 0 for none.
WORD SmallImageId(unsigned char const * group)
{
    return static_cast<WORD>(LookupIconIdFromDirectoryEx(
        const_cast<unsigned char *>(group), TRUE, GetSystemMetrics(SM_CXSMICON),
        GetSystemMetrics(SM_CYSMICON), LR_DEFAULTCOLOR));
}

/// Whether the image that the first of \p module's groups has for the small icon is whole.
bool HasWholeImage(ResourceModule const & module)
{
    struct Search
    {
        ResourceModule const & module;
        bool isWhole;
        static BOOL CALLBACK Look(HMODULE, wchar_t const * type, wchar_t * name,
                                  LONG_PTR object) noexcept
        {
            auto & self = *reinterpret_cast<Search *>(object);
            ResourceBytes const group = self.module.Find(type, name);
            if (!ImageCount(group))
                return FALSE;
            WORD const id = SmallImageId(group.data);
            ResourceBytes const image = self.module.Find(RT_ICON, MAKEINTRESOURCEW(id));
            auto const info = ReadImageInfo(image);
            self.isWhole = info && IsWholeImage(image, *info);
            return FALSE;
        }
    };
    Search search = {module, false};
    if (module.HasSoundTables())
        EnumResourceNamesW(module.Get(), RT_GROUP_ICON, &Search::Look,
                           reinterpret_cast<LONG_PTR>(&search));
    return search.isWhole;
}

/// Whether the image that an icon file has for the small icon lies within the file.
bool HasWholeImage(GMFile & file, IconHeader const & header, unsigned long long fileSize)
{
    std::vector<IconEntry> entries(header.count);
    auto const size = static_cast<unsigned int>(entries.size() * sizeof(IconEntry));
    unsigned int read = 0;
    if (size > fileSize - sizeof(header) || !file.Read(entries.data(), size, read) || read != size)
        return false;

    // The system chooses from groups. This one numbers its images from 1 on.
    std::vector<unsigned char> group(sizeof(header) + entries.size() * groupEntrySize);
    std::memcpy(group.data(), &header, sizeof(header));
    unsigned char * at = group.data() + sizeof(header);
    WORD number = 0;
    for (IconEntry const & entry : entries)
    {
        ++number;
        std::memcpy(at, &entry, groupEntryImageId);
        std::memcpy(at + groupEntryImageId, &number, sizeof(number));
        at += groupEntrySize;
    }
    WORD const id = SmallImageId(group.data());
    if (id == 0 || id > entries.size())
        return false;
    IconEntry const & chosen = entries[id - 1u];
    return chosen.offset <= fileSize && chosen.size <= fileSize - chosen.offset;
}

/// Whether the system can take the small icon out of a file. Not every system looks whether the
/// image lies within the file, and one that doesn't fails in a way that nobody can catch. It does
/// look when it loads an icon file in a size.
bool HasSoundIcon(wchar_t const * path)
{
    // The system searches for a name alone.
    GMString const found =
        ReadSystemText([path](wchar_t * text, unsigned long size)
                       { return SearchPathW(nullptr, path, nullptr, size, text, nullptr); });
    GMFile file;
    unsigned long long size = 0;
    IconHeader header = {};
    unsigned int read = 0;
    if (!file.Create(found, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, 0) ||
        !file.GetSize(size) || !file.Read(&header, sizeof(header), read) || read != sizeof(header))
        return false;
    if (header.reserved == 0 && (header.type == iconType || header.type == cursorType))
        return HasWholeImage(file, header, size);
    return HasWholeImage(ResourceModule(found));
}

} // namespace

HICON GMIconConvert::LoadIconFromFile(wchar_t const * path, int width, int height)
{
    ScopedIcon smallIcon;
    if (path == nullptr || !HasSoundIcon(path) ||
        ExtractIconExW(path, 0, nullptr, smallIcon.Receive(), 1) == 0 || !smallIcon)
        return nullptr;
    auto const loaded =
        static_cast<HICON>(LoadImageW(nullptr, path, IMAGE_ICON, width, height, LR_LOADFROMFILE));
    return loaded != nullptr ? loaded : smallIcon.Release();
}

} // namespace Velmora
