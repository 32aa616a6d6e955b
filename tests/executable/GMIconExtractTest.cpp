#include "VelmoraCommon/executable/GMIconExtract.h"

#include <array>
#include <filesystem>

#include <gtest/gtest.h>

#include "tests/executable/IconProgramQuestions.h"
#include "tests/support/FailingCall.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using Numbers = std::vector<unsigned long long>;

/// What the system was to make an icon of last.
std::string s_chosen;

HICON WINAPI NoteChoice(BYTE * bytes, DWORD size, BOOL isIcon, DWORD version)
{
    EXPECT_TRUE(isIcon && version == 0x30000);
    s_chosen.assign(reinterpret_cast<char *>(bytes), size);
    return reinterpret_cast<HICON>(1);
}

void * NoMemory(std::size_t) { return nullptr; }

/// The system, without memory for whom it calls back, and without an idea of exceptions.
BOOL WINAPI EnumerateWithoutMemory(HMODULE module, LPCWSTR type, ENUMRESNAMEPROCW callback,
                                   LONG_PTR object)
{
    wchar_t name[] = L"a long name";
    try
    {
        ImportHook const hook("malloc", &NoMemory, L"libstdc++-6.dll");
        return callback(module, type, name, object);
    }
    catch (std::bad_alloc const &)
    {
        ADD_FAILURE() << "an exception passed the system";
        return FALSE;
    }
}

} // namespace

TEST(GMIconExtract, FindsGroupsAndImages)
{
    TemporaryFolder const folder;
    IconProgram const program = SampleIcons();
    GMIconExtract extract(folder.Write(L"a.exe", IconProgramBytes(program)));
    EXPECT_TRUE(extract.IsOpen());
    EXPECT_EQ(3u, extract.GetIconNums());
    Numbers numbers = {99};
    EXPECT_EQ(std::vector<GMString>{L"NAME"}, extract.GetIconIDs(numbers));
    EXPECT_EQ((Numbers{2, 3}), numbers);
    EXPECT_TRUE(extract.EnumIconNums());
    EXPECT_EQ(6u, extract.GetIconNums());
    {
        ImportHook const hook("CreateIconFromResource", &NoteChoice);
        EXPECT_NE(nullptr, extract.GetIcon(nullptr, 0x10002)); // 16 bits count
        EXPECT_TRUE(s_chosen == program.images[1]);
        EXPECT_NE(nullptr, extract.GetIcon(L"name", 0xFFFFFFFF));
        EXPECT_TRUE(s_chosen == program.images[0]); // all claim the same
        EXPECT_NE(nullptr, extract.GetDefultIcon());
        EXPECT_TRUE(s_chosen == program.images[2]);
    }
    EXPECT_EQ(nullptr, extract.GetIcon(L"NAME", 4));
    EXPECT_EQ(nullptr, extract.GetIcon(L"NOBODY", 0xFFFFFFFF));
    EXPECT_EQ(nullptr, extract.GetIcon(MAKEINTRESOURCEW(1), 32, 32, 8, false));

    std::wstring const empty = folder.Write(L"none.exe", IconProgramBytes({}));
    for (std::wstring const & path : {folder.File(L"no.exe"), folder.Write(L"a.txt", ""), empty})
    {
        GMIconExtract none(path);
        EXPECT_EQ(path == empty, none.IsOpen());
        EXPECT_EQ(0u, none.GetIconNums());
        EXPECT_EQ(nullptr, none.GetDefultIcon());
        EXPECT_EQ(nullptr, none.GetIcon(MAKEINTRESOURCEW(1), 1));
        EXPECT_FALSE(Save(none, folder.File(L"saved.ico")));
        EXPECT_FALSE(std::filesystem::exists(folder.File(L"saved.ico")));
    }
}

TEST(GMIconExtract, TellsOfMissingMemoryPastTheSystem)
{
    TemporaryFolder const folder;
    GMIconExtract extract(folder.Write(L"a.exe", IconProgramBytes(SampleIcons())));
    {
        ImportHook const hook("EnumResourceNamesW", &EnumerateWithoutMemory);
        EXPECT_THROW(extract.GetIconNums(), std::bad_alloc);
    }
    EXPECT_EQ(3u, extract.GetIconNums());
}

TEST(GMIconExtract, ChoosesTheImage)
{
    struct Case
    {
        char const * what;
        std::vector<std::pair<int, WORD>> images; // side and depth; 0 for a PNG stream
        int side;
        unsigned int depth;
        bool isExact;
        std::size_t chosen; // counted from 1; 0 for none
    };
    std::vector<std::pair<int, WORD>> const depths = {
        {32, 1}, {32, 4}, {32, 8}, {32, 24}, {32, 32}};
    Case const cases[] = {
        {"depth 1", depths, 32, 1, true, 1},
        {"no such depth", depths, 32, 16, true, 0},
        {"the deepest instead", depths, 32, 16, false, 5},
        {"the first of two alike", {{16, 8}, {32, 8}, {32, 8}}, 32, 8, true, 2},
        {"larger, but not deeper", {{16, 8}, {32, 8}}, 48, 32, false, 1},
        {"larger and deeper", {{16, 8}, {32, 32}}, 48, 32, false, 2},
        {"deeper, but smaller", {{32, 8}, {16, 32}}, 48, 32, false, 1},
        {"PNG", {{64, 24}, {64, 0}}, 64, 32, true, 2},
        {"PNG of another size", {{48, 24}, {64, 0}}, 48, 32, false, 2},
        {"no images, others will do", {}, 32, 32, false, 0},
    };
    TemporaryFolder const folder;
    ImportHook const hook("CreateIconFromResource", &NoteChoice);
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        IconProgram program;
        std::vector<WORD> ids;
        for (auto const & [side, depth] : each.images)
        {
            program.images.push_back((depth == 0 ? PngStart(static_cast<BYTE>(side), 64)
                                                 : BitmapImage(side, side, depth)) +
                                     std::string(ids.size(), 'x')); // tells those alike apart
            ids.push_back(static_cast<WORD>(program.images.size()));
        }
        program.groups = {GroupBytes(ids)};
        GMIconExtract extract(folder.Write(L"a.exe", IconProgramBytes(program)));
        s_chosen.clear();
        EXPECT_EQ(each.chosen != 0, extract.GetIcon(MAKEINTRESOURCEW(1), each.side, each.side,
                                                    each.depth, each.isExact) != nullptr);
        EXPECT_TRUE(s_chosen == (each.chosen == 0 ? "" : program.images[each.chosen - 1]));
    }
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
    std::pair<std::string, std::size_t> const cases[] = {
        // the image, and the bytes that are handed over; 0 for no icon
        {bitmap, bitmap.size()},
        {bitmap.substr(0, mask), bitmap.size()}, // the mask comes to zeros
        {bitmap.substr(0, mask - 1), 0},
        {bitmap.substr(0, 39), 0},
        {patched(0, DWORD(12)), 0}, // an older header
        {patched(4, LONG(-32)), 0}, // width
        {patched(4, std::array<LONG, 2>{0x40000000, 0x40000000}), 0},
        {patched(8, LONG(1)), 0},  // height
        {patched(12, WORD(0)), 0}, // planes
        {patched(16, DWORD(BI_RLE8)), 0},
        {patched(32, DWORD(0x40000000)), 0},
        {PngStart(32, 32), 29},
        {PngStart(32, 32).substr(0, 23), 0},
        {PngStart(32, 32).replace(18, 1, "\x05"), 0}, // width 1,312
    };
    TemporaryFolder const folder;
    ImportHook const hook("CreateIconFromResource", &NoteChoice);
    for (auto const & [image, handedOver] : cases)
    {
        SCOPED_TRACE(&image - &cases[0].first);
        GMIconExtract extract(folder.Write(L"a.exe", IconProgramBytes({{image}, {}})));
        s_chosen.clear();
        EXPECT_EQ(handedOver != 0, extract.GetIcon(nullptr, 1) != nullptr);
        EXPECT_EQ(handedOver, s_chosen.size());
    }
}

TEST(GMIconExtract, SavesTheFirstGroup)
{
    TemporaryFolder const folder;
    IconProgram const program = {{BitmapImage(16, 16, 4), BitmapImage(256, 256, 8),
                                  PngStart(64, 64), BitmapImage(24, 20, 24)},
                                 {GroupBytes({1, 2, 3, 4}), GroupBytes({1})}};
    GMIconExtract extract(folder.Write(L"a.exe", IconProgramBytes(program)));
    ASSERT_TRUE(Save(extract, folder.File(L"new\\saved.ico")));
    EXPECT_TRUE(IconFileBytes({{16, 16, 16, 4, BitmapImage(16, 16, 4, 0)},
                               {0, 0, 0, 0, BitmapImage(256, 256, 8, 0)},
                               {0, 0, 0, 0, PngStart(64, 64)},
                               {24, 20, 0, 24, BitmapImage(24, 20, 24, 0)}}) ==
                ReadBytes(folder.File(L"new\\saved.ico")));
    EXPECT_FALSE(Save(extract, folder.Path()));
}

TEST(GMIconExtract, SharesTheModuleWithCopies)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.Write(L"a.exe", IconProgramBytes(SampleIcons()));
    FailingCall<1, decltype(&FreeLibrary)> const releases("FreeLibrary", FALSE);
    FailureScope const scope(~0u); // counts
    GMIconExtract other(folder.File(L"missing.exe"));
    {
        GMIconExtract first(path);
        EXPECT_EQ(3u, first.GetIconNums());
        other = GMIconExtract(first);
    }
    EXPECT_TRUE(Save(other, folder.File(L"saved.ico")));
    EXPECT_EQ(0u, g_callsSeen);
    other = GMIconExtract(folder.File(L"missing.exe"));
    EXPECT_EQ(1u, g_callsSeen);
}

TEST(GMIconExtract, KeepsToTheFileInDamagedOnes)
{
    TemporaryFolder const folder;
    std::size_t tables = 0;
    std::string const sound = IconProgramBytes(SampleIcons(), &tables);
    std::size_t const groups = SampleIcons().GroupTable();
    std::size_t const leaves = SampleIcons().LanguageTables() + 24 * 6;
    auto const end =
        static_cast<DWORD>(sectionRva + sound.size() - sound.find(SampleIcons().images[0]));
    struct Damage
    {
        char const * what;
        std::size_t at;
        std::vector<DWORD> values;
        std::size_t groups;
    };
    for (Damage const & each : {
             Damage{"groups are the root", 16 + 12, {tableBit}, 2},
             {"languages are the groups", groups + 16 + 4, {DWORD(groups) | tableBit}, 3},
             {"root claims 65,535 names", 12, {0x0002FFFF}, 0},
             {"65,535 groups claimed", groups + 12, {0xFFFF0001}, 0},
             {"groups behind the file", 16 + 12, {0xFFFFFFF0}, 0},
             {"languages behind the file", groups + 16 + 12, {tableBit | 0x10000}, 0},
             {"name behind the file", groups + 16, {0xFFFFFFFE}, 0},
             {"data instead of languages", groups + 16 + 12, {0}, 3},
             {"leaf behind the file",
              SampleIcons().LanguageTables() + 16 + 4,
              {DWORD(leaves + 16 * 6)},
              0},
             // The last bytes of the file for those of the first image, and of the first group.
             {"image of 39 bytes", leaves, {end - 39, 39}, 3},
             {"image beyond the file", leaves, {end - 39, 40}, 3},
             {"group of 5 bytes", leaves + 16 * 3, {end - 5, 5}, 3},
         })
    {
        SCOPED_TRACE(each.what);
        std::string bytes = sound;
        for (std::size_t i = 0; i != each.values.size(); ++i)
            Place(bytes, tables + each.at + 4 * i, each.values[i]);
        EXPECT_EQ(each.groups, AskProgramOf(folder, bytes));
    }
    std::string bytes = sound; // sections behind the file
    Place(bytes, ntOffset + 6, WORD(0xFFFF));
    EXPECT_EQ(0u, AskProgramOf(folder, bytes));

    std::string const image = BitmapImage(32, 32, 32);
    std::pair<IconProgram, bool> const programs[] = {
        {{{image}, {GroupBytes(std::vector<WORD>(15, 1))}}, true},
        {{{image}, {GroupBytes(std::vector<WORD>(0xFFFF, 1))}}, false}, // too much together
        {{{image}, {GroupBytes({1}, 0xFFFF)}}, false},
        {{{image}, {GroupBytes({1}).substr(0, 5)}}, false},
        {{{image.substr(0, 39)}, {GroupBytes({1})}}, false},
        {{{""}, {GroupBytes({1})}}, false},
    };
    for (auto const & [program, isReadable] : programs)
    {
        EXPECT_EQ(1u, AskProgramOf(folder, IconProgramBytes(program)));
        GMIconExtract extract(folder.File(L"damaged.exe"));
        EXPECT_EQ(isReadable, Save(extract, folder.File(L"saved.ico")));
    }

    // Names that all are the same text come to more than the file.
    IconProgram const many = {
        {image}, std::vector<std::string>(200, GroupBytes({1})), std::wstring(3000, L'N')};
    bytes = IconProgramBytes(many, &tables);
    EXPECT_EQ(200u, AskProgramOf(folder, bytes));
    for (std::size_t first = tables + many.GroupTable() + 16, i = 1; i != 200; ++i)
        bytes.replace(first + 8 * i, 4, bytes, first, 4);
    EXPECT_EQ(0u, AskProgramOf(folder, bytes));
}

} // namespace Velmora::Testing
