#pragma once

#include <cstddef>
#include <cstdint>

#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// Addresses from a begin up to an end.
struct AddressRange
{
    bool Contains(void const * start, std::size_t size) const
    {
        auto const address = reinterpret_cast<std::uintptr_t>(start);
        return address >= begin && address <= end && size <= end - address;
    }
    std::size_t Size() const { return end - begin; }

    std::uintptr_t begin;
    std::uintptr_t end;
};

/// The bytes of one resource; no bytes at all for one that isn't there.
struct ResourceBytes
{
    explicit operator bool() const { return data != nullptr; }

    unsigned char const * data = nullptr;
    unsigned int size = 0;
};

/// An executable file, loaded as data for the sake of its resources. Owns the module.
///
/// The system follows the resource tables wherever they lead. So they are walked once, with an eye
/// on the ends of the mapping; a file whose tables lead out of it counts as one without resources.
class ResourceModule
{
public:
    /// Looks only at the tables of icons, and only these may be asked for.
    explicit ResourceModule(GMString const & path);
    ~ResourceModule();
    ResourceModule(ResourceModule const &) = delete;
    ResourceModule & operator=(ResourceModule const &) = delete;

    HMODULE Get() const { return m_module; }
    bool IsOpen() const;

    /// Whether the system may be asked for resources at all.
    bool HasSoundTables() const { return m_hasSoundTables; }

    /// Names and numbers as `FindResourceW` takes them. The bytes live as long as this object and
    /// may be unaligned.
    ResourceBytes Find(wchar_t const * type, wchar_t const * name) const;

    /// The size of the file in memory, in whole pages.
    std::size_t Size() const { return m_mapping.Size(); }

private:
    HMODULE m_module;
    AddressRange m_mapping;
    bool m_hasSoundTables;
};

} // namespace Velmora
