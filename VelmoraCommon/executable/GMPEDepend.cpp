#include "VelmoraCommon/executable/GMPEDepend.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <cwchar>
#include <optional>
#include <stack>
#include <string_view>
#include <utility>
#include <vector>

#include "VelmoraCommon/executable/GMPEInfo.h"
#include "VelmoraCommon/executable/internal/ImportLimits.h"
#include "VelmoraCommon/executable/internal/PEFormat.h"
#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/files/GMFileMapping.h"
#include "VelmoraCommon/files/GMFileName.h"
#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/internal/PathText.h"
#include "VelmoraCommon/frame/GMEnvironmentVariable.h"
#include "VelmoraCommon/frame/internal/SystemText.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringToken.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

/// The most characters of a library's name that count.
constexpr std::size_t nameLimit = 260;

/// An executable file in memory, in which every access stays within the file. Its size is asked of
/// the very file that is mapped: that of a path may be the size of a link, or of another file by now.
class MappedImage
{
public:
    explicit MappedImage(GMString const & path) : m_bytes(nullptr), m_size(0)
    {
        unsigned __int64 size = 0;
        if (!m_file.Create(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL) ||
            !m_file.GetSize(size) || !m_mapping.Create(m_file.GetHandle(), PAGE_READONLY, 0, 0) ||
            !m_mapping.Mapping(FILE_MAP_READ, 0, 0, 0))
            return;
        m_bytes = static_cast<unsigned char *>(m_mapping.GetMapAddress());
        m_size = static_cast<unsigned int>(std::min<unsigned __int64>(size, UINT_MAX));
    }

    GMPEInfo Info() const { return GMPEInfo(m_bytes, m_size); }
    unsigned int Size() const { return m_size; }

    /// Finds \p rva with \p size bytes behind it in the file.
    bool Find(DWORD rva, unsigned int size, unsigned int & offset) const
    {
        int const found = Info().RvaToOffset(rva);
        offset = static_cast<unsigned int>(found);
        return found >= 0 && Holds(offset, size);
    }

    bool Holds(unsigned int offset, unsigned int size) const
    {
        return offset <= m_size && size <= m_size - offset;
    }

    template <class T>
    T Read(unsigned int offset) const
    {
        return ReadUnaligned<T>(m_bytes + offset);
    }

    /// The name at \p rva; nothing if it can't be read.
    std::optional<std::string_view> Name(DWORD rva) const
    {
        unsigned int offset;
        if (!Find(rva, 1, offset))
            return std::nullopt;
        auto const * const text = reinterpret_cast<char const *>(m_bytes) + offset;
        // The file ends in zeros up to the end of its last page, or right there, or it can't be read
        // at all, as on a drive that is gone.
        if (IsBadStringPtrA(text, nameLimit))
            return std::nullopt;
        return std::string_view(text,
                                strnlen(text, std::min<std::size_t>(nameLimit, m_size - offset)));
    }

private:
    GMFile m_file;
    GMFileMapping m_mapping;
    unsigned char * m_bytes;
    unsigned int m_size; // what lies beyond 4 GiB isn't seen
};

/// Gathers the names that a file imports.
class ImportedNames
{
public:
    ImportedNames(MappedImage const & image, unsigned int sections)
        : m_image(image),
          m_limits(image.Size(), sections)
    {
    }

    /// False if the name can't be read.
    bool Add(DWORD rva)
    {
        if (rva == m_last)
            return true; // descriptors without end may be all the same
        if (!m_limits.TakeSearch())
            return false;
        auto const text = m_image.Name(rva);
        if (!text || !m_limits.TakeName(text->size()))
            return false;
        GMString name = GMStringConvert::MultiByteToUnicodeString(
            text->data(), static_cast<int>(text->size()), CP_ACP);
        GMStringUtils::MakeLower(name);
        m_names.push_back(std::move(name));
        m_last = rva;
        return true;
    }

    std::vector<GMString> Take() { return std::move(m_names); }

private:
    MappedImage const & m_image;
    ImportLimits m_limits;
    std::vector<GMString> m_names; // in lower case, with repeated ones
    std::optional<DWORD> m_last;   // where the last of them is
};

bool IsEnd(ImportDescriptor const & descriptor)
{
    return descriptor.Characteristics == 0 && descriptor.TimeDateStamp == 0 &&
           descriptor.ForwarderChain == 0 && descriptor.Name == 0 && descriptor.FirstThunk == 0;
}

void AddImports(MappedImage const & image, unsigned int offset, ImportedNames & names)
{
    for (; image.Holds(offset, sizeof(ImportDescriptor)); offset += sizeof(ImportDescriptor))
    {
        auto const descriptor = image.Read<ImportDescriptor>(offset);
        if (IsEnd(descriptor) || !names.Add(descriptor.Name))
            return;
    }
}

void AddDelayImports(MappedImage const & image, unsigned int offset, unsigned int size,
                     ImportedNames & names)
{
    constexpr unsigned int step = sizeof(DelayImportDescriptor);
    for (unsigned int left = size / step; left != 0 && image.Holds(offset, step);
         --left, offset += step)
        names.Add(image.Read<DelayImportDescriptor>(offset).DllNameRVA); // or passes over it
}

/// What \p file imports, in lower case. Without imports the delay imports aren't looked at.
std::vector<GMString> ImportsOf(GMString const & file)
{
    MappedImage const image(file);
    _IMAGE_NT_HEADERS * headersInFile = nullptr;
    if (!image.Info().IsPEFile() || !image.Info().GetImageNTHeader(headersInFile))
        return {};
    auto const headers = ReadUnaligned<NtHeaders>(headersInFile);
    auto const & directories = headers.OptionalHeader.DataDirectory;
    ImportedNames names(image, headers.FileHeader.NumberOfSections);

    DWORD const imports = directories[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    unsigned int offset;
    if (imports == 0 || !image.Find(imports, sizeof(ImportDescriptor), offset))
        return {};
    AddImports(image, offset, names);

    auto const & delayed = directories[IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT];
    if (delayed.VirtualAddress != 0 &&
        image.Find(delayed.VirtualAddress, sizeof(DelayImportDescriptor), offset))
        AddDelayImports(image, offset, delayed.Size, names);
    return names.Take();
}

std::vector<GMString> ReadSearchPath()
{
    wchar_t variable[] = L"path";
    std::vector<GMString> directories;
    GMStringToken::StringToArray(GMEnvironmentVariable::GetEnvironmentVar(variable), L';',
                                 directories);
    return directories;
}

/// The folder in the environment variable "path" that holds \p name, joined with it; empty if none
/// does.
GMString FindInSearchPath(GMString const & name)
{
    static std::vector<GMString> const directories = ReadSearchPath(); // by the first who gets here
    for (GMString const & directory : directories)
    {
        GMString path = GMFileName::JoinFileName(directory, name);
        if (GMFilePathUtils::IsExistsFile(path))
            return path;
    }
    return GMString();
}

/// The folder beside a program in which the C and C++ run time of \p name may lie; empty for the
/// name of another library.
GMString RuntimeFolder(GMString const & name)
{
    constexpr std::size_t prefixSize = 5;
    for (wchar_t const * const prefix : {L"msvcr", L"msvcp"})
    {
        if (name.compare(0, prefixSize, prefix) != 0)
            continue;
        long const version = std::wcstol(name.c_str() + prefixSize, nullptr, 10);
        if (version != 0)
            return L"Microsoft.VC" + std::to_wstring(version) + L".CRT";
    }
    return GMString();
}

/// The files that an import walk still has to go through: one level per file on the way down.
struct Level
{
    std::vector<GMString> names;
    int depth;
    std::size_t next;
};

} // namespace

std::map<GMString, GMString> const &
GMPEDepend::GetDependFiles(GMString const & file, GMString const & extraDirectory, int depth)
{
    m_dependFiles.clear();
    GetDependFiles(file, file, extraDirectory, m_dependFiles, depth);
    return m_dependFiles;
}

void GMPEDepend::GetDependFiles(GMString const & file, GMString const & rootFile,
                                GMString const & extraDirectory,
                                std::map<GMString, GMString> & result, int depth)
{
    if (depth < 1)
        return;
    // On the heap and with one file open at a time, for a chain of libraries may be long.
    std::stack<Level> levels;
    levels.push({ImportsOf(file), depth, 0});
    while (!levels.empty())
    {
        Level & level = levels.top();
        if (level.next == level.names.size())
        {
            levels.pop();
            continue;
        }
        auto const [entry, isNew] = result.try_emplace(std::move(level.names[level.next++]));
        if (!isNew)
            continue;
        entry->second = GetDllFullPath(entry->first, rootFile, extraDirectory);
        if (!entry->second.empty() && level.depth > 1)
            levels.push({ImportsOf(entry->second), level.depth - 1, 0});
    }
}

GMString GMPEDepend::GetDllFullPath(GMString const & name, GMString const & rootFile,
                                    GMString const & extraDirectory)
{
    std::size_t const delimiter = rootFile.find_last_of(pathDelimiters);
    bool const hasFolder = delimiter != GMString::npos;
    GMString const folder = rootFile.substr(0, hasFolder ? delimiter : 0);
    GMString path;
    auto const isIn = [&](GMString const & directory)
    {
        path = GMFileName::JoinFileName(directory, name);
        return GMFilePathUtils::IsExistsFile(path);
    };

    if (hasFolder && isIn(folder))
        return path;
    if (isIn(extraDirectory))
        return path;
    if (isIn(ReadFixedSystemText<MAX_PATH>([](wchar_t * buffer)
                                           { return GetSystemDirectoryW(buffer, MAX_PATH) != 0; })))
        return path;
    if (isIn(ReadFixedSystemText<MAX_PATH>(
            [](wchar_t * buffer) { return GetWindowsDirectoryW(buffer, MAX_PATH) != 0; })))
        return path;
    path = FindInSearchPath(name);
    if (!path.empty() || !hasFolder)
        return path;
    GMString const runtime = RuntimeFolder(name);
    if (!runtime.empty() && isIn(GMFileName::JoinFileName(folder, runtime)))
        return path;
    return GMString();
}

} // namespace Velmora
