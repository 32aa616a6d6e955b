#include "VelmoraCommon/executable/GMDependsFinder.h"
#include "VelmoraCommon/executable/GMIconExtract.h"
#include "VelmoraCommon/executable/GMPEDepend.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "benchmarks/Families.h"
#include "tests/support/HostShell.h"
#include "tests/support/RealFiles.h"

#include <imagehlp.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace Velmora::Benchmarks
{

// To read a group without writing a file is private. An explicit instantiation may name it.
struct ReadIconAccess
{
    using Member = ICON_RESOURCE * (GMIconExtract::*)(wchar_t const *);
    friend Member Private(ReadIconAccess);
};
template <class Access, typename Access::Member member>
struct PrivateMember
{
    friend typename Access::Member Private(Access) { return member; }
};
template struct PrivateMember<ReadIconAccess, &GMIconExtract::ReadIcon>;

namespace
{

using Names = std::vector<std::wstring>;

constexpr char iconsName[] = "executable: icon groups of real 32-bit files";

std::wstring Widen(char const * name) { return std::wstring(name, name + std::strlen(name)); }

/// The headers of a file, and where its sections put an address.
struct Headers
{
    DWORD Offset(DWORD rva) const
    {
        for (IMAGE_SECTION_HEADER const & section : sections)
        {
            if (rva - section.VirtualAddress < section.SizeOfRawData)
                return section.PointerToRawData + rva - section.VirtualAddress;
        }
        return 0;
    }
    IMAGE_DATA_DIRECTORY const & Directory(int index) const
    {
        return nt.OptionalHeader.DataDirectory[index];
    }

    IMAGE_NT_HEADERS32 nt;
    std::vector<IMAGE_SECTION_HEADER> sections;
};

void ReadAt(HANDLE file, LONG offset, void * buffer, DWORD size)
{
    DWORD read;
    SetFilePointer(file, offset, nullptr, FILE_BEGIN);
    ReadFile(file, buffer, size, &read, nullptr);
}

/// The fewest calls that get the names out of a sound file.
void ReadBarely(std::wstring const & path, Names & names)
{
    ScopedFile const file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD read;
    IMAGE_DOS_HEADER dos;
    ReadFile(file.Get(), &dos, sizeof(dos), &read, nullptr);
    Headers headers;
    ReadAt(file.Get(), dos.e_lfanew, &headers.nt, sizeof(headers.nt));
    headers.sections.resize(headers.nt.FileHeader.NumberOfSections);
    ReadFile(file.Get(), headers.sections.data(),
             static_cast<DWORD>(headers.sections.size() * sizeof(IMAGE_SECTION_HEADER)), &read,
             nullptr);
    auto const & imports = headers.Directory(IMAGE_DIRECTORY_ENTRY_IMPORT);
    std::vector<IMAGE_IMPORT_DESCRIPTOR> table(imports.Size / sizeof(IMAGE_IMPORT_DESCRIPTOR));
    ReadAt(file.Get(), static_cast<LONG>(headers.Offset(imports.VirtualAddress)), table.data(),
           static_cast<DWORD>(table.size() * sizeof(table[0])));
    for (IMAGE_IMPORT_DESCRIPTOR const & descriptor : table)
    {
        if (descriptor.FirstThunk == 0)
            break;
        char name[260] = {};
        ReadAt(file.Get(), static_cast<LONG>(headers.Offset(descriptor.Name)), name, 259);
        names.push_back(Widen(name));
    }
}

void ReadByImageHlp(std::wstring const & path, Names & names)
{
    LOADED_IMAGE image = {};
    if (!MapAndLoad(std::string(path.begin(), path.end()).c_str(), nullptr, &image, FALSE, TRUE))
        return;
    ULONG size = 0;
    auto descriptor = static_cast<IMAGE_IMPORT_DESCRIPTOR const *>(
        ImageDirectoryEntryToData(image.MappedAddress, FALSE, IMAGE_DIRECTORY_ENTRY_IMPORT, &size));
    for (; descriptor != nullptr && descriptor->Name != 0; ++descriptor)
    {
        void const * const name =
            ImageRvaToVa(image.FileHeader, image.MappedAddress, descriptor->Name, nullptr);
        names.push_back(Widen(static_cast<char const *>(name)));
    }
    UnMapAndLoad(&image);
}

/// Maps a sound file and asks \p known for each name in lower case.
void WalkBarely(std::wstring const & path, std::set<std::wstring> & known)
{
    ScopedFile const file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    ScopedKernelObject const mapping(
        CreateFileMappingW(file.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    auto const bytes =
        static_cast<char const *>(MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, 0));
    auto const nt = reinterpret_cast<IMAGE_NT_HEADERS32 const *>(
        bytes + reinterpret_cast<IMAGE_DOS_HEADER const *>(bytes)->e_lfanew);
    auto const section = reinterpret_cast<IMAGE_SECTION_HEADER const *>(nt + 1);
    Headers const headers = {*nt, {section, section + nt->FileHeader.NumberOfSections}};
    auto descriptor = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR const *>(
        bytes + headers.Offset(headers.Directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress));
    for (; descriptor->Name != 0; ++descriptor)
    {
        std::wstring name = Widen(bytes + headers.Offset(descriptor->Name));
        CharLowerBuffW(name.data(), static_cast<DWORD>(name.size()));
        known.insert(std::move(name));
    }
    UnmapViewOfFile(bytes);
}

/// The real files that import anything, for the barest readers can't do with others.
std::vector<std::wstring> Importers()
{
    std::vector<std::wstring> files;
    for (std::wstring const & path : Testing::RealFiles("32"))
    {
        Names names;
        if (GMDependsFinder::GetDependLibrarys(path, names) && !names.empty())
            files.push_back(path);
    }
    return files;
}

void MeasureImports(Report & report, std::vector<std::wstring> const & files)
{
    auto const forAll = [&files](auto read)
    {
        return [&files, read]
        {
            for (std::wstring const & path : files)
            {
                Names names;
                read(path, names);
                Use(&names);
            }
        };
    };
    report.Measure({"executable: imports of real 32-bit files, plain reads",
                    static_cast<double>(files.size()),
                    "files",
                    forAll(&GMDependsFinder::GetDependLibrarys),
                    {{"open, seek and read", forAll(&ReadBarely), Bar::RateAtLeast(0.8)},
                     {"imagehlp", forAll(&ReadByImageHlp), Bar::RateAtLeast(1.2)}}});
}

void MeasureMappedWalk(Report & report, std::vector<std::wstring> const & files)
{
    // All libraries are known, so that no one searches for their files.
    std::map<GMString, GMString> found;
    std::set<std::wstring> known;
    report.Measure({"executable: imports of real 32-bit files, mapped walk",
                    static_cast<double>(files.size()),
                    "files",
                    [&]
                    {
                        for (std::wstring const & path : files)
                            GMPEDepend::GetDependFiles(path, path, L"", found, 1);
                    },
                    {{"map and walk",
                      [&]
                      {
                          for (std::wstring const & path : files)
                              WalkBarely(path, known);
                      },
                      Bar::RateAtLeast(0.85)}}});
}

void ReadIcons(std::wstring const & path)
{
    GMIconExtract extract(path);
    std::vector<unsigned long long> numbers;
    std::vector<GMString> const names = extract.GetIconIDs(numbers);
    auto const read = [&](wchar_t const * group)
    {
        ICON_RESOURCE * const icon = (extract.*Private(ReadIconAccess()))(group);
        Use(icon);
        for (unsigned int i = 0; icon != nullptr && i != icon->imageCount; ++i)
            std::free(icon->images[i].data);
        std::free(icon);
    };
    for (GMString const & name : names)
        read(name.c_str());
    for (unsigned long long const number : numbers)
        read(MAKEINTRESOURCEW(number));
}

BOOL CALLBACK CopyGroup(HMODULE module, wchar_t const * type, wchar_t * name, LONG_PTR)
{
    HRSRC const entry = FindResourceW(module, name, type);
    auto const group = static_cast<WORD const *>(LockResource(LoadResource(module, entry)));
    std::vector<void *> images;
    for (unsigned int i = 0; i != group[2]; ++i)
    {
        HRSRC const image =
            FindResourceW(module, MAKEINTRESOURCEW(group[3 + 7 * i + 6]), MAKEINTRESOURCEW(3));
        DWORD const size = SizeofResource(module, image);
        images.push_back(std::malloc(size));
        std::memcpy(images.back(), LockResource(LoadResource(module, image)), size);
    }
    Use(&images);
    for (void * const image : images)
        std::free(image);
    return TRUE;
}

/// The fewest calls that copy the icons of a sound file.
void ReadIconsBarely(std::wstring const & path)
{
    ScopedModule const module(LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
    EnumResourceNamesW(module.Get(), MAKEINTRESOURCEW(14), &CopyGroup, 0);
}

void MeasureIcons(Report & report)
{
    std::vector<std::wstring> files;
    std::string command = "true";
    for (std::wstring const & path : Testing::RealFiles("32"))
    {
        if (GMIconExtract(path).GetIconNums() == 0)
            continue;
        files.push_back(path);
        command += "; wrestool -x --type=14 '" + Testing::HostPath(path) + "'";
    }
    auto const forAll = [&files](auto read)
    {
        return [&files, read]
        {
            for (std::wstring const & path : files)
                read(path);
        };
    };
    std::vector<Peer> peers = {
        {"load, find and copy", forAll(&ReadIconsBarely), Bar::RateAtLeast(0.8)}};
    // One shell runs it for all files. That it is started, too, is little beside that.
    if (Testing::RunOnHost("command -v wrestool"))
        peers.push_back({"wrestool", [&command] { Testing::RunOnHost(command + " >/dev/null"); },
                         Bar::RateAtLeast(8)});
    else
        std::printf("%s: without wrestool, which isn't here\n", iconsName);
    report.Measure(
        {iconsName, static_cast<double>(files.size()), "files", forAll(&ReadIcons), peers});
}

} // namespace

void MeasureExecutables(Report & report)
{
    std::string const name = "executable: imports of real 32-bit files";
    bool const wantsImports =
        report.IsWanted(name + ", plain reads") || report.IsWanted(name + ", mapped walk");
    if (!wantsImports && !report.IsWanted(iconsName))
        return;
    std::vector<std::wstring> const files = Importers();
    if (files.empty())
    {
        std::printf("executable: left out, for scripts/real-files has gathered no real files\n");
        return;
    }
    if (wantsImports)
    {
        MeasureImports(report, files);
        MeasureMappedWalk(report, files);
    }
    if (report.IsWanted(iconsName))
        MeasureIcons(report);
}

} // namespace Velmora::Benchmarks
