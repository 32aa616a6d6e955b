#include "VelmoraCommon/executable/GMIconFile.h"

#include <gtest/gtest.h>

#include "tests/executable/IconBytes.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

TEST(GMIconFile, FindsTheNextLargerSize)
{
    using Entries = std::vector<IconFileEntry>;
    Entries const usual = {{16, 16, 0, 32}, {32, 32, 0, 32}, {48, 48, 0, 32}, {0, 0, 0, 32}};
    struct Case
    {
        char const * what;
        Entries entries;
        int side;
        SIZE better; // -7 for none
    };
    Case const cases[] = {
        {"between", usual, 32, {48, 48}},
        {"the largest", usual, 48, {256, 256}},
        {"beyond the largest", usual, 256, {-7, -7}},
        {"larger in one direction", {{48, 32, 0, 32}}, 32, {-7, -7}},
        {"smaller in one direction", {{32, 64, 0, 32}, {64, 48, 0, 32}}, 16, {32, 64}},
        {"256 in another depth", {{0, 0, 0, 8}}, 32, {-7, -7}},
        {"256 in another depth is 0", {{0, 0, 0, 8}}, -1, {0, 0}},
        {"no entries", {}, 0, {-7, -7}},
    };
    TemporaryFolder const folder;
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        GMIconFile icon(folder.Write(L"a.ico", IconFileBytes(each.entries)));
        EXPECT_TRUE(icon.IsValidIco());
        int width = -7;
        int height = -7;
        EXPECT_EQ(each.better.cx != -7, icon.QueryBetter(each.side, each.side, width, height));
        EXPECT_EQ(each.better.cx, width);
        EXPECT_EQ(each.better.cy, height);
    }
}

TEST(GMIconFile, ReadsImagesWithinTheFile)
{
    auto const read = [](GMIconFile & icon, int side)
    {
        GMBuffer<unsigned char> buffer;
        bool const isRead = icon.ReadBuffer(buffer, side, side);
        return isRead ? std::string(buffer.m_data, buffer.m_data + buffer.m_length) : "none";
    };
    TemporaryFolder const folder;
    std::wstring const path =
        folder.Write(L"a.ico", IconFileBytes({{16, 16, 0, 8, "", 1000}, // claims too much
                                              {16, 16, 0, 4, "small"},
                                              {0, 0, 0, 8, "no size"},
                                              {0, 0, 0, 32, "large"},
                                              {24, 24, 0, 32, "", 0xFFFFFFFF},
                                              {32, 32, 0, 32, "to the end"}}));
    GMIconFile icon(path);
    std::pair<int, char const *> const images[] = {{16, "small"},  {256, "large"},
                                                   {0, "no size"}, {24, "none"},
                                                   {48, "none"},   {32, "to the end"}};
    for (auto const & [side, image] : images)
        EXPECT_EQ(image, read(icon, side));
    EXPECT_TRUE(icon.QuerySize(16, 272)); // the low 8 bits
    EXPECT_FALSE(icon.QuerySize(16, 24));

    GMIconFile const copy(icon);
    GMIconFile other(folder.File(L"missing.ico"));
    other = copy;
    folder.Write(L"a.ico", "short");
    icon.ReadIcoFromFile(path);
    EXPECT_FALSE(icon.IsValidIco() || icon.QuerySize(16, 16));
    EXPECT_TRUE(other.QuerySize(16, 16)); // has kept the directory
    EXPECT_EQ("none", read(other, 16));
}

} // namespace Velmora::Testing
