#include "VelmoraCommon/files/GMTextWriter.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/text/GMStringConvert.h"
#include "tests/support/Hex.h"
#include "tests/support/TemporaryFolder.h"

using namespace Velmora;
using namespace Velmora::Testing;
using namespace std::string_literals;

namespace
{

constexpr unsigned int simplifiedChinese = 936;

/// A new file that counts the writes, takes a given number of them and refuses the next.
class LimitedFile : public GMFile
{
public:
    explicit LimitedFile(GMString const & path, unsigned int writes = 100) : m_left(writes)
    {
        Create(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
    }

    bool Write(void const * buffer, unsigned int toWrite, unsigned int & written) override
    {
        return m_left-- != 0 && GMFile::Write(buffer, toWrite, written);
    }

private:
    unsigned int m_left; // writes
};

std::string Content(GMBuffer<unsigned char> const & buffer)
{
    return std::string(buffer.m_data, buffer.m_data + buffer.m_length);
}

// GBK texts.
char const * const markFailed = "\xd0\xb4\xc8\xebUnicode\xcd\xb7\xb2\xbf\xb3\xf6\xb4\xed";
char const * const writeFailed = "\xd0\xb4\xc8\xeb\xce\xc4\xbc\xfe\xb3\xf6\xb4\xed";

/// The message of the failure that \p action ends in; empty if it succeeds.
template <class Action>
std::string FailureOf(Action action)
{
    try
    {
        action();
        return std::string();
    }
    catch (std::runtime_error const & failure)
    {
        return failure.what();
    }
}

TEST(GMTextWriter, WritesTheSameToFilesAndBuffers)
{
    using Write = void (*)(GMTextWriter & writer);
    std::tuple<char const *, bool, Write, std::string> const cases[] = {
        {"UTF-16 mark alone", true, [](GMTextWriter &) {}, "\xFF\xFE"},
        {"UTF-16", true,
         [](GMTextWriter & writer)
         {
             writer.WriteString(L"\x4E2D\0!"s, false, false);
             writer.WriteString(L"a", true, true); // UTF-8 isn't asked for here
         },
         "\xFF\xFE\x2D\x4E\0\0!\0a\0;\0\x54\x5B"s},
        {"code page", false,
         [](GMTextWriter & writer)
         {
             writer.WriteString(L"", false, false);
             writer.WriteString(L"\x4E2D\xD83D\xDE00", false, false);
             writer.WriteLineEnd();
         },
         "\xD6\xD0__;\xBF\xD7"},
        {"UTF-8, but for the line end", false,
         [](GMTextWriter & writer) { writer.WriteString(L"\x4E2D", true, true); },
         "\xE4\xB8\xAD;\xBF\xD7"},
    };
    GMStringConvert::SetDefaultCodePage(simplifiedChinese);
    TemporaryFolder const folder;
    GMString const path = folder.File(L"text.txt");
    GMString const lineEnd = L";\x5B54"; // in code page 936 the character is BF D7
    for (auto const & [what, unicode, write, bytes] : cases)
    {
        SCOPED_TRACE(what);
        LimitedFile file(path);
        GMTextWriter fileWriter(file, unicode, lineEnd);
        write(fileWriter);
        EXPECT_EQ(Hex(bytes), Hex(ReadBytes(path)));

        GMBuffer<unsigned char> buffer;
        GMTextWriter bufferWriter(buffer, unicode, lineEnd);
        write(bufferWriter);
        EXPECT_EQ(Hex(bytes), Hex(Content(buffer)));
    }
    GMStringConvert::SetDefaultCodePage(0);
}

// The rule of growth is part of the interface: callers see the capacity.
TEST(GMTextWriter, GrowsABufferByHalfWhenItIsFull)
{
    std::tuple<unsigned int, unsigned int, std::size_t, unsigned int> const cases[] = {
        {0, 0, 0, 0}, {0, 0, 3, 4}, {10, 3, 6, 10}, {10, 3, 7, 15}};
    for (auto const & [capacity, length, count, grown] : cases)
    {
        SCOPED_TRACE(count);
        GMBuffer<unsigned char> buffer(capacity);
        std::fill_n(buffer.m_data, capacity, 'b');
        buffer.SetLength(length);
        GMTextWriter(buffer, false, L"").WriteString(GMString(count, L'x'), false, false);
        EXPECT_EQ(grown, buffer.m_capacity);
        EXPECT_EQ(std::string(length, 'b') + std::string(count, 'x'), Content(buffer));

        GMTextWriter const writer(buffer, true, L""); // the mark takes the place of it all
        EXPECT_EQ("\xFF\xFE", Content(buffer));
        EXPECT_EQ(2u, buffer.m_capacity);
    }
}

TEST(GMTextWriter, TellsWhatItCouldNotWrite)
{
    TemporaryFolder const folder;
    GMString const path = folder.File(L"text.txt");
    LimitedFile nothing(path, 0);
    EXPECT_EQ(markFailed, FailureOf([&] { GMTextWriter(nothing, true, L""); }));
    nothing.Close();
    LimitedFile oneWrite(path, 1);
    GMTextWriter writer(oneWrite, false, L"\n");
    EXPECT_EQ(writeFailed, FailureOf([&] { writer.WriteString(L"text", true, false); }));
    EXPECT_EQ("text", ReadBytes(path)); // what went out stays out

    GMBuffer<unsigned char> buffer(1);
    buffer.m_capacity = buffer.m_length = 0xFFFFFFF0; // as if so much were there
    GMTextWriter full(buffer, false, L"");
    EXPECT_EQ(writeFailed, FailureOf([&] { full.WriteString(GMString(16, L'x'), false, false); }));
    EXPECT_EQ(0xFFFFFFF0, buffer.m_length);
}

} // namespace
