#include "VelmoraCommon/executable/GMIconFile.h"

#include <tuple>

#include <gtest/gtest.h>

#include "tests/executable/SampleFiles.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

TEST(GMIconFile, FindsTheNextLargerSize)
{
    using Entries = std::vector<IconFileEntry>;
    Entries const usual = {{16, 16, 0, 32}, {32, 32, 0, 32}, {48, 48, 0, 32}, {0, 0, 0, 32}};
    std::tuple<char const *, Entries, int, SIZE> const cases[] = {
        // the size asked for, and the next one; -7 for none
        {"between", usual, 32, {48, 48}},
        {"the largest", usual, 48, {256, 256}},
        {"beyond the largest", usual, 256, {-7, -7}},
        {"larger in one direction", {{48, 32, 0, 32}}, 32, {-7, -7}},
        {"smaller in one direction", {{32, 64, 0, 32}, {64, 48, 0, 32}}, 16, {32, 64}},
        {"256 in another depth is 0", {{0, 0, 0, 8}}, -1, {0, 0}},
        {"no entries", {}, 0, {-7, -7}},
    };
    TemporaryFolder const folder;
    for (auto const & [what, entries, side, better] : cases)
    {
        SCOPED_TRACE(what);
        GMIconFile icon(folder.Write(L"a.ico", IconFileBytes(entries)));
        EXPECT_TRUE(icon.IsValidIco());
        int width = -7;
        int height = -7;
        EXPECT_EQ(better.cx != -7, icon.QueryBetter(side, side, width, height));
        EXPECT_TRUE(better.cx == width && better.cy == height) << width << ", " << height;
    }
}

TEST(GMIconFile, ReadsImagesWithinTheFile)
{
    TemporaryFolder const folder;
    std::string const bytes = IconFileBytes({{16, 16, 0, 8, "too large"},
                                             {16, 16, 0, 4, "small"},
                                             {0, 0, 0, 8, "no size"},
                                             {0, 0, 0, 32, "large"},
                                             {24, 24, 0, 32, "to the end"}});
    std::wstring const path = folder.Write(L"a.ico", Patched(bytes, 6 + 8, 0xFFFFFFFF));
    GMIconFile icon(path);
    std::pair<int, char const *> const images[] = {
        {16, "small"}, {256, "large"}, {0, "no size"}, {48, ""}, {24, "to the end"}};
    GMBuffer<unsigned char> buffer;
    for (auto const & [side, image] : images)
    {
        bool const isRead = icon.ReadBuffer(buffer, side, side);
        EXPECT_EQ(image, isRead ? std::string(buffer.m_data, buffer.m_data + buffer.m_length) : "");
    }
    EXPECT_TRUE(icon.QuerySize(16, 272)); // the low 8 bits
    EXPECT_FALSE(icon.QuerySize(16, 24));

    GMIconFile other(folder.File(L"missing.ico"));
    other = GMIconFile(icon);
    folder.Write(L"a.ico", "short");
    icon.ReadIcoFromFile(path);
    EXPECT_FALSE(icon.IsValidIco() || icon.QuerySize(16, 16));
    EXPECT_TRUE(other.QuerySize(16, 16)); // has kept the directory
    EXPECT_FALSE(other.ReadBuffer(buffer, 16, 16));
}

} // namespace Velmora::Testing
