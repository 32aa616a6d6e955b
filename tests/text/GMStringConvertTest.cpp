#include "VelmoraCommon/text/GMStringConvert.h"

#include <iterator>
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "tests/support/GuardBuffer.h"
#include "tests/support/ImportHook.h"
#include "tests/support/LongRun.h"

namespace Velmora::Testing
{

namespace
{

using Convert = GMStringConvert;

constexpr unsigned int gbk = 936;
constexpr unsigned int codePages[] = {CP_UTF8, gbk};

/// The bare system call, cut at the first NUL.
GMString SystemToUtf16(GMStringA const & bytes, unsigned int codePage)
{
    GMString text(bytes.length() * 2, L'\0');
    auto const length = static_cast<int>(bytes.length());
    int const written = MultiByteToWideChar(codePage, 0, bytes.data(), length, text.data(),
                                            static_cast<int>(text.length()));
    text.resize(static_cast<std::size_t>(written));
    return text.c_str();
}

GMStringA SystemFromUtf16(GMString const & text, unsigned int codePage)
{
    GMStringA bytes(text.length() * 4, '\0');
    BOOL used = FALSE;
    bool const isUtf8 = codePage == CP_UTF8;
    int const written = WideCharToMultiByte(
        codePage, 0, text.data(), static_cast<int>(text.length()), bytes.data(),
        static_cast<int>(bytes.length()), isUtf8 ? nullptr : "_", isUtf8 ? nullptr : &used);
    bytes.resize(static_cast<std::size_t>(written));
    return bytes.c_str();
}

/// Checks \p sequence alone and at the end of a text that is too long for the short way.
template <class Text, class Result>
void ExpectSame(Text const & sequence, Result (*ours)(Text const &, unsigned int),
                Result (*theirs)(Text const &, unsigned int))
{
    static Text const longStart(300, 'a');
    for (unsigned int const codePage : codePages)
    {
        for (Text const & text : {sequence, longStart + sequence + Text(9, 'b')})
            ASSERT_EQ(theirs(text, codePage), ours(text, codePage)) << "code page " << codePage;
    }
}

void ExpectSame(GMStringA const & bytes)
{
    ExpectSame<GMStringA, GMString>(bytes, Convert::MultiByteToUnicodeString, SystemToUtf16);
}
void ExpectSame(GMString const & text)
{
    ExpectSame<GMString, GMStringA>(text, Convert::UnicodeStringToMultiByte, SystemFromUtf16);
}

wchar_t const chinese[] = L"\u4E2D\u6587";
char const chineseGbk[] = "\xD6\xD0\xCE\xC4";
char const chineseUtf8[] = "\xE4\xB8\xAD\xE6\x96\x87";

decltype(::WideCharToMultiByte) * s_wideCharToMultiByte;

/// Windows refuses a default character for UTF-8.
int WINAPI RefuseReplacementInUtf8(UINT page, DWORD flags, wchar_t const * text, int length,
                                   char * bytes, int size, char const * replacement, BOOL * used)
{
    return page == CP_UTF8 && replacement != nullptr
               ? 0
               : s_wideCharToMultiByte(page, flags, text, length, bytes, size, replacement, used);
}

} // namespace

TEST(GMStringConvert, ConvertsEachUnitAndShortSequenceAsTheSystem)
{
    for (unsigned int unit = 0; unit <= 0xFFFF; ++unit)
        ASSERT_NO_FATAL_FAILURE(ExpectSame(GMString(1, static_cast<wchar_t>(unit)))) << unit;

    for (unsigned int number = 1, limit = 1u << 8 * Rounds(2, 3); number < limit; ++number)
    {
        GMStringA bytes;
        for (unsigned int rest = number; rest != 0; rest >>= 8)
            bytes += static_cast<char>(rest);
        ASSERT_NO_FATAL_FAILURE(ExpectSame(bytes)) << number;
    }
}

TEST(GMStringConvert, ConvertsSequencesAnywhereAsTheSystem)
{
    GMStringA const sequences[] = {"\xE4\xB8\xAD\xE6\x96",
                                   "\xF0\x9F\x8E\xAE",
                                   "\xC3",
                                   "\xF4\x90\x80\x80",
                                   "\xF0\x80\x80\x80",
                                   "\xF0\x9F\x8E",
                                   "\xE4\xB8\xAD.\xC3\xA9..\xED\xA0\x80",
                                   GMStringA(1, '\0')};
    for (unsigned int i = 0; i < 3 * 40 * std::size(sequences); ++i)
    {
        SCOPED_TRACE(i);
        std::size_t const before = i % 40 + (i % 3 == 0 ? 16 * 1024 - 20 : 0); // a piece's end
        GMStringA const bytes =
            GMStringA(before, 'a') + sequences[i / 120] + GMStringA(i / 40 % 3 * 17, 'b');
        ASSERT_NO_FATAL_FAILURE(ExpectSame(bytes));
        auto const length = static_cast<unsigned int>(bytes.length());
        GMString text;
        Convert::ConvertUTF8ToUnicode(GuardBuffer<char>(bytes).Data(), length, text);
        ASSERT_EQ(SystemToUtf16(bytes, CP_UTF8), text);

        text.insert(text.length() / 2, i % 3,
                    static_cast<wchar_t>(0xD700 + i)); // surrogates, mostly
        ASSERT_NO_FATAL_FAILURE(ExpectSame(text));
        auto const units = static_cast<unsigned int>(text.length());
        GMStringA back;
        Convert::ConvertUnicodeToUTF8(GuardBuffer<wchar_t>(text).Data(), units, back);
        ASSERT_EQ(SystemFromUtf16(text, CP_UTF8), back);
    }
}

TEST(GMStringConvert, TellsFailure)
{
    std::tuple<char const *, int, unsigned int, bool> const cases[] = {{nullptr, 5, CP_UTF8, true},
                                                                       {"a", 0, CP_UTF8, false},
                                                                       {"", -1, gbk, false},
                                                                       {"\0a", 2, CP_UTF8, true},
                                                                       {"a", 1, 12345, false}};
    for (auto const & [bytes, length, codePage, converts] : cases)
    {
        bool ok = !converts;
        EXPECT_EQ(L"", Convert::DoMultiByteToUnicodeString(bytes, length, codePage, ok));
        EXPECT_EQ(converts, ok) << length;
    }
    bool used = true;
    bool ok = true;
    EXPECT_EQ("", Convert::DoUnicodeStringToMultiByte(L"", gbk, '_', used, ok));
    EXPECT_FALSE(used || ok);
    EXPECT_EQ(L"", Convert::CharToGMString("a", 12345));
    EXPECT_EQ(L"", Convert::Utf8ToGMString(nullptr));

    constexpr unsigned int tooLong = 0x80000000;
    GMString text;
    EXPECT_TRUE(Convert::ConvertUTF8ToUnicode("text", tooLong, text)); // -1 and below: to the NUL
    EXPECT_EQ(L"text", text);
    GMStringA bytes = "old";
    EXPECT_TRUE(Convert::ConvertUnicodeToUTF8(L"text", tooLong, bytes));
    EXPECT_EQ("", bytes);
}

TEST(GMStringConvert, ReplacesWhatTheCodePageLacksAndTakesTheDefaultOne)
{
    GMString const thai = L"a\u0E01b";
    bool used = false;
    EXPECT_EQ("a_b", Convert::UnicodeStringToMultiByte(thai, gbk));
    EXPECT_EQ("a!b", Convert::UnicodeStringToMultiByte(thai, gbk, '!', used));
    EXPECT_TRUE(used);
    EXPECT_EQ("a?b", Convert::UnicodeStringToMultiByte(thai, gbk, '\0', used));
    EXPECT_FALSE(used);

    Convert::SetDefaultCodePage(gbk);
    EXPECT_EQ(chinese, Convert::MultiByteToUnicodeString(GMStringA(chineseGbk), CP_ACP));
    EXPECT_EQ(chinese, Convert::MultiByteToUnicodeString(chineseGbk, -1, CP_OEMCP));
    EXPECT_EQ(chineseGbk, Convert::GMStringToGMStringA(chinese));
    EXPECT_EQ(SystemToUtf16(chineseGbk, CP_ACP), Convert::CharToGMString(chineseGbk, CP_ACP));
    Convert::SetDefaultCodePage(12345); // fails
    EXPECT_EQ(L"plain", Convert::CharToGMString("plain"));

    ImportHook const hook("WideCharToMultiByte", &RefuseReplacementInUtf8, s_wideCharToMultiByte);
    Convert::SetDefaultCodePage(CP_UTF8);
    EXPECT_EQ(SystemFromUtf16(chinese, CP_ACP), Convert::GMStringToGMStringA(chinese));
    EXPECT_EQ(chineseUtf8, Convert::UnicodeStringToMultiByte(chinese, CP_ACP, '\0', used));
    Convert::SetDefaultCodePage(0);
}

TEST(GMStringConvert, RecognisesByteOrderMarks)
{
    std::tuple<GMStringA, int, unsigned int> const cases[] = {{{"\xFF\xFE\x00\x00", 4}, 12, 4},
                                                              {{"\xFF\xFE\x00", 3}, 9, 2},
                                                              {"\xFE\xFF", 8, 2},
                                                              {"\xEF\xBB\xBF", 6, 3},
                                                              {{"\x00\x00\xFE\xFF", 4}, 11, 4},
                                                              {{"\x00\x00\xFE", 3}, 4, 0},
                                                              {"\xFF", 4, 0},
                                                              {"", 4, 0}};
    for (auto const & [bytes, expectedType, expectedLength] : cases)
    {
        GuardBuffer<char> const data(bytes);
        auto const size = static_cast<unsigned int>(data.Size());
        unsigned int length = 0;
        auto type = GMEncodingType::Big5; // 4
        EXPECT_EQ(expectedLength != 0, Convert::GetEncodingType(data.Data(), size, type, &length));
        EXPECT_EQ(expectedType, static_cast<int>(type)) << testing::PrintToString(bytes);
        EXPECT_EQ(expectedLength, length);
        EXPECT_EQ(length != 0, Convert::GetEncodingType(data.Data(), size, type, nullptr));
    }
    EXPECT_EQ("", Convert::GetEncodingString(static_cast<GMEncodingType>(-1)));
    EXPECT_EQ("", Convert::GetEncodingString(static_cast<GMEncodingType>(19)));
    EXPECT_EQ("UTF-32-LE", Convert::GetEncodingString(static_cast<GMEncodingType>(18)));
    EXPECT_EQ("UCS-2-BE", Convert::GetEncodingString(static_cast<GMEncodingType>(8)));
}

} // namespace Velmora::Testing
