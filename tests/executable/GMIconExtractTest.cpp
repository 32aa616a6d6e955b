#include "VelmoraCommon/executable/GMIconExtract.h"

#include <array>
#include <filesystem>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/executable/IconProgramQuestions.h"
#include "tests/support/FailingCall.h"
#include "tests/support/ImportHook.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

/// What the system was to make an icon of last.
std::string s_chosen;

HICON WINAPI NoteChoice(BYTE * bytes, DWORD size, BOOL isIcon, DWORD version)
{
    EXPECT_TRUE(isIcon && version == 0x30000);
    s_chosen.assign(reinterpret_cast<char *>(bytes), size);
    return reinterpret_cast<HICON>(1);
}

void * NoMemory(std::size_t) { return nullptr; }

/// The system, without memory for whom it calls back; an exception that passes it ends the program.
BOOL WINAPI EnumerateWithoutMemory(HMODULE module, LPCWSTR type, ENUMRESNAMEPROCW callback,
                                   LONG_PTR object) noexcept
{
    wchar_t name[] = L"a long name";
    ImportHook const hook("malloc", &NoMemory, L"libstdc++-6.dll");
    return callback(module, type, name, object);
}

BOOL WINAPI EnumerateNothing(HMODULE, LPCWSTR, ENUMRESNAMEPROCW, LONG_PTR) { return TRUE; }

} // namespace

TEST(GMIconExtract, FindsGroupsAndImages)
{
    TemporaryFolder const folder;
    IconProgram const program = SampleIcons();
    std::wstring const path = folder.Write(L"a.exe", IconProgramBytes(program));
    FailingCall<1, decltype(&FreeLibrary)> const releases("FreeLibrary", FALSE);
    FailureScope const scope(~0u); // counts
    {
        GMIconExtract extract(folder.File(L"no.exe"));
        extract = GMIconExtract(GMIconExtract(path)); // the module is shared
        {
            ImportHook const hook("EnumResourceNamesW", &EnumerateWithoutMemory);
            EXPECT_THROW(extract.GetIconNums(), std::bad_alloc);
        }
        std::vector<unsigned long long> numbers = {99};
        EXPECT_EQ(std::vector<GMString>{L"NAME"}, extract.GetIconIDs(numbers));
        EXPECT_EQ((std::vector<unsigned long long>{2, 3}), numbers);
        EXPECT_EQ(3u, extract.GetIconNums());
        EXPECT_TRUE(extract.EnumIconNums());
        EXPECT_EQ(6u, extract.GetIconNums());

        ImportHook const hook("CreateIconFromResource", &NoteChoice);
        std::tuple<wchar_t const *, unsigned int, std::size_t> const cases[] = {
            {nullptr, 0x10002, 1},       // 16 bits count
            {L"name", 0xFFFFFFFF, 0},    // all claim the same
            {L"NAME", 4, 3},             // no such image
            {L"NOBODY", 0xFFFFFFFF, 3}}; // no such group
        for (auto const & [group, id, image] : cases)
        {
            s_chosen.clear();
            EXPECT_EQ(image != 3, extract.GetIcon(group, id) != nullptr);
            EXPECT_TRUE(s_chosen == (image == 3 ? "" : program.images[image]));
        }
        EXPECT_NE(nullptr, extract.GetDefultIcon());
        EXPECT_TRUE(s_chosen == program.images[2]);
    }
    EXPECT_EQ(1u, g_callsSeen);

    std::wstring const empty = folder.Write(L"none.exe", IconProgramBytes({}));
    for (std::wstring const & each : {folder.File(L"no.exe"), folder.Write(L"a.txt", ""), empty})
    {
        GMIconExtract none(each);
        EXPECT_EQ(each == empty, none.IsOpen());
        EXPECT_EQ(0u, none.GetIconNums());
        EXPECT_EQ(nullptr, none.GetDefultIcon());
        EXPECT_FALSE(Save(none, folder.File(L"saved.ico")));
        EXPECT_FALSE(std::filesystem::exists(folder.File(L"saved.ico")));
    }
}

TEST(GMIconExtract, ChoosesTheImage)
{
    using Images = std::vector<std::pair<int, WORD>>; // side and depth; 0 for a PNG stream
    struct Case
    {
        char const * what;
        Images images;
        int side;
        unsigned int depth;
        bool isExact;
        std::size_t chosen; // counted from 1; 0 for none
    };
    Images const depths = {{32, 1}, {32, 4}, {32, 8}, {32, 24}, {32, 32}};
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
    auto const patched = [&](std::size_t at, auto value) { return Patched(bitmap, at, value); };
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

TEST(GMIconExtract, KeepsToTheFileInDamagedOnes)
{
    TemporaryFolder const folder;
    IconProgram const icons = SampleIcons();
    std::size_t tables = 0;
    std::string const sound = IconProgramBytes(icons, &tables);
    std::size_t const groups = icons.GroupTable();
    std::size_t const leaves = icons.LanguageTables() + 24 * 6;
    auto const end = static_cast<DWORD>(sectionRva + sound.size() - sound.find(icons.images[0]));
    auto const lastName = static_cast<DWORD>(sound.size() - tables - 4) | tableBit;
    struct Damage
    {
        char const * what;
        std::size_t at; // in the tables
        std::vector<DWORD> values;
        std::size_t groups; // if there are none, the system isn't asked for any
    };
    Damage const damages[] = {
        {"groups are the root", 16 + 12, {tableBit}, 2},
        {"65,535 groups claimed", groups + 12, {0xFFFF0001}, 0},
        {"groups behind the file", 16 + 12, {0xFFFFFFF0}, 0},
        {"languages behind the file", groups + 16 + 12, {tableBit | 0x10000}, 0},
        {"name behind the file", groups + 16, {0xFFFFFFFE}, 0},
        {"name that ends behind the file", groups + 16, {lastName}, 0},
        {"data instead of languages", groups + 16 + 12, {0}, 3},
        {"leaf behind the file", leaves - 24 * 6 + 20, {DWORD(leaves + 16 * 6)}, 0},
        // The last bytes of the file for those of the first image, and of the first group.
        {"image of 35 bytes", leaves, {end - 35, 35}, 3},
        {"image beyond the file", leaves, {end - 35, 40}, 3},
        {"group of 5 bytes", leaves + 16 * 3, {end - 5, 5}, 3},
    };
    for (Damage const & each : damages)
    {
        SCOPED_TRACE(each.what);
        std::string bytes = sound;
        for (std::size_t i = 0; i != each.values.size(); ++i)
            Place(bytes, tables + each.at + 4 * i, each.values[i]);
        std::wstring const path = folder.Write(L"a.exe", bytes);
        EXPECT_EQ(each.groups, AskIconProgram(path));
        ImportHook const hook("EnumResourceNamesW", &EnumerateNothing);
        EXPECT_EQ(each.groups != 0, GMIconExtract(path).EnumIconNums());
    }
    std::string const sections = Patched(sound, ntOffset + 6, WORD(0xFFFF)); // behind the file
    EXPECT_EQ(0u, AskIconProgram(folder.Write(L"a.exe", sections)));

    std::string const image = BitmapImage(32, 32, 32);
    std::pair<IconProgram, bool> const programs[] = {
        {{{image}, {GroupBytes(std::vector<WORD>(0xFFFF, 1))}}, false}, // too much together
        {{{image}, {GroupBytes({1}, 0xFFFF)}}, false},
        {{{image}, {GroupBytes({1}).substr(0, 5)}}, false},
        {{{image.substr(0, 39)}, {GroupBytes({1})}}, false},
        {{{""}, {GroupBytes({1})}}, false},
        {{{image}, {GroupBytes(std::vector<WORD>(15, 1))}}, true},
    };
    for (auto const & [program, isReadable] : programs)
    {
        std::wstring const path = folder.Write(L"b.exe", IconProgramBytes(program));
        EXPECT_EQ(1u, AskIconProgram(path));
        GMIconExtract extract(path);
        EXPECT_EQ(isReadable, Save(extract, folder.File(L"saved.ico")));
        EXPECT_EQ(isReadable, std::filesystem::exists(folder.File(L"saved.ico")));
    }

    // Names that all are the same text come to more than the file.
    IconProgram const many = {
        {image}, std::vector<std::string>(200, GroupBytes({1})), std::wstring(3000, L'N')};
    std::string bytes = IconProgramBytes(many, &tables);
    EXPECT_EQ(200u, AskIconProgram(folder.Write(L"a.exe", bytes)));
    for (std::size_t first = tables + many.GroupTable() + 16, i = 1; i != 200; ++i)
        bytes.replace(first + 8 * i, 4, bytes, first, 4);
    EXPECT_EQ(0u, AskIconProgram(folder.Write(L"a.exe", bytes)));
}

} // namespace Velmora::Testing
