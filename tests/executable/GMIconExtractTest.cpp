#include "VelmoraCommon/executable/GMIconExtract.h"

#include <cstdlib>
#include <cwctype>
#include <filesystem>

#include <gtest/gtest.h>

#include "VelmoraCommon/executable/GMIconFile.h"
#include "tests/executable/IconBytes.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/HostShell.h"
#include "tests/support/ImportHook.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"
#include "tests/support/PrivateMember.h"
#include "tests/support/RealFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

struct ReadIconAccess
{
    using Member = ICON_RESOURCE * (GMIconExtract::*)(wchar_t const *);
    friend Member Private(ReadIconAccess);
};
template struct PrivateMember<ReadIconAccess, &GMIconExtract::ReadIcon>;

struct SaveFileAccess
{
    using Member = bool (GMIconExtract::*)(ICON_RESOURCE *, GMString &);
    friend Member Private(SaveFileAccess);
};
template struct PrivateMember<SaveFileAccess, &GMIconExtract::SaveFile>;

namespace
{

using Numbers = std::vector<unsigned long long>;

wchar_t const * Number(unsigned long long number)
{
    return reinterpret_cast<wchar_t const *>(static_cast<ULONG_PTR>(number));
}

/// What the system was to make an icon of last.
std::string s_chosen;

HICON WINAPI NoteChoice(BYTE * bytes, DWORD size, BOOL isIcon, DWORD version)
{
    EXPECT_TRUE(isIcon);
    EXPECT_EQ(0x30000u, version);
    s_chosen.assign(reinterpret_cast<char *>(bytes), size);
    return reinterpret_cast<HICON>(1);
}

/// The system shares icons that are made without a size, and keeps them for good.
HICON WINAPI MakeUnshared(BYTE * bytes, DWORD size, BOOL isIcon, DWORD version)
{
    return CreateIconFromResourceEx(bytes, size, isIcon, version, 0, 0, LR_DEFAULTSIZE);
}

/// A group in memory, freed as its owner would.
struct ReadGroup
{
    ReadGroup(GMIconExtract & extract, wchar_t const * group)
        : icon((extract.*Private(ReadIconAccess()))(group))
    {
    }
    ~ReadGroup()
    {
        for (unsigned int i = 0; icon != nullptr && i != icon->imageCount; ++i)
            std::free(icon->images[i].data);
        std::free(icon);
    }
    ReadGroup(ReadGroup const &) = delete;
    ReadGroup & operator=(ReadGroup const &) = delete;

    ICON_RESOURCE * icon;
};

/// Asks everything of a file of these bytes. \return how many groups it has
unsigned int AskAll(TemporaryFolder const & folder, std::string const & bytes)
{
    ImportHook const hook("CreateIconFromResource", &MakeUnshared);
    AllocationMeter const meter;
    std::size_t taken = 0;
    GMIconExtract extract(folder.Write(L"damaged.exe", bytes));
    std::wstring saved = folder.File(L"saved.ico");
    extract.SaveIcon(saved);
    Numbers numbers;
    auto const names = extract.GetIconIDs(numbers);
    std::vector<wchar_t const *> groups;
    for (GMString const & name : names)
        groups.push_back(name.c_str());
    for (unsigned long long const number : numbers)
        groups.push_back(Number(number));
    groups.resize(std::min<std::size_t>(groups.size(), 8));
    for (wchar_t const * const group : groups)
    {
        DestroyIcon(extract.GetIcon(group, 32, 32, 8, true));
        DestroyIcon(extract.GetIcon(group, 48, 48, 32, false));
        DestroyIcon(extract.GetIcon(group, 0xFFFFFFFF));
        ReadGroup const read(extract, group);
        std::size_t sum = 0;
        for (unsigned int i = 0; read.icon != nullptr && i != read.icon->imageCount; ++i)
            sum += sizeof(ICON_IMAGE) + read.icon->images[i].dataSize;
        taken = std::max(taken, sum);
    }
    EXPECT_LE(taken + meter.Peak(), 64 * bytes.size() + (16u << 20));
    return static_cast<unsigned int>(names.size() + numbers.size());
}

/// A program with a bit of everything.
IconProgram Sample()
{
    return {{BitmapImage(16, 16, 4), BitmapImage(32, 32, 8), PngStart(48, 48)},
            {{GroupBytes({1, 2, 3}), L"NAME"}, {GroupBytes({2, 1})}, {GroupBytes({3})}}};
}

/// Blanks what tools take from different places: all that the directory says about an image but its
/// bytes, and the size that a bitmap's header may tell.
std::string Comparable(std::string file)
{
    WORD count = 0;
    std::memcpy(&count, &file.at(4), sizeof(count));
    for (std::size_t at = 6; count != 0; --count, at += 16)
    {
        DWORD offset = 0;
        std::memcpy(&offset, &file.at(at + 12), sizeof(offset));
        file.replace(at, 8, 8, '\0');
        if (file.compare(offset, 4, "\x89PNG") != 0)
            file.replace(offset + offsetof(BITMAPINFOHEADER, biSizeImage), 4, 4, '\0');
    }
    return file;
}

} // namespace

TEST(GMIconExtract, ListsGroupsByNameAndNumber)
{
    TemporaryFolder const folder;
    GMIconExtract extract(folder.Write(L"a.exe", IconProgramBytes(Sample())));
    EXPECT_TRUE(extract.IsOpen());
    EXPECT_EQ(3u, extract.GetIconNums());
    Numbers numbers = {99};
    EXPECT_EQ(std::vector<GMString>{L"NAME"}, extract.GetIconIDs(numbers));
    EXPECT_EQ((Numbers{1, 2}), numbers);
    EXPECT_TRUE(extract.EnumIconNums());
    EXPECT_EQ(6u, extract.GetIconNums());

    for (std::wstring const & path :
         {folder.File(L"missing.exe"), folder.Write(L"none.exe", IconProgramBytes({})),
          folder.Write(L"not.exe", "no program")})
    {
        GMIconExtract none(path);
        EXPECT_EQ(path == folder.File(L"none.exe"), none.IsOpen());
        EXPECT_EQ(0u, none.GetIconNums());
        EXPECT_EQ(nullptr, none.GetDefultIcon());
        EXPECT_EQ(nullptr, none.GetIcon(Number(1), 1));
        std::wstring saved = folder.File(L"saved.ico");
        EXPECT_FALSE(none.SaveIcon(saved));
        EXPECT_FALSE(std::filesystem::exists(saved));
    }
}

TEST(GMIconExtract, ChoosesTheImage)
{
    struct Image
    {
        int size;
        WORD depth; // 0 for a PNG stream
    };
    struct Case
    {
        char const * what;
        std::vector<Image> images;
        int size;
        unsigned int depth;
        bool isExact;
        std::size_t chosen; // counted from 1; 0 for none
    };
    std::vector<Image> const depths = {{32, 1}, {32, 4}, {32, 8}, {32, 24}, {32, 32}};
    Case const cases[] = {
        {"depth 1", depths, 32, 1, true, 1},
        {"depth 4", depths, 32, 4, true, 2},
        {"depth 8", depths, 32, 8, true, 3},
        {"depth 24", depths, 32, 24, true, 4},
        {"depth 32", depths, 32, 32, true, 5},
        {"no such depth", depths, 32, 16, true, 0},
        {"the deepest instead", depths, 32, 16, false, 5},
        {"the first of two alike", {{16, 8}, {32, 8}, {32, 8}}, 32, 8, true, 2},
        {"larger, but not deeper", {{16, 8}, {32, 8}}, 48, 32, false, 1},
        {"larger and deeper", {{16, 8}, {32, 32}}, 48, 32, false, 2},
        {"smaller and less deep", {{32, 32}, {16, 8}}, 48, 32, false, 1},
        {"deeper, but smaller", {{32, 8}, {16, 32}}, 48, 32, false, 1},
        {"PNG", {{64, 24}, {64, 0}}, 64, 32, true, 2},
        {"PNG of another size", {{48, 24}, {64, 0}}, 48, 32, false, 2},
        {"no images", {}, 32, 32, true, 0},
        {"no images, others will do", {}, 32, 32, false, 0},
    };
    TemporaryFolder const folder;
    ImportHook const hook("CreateIconFromResource", &NoteChoice);
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        IconProgram program;
        std::vector<WORD> ids;
        for (Image const & image : each.images)
        {
            program.images.push_back(image.depth == 0
                                         ? PngStart(static_cast<BYTE>(image.size), 64)
                                         : BitmapImage(image.size, image.size, image.depth));
            program.images.back() += std::string(ids.size(), 'x'); // tells equal images apart
            ids.push_back(static_cast<WORD>(program.images.size()));
        }
        program.groups = {{GroupBytes(ids)}};
        GMIconExtract extract(folder.Write(L"a.exe", IconProgramBytes(program)));
        s_chosen.clear();
        HICON const icon =
            extract.GetIcon(Number(1), each.size, each.size, each.depth, each.isExact);
        EXPECT_EQ(each.chosen != 0, icon != nullptr);
        EXPECT_TRUE(s_chosen == (each.chosen == 0 ? "" : program.images[each.chosen - 1]));
    }
}

TEST(GMIconExtract, FindsImagesByNumberAndForTheScreen)
{
    TemporaryFolder const folder;
    IconProgram const program = Sample();
    GMIconExtract extract(folder.Write(L"a.exe", IconProgramBytes(program)));
    ImportHook const hook("CreateIconFromResource", &NoteChoice);
    EXPECT_NE(nullptr, extract.GetIcon(nullptr, 0x10002)); // 16 bits count
    EXPECT_TRUE(s_chosen == program.images[1]);
    EXPECT_NE(nullptr, extract.GetIcon(L"name", 0xFFFFFFFF));
    EXPECT_TRUE(s_chosen == program.images[0]); // all claim the same
    EXPECT_NE(nullptr, extract.GetDefultIcon());
    EXPECT_TRUE(s_chosen == program.images[2]);
    EXPECT_EQ(nullptr, extract.GetIcon(L"NAME", 4));
    EXPECT_EQ(nullptr, extract.GetIcon(L"NOBODY", 0xFFFFFFFF));
    EXPECT_EQ(nullptr, extract.GetIcon(Number(3), 32, 32, 8, false));
}

TEST(GMIconExtract, LetsTheSystemHaveWholeImagesOnly)
{
    std::string const bitmap = BitmapImage(32, 32, 8);
    std::size_t const mask = bitmap.size() - 32 * 4;
    auto const patched = [&](std::size_t at, auto value)
    {
        std::string bytes = bitmap;
        Place(bytes, at, value);
        return bytes;
    };
    std::string wide = PngStart(32, 32);
    wide[18] = 5; // 1,280 + 32 pixels
    struct Case
    {
        char const * what;
        std::string image;
        std::size_t handedOver; // 0 for no icon
    };
    Case const cases[] = {
        {"whole", bitmap, bitmap.size()},
        {"without a mask", bitmap.substr(0, mask), bitmap.size()},
        {"half a mask", bitmap.substr(0, mask + 64), bitmap.size()},
        {"a pixel less", bitmap.substr(0, mask - 1), 0},
        {"header alone", bitmap.substr(0, 40), 0},
        {"less than a header", bitmap.substr(0, 39), 0},
        {"older header", patched(0, DWORD(12)), 0},
        {"header size beyond the end", patched(0, DWORD(0xFFFFFFF8)), 0},
        {"no planes", patched(12, WORD(0)), 0},
        {"compressed", patched(16, DWORD(BI_RLE8)), 0},
        {"1,000 colours", patched(32, DWORD(1000)), 0},
        {"colours that wrap", patched(32, DWORD(0x40000000)), 0},
        {"huge", patched(4, std::array<LONG, 2>{0x7FFFFFFF, 0x7FFFFFFF}), 0},
        {"sizes that wrap", patched(4, std::array<LONG, 2>{0x40000000, 0x40000000}), 0},
        {"negative width", patched(4, LONG(-32)), 0},
        {"no height", patched(8, LONG(1)), 0},
        {"PNG", PngStart(32, 32), 29},
        {"PNG too wide", wide, 0},
        {"PNG cut in its size", PngStart(32, 32).substr(0, 23), 0},
    };
    TemporaryFolder const folder;
    ImportHook const hook("CreateIconFromResource", &NoteChoice);
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        IconProgram const program = {{each.image}, {{GroupBytes({1})}}};
        GMIconExtract extract(folder.Write(L"a.exe", IconProgramBytes(program)));
        s_chosen.clear();
        EXPECT_EQ(each.handedOver != 0, extract.GetIcon(nullptr, 1) != nullptr);
        EXPECT_EQ(each.handedOver, s_chosen.size());
    }
}

TEST(GMIconExtract, SavesTheFirstGroup)
{
    TemporaryFolder const folder;
    std::vector<std::string> images = {BitmapImage(16, 16, 4), BitmapImage(256, 256, 8),
                                       PngStart(64, 64), BitmapImage(24, 20, 24)};
    IconProgram const program = {images, {{GroupBytes({1, 2, 3, 4}), L"A"}, {GroupBytes({1})}}};
    GMIconExtract extract(folder.Write(L"a.exe", IconProgramBytes(program)));
    std::wstring saved = folder.File(L"new\\saved.ico");
    ASSERT_TRUE(extract.SaveIcon(saved));

    // Width, height, colours, 0, planes, bits.
    std::string const entries[] = {{"\x10\x10\x10\0\x01\0\x04\0", 8},
                                   {"\0\0\0\0\x01\0\0\0", 8},
                                   {"\0\0\0\0\x01\0\0\0", 8},
                                   {"\x18\x14\0\0\x01\0\x18\0", 8}};
    std::string expected("\0\0\x01\0\x04\0", 6);
    std::size_t offset = 6 + 4 * 16;
    for (std::size_t i = 0; i != 4; ++i)
    {
        expected += entries[i];
        Append(expected, static_cast<DWORD>(images[i].size()));
        Append(expected, static_cast<DWORD>(offset));
        offset += images[i].size();
        if (i != 2)
            Place(images[i], offsetof(BITMAPINFOHEADER, biSizeImage), DWORD(0));
    }
    for (std::string const & image : images)
        expected += image;
    EXPECT_TRUE(expected == ReadBytes(saved));
    std::wstring nowhere = folder.File(L"");
    EXPECT_FALSE(extract.SaveIcon(nowhere));
}

TEST(GMIconExtract, SavesWhatOtherToolsTakeOut)
{
    TemporaryFolder const folder;
    auto const files = RealFiles("32");
    VELMORA_SKIP_WITHOUT(files);
    unsigned int groups = 0;
    for (std::filesystem::path const path : files)
    {
        auto const icons = path.parent_path().parent_path() / L"icons" / path.filename();
        std::error_code failure;
        GMIconExtract extract(path);
        for (auto const & entry : std::filesystem::directory_iterator(icons, failure))
        {
            // FILE_14_GROUP_LANGUAGE.ico
            SCOPED_TRACE(entry.path().string());
            std::wstring group =
                entry.path().stem().wstring().substr(path.filename().wstring().size() + 4);
            group.resize(group.rfind(L'_'));
            bool const isNumber = std::iswdigit(group[0]) != 0;
            ReadGroup const read(extract, isNumber ? Number(std::stoul(group)) : group.c_str());
            ASSERT_NE(nullptr, read.icon);
            EXPECT_EQ(path.wstring(), read.icon->sourceName);
            std::wstring saved = folder.File(L"saved.ico");
            ASSERT_TRUE((extract.*Private(SaveFileAccess()))(read.icon, saved));
            std::string const ours = Comparable(ReadBytes(saved));
            // The other tool leaves some room behind the last image.
            std::string const theirs = Comparable(ReadBytes(entry.path()));
            EXPECT_TRUE(theirs.compare(0, ours.size(), ours) == 0);
            EXPECT_TRUE(GMIconFile(saved).IsValidIco());
            ++groups;
        }
    }
    std::string const host = HostPath(folder.File(L"saved.ico"));
    if (host.empty() || groups == 0)
        GTEST_SKIP() << "no tools for icons on a real Windows; compared groups: " << groups;
    auto const listed = RunOnHost("icotool --list '" + host + "'");
    ASSERT_TRUE(listed);
    EXPECT_EQ(0u, listed->find("--icon --index=1 --width=")) << *listed;
}

TEST(GMIconExtract, SharesTheModuleWithCopies)
{
    static unsigned int released;
    static decltype(&FreeLibrary) release;
    struct Fake
    {
        static BOOL WINAPI Free(HMODULE module) { return ++released, release(module); }
    };
    TemporaryFolder const folder;
    std::wstring const path = folder.Write(L"a.exe", IconProgramBytes(Sample()));
    released = 0;
    ImportHook const hook("FreeLibrary", &Fake::Free, release);
    GMIconExtract other(folder.File(L"missing.exe"));
    {
        GMIconExtract first(path);
        EXPECT_EQ(3u, first.GetIconNums());
        GMIconExtract const copy(first);
        other = copy;
        EXPECT_EQ(0u, released);
    }
    EXPECT_EQ(3u, other.GetIconNums());
    EXPECT_NE(nullptr, ReadGroup(other, L"NAME").icon);
    EXPECT_EQ(0u, released);
    other = GMIconExtract(folder.File(L"missing.exe"));
    EXPECT_EQ(1u, released);
}

TEST(GMIconExtract, KeepsToTheFileInDamagedOnes)
{
    TemporaryFolder const folder;
    constexpr DWORD highBit = 0x80000000;
    std::size_t const tables = ResourceTables(Sample(), 0).size();
    struct Case
    {
        char const * what;
        std::size_t at; // in the tables
        DWORD value;
        unsigned int groups;
    };
    constexpr std::size_t groupTable = 16 + 2 * 8 + 16 + 3 * 8;
    Case const tableCases[] = {
        {"sound", 16, 3, 3},
        {"group table is the root", 16 + 12, highBit, 2},
        {"group table is itself one level down", groupTable + 16 + 4, groupTable | highBit, 3},
        {"root claims 65,535 names", 12, 0x0002FFFF, 0},
        {"group table claims 65,535 numbers", groupTable + 12, 0xFFFF0001, 0},
        {"group table behind the file", 16 + 12, 0xFFFFFFF0, 0},
        {"a language behind the file", groupTable + 16 + 12, highBit | 0x10000, 0},
        {"a name behind the file", groupTable + 16, 0xFFFFFFFE, 0},
        {"data instead of a directory", groupTable + 16 + 12, 0, 3},
        {"directories for pictures without them", 16, 2, 3},
    };
    for (Case const & each : tableCases)
    {
        SCOPED_TRACE(each.what);
        std::string bytes = IconProgramBytes(Sample());
        Place(bytes, bytes.size() - tables + each.at, each.value);
        EXPECT_EQ(each.groups, AskAll(folder, bytes));
    }

    struct Program
    {
        char const * what;
        IconProgram program;
        bool isReadable;
    };
    std::string const image = BitmapImage(32, 32, 32);
    Program const programs[] = {
        {"image shorter than its header", {{image.substr(0, 39)}, {{GroupBytes({1})}}}, false},
        {"no image", {{""}, {{GroupBytes({1})}}}, false},
        {"65,535 images claimed", {{image}, {{GroupBytes({1}, 0xFFFF)}}}, false},
        {"65,535 times the same", {{image}, {{GroupBytes(std::vector<WORD>(0xFFFF, 1))}}}, false},
        {"group shorter than its header", {{image}, {{"\0\0\x01\0\x01"}}}, false},
        {"15 times the same", {{image}, {{GroupBytes(std::vector<WORD>(15, 1))}}}, true},
    };
    for (Program each : programs)
    {
        SCOPED_TRACE(each.what);
        for (bool const areTablesLast : {false, true})
        {
            each.program.areTablesLast = areTablesLast;
            EXPECT_EQ(1u, AskAll(folder, IconProgramBytes(each.program)));
            GMIconExtract extract(folder.File(L"damaged.exe"));
            EXPECT_EQ(each.isReadable, ReadGroup(extract, Number(1)).icon != nullptr);
        }
    }

    // Names that all are the same text come to more than the file.
    IconProgram many = {{image}, {{GroupBytes({1}), std::wstring(3000, L'N')}}};
    many.groups.resize(200, {GroupBytes({1})});
    std::string bytes = IconProgramBytes(many);
    std::size_t const first =
        bytes.size() - ResourceTables(many, 0).size() + 16 + 2 * 8 + 16 + 8 + 16;
    EXPECT_EQ(200u, AskAll(folder, bytes));
    for (std::size_t i = 1; i != 200; ++i)
        bytes.replace(first + 8 * i, 4, bytes, first, 4);
    EXPECT_EQ(0u, AskAll(folder, bytes));
}

TEST(GMIconExtract, SurvivesCutAndMutatedFiles)
{
    TemporaryFolder const folder;
    IconProgram program = Sample();
    std::size_t const tables = ResourceTables(program, 0).size();
    for (program.tablesLimit = 0; program.tablesLimit < tables; ++program.tablesLimit)
        AskAll(folder, IconProgramBytes(program));
    program.tablesLimit = std::string::npos;

    std::string const tablesLast = IconProgramBytes(program);
    program.areTablesLast = false;
    std::string const dataLast = IconProgramBytes(program);
    std::size_t const data = BitmapImage(16, 16, 4).size() + BitmapImage(32, 32, 8).size() +
                             PngStart(48, 48).size() + 3 * 6 + 6 * 14;
    Mutator<char> mutator(11);
    for (unsigned int i = Rounds(600, 100000); i != 0; --i)
    {
        bool const isData = mutator.Generator().OneIn(3);
        std::string bytes = isData ? dataLast : tablesLast;
        std::size_t size = isData ? data : tables;
        std::size_t begin = bytes.size() - size;
        if (mutator.Generator().OneIn(8))
        {
            begin = 0;
            size = sectionOffset;
        }
        std::string changed = mutator.Mutate(bytes.substr(begin, size));
        changed.resize(size); // the end stays at the page's
        AskAll(folder, bytes.replace(begin, size, changed));
    }
}

TEST(GMIconExtract, SurvivesCutRealFiles)
{
    TemporaryFolder const folder;
    unsigned int used = 0;
    for (char const * const kind : {"32", "64"})
    {
        auto const files = RealFiles(kind);
        VELMORA_SKIP_WITHOUT(files);
        unsigned int ofKind = 0;
        for (std::size_t i = 0; i != files.size() && ofKind != 2; ++i)
        {
            if (GMIconExtract(files[i]).GetIconNums() == 0)
                continue;
            ++ofKind;
            std::string const whole = ReadBytes(files[i]);
            for (std::size_t size = 0; size <= whole.size(); size += 4096)
                AskAll(folder, whole.substr(0, size));
            for (unsigned int n = 0, steps = Rounds(50, 10000); n != steps; ++n)
                AskAll(folder, whole.substr(0, whole.size() * n / steps));
        }
        used += ofKind;
    }
    EXPECT_EQ(4u, used);
}

} // namespace Velmora::Testing
