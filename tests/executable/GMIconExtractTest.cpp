#include "VelmoraCommon/executable/GMIconExtract.h"

#include <tuple>

#include <gtest/gtest.h>

#include "tests/executable/SampleFiles.h"
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

/// The system, without memory for whom it calls back; an exception that passes it ends the program.
BOOL WINAPI EnumerateWithoutMemory(HMODULE module, LPCWSTR type, ENUMRESNAMEPROCW callback,
                                   LONG_PTR object) noexcept
{
    wchar_t name[] = L"a long name";
    ImportHook const hook(
        "malloc", +[](std::size_t) -> void * { return nullptr; }, L"libstdc++-6.dll");
    return callback(module, type, name, object);
}

/// The image of which GetIcon has an icon made; empty for none.
template <class... Arguments>
std::string Chosen(GMIconExtract & extract, Arguments... arguments)
{
    ImportHook const hook("CreateIconFromResource", &NoteChoice);
    s_chosen.clear();
    return extract.GetIcon(arguments...) != nullptr ? s_chosen : "";
}

} // namespace

TEST(GMIconExtract, FindsGroupsAndImages)
{
    TemporaryFolder const folder;
    IconProgram const program = SampleIcons();
    GMIconExtract extract(folder.File(L"no.exe"));
    EXPECT_FALSE(extract.IsOpen() || extract.GetIconNums() != 0);
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

    GMIconExtract none(folder.Write(L"none.exe", IconProgramBytes({})));
    EXPECT_TRUE(none.IsOpen() && none.GetIconNums() == 0 && none.GetDefultIcon() == nullptr);
}

TEST(GMIconExtract, ChoosesTheImage)
{
    IconProgram program = {{BitmapImage(16, 16, 8), BitmapImage(32, 32, 4), BitmapImage(32, 32, 8),
                            BitmapImage(32, 32, 8) + "x", BitmapImage(32, 32, 32),
                            BitmapImage(64, 64, 24), PngStart(64, 64)},
                           {}};
    std::tuple<std::vector<WORD>, int, unsigned int, bool, WORD> const cases[] = {
        // the images of a group, by their numbers; side and depth, and whether these must be met;
        // the number of the image that is chosen, 0 for none
        {{2, 5, 3}, 32, 4, true, 2},   {{2, 5, 3}, 32, 16, true, 0},
        {{2, 5, 3}, 32, 16, false, 5},                             // the deepest
        {{1, 3, 4}, 32, 8, true, 3},                               // the first of two alike
        {{1, 3}, 48, 32, false, 1},                                // larger, but not deeper
        {{1, 5}, 48, 32, false, 5},    {{6, 5}, 48, 32, false, 6}, // deeper, but smaller
        {{6, 7}, 64, 32, true, 7},     {{}, 32, 32, false, 0},
    };
    for (auto const & each : cases)
        program.groups.push_back(GroupBytes(std::get<0>(each)));
    TemporaryFolder const folder;
    GMIconExtract extract(folder.Write(L"a.exe", IconProgramBytes(program)));
    WORD group = 0;
    for (auto const & [ids, side, depth, isExact, chosen] : cases)
    {
        std::string const image =
            Chosen(extract, MAKEINTRESOURCEW(++group), side, side, depth, isExact);
        EXPECT_TRUE(image == (chosen == 0 ? "" : program.images[chosen - 1u])) << group;
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
        {Patched(bitmap, 4, 0x4000000040000000), 0},
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
    for (std::size_t const count : {15, 0xFFFF}) // too much together
    {
        IconProgram const alike = {{BitmapImage(32, 32, 32)},
                                   {GroupBytes(std::vector<WORD>(count, 1))}};
        GMIconExtract many(folder.Write(L"many.exe", IconProgramBytes(alike)));
        EXPECT_EQ(count == 15, many.SaveIcon(path));
    }
}

} // namespace Velmora::Testing
