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
#include "tests/executable/SampleFiles.h"
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
    std::string info = Raw(BITMAPINFOHEADER{40, width, height, 1, depth, BI_RGB, 0, 0, 0, 0, 0});
    for (int i = 0; i != 256; ++i)
        info += Raw(imageColor);
    void * bits = nullptr;
    ScopedBitmap bitmap(CreateDIBSection(nullptr, reinterpret_cast<BITMAPINFO *>(info.data()),
                                         DIB_RGB_COLORS, &bits, nullptr, 0));
    std::copy(pixels.begin(), pixels.end(), static_cast<DWORD *>(bits));
    return bitmap;
}

/// The pixels of a bitmap that IconToBitmap made, which go with it.
Pixels PixelsOf(HBITMAP made)
{
    ScopedBitmap const bitmap(made);
    DIBSECTION section = {};
    GetObjectW(bitmap.Get(), sizeof(section), &section);
    auto const * const bits = static_cast<DWORD const *>(section.dsBm.bmBits);
    return Pixels(bits, bits + section.dsBm.bmWidth * section.dsBm.bmHeight);
}

/// A pixel that GDI+ reads from an image file.
DWORD PixelOfFile(std::wstring const & path, int x, int y)
{
    Gdiplus::Color color;
    Gdiplus::Bitmap(path.c_str()).GetPixel(x, y, &color);
    return color.GetValue();
}

/// GDI+ for all tests, used once: the system keeps handles from then on.
[[maybe_unused]] ULONG_PTR const s_gdiplus = []
{
    ULONG_PTR token = 0;
    Gdiplus::GdiplusStartupInput const input;
    Gdiplus::GdiplusStartup(&token, &input, nullptr);
    TemporaryFolder const folder;
    std::wstring const path = folder.File(L"a.png");
    GMIconConvert::GdiplusSaveHIconToPng(LoadIconW(nullptr, MAKEINTRESOURCEW(32512)), path.c_str());
    PixelOfFile(path, 0, 0);
    return token;
}();

constexpr DWORD opaqueColor = imageColor | 0xFF000000;

} // namespace

TEST(GMIconConvert, WritesIconFiles)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.File(L"new\\a.ico");
    Pixels const pixels = {0x80112233, 0x00000001, 0xFFFFFFFF, 1, 2, 3};
    ScopedBitmap const bitmaps[] = {MakeBitmap(3, -2, 32, pixels), MakeBitmap(256, 1, 8)};
    HBITMAP handles[] = {bitmaps[0].Get(), bitmaps[1].Get(), nullptr};
    ASSERT_TRUE(GMIconConvert::MultiBitmapToIcon(handles, 2, path));

    // The header with twice the height, pixels from the lowest row on, mask.
    std::string const flipped = Raw(BITMAPINFOHEADER{40, 3, 4, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, 1, 2,
                                    3, pixels[0], pixels[1], pixels[2], 0ull);
    std::string painted = Raw(BITMAPINFOHEADER{40, 256, 2, 1, 32, BI_RGB, 0, 0, 0, 0, 0});
    for (int i = 0; i != 256; ++i)
        painted += Raw(imageColor);
    painted.resize(painted.size() + 32);
    EXPECT_EQ(IconFileBytes({{3, 2, 0, 32, flipped}, {0, 1, 0, 32, painted}}), ReadBytes(path));

    std::wstring const none = folder.File(L"none.ico");
    EXPECT_FALSE(GMIconConvert::MultiBitmapToIcon(handles, 3, none));
    std::vector<HBITMAP> many(0x10000, handles[0]);
    EXPECT_FALSE(GMIconConvert::MultiBitmapToIcon(many.data(), 0x10000, none));
    EXPECT_FALSE(GMIconConvert::MultiBitmapToIcon(nullptr, 1, none));
    EXPECT_FALSE(std::filesystem::exists(none));
    EXPECT_FALSE(GMIconConvert::BitmapToIcon(handles[0], folder.Path()));
}

TEST(GMIconConvert, DrawsIconsOfAllDepthsWithTheirAlpha)
{
    TemporaryFolder const folder;
    std::wstring const path = folder.File(L"a.png");
    for (WORD const depth : std::initializer_list<WORD>{1, 8, 24, 32})
    {
        IconProgram const program = {{BitmapImage(32, 32, depth)}, {GroupBytes({1})}};
        GMIconExtract extract(folder.Write(L"icon.exe", IconProgramBytes(program)));
        ScopedIcon const icon(CopyIcon(extract.GetIcon(nullptr, 1)));
        // The mask hides the lower half. What is hidden keeps its colour, without alpha.
        Pixels expected(16 * 32, opaqueColor);
        expected.resize(32 * 32, imageColor);
        if (depth == 32)
            expected.assign(32 * 32, 0x801A334D); // the colour times the alpha of 0x80
        unsigned int before = 0;
        for (int i = 0; i != 2; ++i)
        {
            before = GdiObjectCount(); // the system keeps some from their first use on
            SIZE tooLarge = {0x7FFF, 0x7FFFFFF};
            EXPECT_EQ(expected, PixelsOf(GMIconConvert::IconToBitmap(icon.Get(), nullptr)));
            EXPECT_EQ(nullptr, GMIconConvert::IconToBitmap(icon.Get(), &tooLarge));
            EXPECT_TRUE(GMIconConvert::GdiplusSaveHIconToPng(icon.Get(), path.c_str()));
            EXPECT_FALSE(GMIconConvert::GdiplusSaveHIconToPng(icon.Get(), folder.Path().c_str()));
            GMIconConvert::BitmapToIcon(MakeBitmap(4, 4, 8).Get(), folder.File(L"a.ico"));
        }
        EXPECT_EQ(before, GdiObjectCount());
        EXPECT_EQ(depth == 32 ? 0x80336699 : opaqueColor, PixelOfFile(path, 0, 0));
        EXPECT_EQ(depth == 32 ? 0x80u : 0u, PixelOfFile(path, 31, 31) >> 24);
    }

    EXPECT_FALSE(GMIconConvert::GdiplusSaveHIconToPng(nullptr, path.c_str()));
    // The masks alone, one below the other: what is opaque, and what is inverted.
    ScopedBitmap const masks(CreateBitmap(16, 32, 1, 1, std::string(16 * 32 / 8, '\0').data()));
    ICONINFO info = {TRUE, 0, 0, masks.Get(), nullptr};
    ScopedIcon const icon(CreateIconIndirect(&info));
    EXPECT_EQ(nullptr, GMIconConvert::IconToBitmap(icon.Get(), nullptr)); // without colours
    SIZE size = {16, 16};
    HCURSOR const cursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));
    EXPECT_EQ(nullptr, GMIconConvert::IconToBitmap(cursor, &size));
    EXPECT_EQ(Pixels(256, 0xFF000000), PixelsOf(GMIconConvert::IconToBitmap(icon.Get(), &size)));
    if (GdiObjectCount() == 0)
        GTEST_SKIP() << "GDI objects aren't counted: nobody tells this process how many it has";
}

TEST(GMIconConvert, LoadsIconsOfFiles)
{
    TemporaryFolder const folder;
    auto const drawn = [](std::wstring const & path)
    {
        ScopedIcon const icon(GMIconConvert::LoadIconFromFile(path.c_str(), 64, 64));
        return PixelsOf(GMIconConvert::IconToBitmap(icon.Get(), nullptr)).size();
    };
    std::string const whole = IconFileBytes({{16, 16, 0, 32, BitmapImage(16, 16, 32)},
                                             {32, 32, 0, 32, BitmapImage(32, 32, 32)},
                                             {64, 64, 0, 32, BitmapImage(64, 64, 32)}});
    int const small = GetSystemMetrics(SM_CXSMICON) * GetSystemMetrics(SM_CYSMICON);
    IconProgram const half = {{BitmapImage(16, 16, 8), ""}, {GroupBytes({1, 2})}};
    // The image for the small icon may lead the system out of the file. No other one matters.
    std::pair<std::wstring, int> const files[] = {
        {folder.Write(L"a.ico", whole), 64 * 64},
        {folder.Write(L"small.ico", Patched(whole, 6 + 12, DWORD(0x40000000))), 0},
        {folder.Write(L"large.ico", Patched(whole, 6 + 32 + 12, DWORD(0x40000000))), 64 * 64},
        {folder.Write(L"a.exe", IconProgramBytes(half)), small},
        {L"user32.dll", small},
        {folder.File(L"missing.ico"), 0}};
    for (auto const & [path, size] : files)
        EXPECT_EQ(std::size_t(size), drawn(path)) << testing::PrintToString(path);
}

} // namespace Velmora::Testing
