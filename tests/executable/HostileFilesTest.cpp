// Executable and icon files, damaged. Whatever they hold, nothing outside of them is read, and they
// take no more memory than their size allows.
#include <filesystem>
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/executable/GMDependsFinder.h"
#include "VelmoraCommon/executable/GMFileCertificate.h"
#include "VelmoraCommon/executable/GMIconConvert.h"
#include "VelmoraCommon/executable/GMIconExtract.h"
#include "VelmoraCommon/executable/GMIconFile.h"
#include "VelmoraCommon/executable/GMPEDepend.h"
#include "tests/executable/SampleFiles.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

/// Icons that are made without a size are shared, and the system keeps what they take.
HICON WINAPI MakeUnshared(BYTE * bytes, DWORD size, BOOL isIcon, DWORD version)
{
    return CreateIconFromResourceEx(bytes, size, isIcon, version, 0, 0, LR_DEFAULTSIZE);
}

/// Has all readers read a file. \return how many groups of icons there are
std::size_t Ask(std::wstring const & path)
{
    std::vector<GMString> names;
    GMDependsFinder::GetDependLibrarys(path, names);
    GMPEDepend().GetDependFiles(path, L"", 1);

    GMFileCertificate certificate(path);
    GMFileCertificate::SignerInfo signer = {L"name", L"serial"};
    EXPECT_TRUE(certificate.GetFileSigner(signer) || signer.name + signer.serial == L"nameserial");
    GMString text;
    certificate.GetProductVersion(text);

    GMIconFile icon(path);
    GMBuffer<unsigned char> buffer;
    for (int const side : {0, 16, 32})
        icon.ReadBuffer(buffer, side, side);
    DestroyIcon(GMIconConvert::LoadIconFromFile(path.c_str(), 32, 32));

    ImportHook const hook("CreateIconFromResource", &MakeUnshared);
    GMIconExtract extract(path);
    std::wstring saved = path + L".ico";
    extract.SaveIcon(saved);
    for (wchar_t const * const group : {L"NAME", L"#1", L"#2"})
    {
        DestroyIcon(extract.GetIcon(group, 32, 32, 8, true));
        DestroyIcon(extract.GetIcon(group, 0xFFFFFFFF));
    }
    return extract.GetIconNums();
}

} // namespace

TEST(HostileFiles, AreAskedWithoutHarm)
{
    std::size_t tables = 0;
    std::string const icons = IconProgramBytes(SampleIcons(), &tables);
    std::string const imports = ProgramBytes({"a.dll", "b.dll"}, {"c.dll"});
    std::string const iconFile = IconFileBytes({{16, 16, 16, 4, BitmapImage(16, 16, 4)},
                                                {32, 32, 0, 8, BitmapImage(32, 32, 8)},
                                                {0, 0, 0, 32, PngStart(0, 0)}});
    std::vector<std::tuple<std::string, std::size_t, std::size_t>> cases = {
        // what is damaged from where to where
        {imports, 0, imports.size()},
        {imports, sectionOffset, imports.size()},
        {icons, icons.find(SampleIcons().images[0]), icons.size()},
        {icons, tables, icons.size()},
        {iconFile, 0, iconFile.size()},
    };
    if (std::filesystem::exists(SignedSubject()))
    {
        std::string const whole = ReadBytes(SignedSubject());
        std::size_t const version = whole.find(std::string("V\0S\0_\0", 6)) - 6;
        cases.push_back({whole, version, version + 0x700});
        cases.push_back({whole, ReadBytes(Subject()).size(), whole.size()});
    }
    TemporaryFolder const folder;
    Mutator mutator(11);
    for (auto const & [sound, begin, end] : cases)
    {
        for (unsigned int i = Rounds(300, 100'000); i != 0; --i)
        {
            std::string const bytes = sound.substr(0, begin) +
                                      mutator.Mutate(sound.substr(begin, end - begin)) +
                                      sound.substr(end);
            std::wstring const path = folder.Write(L"a.exe", bytes);
            AllocationMeter const meter;
            Ask(path);
            EXPECT_LE(meter.Peak(), 64 * bytes.size() + (16u << 20));
        }
    }
}

TEST(HostileFiles, KeepTheSystemFromIconsOutsideOfThem)
{
    TemporaryFolder const folder;
    IconProgram const icons = SampleIcons();
    std::size_t tables = 0;
    std::string const sound = IconProgramBytes(icons, &tables);
    std::size_t const groups =
        tables + 72; // the table, and behind it that of the first's languages
    std::size_t const languages = tables + 112 + 3 * 40;
    auto const end = static_cast<DWORD>(sectionRva + sound.size() - sound.find(icons.images[0]));
    auto const lastName = static_cast<DWORD>(sound.size() - tables - 4) | tableBit;
    std::tuple<char const *, std::size_t, std::string, std::size_t, bool> const damages[] = {
        // what is put where, how many groups there are then, and whether the first can be saved
        {"nothing", 0, "", 3, true},
        {"groups are the root", tables + 16 + 12, Raw(tableBit), 2, false},
        {"65,535 groups claimed", groups + 12, Raw(0xFFFF0001), 0, false},
        {"groups behind the file", tables + 16 + 12, Raw(0xFFFFFFF0), 0, false},
        {"languages behind the file", groups + 16 + 12, Raw(tableBit | 0x10000), 0, false},
        {"name behind the file", groups + 16, Raw(0xFFFFFFFE), 0, false},
        {"name that ends behind the file", groups + 16, Raw(lastName), 0, false},
        {"data instead of languages", groups + 16 + 12, Raw(0), 3, true},
        {"place behind the file", languages + 20, Raw(DWORD(sound.size() - tables - 15)), 0, false},
        // The last bytes of the file for those of the first image, and of the first group.
        {"image of 35 bytes", languages - 3 * 40 + 24, Raw(end - 35, 35), 3, false},
        {"image beyond the file", languages - 3 * 40 + 24, Raw(end - 35, 40), 3, false},
        {"group of 5 bytes", languages + 24, Raw(end - 5, 5), 3, false},
        {"65,535 images claimed", sound.find(icons.groups[0]) + 4, Raw(WORD(0xFFFF)), 3, false},
        {"sections behind the file", ntOffset + 6, Raw(WORD(0xFFFF)), 0, false},
    };
    for (auto const & [what, at, damage, groupCount, isSaved] : damages)
    {
        std::string bytes = sound;
        bytes.replace(at, damage.size(), damage);
        std::wstring const path = folder.Write(L"a.exe", bytes);
        EXPECT_EQ(groupCount, Ask(path)) << what;
        EXPECT_EQ(isSaved, std::filesystem::remove(path + L".ico")) << what;
    }

    // Names that all are the same text come to more than the file.
    IconProgram const many = {
        {""}, std::vector<std::string>(200, GroupBytes({1})), std::wstring(3000, L'N')};
    std::string bytes = IconProgramBytes(many, &tables);
    EXPECT_EQ(200u, Ask(folder.Write(L"a.exe", bytes)));
    for (std::size_t first = tables + 72, i = 1; i != 200; ++i)
        bytes.replace(first + 8 * i, 4, bytes, first, 4);
    EXPECT_EQ(0u, Ask(folder.Write(L"a.exe", bytes)));
}

} // namespace Velmora::Testing
