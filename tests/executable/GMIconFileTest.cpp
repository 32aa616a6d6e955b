#include "VelmoraCommon/executable/GMIconFile.h"

#include <gtest/gtest.h>

#include "tests/executable/IconBytes.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

struct Entry
{
    BYTE width;
    BYTE height;
    WORD bits;
    std::string image = {};
    DWORD beyond = 0; // added to the size
};

/// The bytes of an icon file.
std::string FileOf(std::vector<Entry> const & entries)
{
    std::string bytes;
    std::string images;
    Append(bytes, std::array<WORD, 3>{0, 1, static_cast<WORD>(entries.size())});
    for (Entry const & each : entries)
    {
        Append(bytes, std::array<BYTE, 4>{each.width, each.height, 0, 0});
        Append(bytes, std::array<WORD, 2>{1, each.bits});
        Append(bytes, static_cast<DWORD>(each.image.size()) + each.beyond);
        Append(bytes, static_cast<DWORD>(6 + 16 * entries.size() + images.size()));
        images += each.image;
    }
    return bytes + images;
}

std::string Read(GMIconFile & icon, int width, int height)
{
    GMBuffer<unsigned char> buffer;
    return icon.ReadBuffer(buffer, width, height)
               ? std::string(buffer.m_data, buffer.m_data + buffer.m_length)
               : "nothing";
}

} // namespace

TEST(GMIconFile, FindsTheNextLargerSize)
{
    struct Case
    {
        char const * what;
        std::vector<Entry> entries;
        int width;
        int height;
        int betterWidth; // 0 for none
        int betterHeight;
    };
    std::vector<Entry> const usual = {{16, 16, 32}, {32, 32, 32}, {48, 48, 32}, {0, 0, 32}};
    Case const cases[] = {
        {"between", usual, 32, 32, 48, 48},
        {"the largest", usual, 48, 48, 256, 256},
        {"beyond the largest", usual, 256, 256, 0, 0},
        {"equal isn't larger", {{32, 32, 32}}, 32, 32, 0, 0},
        {"larger in one direction", {{48, 32, 32}}, 32, 32, 0, 0},
        {"smaller in one direction", {{32, 64, 32}, {64, 48, 32}}, 16, 16, 32, 64},
        {"256 in another depth", {{0, 0, 8}}, 32, 32, 0, 0},
        {"256 in another depth is 0", {{0, 0, 8}}, -1, -1, 0, 1},
        {"no entries", {}, 0, 0, 0, 0},
    };
    TemporaryFolder const folder;
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        GMIconFile icon(folder.Write(L"a.ico", FileOf(each.entries)));
        EXPECT_TRUE(icon.IsValidIco());
        int width = -7;
        int height = -7;
        bool const found = icon.QueryBetter(each.width, each.height, width, height);
        bool const isNone = each.betterWidth + each.betterHeight == 0;
        EXPECT_EQ(!isNone, found);
        EXPECT_EQ(isNone ? -7 : each.betterWidth, width);
        EXPECT_EQ(isNone ? -7 : each.betterHeight / (each.betterWidth == 0 ? 2 : 1), height);
    }
}

TEST(GMIconFile, ReadsImagesWithinTheFile)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.Write(L"a.ico", FileOf({{16, 16, 8, "", 1000},
                                                             {16, 16, 4, "small"},
                                                             {0, 0, 8, "no size"},
                                                             {0, 0, 32, "large"},
                                                             {24, 24, 32, "", 0xFFFFFFFF},
                                                             {32, 32, 32, "to the end"}}));
    GMIconFile icon(path);
    EXPECT_EQ("small", Read(icon, 16, 16)); // the first claims more than there is
    EXPECT_EQ("large", Read(icon, 256, 256));
    EXPECT_EQ("no size", Read(icon, 0, 0));
    EXPECT_EQ("nothing", Read(icon, 24, 24));
    EXPECT_EQ("to the end", Read(icon, 32, 32));
    EXPECT_EQ("nothing", Read(icon, 48, 48));
    EXPECT_TRUE(icon.QuerySize(256, 256));
    EXPECT_TRUE(icon.QuerySize(16, 272)); // the low 8 bits
    EXPECT_FALSE(icon.QuerySize(16, 24));

    GMIconFile other(folder.File(L"missing.ico"));
    {
        GMIconFile const copy(icon);
        other = copy;
    }
    icon.ReadIcoFromFile(folder.File(L"ignored.ico"));
    EXPECT_EQ("large", Read(icon, 256, 256));
    folder.Write(L"a.ico", "short");
    icon.ReadIcoFromFile(path);
    EXPECT_FALSE(icon.IsValidIco());
    EXPECT_FALSE(icon.QuerySize(16, 16));
    EXPECT_TRUE(other.IsValidIco()); // has kept the directory
    EXPECT_TRUE(other.QuerySize(16, 16));
    EXPECT_EQ("nothing", Read(other, 16, 16));
}

TEST(GMIconFile, NeedsTheDirectoryWhole)
{
    TemporaryFolder const folder;
    std::vector<Entry> const entries = {{16, 16, 4, "first"}, {0, 0, 32, std::string(4096, 'x')}};
    std::string const whole = FileOf(entries);
    for (std::size_t size = 0; size <= whole.size(); size += size < 48 ? 1 : 97)
    {
        GMIconFile icon(folder.Write(L"a.ico", whole.substr(0, size)));
        EXPECT_EQ(size >= 6 + 2 * 16, icon.IsValidIco()) << size;
        EXPECT_EQ(size >= 6 + 2 * 16 + 5 ? "first" : "nothing", Read(icon, 16, 16)) << size;
    }
    EXPECT_TRUE(GMIconFile(folder.Write(L"a.ico", FileOf({}))).IsValidIco());
    EXPECT_FALSE(GMIconFile().IsValidIco());

    Mutator<char> mutator(3);
    for (unsigned int i = Rounds(300, 100000); i != 0; --i)
    {
        std::string const bytes = mutator.Mutate(whole);
        GMIconFile icon(folder.Write(L"a.ico", bytes));
        int side = 0;
        icon.QueryBetter(-1, -1, side, side);
        for (int const size : {0, 16, 256})
            EXPECT_LE(Read(icon, size, size).size(), std::max<std::size_t>(bytes.size(), 7));
    }
}

} // namespace Velmora::Testing
