#include "VelmoraCommon/executable/GMIconExtract.h"

#include <array>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/executable/IconBytes.h"
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

/// The image of which GetIcon has an icon made; empty for none.
template <class... Arguments>
std::string Chosen(GMIconExtract & extract, Arguments... arguments)
{
    ImportHook const hook("CreateIconFromResource", &NoteChoice);
    s_chosen.clear();
    return extract.GetIcon(arguments...) != nullptr ? s_chosen : "";
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

} // namespace

TEST(GMIconExtract, FindsGroupsAndImages)
{
    TemporaryFolder const folder;
    IconProgram const program = SampleIcons();
    GMIconExtract extract(folder.File(L"no.exe"));
    extract = GMIconExtract(GMIconExtract(folder.Write(L"a.exe", IconProgramBytes(program))));
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

    std::tuple<wchar_t const *, unsigned int, std::string> const cases[] = {
        {nullptr, 0x10002, program.images[1]},    // 16 bits count
        {L"name", 0xFFFFFFFF, program.images[0]}, // all claim the same
        {L"NAME", 4, ""},                         // no such image
        {L"NOBODY", 0xFFFFFFFF, ""}};             // no such group
    for (auto const & [group, id, image] : cases)
        EXPECT_TRUE(image == Chosen(extract, group, id)) << id;
    ImportHook const hook("CreateIconFromResource", &NoteChoice);
    EXPECT_NE(nullptr, extract.GetDefultIcon());
    EXPECT_TRUE(s_chosen == program.images[2]);

    std::wstring path = folder.Write(L"none.exe", IconProgramBytes({}));
    for (bool const isOpen : {true, false})
    {
        GMIconExtract none(isOpen ? path : folder.File(L"no.exe"));
        EXPECT_EQ(isOpen, none.IsOpen());
        EXPECT_TRUE(none.GetIconNums() == 0 && none.GetDefultIcon() == nullptr);
        EXPECT_FALSE(none.SaveIcon(path));
    }
}

TEST(GMIconExtract, ChoosesTheImage)
{
    struct Case
    {
        std::vector<std::pair<int, WORD>> images; // side and depth; 0 for a PNG stream
        int side;
        unsigned int depth;
        bool isExact;
        std::size_t chosen; // counted from 1; 0 for none
    };
    Case const cases[] = {
        {{{32, 4}, {32, 32}, {32, 8}}, 32, 4, true, 1},
        {{{32, 4}, {32, 32}, {32, 8}}, 32, 16, true, 0},
        {{{32, 4}, {32, 32}, {32, 8}}, 32, 16, false, 2}, // the deepest
        {{{16, 8}, {32, 8}, {32, 8}}, 32, 8, true, 2},    // the first of two alike
        {{{16, 8}, {32, 8}}, 48, 32, false, 1},           // larger, but not deeper
        {{{16, 8}, {32, 32}}, 48, 32, false, 2},
        {{{32, 8}, {16, 32}}, 48, 32, false, 1}, // deeper, but smaller
        {{{64, 24}, {64, 0}}, 64, 32, true, 2},
        {{}, 32, 32, false, 0},
    };
    TemporaryFolder const folder;
    for (Case const & each : cases)
    {
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
        std::string const chosen =
            Chosen(extract, MAKEINTRESOURCEW(1), each.side, each.side, each.depth, each.isExact);
        EXPECT_TRUE(chosen == (each.chosen == 0 ? "" : program.images[each.chosen - 1]))
            << &each - cases;
    }
}

TEST(GMIconExtract, LetsTheSystemHaveWholeImagesOnly)
{
    std::string const bitmap = BitmapImage(32, 32, 8);
    std::size_t const mask = bitmap.size() - 32 * 4;
    std::pair<std::string, std::size_t> const cases[] = {
        // the image, and the bytes that are handed over; 0 for no icon
        {bitmap.substr(0, mask), bitmap.size()}, // the mask comes to zeros
        {bitmap.substr(0, mask - 1), 0},
        {bitmap.substr(0, 39), 0},
        {Patched(bitmap, 0, DWORD(12)), 0}, // an older header
        {Patched(bitmap, 4, LONG(-32)), 0}, // width
        {Patched(bitmap, 4, std::array<LONG, 2>{0x40000000, 0x40000000}), 0},
        {Patched(bitmap, 8, LONG(1)), 0},  // height
        {Patched(bitmap, 12, WORD(0)), 0}, // planes
        {Patched(bitmap, 16, DWORD(BI_RLE8)), 0},
        {Patched(bitmap, 32, DWORD(0x40000000)), 0}, // colours
        {PngStart(32, 32), 29},
        {PngStart(32, 32).substr(0, 23), 0},
        {PngStart(32, 32).replace(18, 1, "\x05"), 0}, // width 1,312
    };
    IconProgram program;
    for (auto const & each : cases)
        program.images.push_back(each.first);
    TemporaryFolder const folder;
    GMIconExtract extract(folder.Write(L"a.exe", IconProgramBytes(program)));
    for (unsigned int i = 0; i != std::size(cases); ++i)
        EXPECT_EQ(cases[i].second, Chosen(extract, nullptr, i + 1).size()) << i;
}

TEST(GMIconExtract, SavesTheFirstGroup)
{
    TemporaryFolder const folder;
    IconProgram const program = {{BitmapImage(16, 16, 4), BitmapImage(256, 256, 8),
                                  PngStart(64, 64), BitmapImage(24, 20, 24)},
                                 {GroupBytes({1, 2, 3, 4}), GroupBytes({1})}};
    GMIconExtract extract(folder.Write(L"a.exe", IconProgramBytes(program)));
    std::wstring path = folder.File(L"new\\saved.ico");
    ASSERT_TRUE(extract.SaveIcon(path));
    EXPECT_TRUE(IconFileBytes({{16, 16, 16, 4, BitmapImage(16, 16, 4, 0)},
                               {0, 0, 0, 0, BitmapImage(256, 256, 8, 0)},
                               {0, 0, 0, 0, PngStart(64, 64)},
                               {24, 20, 0, 24, BitmapImage(24, 20, 24, 0)}}) == ReadBytes(path));
    path = folder.Path();
    EXPECT_FALSE(extract.SaveIcon(path));
}

} // namespace Velmora::Testing
