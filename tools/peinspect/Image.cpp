#include "tools/peinspect/Image.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <set>
#include <utility>

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "tools/common/Messages.h"

using namespace Velmora;

namespace Tools
{
namespace
{

constexpr DWORD longestName = 260; // a longer one is no file's

} // namespace

Image::Image(GMString const & path)
{
    unsigned __int64 size = 0;
    GMFile file;
    if (!file.Create(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL) ||
        !file.GetSize(size) ||
        (size != 0 && (!m_mapping.Create(file.GetHandle(), PAGE_READONLY, 0, 0) ||
                       !m_mapping.Mapping(FILE_MAP_READ, 0, 0, 0))))
    {
        throw Failure{L"can't be read: " + SystemMessage(GetLastError())};
    }
    m_size = static_cast<unsigned int>(std::min<unsigned __int64>(size, UINT_MAX));

    _IMAGE_NT_HEADERS * headers = nullptr;
    if (!Info().IsPEFile() || !Info().GetImageNTHeader(headers))
        m_trouble = L"has no sound headers: it is damaged, or isn't for Windows";
    else
        std::memcpy(&m_headers, headers, sizeof(m_headers)); // they may lie unaligned
    if (m_trouble.empty() && !Is64Bit() && !ReadNeeds())
        m_trouble = L"is damaged: its list of imports can't be read";
}

bool Image::IsExecutable() const
{
    return m_size >= 2 && std::memcmp(m_mapping.GetMapAddress(), "MZ", 2) == 0;
}

GMString Image::Kind() const
{
    if (m_headers.Signature == 0)
        return L"damaged file";
    bool const isLibrary = (m_headers.FileHeader.Characteristics & IMAGE_FILE_DLL) != 0;
    return GMString(Is64Bit() ? L"64-bit" : L"32-bit") + (isLibrary ? L" library" : L" program");
}

/// What lies at \p rva, and how much of the file is left from there; null if it isn't in the file.
char const * Image::At(DWORD rva, DWORD & left) const
{
    int const offset = Info().RvaToOffset(rva);
    if (offset < 0 || static_cast<unsigned int>(offset) >= m_size)
        return nullptr;
    left = m_size - static_cast<unsigned int>(offset);
    return static_cast<char const *>(m_mapping.GetMapAddress()) + offset;
}

/// Calls \p visit with the descriptors of a table, as far as it is there, until it answers false.
/// \return false for a table that isn't there though the headers name it
template <class Descriptor, class Visit>
bool Image::ForEach(int directory, Visit visit) const
{
    IMAGE_DATA_DIRECTORY const & place = m_headers.OptionalHeader.DataDirectory[directory];
    DWORD left = 0;
    char const * at = place.VirtualAddress != 0 ? At(place.VirtualAddress, left) : nullptr;
    if (at == nullptr)
        return place.VirtualAddress == 0;
    Descriptor descriptor; // they may lie unaligned
    constexpr DWORD step = sizeof(descriptor);
    for (left = std::min(left, place.Size); left >= step; left -= step)
    {
        std::memcpy(&descriptor, at, sizeof(descriptor));
        at += step;
        if (!visit(descriptor))
            break;
    }
    return true;
}

/// \return false if something that the start needs isn't there
bool Image::ReadNeeds()
{
    std::set<std::pair<DWORD, bool>> seen; // a file may repeat a place many times
    auto const add = [&](DWORD rva, bool atFirstUse)
    {
        if (!seen.emplace(rva, atFirstUse).second)
            return true;
        DWORD left = 0;
        char const * const name = At(rva, left);
        std::size_t const length = name != nullptr ? strnlen(name, std::min(left, longestName)) : 0;
        if (length == 0 || length == left || length == longestName)
            return false;
        m_needs.push_back({GMStringConvert::CharToGMString(name), atFirstUse});
        return true;
    };
    bool sound = true;
    bool const isThere =
        ForEach<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT,
                                         [&](IMAGE_IMPORT_DESCRIPTOR const & descriptor)
                                         {
                                             bool const isOne = descriptor.FirstThunk != 0;
                                             if (isOne)
                                                 sound = add(descriptor.Name, false) && sound;
                                             return isOne;
                                         });
    // Old linkers wrote the names for the first use in a form of their own.
    ForEach<IMAGE_DELAYLOAD_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT,
                                        [&](IMAGE_DELAYLOAD_DESCRIPTOR const & descriptor)
                                        {
                                            if (descriptor.DllNameRVA != 0)
                                                add(descriptor.DllNameRVA, true);
                                            return true;
                                        });
    return sound && isThere;
}

} // namespace Tools
