#include <random>
#include <vector>

#include <emmintrin.h>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "benchmarks/Families.h"

namespace Velmora::Benchmarks
{

namespace
{

// The peers: what a caller would write by hand, and the fewest calls and copies that can do it.

GMString LiteralToUtf16(GMStringA const & bytes, unsigned int codePage)
{
    auto const length = static_cast<int>(bytes.length());
    int const size = MultiByteToWideChar(codePage, 0, bytes.data(), length, nullptr, 0);
    std::vector<wchar_t> buffer(static_cast<std::size_t>(size) + 1);
    MultiByteToWideChar(codePage, 0, bytes.data(), length, buffer.data(), size);
    return buffer.data();
}

/// With "_" for characters that the code page lacks, which UTF-8 has none of.
void Encode(GMString const & text, unsigned int codePage, char * to, int size)
{
    BOOL used = FALSE;
    WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.length()), to, size,
                        codePage == CP_UTF8 ? nullptr : "_", codePage == CP_UTF8 ? nullptr : &used);
}

GMStringA LiteralFromUtf16(GMString const & text, unsigned int codePage)
{
    auto const length = static_cast<int>(text.length());
    int const size =
        WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::vector<char> buffer(static_cast<std::size_t>(size) + 1);
    Encode(text, codePage, buffer.data(), size);
    return buffer.data();
}

GMString StraightToUtf16(GMStringA const & bytes, unsigned int codePage)
{
    auto const length = static_cast<int>(bytes.length());
    int const size = MultiByteToWideChar(codePage, 0, bytes.data(), length, nullptr, 0);
    GMString text(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(codePage, 0, bytes.data(), length, text.data(), size);
    return text;
}

GMStringA StraightFromUtf16(GMString const & text, unsigned int codePage)
{
    auto const length = static_cast<int>(text.length());
    int const size =
        WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    GMStringA bytes(static_cast<std::size_t>(size), '\0');
    Encode(text, codePage, bytes.data(), size);
    return bytes;
}

/// Runs of Chinese characters with ASCII words between, as in a localised program's texts.
GMString MixedChinese(std::mt19937 & random, std::size_t length)
{
    GMString text;
    while (text.length() < length)
    {
        for (auto run = 2 + random() % 16; run != 0; --run)
            text += static_cast<wchar_t>(0x4E00 + random() % (0x9FA6 - 0x4E00));
        for (auto run = random() % 12; run != 0; --run)
            text += static_cast<wchar_t>(L'a' + random() % 26);
        text += random() % 8 == 0 ? L"\r\n" : L" ";
    }
    return text;
}

constexpr std::size_t pieceBytes = 64 * 1024;
constexpr std::size_t pieceCount = 64; // so many that the heap's state before a turn doesn't matter

/// Texts whose bytes in \p codePage come close to the size of a piece.
std::vector<GMString> MixedPieces(unsigned int codePage)
{
    std::mt19937 random(20);
    std::vector<GMString> pieces;
    while (pieces.size() < pieceCount)
    {
        GMString piece = MixedChinese(random, pieceBytes);
        auto const bytes = StraightFromUtf16(piece, codePage).length();
        piece.resize(piece.length() * pieceBytes / bytes);
        pieces.push_back(std::move(piece));
    }
    return pieces;
}

/// Runs \p convert on every text.
template <class Text, class Convert>
std::function<void()> OnAll(std::vector<Text> const & texts, Convert convert)
{
    return [&texts, convert]
    {
        for (Text const & text : texts)
        {
            auto const result = convert(text);
            Use(result.data());
        }
    };
}

void MeasurePath(Report & report)
{
    std::vector<GMString> const text{L"C:\\Program Files\\Some Game\\data\\textures.pak1"};
    std::vector<GMStringA> const bytes{StraightFromUtf16(text.front(), CP_UTF8)};
    Bar const bar = Bar::TimeAtMost(0.7);
    report.Measure(
        {"encoding: 45-unit path, UTF-8 to UTF-16",
         1,
         "texts",
         OnAll(bytes, [](auto & s) { return GMStringConvert::Utf8ToGMString(s.c_str()); }),
         {{"literal", OnAll(bytes, [](auto & s) { return LiteralToUtf16(s, CP_UTF8); }), bar},
          {"two calls", OnAll(bytes, [](auto & s) { return StraightToUtf16(s, CP_UTF8); }),
           Bar::None()}}});
    report.Measure(
        {"encoding: 45-unit path, UTF-16 to UTF-8",
         1,
         "texts",
         OnAll(text, [](auto & s) { return GMStringConvert::GMStringToUtf8(s); }),
         {{"literal", OnAll(text, [](auto & s) { return LiteralFromUtf16(s, CP_UTF8); }), bar},
          // 1.30 before the conversion went by blocks.
          {"two calls", OnAll(text, [](auto & s) { return StraightFromUtf16(s, CP_UTF8); }),
           Bar::RateAtLeast(1.4)}}});
}

/// \param toUtf16, fromUtf16 the bars against two calls
void MeasurePieces(Report & report, unsigned int page, double toUtf16, double fromUtf16)
{
    std::string const name = std::to_string(page);
    std::vector<GMString> const texts = MixedPieces(page);
    std::vector<GMStringA> pieces;
    for (GMString const & text : texts)
        pieces.push_back(StraightFromUtf16(text, page));
    double const megabytes = static_cast<double>(pieceBytes * pieceCount) / (1 << 20);

    report.Measure(
        {"encoding: 64 KiB of mixed Chinese, " + name + " to UTF-16",
         megabytes,
         "MB",
         OnAll(pieces,
               [page](auto & s) { return GMStringConvert::MultiByteToUnicodeString(s, page); }),
         {{"two calls", OnAll(pieces, [page](auto & s) { return StraightToUtf16(s, page); }),
           Bar::RateAtLeast(toUtf16)},
          {"literal", OnAll(pieces, [page](auto & s) { return LiteralToUtf16(s, page); }),
           Bar::None()}}});
    report.Measure(
        {"encoding: 64 KiB of mixed Chinese, UTF-16 to " + name,
         megabytes,
         "MB",
         OnAll(texts,
               [page](auto & s) { return GMStringConvert::UnicodeStringToMultiByte(s, page); }),
         {{"two calls", OnAll(texts, [page](auto & s) { return StraightFromUtf16(s, page); }),
           Bar::RateAtLeast(fromUtf16)},
          {"literal", OnAll(texts, [page](auto & s) { return LiteralFromUtf16(s, page); }),
           Bar::None()}}});
}

// The floors of ASCII: bare loops of SSE2 into a text of the final size.

GMString FloorToUtf16(GMStringA const & bytes)
{
    GMString text(bytes.length(), L'\0');
    for (std::size_t i = 0; i != text.length(); i += sizeof(__m128i))
    {
        __m128i const block = _mm_loadu_si128(reinterpret_cast<__m128i const *>(&bytes[i]));
        auto * const to = reinterpret_cast<__m128i *>(&text[i]);
        _mm_storeu_si128(to, _mm_unpacklo_epi8(block, _mm_setzero_si128()));
        _mm_storeu_si128(to + 1, _mm_unpackhi_epi8(block, _mm_setzero_si128()));
    }
    return text;
}

GMStringA FloorFromUtf16(GMString const & text)
{
    GMStringA bytes(text.length(), '\0');
    for (std::size_t i = 0; i != bytes.length(); i += sizeof(__m128i))
    {
        auto const * const from = reinterpret_cast<__m128i const *>(&text[i]);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(&bytes[i]),
                         _mm_packus_epi16(_mm_loadu_si128(from), _mm_loadu_si128(from + 1)));
    }
    return bytes;
}

void MeasureAscii(Report & report)
{
    std::vector<GMStringA> const pieces(pieceCount, GMStringA(pieceBytes, 'x'));
    std::vector<GMString> const texts(pieceCount, GMString(pieceBytes, L'x'));
    double const megabytes = static_cast<double>(pieceBytes * pieceCount) / (1 << 20);
    Bar const bar = Bar::RateAtLeast(0.8);
    report.Measure(
        {"encoding: 64 KiB of ASCII, UTF-8 to UTF-16",
         megabytes,
         "MB",
         OnAll(pieces,
               [](auto & s) { return GMStringConvert::MultiByteToUnicodeString(s, CP_UTF8); }),
         {{"bare loop", OnAll(pieces, &FloorToUtf16), bar},
          {"two calls", OnAll(pieces, [](auto & s) { return StraightToUtf16(s, CP_UTF8); }),
           Bar::None()}}});
    report.Measure(
        {"encoding: 64 KiB of ASCII, UTF-16 to UTF-8",
         megabytes,
         "MB",
         OnAll(texts, [](auto & s) { return GMStringConvert::GMStringToUtf8(s); }),
         {{"bare loop", OnAll(texts, &FloorFromUtf16), bar},
          {"two calls", OnAll(texts, [](auto & s) { return StraightFromUtf16(s, CP_UTF8); }),
           Bar::None()}}});
}

void MeasureWholeText(Report & report)
{
    constexpr std::size_t wholeBytes = 16 << 20;
    std::string const name = "encoding: 16 MiB at once";
    if (!report.IsWanted(name))
        return;
    std::mt19937 random(21);
    GMString text = MixedChinese(random, wholeBytes / 2);
    std::vector<GMStringA> const bytes{StraightFromUtf16(text, CP_UTF8)};
    report.Measure(
        {name + ", UTF-8 to UTF-16",
         static_cast<double>(bytes.front().length()) / (1 << 20),
         "MB",
         OnAll(bytes,
               [](auto & s) { return GMStringConvert::MultiByteToUnicodeString(s, CP_UTF8); }),
         {{"two calls", OnAll(bytes, [](auto & s) { return StraightToUtf16(s, CP_UTF8); }),
           Bar::None()}}});
}

} // namespace

void MeasureEncodings(Report & report)
{
    MeasurePath(report);
    MeasureAscii(report);
    MeasurePieces(report, CP_UTF8, 3.5, 4);
    MeasurePieces(report, 936, 0.95, 0.95);
    MeasureWholeText(report);
}

} // namespace Velmora::Benchmarks
