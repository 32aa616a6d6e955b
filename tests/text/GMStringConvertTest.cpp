#include "VelmoraCommon/text/GMStringConvert.h"

#include <gtest/gtest.h>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/GuardBuffer.h"
#include "tests/support/ImportHook.h"
#include "tests/support/LongRun.h"
#include "tests/support/Mutator.h"

namespace Velmora::Testing
{

namespace
{

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
template <class Text, class Ours, class Theirs>
void ExpectSame(Text const & sequence, Ours ours, Theirs theirs)
{
    static Text const longStart(300, 'a');
    for (unsigned int const codePage : codePages)
    {
        for (Text const & text : {sequence, longStart + sequence + Text(9, 'b')})
            ASSERT_EQ(theirs(text, codePage), ours(text, codePage)) << "code page " << codePage;
    }
}

void ExpectSameToUtf16(GMStringA const & bytes)
{
    ExpectSame(
        bytes,
        [](GMStringA const & s, unsigned int page)
        { return GMStringConvert::MultiByteToUnicodeString(s, page); },
        SystemToUtf16);
}

void ExpectSameFromUtf16(GMString const & text)
{
    ExpectSame(
        text,
        [](GMString const & s, unsigned int page)
        { return GMStringConvert::UnicodeStringToMultiByte(s, page); },
        SystemFromUtf16);
}

/// Sets the default code page for a scope.
class DefaultCodePage
{
public:
    explicit DefaultCodePage(unsigned int codePage)
    {
        GMStringConvert::SetDefaultCodePage(codePage);
    }
    ~DefaultCodePage() { GMStringConvert::SetDefaultCodePage(0); }
    DefaultCodePage(DefaultCodePage const &) = delete;
    DefaultCodePage & operator=(DefaultCodePage const &) = delete;
};

wchar_t const chinese[] = L"\u4E2D\u6587";
char const chineseGbk[] = "\xD6\xD0\xCE\xC4";
char const chineseUtf8[] = "\xE4\xB8\xAD\xE6\x96\x87";

decltype(::WideCharToMultiByte) * s_wideCharToMultiByte;

/// Windows refuses a default character for UTF-8.
int WINAPI RefuseReplacementInUtf8(UINT page, DWORD flags, wchar_t const * text, int length,
                                   char * bytes, int size, char const * replacement, BOOL * used)
{
    if (page == CP_UTF8 && (replacement != nullptr || used != nullptr))
        return 0;
    return s_wideCharToMultiByte(page, flags, text, length, bytes, size, replacement, used);
}

} // namespace

TEST(GMStringConvert, ConvertsEachUnitAsTheSystem)
{
    for (unsigned int unit = 0; unit <= 0xFFFF; ++unit)
    {
        SCOPED_TRACE(unit);
        ASSERT_NO_FATAL_FAILURE(ExpectSameFromUtf16(GMString(1, static_cast<wchar_t>(unit))));
    }
}

TEST(GMStringConvert, ConvertsEachShortSequenceAsTheSystem)
{
    unsigned int const longest = Rounds(2, 3);
    for (unsigned int length = 1; length <= longest; ++length)
    {
        for (unsigned int number = 0; number < 1u << 8 * length; ++number)
        {
            GMStringA bytes;
            for (unsigned int i = 0; i < length; ++i)
                bytes += static_cast<char>(number >> 8 * i);
            ASSERT_NO_FATAL_FAILURE(ExpectSameToUtf16(bytes)) << number;
        }
    }
}

TEST(GMStringConvert, ConvertsRandomTextsAsTheSystem)
{
    GMStringA const words[] = {"plain words of text ",
                               "\xE4\xB8\xAD\xE6\x96\x87",
                               "\xF0\x9F\x8E\xAE",
                               "\xC3\xA9",
                               "\xD6\xD0",
                               "\xED\xA0\x80",
                               "\xF4\x90\x80\x80",
                               "\xC0\x80",
                               "\xE0\x80\x80",
                               "\xF0\x80\x80\x80",
                               "\x80",
                               "\xFF",
                               "\xE4\xB8",
                               "\xF0\x9F\x8E",
                               GMStringA(1, '\0')};
    Random random(31);
    for (unsigned int round = Rounds(4000, 100000); round != 0; --round)
    {
        bool const isBroken = random.OneIn(2);
        GMStringA bytes;
        for (std::size_t count = random.Below(120); count != 0; --count)
            bytes += words[random.Below(isBroken && random.OneIn(20) ? std::size(words) : 4)];
        bytes.resize(random.Below(bytes.length() + 1)); // often within a character
        GuardBuffer<char> const guarded(bytes);
        GMString text = SystemToUtf16(bytes, CP_UTF8);
        ASSERT_EQ(text, GMStringConvert::MultiByteToUnicodeString(
                            guarded.Data(), static_cast<int>(guarded.Size()), CP_UTF8));
        ASSERT_NO_FATAL_FAILURE(ExpectSameToUtf16(bytes));

        for (wchar_t & unit : text)
        {
            if (isBroken && random.OneIn(50))
                unit = static_cast<wchar_t>(0xD700 + random.Below(0x900)); // surrogates, mostly
        }
        GuardBuffer<wchar_t> const guardedText(text);
        GMStringA back;
        EXPECT_TRUE(GMStringConvert::ConvertUnicodeToUTF8(
            guardedText.Data(), static_cast<unsigned int>(guardedText.Size()), back));
        ASSERT_EQ(SystemFromUtf16(text, CP_UTF8), back);
        ASSERT_NO_FATAL_FAILURE(ExpectSameFromUtf16(text));
    }
}

TEST(GMStringConvert, AllocatesNoMoreThanTheResult)
{
    constexpr std::size_t page = 4096;
    GMString text;
    while (text.length() < 8 << 20)
        text += L"\u4E2D\u6587 and some words\r\n";
    AllocationMeter meter;
    for (unsigned int const codePage : codePages)
    {
        SCOPED_TRACE(codePage);
        meter.Restart();
        GMStringA bytes = GMStringConvert::UnicodeStringToMultiByte(text, codePage);
        EXPECT_LE(meter.Peak(), bytes.length() + page);

        bytes += '\xE4'; // a lead byte alone, the end of many a piece
        meter.Restart();
        GMString const back = GMStringConvert::MultiByteToUnicodeString(bytes, codePage);
        EXPECT_LE(meter.Peak(), back.length() * sizeof(wchar_t) + page);
        EXPECT_EQ(0, back.compare(0, text.length(), text));
    }
}

TEST(GMStringConvert, EndsTheResultAtTheFirstNul)
{
    for (std::size_t const length : {2, 4000})
    {
        GMStringA const start(length, 'a');
        GMStringA const bytes = start + '\0' + "\xFFrest";
        GMString const wideStart(length, L'a');
        GMString const text = wideStart + L'\0' + L"\xD800rest";
        for (unsigned int const codePage : codePages)
        {
            EXPECT_EQ(wideStart, GMStringConvert::MultiByteToUnicodeString(bytes, codePage));
            EXPECT_EQ(wideStart,
                      GMStringConvert::MultiByteToUnicodeString(bytes.c_str(), -1, codePage));
            EXPECT_EQ(start, GMStringConvert::UnicodeStringToMultiByte(text, codePage));
        }
    }
}

TEST(GMStringConvert, TellsFailure)
{
    struct Case
    {
        char const * what;
        char const * bytes;
        int length;
        unsigned int codePage;
        bool ok;
    };
    Case const cases[] = {
        {"converted", "a", 1, CP_UTF8, true},   {"null", nullptr, 5, CP_UTF8, true},
        {"empty", "a", 0, CP_UTF8, false},      {"empty up to the NUL", "", -1, gbk, false},
        {"NUL first", "\0a", 2, CP_UTF8, true}, {"no such code page", "a", 1, 12345, false},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(each.what);
        bool ok = !each.ok;
        GMString const text =
            GMStringConvert::DoMultiByteToUnicodeString(each.bytes, each.length, each.codePage, ok);
        EXPECT_EQ(each.ok, ok);
        EXPECT_EQ(each.what == cases[0].what ? L"a" : L"", text);
    }

    bool used = true;
    bool ok = true;
    EXPECT_EQ("", GMStringConvert::DoUnicodeStringToMultiByte(L"", gbk, '_', used, ok));
    EXPECT_FALSE(used || ok);
    EXPECT_EQ("", GMStringConvert::DoUnicodeStringToMultiByte(L"a", 12345, '_', used, ok));
    EXPECT_FALSE(ok);
    EXPECT_EQ(L"", GMStringConvert::CharToGMString("a", 12345));
    EXPECT_EQ(L"", GMStringConvert::CharToGMString("", gbk));
    EXPECT_EQ(L"", GMStringConvert::Utf8ToGMString(nullptr));
}

TEST(GMStringConvert, RefusesMoreThanTheSystemCounts)
{
    constexpr unsigned int tooLong = 0x80000000; // must not be taken for "up to the NUL"
    GMString text = L"old";
    EXPECT_TRUE(GMStringConvert::ConvertUTF8ToUnicode("text", tooLong, text));
    EXPECT_EQ(L"", text);
    GMStringA bytes = "old";
    EXPECT_TRUE(GMStringConvert::ConvertUnicodeToUTF8(L"text", tooLong, bytes));
    EXPECT_EQ("", bytes);
}

TEST(GMStringConvert, ReplacesWhatTheCodePageLacks)
{
    GMString const thai = L"a\u0E01b";
    EXPECT_EQ("a_b", GMStringConvert::UnicodeStringToMultiByte(thai, gbk));
    EXPECT_EQ("a\xE0\xB8\x81"
              "b",
              GMStringConvert::UnicodeStringToMultiByte(thai, CP_UTF8));

    bool used = false;
    EXPECT_EQ("a!b", GMStringConvert::UnicodeStringToMultiByte(thai, gbk, '!', used));
    EXPECT_TRUE(used);
    EXPECT_EQ(chineseGbk, GMStringConvert::UnicodeStringToMultiByte(chinese, gbk, '!', used));
    EXPECT_FALSE(used);
    EXPECT_EQ("a?b", GMStringConvert::UnicodeStringToMultiByte(thai, gbk, '\0', used));
    EXPECT_FALSE(used);
}

TEST(GMStringConvert, DefaultCodePageStandsInForTheSystems)
{
    DefaultCodePage const scope(gbk);
    EXPECT_EQ(chinese, GMStringConvert::MultiByteToUnicodeString(chineseGbk, CP_ACP));
    EXPECT_EQ(chinese, GMStringConvert::MultiByteToUnicodeString(chineseGbk, -1, CP_OEMCP));
    EXPECT_EQ(chinese, GMStringConvert::CharToGMString(chineseGbk));
    EXPECT_EQ(chineseGbk, GMStringConvert::GMStringToGMStringA(chinese));
    EXPECT_EQ(chinese, GMStringConvert::MultiByteToUnicodeString(chineseUtf8, CP_UTF8));
    EXPECT_EQ(SystemToUtf16(chineseGbk, CP_ACP),
              GMStringConvert::CharToGMString(chineseGbk, CP_ACP));
    EXPECT_EQ(L"", GMStringConvert::MultiByteToUnicodeString("", CP_ACP));
}

TEST(GMStringConvert, SystemsCodePageHasItsTurnWhenTheDefaultFails)
{
    {
        DefaultCodePage const scope(12345);
        EXPECT_EQ(L"plain", GMStringConvert::CharToGMString("plain"));
        EXPECT_EQ("plain", GMStringConvert::GMStringToGMStringA(L"plain"));
    }
    ImportHook const hook("WideCharToMultiByte", &RefuseReplacementInUtf8, s_wideCharToMultiByte);
    DefaultCodePage const scope(CP_UTF8);
    EXPECT_EQ(SystemFromUtf16(chinese, CP_ACP), GMStringConvert::GMStringToGMStringA(chinese));
    bool used = false;
    EXPECT_EQ(chineseUtf8, GMStringConvert::UnicodeStringToMultiByte(chinese, CP_ACP, '\0', used));
}

TEST(GMStringConvert, RecognisesByteOrderMarks)
{
    struct Case
    {
        GMStringA bytes;
        int type;
        unsigned int length; // 0: none
    };
    Case const cases[] = {
        {{"\xFF\xFE\x41\x00", 4}, 9, 2},
        {{"\xFF\xFE\x00\x00", 4}, 12, 4},
        {{"\xFF\xFE\x00", 3}, 9, 2},
        {{"\xFF\xFE", 2}, 9, 2},
        {{"\xFE\xFF", 2}, 8, 2},
        {{"\xEF\xBB\xBF", 3}, 6, 3},
        {{"\x00\x00\xFE\xFF", 4}, 11, 4},
        {{"\x00\x00\xFE", 3}, 0, 0},
        {{"\xEF\xBB", 2}, 0, 0},
        {{"\xFF", 1}, 0, 0},
        {"plain", 0, 0},
        {"", 0, 0},
    };
    for (Case const & each : cases)
    {
        SCOPED_TRACE(testing::PrintToString(each.bytes));
        GuardBuffer<char> const data(each.bytes);
        auto const size = static_cast<unsigned int>(data.Size());
        auto type = GMEncodingType::Big5;
        unsigned int length = 77;
        bool const found = each.length != 0;
        EXPECT_EQ(found, GMStringConvert::GetEncodingType(data.Data(), size, type, &length));
        EXPECT_EQ(found ? each.type : 4, static_cast<int>(type));
        EXPECT_EQ(found ? each.length : 77, length);

        type = GMEncodingType::Big5;
        EXPECT_EQ(found, GMStringConvert::GetEncodingType(data.Data(), size, type, nullptr));
        EXPECT_EQ(found ? each.type : 4, static_cast<int>(type));
    }
    auto type = GMEncodingType::Unknown;
    EXPECT_FALSE(GMStringConvert::GetEncodingType(nullptr, 4, type, nullptr));
}

TEST(GMStringConvert, NamesEncodingsByNumber)
{
    struct Case
    {
        int number;
        char const * name;
    };
    Case const cases[] = {
        {-1, ""},
        {0, ""},
        {1, "ANSI/OEM - Simplified Chinese (PRC, Singapore)"},
        {2, "ANSI/OEM - Simplified Chinese (PRC, Singapore)"},
        {3, "Windows XP: GB18030 Simplified Chinese (4 Byte)"},
        {4, "ANSI/OEM - Traditional Chinese"},
        {6, "UTF-8"},
        {8, "UCS-2-BE"},
        {11, "UTF-32-BE"},
        {13, "UCS-2-LE"},
        {18, "UTF-32-LE"},
        {19, ""},
    };
    for (Case const & each : cases)
    {
        EXPECT_EQ(each.name,
                  GMStringConvert::GetEncodingString(static_cast<GMEncodingType>(each.number)))
            << each.number;
    }
}

} // namespace Velmora::Testing
