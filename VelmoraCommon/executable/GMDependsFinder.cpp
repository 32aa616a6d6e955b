#include "VelmoraCommon/executable/GMDependsFinder.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>

#include "VelmoraCommon/executable/internal/ImportLimits.h"
#include "VelmoraCommon/executable/internal/PEFormat.h"
#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

/// The most characters of a library's name that are read.
constexpr unsigned int nameLimit = 259;

/// Descriptors that are read at one go: more than any sound file has, while a damaged size can't
/// make us take more memory than the file has bytes.
constexpr std::size_t descriptorBlock = 1024;

/// An executable file that is read piece by piece.
class PlainImage
{
public:
    /// Reads the headers; false if the file isn't an executable image.
    bool Open(GMString const & path)
    {
        _IMAGE_DOS_HEADER dosHeader;
        return m_file.Create(path, FILE_GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING,
                             FILE_ATTRIBUTE_NORMAL) &&
               ReadWhole(&dosHeader, sizeof(dosHeader)) &&
               dosHeader.e_magic == IMAGE_DOS_SIGNATURE &&
               Seek(static_cast<DWORD>(dosHeader.e_lfanew)) &&
               ReadWhole(&m_headers, sizeof(m_headers)) &&
               m_headers.Signature == IMAGE_NT_SIGNATURE &&
               (m_headers.FileHeader.Characteristics & IMAGE_FILE_EXECUTABLE_IMAGE) != 0 &&
               ReadSections() && SetLimits();
    }

    /// Reads the table of the directory number \p index, as far as the file goes.
    template <class Descriptor>
    bool ReadTable(std::size_t index, std::vector<Descriptor> & table)
    {
        IMAGE_DATA_DIRECTORY const & directory = m_headers.OptionalHeader.DataDirectory[index];
        if (!Seek(Offset(directory.VirtualAddress)))
            return false;
        std::size_t left = directory.Size / sizeof(Descriptor);
        for (bool more = true; more && left != 0;)
        {
            std::size_t const old = table.size();
            std::size_t const block = std::min(left, descriptorBlock);
            unsigned int read = 0;
            table.resize(old + block);
            if (!m_file.Read(&table[old], static_cast<unsigned int>(block * sizeof(Descriptor)),
                             read))
                return false;
            table.resize(old + read / sizeof(Descriptor));
            left -= block;
            more = read == block * sizeof(Descriptor);
        }
        return true;
    }

    /// Appends the name at \p rva to \p names.
    bool AddName(DWORD rva, std::vector<GMString> & names)
    {
        char buffer[nameLimit + 1] = {};
        unsigned int read = 0;
        if (!m_limits->TakeSearch() || !Seek(Offset(rva)) ||
            !m_file.Read(buffer, nameLimit, read) || !m_limits->TakeName(std::strlen(buffer)))
            return false;
        names.push_back(GMStringConvert::MultiByteToUnicodeString(buffer, -1, CP_ACP));
        return true;
    }

private:
    bool ReadSections()
    {
        m_sections.resize(m_headers.FileHeader.NumberOfSections);
        return m_sections.empty() ||
               ReadWhole(m_sections.data(),
                         static_cast<unsigned int>(m_sections.size() * sizeof(SectionHeader)));
    }

    bool SetLimits()
    {
        unsigned __int64 size = 0;
        if (!m_file.GetSize(size))
            return false;
        m_limits.emplace(size, m_headers.FileHeader.NumberOfSections);
        return true;
    }

    /// Where in the file the byte at \p rva lies; 0 if no section holds it.
    unsigned __int64 Offset(DWORD rva) const
    {
        for (SectionHeader const & section : m_sections)
        {
            if (rva >= section.VirtualAddress &&
                rva - section.VirtualAddress < section.SizeOfRawData)
                return static_cast<unsigned __int64>(section.PointerToRawData) + rva -
                       section.VirtualAddress;
        }
        return 0;
    }

    bool Seek(unsigned __int64 offset) const
    {
        unsigned __int64 position = 0;
        return m_file.Seek(static_cast<__int64>(offset), FILE_BEGIN, position);
    }

    bool ReadWhole(void * buffer, unsigned int size)
    {
        unsigned int read = 0;
        return m_file.Read(buffer, size, read) && read == size;
    }

    GMFile m_file;
    NtHeaders m_headers;
    std::vector<SectionHeader> m_sections;
    std::optional<ImportLimits> m_limits; // set once the file is open
};

void AddImports(PlainImage & image, std::vector<ImportDescriptor> const & table,
                std::vector<GMString> & names)
{
    for (ImportDescriptor const & descriptor : table)
    {
        if (descriptor.FirstThunk == 0 || !image.AddName(descriptor.Name, names))
            return;
    }
}

void AddDelayImports(PlainImage & image, std::vector<DelayImportDescriptor> const & table,
                     std::vector<GMString> & names)
{
    for (DelayImportDescriptor const & descriptor : table)
    {
        if (descriptor.DllNameRVA != 0 && !image.AddName(descriptor.DllNameRVA, names))
            return;
    }
}

/// The imported names stand for the pattern: a wildcard in \p name is an ordinary character.
bool IsAmong(std::vector<GMString> const & imported, GMString const & name)
{
    return std::any_of(imported.begin(), imported.end(),
                       [&](GMString const & each) {
                           return GMStringUtils::WildcardCompare(each.c_str(), name.c_str(), true);
                       });
}

} // namespace

bool GMDependsFinder::GetDependLibrarys(GMString const & path, std::vector<GMString> & names)
{
    PlainImage image;
    std::vector<ImportDescriptor> imports;
    if (!image.Open(path) || !image.ReadTable(IMAGE_DIRECTORY_ENTRY_IMPORT, imports))
        return false;
    AddImports(image, imports, names);
    std::vector<DelayImportDescriptor> delayed;
    if (!image.ReadTable(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT, delayed))
        return false;
    AddDelayImports(image, delayed, names);
    return true;
}

bool GMDependsFinder::CheckDependLibrary(GMString const & path, GMString name)
{
    std::vector<GMString> imported;
    return GetDependLibrarys(path, imported) && IsAmong(imported, name);
}

bool GMDependsFinder::CheckDependLibrarys(GMString const & path, std::vector<GMString> names,
                                          std::vector<bool> & found)
{
    std::vector<GMString> imported;
    if (!GetDependLibrarys(path, imported))
        return false;
    found.clear();
    for (GMString const & name : names)
        found.push_back(IsAmong(imported, name));
    return std::find(found.begin(), found.end(), true) != found.end();
}

} // namespace Velmora
