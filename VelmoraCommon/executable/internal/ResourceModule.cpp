#include "VelmoraCommon/executable/internal/ResourceModule.h"

#include <optional>

#include "VelmoraCommon/executable/internal/PEFormat.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"

namespace Velmora
{

namespace
{

// The low bits of a module handle tell how the file is mapped: as it is on disk, or like a program.
constexpr std::uintptr_t handleBits = 3;
constexpr std::uintptr_t dataFileBit = 1;

/// What can be read from the begin of the mapping that holds \p address.
AddressRange MappingOf(void const * address)
{
    MEMORY_BASIC_INFORMATION info = {};
    if (VirtualQuery(address, &info, sizeof(info)) == 0)
        return {};
    void const * const base = info.AllocationBase;
    auto const begin = reinterpret_cast<std::uintptr_t>(base);
    AddressRange mapping = {begin, begin};
    while (VirtualQuery(reinterpret_cast<void *>(mapping.end), &info, sizeof(info)) != 0 &&
           info.AllocationBase == base && info.State == MEM_COMMIT &&
           (info.Protect & (PAGE_NOACCESS | PAGE_GUARD)) == 0)
        mapping.end += info.RegionSize;
    return mapping;
}

/// The bytes of a mapped file, with all offsets from it checked.
class MappedBytes
{
public:
    MappedBytes(unsigned char const * data, std::size_t size) : m_data(data), m_size(size) {}

    bool Has(std::uint64_t offset, std::uint64_t size) const
    {
        return offset <= m_size && size <= m_size - offset;
    }

    template <class T>
    std::optional<T> Read(std::uint64_t offset) const
    {
        if (!Has(offset, sizeof(T)))
            return std::nullopt;
        return ReadUnaligned<T>(m_data + offset);
    }

    std::optional<MappedBytes> From(std::uint64_t offset) const
    {
        if (!Has(offset, 0))
            return std::nullopt;
        return MappedBytes(m_data + offset, m_size - static_cast<std::size_t>(offset));
    }

    std::size_t Size() const { return m_size; }

private:
    unsigned char const * m_data;
    std::size_t m_size;
};

/// The resource directory and all that follows it, found as the system finds it.
template <class Headers>
std::optional<MappedBytes> FindDirectory(MappedBytes const & file, DWORD offset, bool isDataFile)
{
    auto const headers = file.Read<Headers>(offset);
    if (!headers || headers->OptionalHeader.NumberOfRvaAndSizes <= IMAGE_DIRECTORY_ENTRY_RESOURCE)
        return std::nullopt;
    DWORD const rva =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE].VirtualAddress;
    if (rva == 0)
        return std::nullopt;

    // The sections have to be whole in any case: the system looks for each resource in them.
    std::uint64_t const sections = std::uint64_t(offset) + offsetof(Headers, OptionalHeader) +
                                   headers->FileHeader.SizeOfOptionalHeader;
    WORD const count = headers->FileHeader.NumberOfSections;
    if (!file.Has(sections, count * sizeof(SectionHeader)))
        return std::nullopt;
    if (!isDataFile || rva < headers->OptionalHeader.SizeOfHeaders)
        return file.From(rva);
    for (unsigned int i = 0; i != count; ++i)
    {
        auto const section = *file.Read<SectionHeader>(sections + i * sizeof(SectionHeader));
        DWORD const end = section.VirtualAddress + section.SizeOfRawData; // may wrap, as there
        if (section.VirtualAddress <= rva && rva < end)
            return file.From(std::uint64_t(section.PointerToRawData) + rva -
                             section.VirtualAddress);
    }
    return std::nullopt;
}

std::optional<MappedBytes> FindDirectory(MappedBytes const & file, bool isDataFile)
{
    auto const offset = file.Read<DWORD>(offsetof(_IMAGE_DOS_HEADER, e_lfanew));
    if (!offset)
        return std::nullopt;
    auto const magic =
        file.Read<WORD>(std::uint64_t(*offset) + offsetof(NtHeaders, OptionalHeader.Magic));
    if (magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC)
        return FindDirectory<IMAGE_NT_HEADERS64>(file, *offset, isDataFile);
    if (magic == IMAGE_NT_OPTIONAL_HDR32_MAGIC)
        return FindDirectory<IMAGE_NT_HEADERS32>(file, *offset, isDataFile);
    return std::nullopt;
}

/// Walks the tables of `RT_ICON` and `RT_GROUP_ICON`: directories of the types, of the names in a
/// type and of the languages of a name.
///
/// Tables may overlap or lead back to themselves. A sound file has room for all entries and names
/// that are met, one beside the other, which bounds the walk and whatever is made of the names.
class TableWalk
{
public:
    explicit TableWalk(MappedBytes const & tables)
        : m_tables(tables),
          m_entriesLeft(tables.Size() / sizeof(Entry)),
          m_nameBytesLeft(tables.Size())
    {
    }

    bool IsSound() { return IsSoundDirectory(0, Level::Types); }

private:
    struct Entry
    {
        DWORD name;
        DWORD target;
    };
    enum class Level
    {
        Types,
        Names,
        Languages,
        Behind
    };
    // The highest bit marks a name that is text, and a target that is a directory.
    static constexpr DWORD highBit = 0x80000000;

    static bool IsOfIcons(Entry const & type)
    {
        // The low word is all of the name that some systems look at.
        wchar_t const * const number = MAKEINTRESOURCEW(LOWORD(type.name));
        return number == RT_ICON || number == RT_GROUP_ICON;
    }

    bool IsSoundDirectory(std::uint64_t offset, Level level)
    {
        auto const header = m_tables.Read<IMAGE_RESOURCE_DIRECTORY>(offset);
        if (!header)
            return false;
        std::size_t const count =
            std::size_t(header->NumberOfNamedEntries) + header->NumberOfIdEntries;
        if (count > m_entriesLeft)
            return false;
        m_entriesLeft -= count;
        for (std::size_t i = 0; i != count; ++i)
        {
            auto const entry = m_tables.Read<Entry>(offset + sizeof(*header) + i * sizeof(Entry));
            if (!entry || !IsSoundName(entry->name))
                return false;
            if ((level != Level::Types || IsOfIcons(*entry)) &&
                !IsSoundTarget(entry->target, static_cast<Level>(static_cast<int>(level) + 1)))
                return false;
        }
        return true;
    }

    bool IsSoundName(DWORD name)
    {
        if ((name & highBit) == 0)
            return true;
        DWORD const offset = name & ~highBit;
        auto const units = m_tables.Read<WORD>(offset);
        std::size_t const bytes = sizeof(WORD) + units.value_or(0) * sizeof(wchar_t);
        if (!units || !m_tables.Has(offset, bytes) || bytes > m_nameBytesLeft)
            return false;
        m_nameBytesLeft -= bytes;
        return true;
    }

    bool IsSoundTarget(DWORD target, Level level)
    {
        if ((target & highBit) == 0)
            return m_tables.Has(target, sizeof(IMAGE_RESOURCE_DATA_ENTRY));
        return level == Level::Behind || IsSoundDirectory(target & ~highBit, level);
    }

    MappedBytes m_tables;
    std::size_t m_entriesLeft;
    std::size_t m_nameBytesLeft;
};

} // namespace

ResourceModule::ResourceModule(GMString const & path)
    : m_module(LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE)),
      m_mapping(),
      m_hasSoundTables(false)
{
    if (!IsOpen())
        return;
    auto const handle = reinterpret_cast<std::uintptr_t>(m_module);
    auto const base = reinterpret_cast<unsigned char const *>(handle & ~handleBits);
    m_mapping = MappingOf(base);
    auto const tables =
        FindDirectory(MappedBytes(base, m_mapping.Size()), (handle & dataFileBit) != 0);
    m_hasSoundTables = tables && TableWalk(*tables).IsSound();
}

ResourceModule::~ResourceModule()
{
    LastErrorKeeper const keeper;
    if (IsOpen())
        FreeLibrary(m_module);
}

bool ResourceModule::IsOpen() const
{
    return m_module != nullptr && m_module != INVALID_HANDLE_VALUE;
}

ResourceBytes ResourceModule::Find(wchar_t const * type, wchar_t const * name) const
{
    if (!m_hasSoundTables)
        return {};
    HRSRC const entry = FindResourceW(m_module, name, type);
    if (entry == nullptr)
        return {};
    HGLOBAL const resource = LoadResource(m_module, entry);
    if (resource == nullptr)
        return {};
    void const * const data = LockResource(resource);
    DWORD const size = SizeofResource(m_module, entry);
    // The system may have found the entry in the file of a language that belongs to this one.
    AddressRange const mapping =
        m_mapping.Contains(entry, sizeof(IMAGE_RESOURCE_DATA_ENTRY)) ? m_mapping : MappingOf(entry);
    if (data == nullptr || !mapping.Contains(data, size))
        return {};
    return {static_cast<unsigned char const *>(data), size};
}

} // namespace Velmora
