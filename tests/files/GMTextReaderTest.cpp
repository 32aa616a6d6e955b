#include "VelmoraCommon/files/GMTextReader.h"

#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "VelmoraCommon/text/GMStringConvert.h"
#include "tests/support/AllocationMeter.h"
#include "tests/support/GuardBuffer.h"
#include "tests/support/TemporaryFolder.h"

using namespace Velmora;
using namespace Velmora::Testing;
using namespace std::string_literals;

namespace
{

constexpr unsigned int simplifiedChinese = 936;

wchar_t const * const refused = L"<refused>";

GMString Load(GMString const & path, bool assumeUtf8)
{
    GMTextReader reader(path);
    return reader.LoadContent(assumeUtf8) ? reader.GetFileContent() : refused;
}

/// Decodes \p bytes from a buffer whose end touches an unreadable page.
GMString LoadBuffer(std::string const & bytes)
{
    GuardBuffer<char> const guarded(bytes);
    GMBuffer<unsigned char> buffer;
    buffer.m_data = reinterpret_cast<unsigned char *>(guarded.Data());
    buffer.m_capacity = static_cast<unsigned int>(guarded.Size());
    buffer.SetLength(buffer.m_capacity);
    GMString text = refused;
    bool const loaded = GMTextReader::LoadContentFromFileBuffer(buffer, text);
    EXPECT_TRUE(loaded || text == refused) << "the text was touched";
    buffer.m_data = nullptr; // it was never the buffer's own
    return text;
}

TEST(GMTextReader, DecodesByTheFirstBytes)
{
    std::tuple<char const *, std::string, GMString, GMString, GMString> const cases[] = {
        {"two bytes", "ab", refused, refused, L"ab"},
        {"double-byte", "\xD6\xD0\xB9", L"\x4E2D?", L"\xFFFD\x0439", refused},
        {"UTF-8 without mark", "\xE4\xB8\xAD", L"\x6D93?", L"\x4E2D", refused},
        {"UTF-8", "\xEF\xBB\xBF\xE4\xB8\xAD!", L"\x4E2D!", L"\x4E2D!", L"\x4E2D!"},
        {"UTF-8, wrong mark", "\xEF\xBB\xBE", L"\x9518?", L"\xFEFE", refused},
        {"UTF-16", "\xFF\xFE-N\x3D\xD8\x00\xDE"s, L"\x4E2D\xD83D\xDE00", L"\x4E2D\xD83D\xDE00",
         L"\x4E2D\xD83D\xDE00"},
        {"UTF-16, half a unit", "\xFF\xFE\x41", L"", L"", L""},
        {"UTF-16, mark alone", "\xFF\xFE", refused, refused, L""},
        {"UTF-16, odd end", "\xFF\xFE"s + "a\0b"s, L"a", L"a", L"a"},
        {"big endian", "\xFE\xFF\0a"s, refused, refused, refused},
        {"FF without mark", "\xFFxy", L"\xF8F5xy", L"\xFFFDxy", refused},
        {"ends at a NUL", "ab\0c"s, L"ab", L"ab", L"ab"},
    };
    GMStringConvert::SetDefaultCodePage(simplifiedChinese);
    TemporaryFolder const folder;
    GMString const path = folder.File(L"text.txt");
    for (auto const & [what, bytes, asDefault, asUtf8, fromBuffer] : cases)
    {
        SCOPED_TRACE(what);
        WriteBytes(path, bytes);
        EXPECT_EQ(asDefault, Load(path, false));
        EXPECT_EQ(asUtf8, Load(path, true));
        EXPECT_EQ(fromBuffer, LoadBuffer(bytes));
    }
    GMStringConvert::SetDefaultCodePage(0);
}

/// An open file, which can go wrong: it tells another size than it has, or one of its calls fails.
class FaultyFile : public GMFile
{
public:
    explicit FaultyFile(GMString const & path)
    {
        Create(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, 0);
    }
    bool GetSize(unsigned long long & size) const override
    {
        bool const succeeded = GMFile::GetSize(size) && !m_sizeFails;
        size += m_extra;
        return succeeded;
    }
    bool Read(void * buffer, unsigned int toRead, unsigned int & read) override
    {
        return m_readsLeft-- != 0 && GMFile::Read(buffer, toRead, read);
    }
    bool Seek(long long offset, unsigned int method, unsigned long long & position) const override
    {
        return m_seeksLeft-- != 0 && GMFile::Seek(offset, method, position);
    }

    unsigned long long m_extra = 0;
    bool m_sizeFails = false;
    int m_readsLeft = -1; // no limit
    mutable int m_seeksLeft = -1;
};

TEST(GMTextReader, LeavesABorrowedFileOpenAndClosesItsOwn)
{
    TemporaryFolder const folder;
    GMString const path = folder.Write(L"text.txt", "text");
    {
        FaultyFile file(path);
        unsigned long long position = 0;
        file.SeekEndOfFile(position); // it reads from wherever the file stands
        EXPECT_TRUE(GMTextReader(file).LoadContent(false));
        EXPECT_TRUE(file.IsOpen());
    }
    EXPECT_EQ(L"text", Load(path, false));
    EXPECT_TRUE(DeleteFileW(path.c_str()));
    EXPECT_EQ(refused, Load(path, false));
}

TEST(GMTextReader, KeepsItsContentWhenLoadingFails)
{
    using Spoil = void (*)(FaultyFile & file);
    std::pair<char const *, Spoil> const cases[] = {
        {"plain", [](FaultyFile & file) { file.m_sizeFails = true; }},
        {"plain", [](FaultyFile & file) { file.m_seeksLeft = 1; }},
        {"plain", [](FaultyFile & file) { file.m_readsLeft = 1; }},
        {"plain", [](FaultyFile & file) { file.m_extra = 0x7FFFFFFF; }},
        {"\xFF\xFEu8", [](FaultyFile & file) { file.m_extra = 0xFFFFFFFF; }},
    };
    TemporaryFolder const folder;
    for (auto const & [bytes, spoil] : cases)
    {
        FaultyFile file(folder.Write(L"text.txt", bytes));
        GMTextReader reader(file);
        ASSERT_TRUE(reader.LoadContent(false));
        GMString const content = reader.GetFileContent();
        spoil(file);
        AllocationMeter const meter;
        EXPECT_FALSE(reader.LoadContent(false));
        EXPECT_EQ(content, reader.GetFileContent());
        EXPECT_LT(meter.Peak(), 1000u);
    }
}

TEST(GMTextReader, ReadsLongFilesAsOneText)
{
    TemporaryFolder const folder;
    GMStringConvert::SetDefaultCodePage(simplifiedChinese);
    for (std::size_t const run : {7u, 300'000u, 1'000'000u}) // characters up to a place to cut at
    {
        std::string bytes;
        while (bytes.size() < 1'500'000)
        {
            for (std::size_t i = 0; i != run; ++i)
                bytes += "\xD6\xD0";
            bytes += '\n';
        }
        for (std::size_t const nul : {bytes.size(), std::size_t(400'000)})
        {
            bytes.resize(nul);
            bytes += "\0rest"s;
            EXPECT_TRUE(GMStringConvert::MultiByteToUnicodeString(bytes, simplifiedChinese) ==
                        Load(folder.Write(L"long.txt", bytes), false))
                << run;
        }
    }
    GMStringConvert::SetDefaultCodePage(0);
}

TEST(GMTextReader, TakesWhatIsThereOfAFileThatBecameShorter)
{
    TemporaryFolder const folder;
    GMString const path = folder.File(L"text.txt");
    for (std::string const & bytes : {"xyz"s, "\xEF\xBB\xBFxyz"s, "\xFF\xFEx\0y\0z\0"s})
    {
        WriteBytes(path, bytes);
        FaultyFile file(path);
        file.m_extra = 1000;
        GMTextReader reader(file);
        EXPECT_TRUE(reader.LoadContent(false));
        EXPECT_EQ(L"xyz", reader.GetFileContent());
    }
}

} // namespace
