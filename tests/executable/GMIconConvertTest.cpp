#include "VelmoraCommon/executable/GMIconConvert.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include <objidl.h>
#include <propidl.h>

namespace Gdiplus
{
using std::max;
using std::min;
} // namespace Gdiplus
#include <gdiplus.h>

#include "VelmoraCommon/executable/GMIconExtract.h"
#include "VelmoraCommon/frame/internal/ScopedGdiHandle.h"
#include "tests/executable/IconBytes.h"
#include "tests/support/FailingCall.h"
#include "tests/support/HandleCount.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

using Pixels = std::vector<DWORD>; // top row first

/// A bitmap of \p width x \p height; its pixels, if it has 32 bits, are \p pixels.
ScopedBitmap MakeBitmap(int width, int height, WORD depth, Pixels const & pixels = {})
{
    struct
    {
        BITMAPINFOHEADER header;
        RGBQUAD colors[256];
    } info = {{sizeof(info.header), width, height, 1, depth, BI_RGB, 0, 0, 0, 0, 0}, {}};
    std::fill(std::begin(info.colors), std::end(info.colors), RGBQUAD{0x99, 0x66, 0x33, 0});
    void * bits = nullptr;
    ScopedBitmap bitmap(CreateDIBSection(nullptr, reinterpret_cast<BITMAPINFO *>(&info),
                                         DIB_RGB_COLORS, &bits, nullptr, 0));
    std::copy(pixels.begin(), pixels.end(), static_cast<DWORD *>(bits));
    return bitmap;
}

/// The pixels of a bitmap that IconToBitmap made, which go with it.
Pixels PixelsOf(HBITMAP made)
{
    ScopedBitmap const bitmap(made);
    DIBSECTION section = {};
    if (GetObjectW(bitmap.Get(), sizeof(section), &section) == 0)
        return {};
    auto const * const bits = static_cast<DWORD const *>(section.dsBm.bmBits);
    return Pixels(bits, bits + section.dsBm.bmWidth * section.dsBm.bmHeight);
}

/// An icon of 32 x 32 pixels from a program with this image.
ScopedIcon IconOf(TemporaryFolder const & folder, std::string const & image)
{
    IconProgram const program = {{image}, {GroupBytes({1})}};
    GMIconExtract extract(folder.Write(L"icon.exe", IconProgramBytes(program)));
    return ScopedIcon(CopyIcon(extract.GetIcon(MAKEINTRESOURCEW(1), 0xFFFFFFFF)));
}

/// A pixel that GDI+ reads from an image file.
DWORD PixelOfFile(std::wstring const & path, int x, int y)
{
    Gdiplus::Color color;
    Gdiplus::Bitmap(path.c_str()).GetPixel(x, y, &color);
    return color.GetValue();
}

/// Starts GDI+ for all tests, and uses what the system keeps handles of from its first use on.
class GdiplusSession : public ::testing::Environment
{
    void SetUp() override
    {
        Gdiplus::GdiplusStartupInput const input;
        Gdiplus::GdiplusStartup(&m_token, &input, nullptr);
        TemporaryFolder const folder;
        std::wstring const path = folder.File(L"a.png");
        GMIconConvert::GdiplusSaveHIconToPng(LoadIconW(nullptr, MAKEINTRESOURCEW(32512)),
                                             path.c_str());
        PixelOfFile(path, 0, 0);
    }
    void TearDown() override { Gdiplus::GdiplusShutdown(m_token); }

    ULONG_PTR m_token = 0;
};
[[maybe_unused]] ::testing::Environment * const s_session =
    ::testing::AddGlobalTestEnvironment(new GdiplusSession);

constexpr DWORD opaqueColor = imageColor | 0xFF000000;

} // namespace

TEST(GMIconConvert, WritesIconFiles)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.File(L"new\\a.ico");
    Pixels const pixels = {0x80112233, 0x00000001, 0xFFFFFFFF, 1, 2, 3};
    ScopedBitmap const bitmaps[] = {MakeBitmap(3, -2, 32, pixels), MakeBitmap(33, 2, 8),
                                    MakeBitmap(256, 256, 24)};
    std::vector<HBITMAP> handles;
    for (ScopedBitmap const & each : bitmaps)
        handles.push_back(each.Get());
    ASSERT_TRUE(GMIconConvert::MultiBitmapToIcon(handles.data(), 3, path));

    // The header with twice the height, pixels from the lowest row on, mask.
    auto const image = [](int width, int height, std::string const & bits, int mask)
    {
        return Raw(BITMAPINFOHEADER{40, width, 2 * height, 1, 32, BI_RGB, 0, 0, 0, 0, 0}) + bits +
               std::string(static_cast<std::size_t>(mask * height), '\0');
    };
    std::string painted;
    for (int i = 0; i != 66; ++i)
        painted += Raw(imageColor);
    std::string const flipped = Raw(1, 2, 3, pixels[0], pixels[1], pixels[2]);
    EXPECT_TRUE(
        IconFileBytes({{3, 2, 0, 32, image(3, 2, flipped, 4)},
                       {33, 2, 0, 32, image(33, 2, painted, 8)},
                       {0, 0, 0, 32, image(256, 256, std::string(256 * 256 * 4, '\0'), 32)}}) ==
        ReadBytes(path));

    std::wstring const none = folder.File(L"none.ico");
    std::vector<HBITMAP> many(0x10000, handles[0]);
    handles[1] = nullptr;
    EXPECT_FALSE(GMIconConvert::MultiBitmapToIcon(handles.data(), 3, none));
    EXPECT_FALSE(GMIconConvert::MultiBitmapToIcon(nullptr, 1, none));
    EXPECT_FALSE(GMIconConvert::MultiBitmapToIcon(many.data(), 0x10000, none));
    EXPECT_FALSE(std::filesystem::exists(none));
    EXPECT_FALSE(GMIconConvert::BitmapToIcon(handles[0], folder.Path()));
}

TEST(GMIconConvert, DrawsIconsOfAllDepthsWithTheirAlpha)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.File(L"a.png");
    for (WORD const depth : std::initializer_list<WORD>{1, 4, 8, 24, 32})
    {
        SCOPED_TRACE(depth);
        ScopedIcon const icon = IconOf(folder, BitmapImage(32, 32, depth));
        Pixels expected(32 * 32, 0x801A334D); // the colour times the alpha of 0x80
        if (depth != 32)
        {
            // The mask hides the lower half. What is hidden keeps its colour, without alpha.
            std::fill_n(expected.begin(), 16 * 32, opaqueColor);
            std::fill_n(expected.begin() + 16 * 32, 16 * 32, imageColor);
        }
        unsigned int before = 0;
        for (int i = 0; i != 10; ++i)
        {
            SIZE tooLarge = {0x7FFF, 0x7FFFFFF};
            EXPECT_TRUE(expected == PixelsOf(GMIconConvert::IconToBitmap(icon.Get(), nullptr)));
            EXPECT_EQ(nullptr, GMIconConvert::IconToBitmap(icon.Get(), &tooLarge));
            EXPECT_TRUE(GMIconConvert::GdiplusSaveHIconToPng(icon.Get(), path.c_str()));
            EXPECT_FALSE(GMIconConvert::GdiplusSaveHIconToPng(icon.Get(), folder.Path().c_str()));
            GMIconConvert::BitmapToIcon(MakeBitmap(4, 4, 8).Get(), folder.File(L"a.ico"));
            if (i == 0) // the system keeps some objects from their first use on
                before = GdiObjectCount();
        }
        EXPECT_EQ(before, GdiObjectCount());
        EXPECT_EQ(depth == 32 ? 0x80336699 : opaqueColor, PixelOfFile(path, 0, 0));
        EXPECT_EQ(depth == 32 ? 0x80u : 0u, PixelOfFile(path, 31, 31) >> 24);
    }

    // Without colours a size is needed.
    HCURSOR const cursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));
    EXPECT_EQ(nullptr, GMIconConvert::IconToBitmap(nullptr, nullptr));
    EXPECT_EQ(nullptr, GMIconConvert::IconToBitmap(cursor, nullptr));
    EXPECT_FALSE(GMIconConvert::GdiplusSaveHIconToPng(nullptr, path.c_str()));
    // The masks alone, one below the other: what is opaque, and what is inverted.
    ScopedBitmap const masks(CreateBitmap(16, 32, 1, 1, std::string(16 * 32 / 8, '\0').data()));
    ICONINFO info = {TRUE, 0, 0, masks.Get(), nullptr};
    ScopedIcon const icon(CreateIconIndirect(&info));
    EXPECT_EQ(nullptr, GMIconConvert::IconToBitmap(icon.Get(), nullptr));
    SIZE size = {0, 5};
    EXPECT_EQ(nullptr, GMIconConvert::IconToBitmap(icon.Get(), &size));
    size = {16, 16};
    EXPECT_EQ(Pixels(256, 0xFF000000), PixelsOf(GMIconConvert::IconToBitmap(icon.Get(), &size)));
    EXPECT_TRUE(GMIconConvert::GdiplusSaveHIconToPng(icon.Get(), path.c_str()));
    EXPECT_EQ(0xFF000000, PixelOfFile(path, 15, 15));
    if (GdiObjectCount() == 0)
        GTEST_SKIP() << "GDI objects aren't counted: nobody tells this process how many it has";
}

TEST(GMIconConvert, LoadsIconsOfFiles)
{
    TemporaryFolder const folder;
    std::wstring const icons = folder.File(L"a.ico");
    Pixels pixels;
    for (DWORD i = 0; i != 32 * 32; ++i)
        pixels.push_back(i * 0x3FB);
    pixels[5] = 0x01000000; // a single pixel of alpha 1 makes the others transparent
    ASSERT_TRUE(GMIconConvert::BitmapToIcon(MakeBitmap(32, -32, 32, pixels).Get(), icons));
    auto const drawn = [](std::wstring const & path, int side)
    {
        ScopedIcon const icon(GMIconConvert::LoadIconFromFile(path.c_str(), side, side));
        return PixelsOf(GMIconConvert::IconToBitmap(icon.Get(), nullptr));
    };
    for (DWORD & pixel : pixels)
        pixel &= 0xFF000000;
    EXPECT_TRUE(pixels == drawn(icons, 32));

    int const small = GetSystemMetrics(SM_CXSMICON) * GetSystemMetrics(SM_CYSMICON);
    IconProgram const half = {{BitmapImage(16, 16, 8), ""}, {GroupBytes({1, 2})}};
    std::pair<std::wstring, int> const files[] = {
        {icons, 64 * 64},
        {folder.Write(L"a.exe", IconProgramBytes(half)), small},
        {L"user32.dll", small},
        {folder.File(L"missing.ico"), 0},
        {folder.Write(L"not.ico", "no icon"), 0}};
    FailingCall<1, decltype(&DestroyIcon)> const releases("DestroyIcon", FALSE);
    FailureScope const scope(~0u); // counts
    for (auto const & [path, size] : files)
        EXPECT_EQ(std::size_t(size), drawn(path, 64).size());
    EXPECT_EQ(1u, g_callsSeen); // the small one of the icon file

    // The image for the small icon may lead the system out of the file. No other one matters.
    std::vector<IconFileEntry> images;
    for (int const side : {16, 32, 64})
        images.push_back({BYTE(side), BYTE(side), 0, 32, BitmapImage(side, side, 32)});
    std::string const whole = IconFileBytes(images);
    for (std::size_t damaged = 0; damaged != images.size(); ++damaged)
    {
        std::size_t const place = 6 + 16 * damaged + 12; // of the image
        std::wstring const path = folder.Write(L"b.ico", Patched(whole, place, DWORD(0x40000000)));
        EXPECT_EQ(damaged == 0, drawn(path, 64).empty()) << damaged;
    }
}

} // namespace Velmora::Testing
