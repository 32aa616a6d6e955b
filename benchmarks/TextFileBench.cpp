#include "VelmoraCommon/files/GMTextReader.h"
#include "VelmoraCommon/files/GMTextWriter.h"
#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "benchmarks/Families.h"

#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace Velmora::Benchmarks
{

namespace
{

constexpr unsigned int simplifiedChinese = 936;
constexpr std::size_t mebibyte = 1 << 20;

/// Lines of Latin and Chinese words, about half of each, \p units long.
GMString MakeText(std::size_t units)
{
    std::mt19937 random(32);
    GMString text;
    text.reserve(units + 16);
    while (text.size() < units)
    {
        bool const latin = random() % 2 == 0;
        for (auto letters = 1 + random() % 10; letters != 0; --letters)
            text += static_cast<wchar_t>(latin ? L'a' + random() % 26 : 0x4E00 + random() % 20000);
        text += random() % 8 == 0 ? L"\r\n" : L" ";
    }
    text.resize(units);
    return text;
}

struct Encoding
{
    char const * name;
    double unitSize; // bytes a unit in the mixed text, about
    bool unicode;
    bool utf8;
    unsigned int codePage;
};
constexpr Encoding encodings[] = {
    {"UTF-8", 1.83, false, true, CP_UTF8},
    {"UTF-16", 2, true, false, 0},
    {"code page 936", 1.42, false, false, simplifiedChinese},
};

/// A file with a text of 16 MiB, deleted at the end.
class TextFile
{
public:
    explicit TextFile(Encoding const & encoding)
    {
        wchar_t folder[MAX_PATH] = {};
        wchar_t path[MAX_PATH] = {};
        GetTempPathW(MAX_PATH, folder);
        GetTempFileNameW(folder, L"vel", 0, path);
        m_path = path;
        GMFile file;
        file.Create(m_path, GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL);
        auto const units = static_cast<std::size_t>(16 * mebibyte / encoding.unitSize);
        GMTextWriter(file, encoding.unicode, L"")
            .WriteString(MakeText(units), false, encoding.utf8);
        file.GetSize(m_size);
    }
    ~TextFile() { DeleteFileW(m_path.c_str()); }
    TextFile(TextFile const &) = delete;
    TextFile & operator=(TextFile const &) = delete;

    GMString const & Path() const { return m_path; }
    double Mebibytes() const { return static_cast<double>(m_size) / mebibyte; }

private:
    GMString m_path;
    unsigned long long m_size = 0;
};

ScopedFile Open(GMString const & path)
{
    return ScopedFile(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

void ReadBytes(HANDLE file, char * bytes, std::size_t size)
{
    DWORD read = 0;
    ReadFile(file, bytes, static_cast<DWORD>(size), &read, nullptr);
}

/// Look for a mark, read into a zeroed block, measure, convert into another, take the text of it.
GMString LoadLiterally(GMString const & path, unsigned int codePage)
{
    ScopedFile const file = Open(path);
    char mark[3] = {};
    ReadBytes(file.Get(), mark, sizeof(mark));
    DWORD const skipped = mark[0] == '\xFF' ? 2 : 0;
    SetFilePointer(file.Get(), static_cast<LONG>(skipped), nullptr, FILE_BEGIN);
    std::vector<char> bytes(GetFileSize(file.Get(), nullptr) - skipped);
    ReadBytes(file.Get(), bytes.data(), bytes.size());
    if (skipped != 0)
        return GMString(reinterpret_cast<wchar_t const *>(bytes.data()), bytes.size() / 2);

    auto const size = static_cast<int>(bytes.size());
    int const units = MultiByteToWideChar(codePage, 0, bytes.data(), size, nullptr, 0);
    std::vector<wchar_t> block(static_cast<std::size_t>(units) + 1);
    MultiByteToWideChar(codePage, 0, bytes.data(), size, block.data(), units);
    return GMString(block.data());
}

void MeasureLoad(Report & report, Encoding const & encoding)
{
    std::string const name = std::string("text file: load 16 MiB of ") + encoding.name;
    if (!report.IsWanted(name))
        return;
    TextFile const text(encoding);
    report.Measure({name,
                    text.Mebibytes(),
                    "MB",
                    [&]
                    {
                        GMTextReader reader(text.Path());
                        reader.LoadContent(encoding.utf8);
                        Use(reader.GetFileContent().data());
                    },
                    {{"literal: two blocks and a copy",
                      [&] { Use(LoadLiterally(text.Path(), encoding.codePage).data()); },
                      Bar::RateAtLeast(1.3)},
                     {"floor: one ReadFile",
                      [&]
                      {
                          std::unique_ptr<char[]> const bytes(new char[16 * mebibyte]);
                          ReadBytes(Open(text.Path()).Get(), bytes.get(), 16 * mebibyte);
                          Use(bytes.get());
                      },
                      Bar::None()}}});
}

/// Writes \p count lines to a buffer of its own.
void WriteLines(GMString const & line, std::size_t count)
{
    GMBuffer<unsigned char> buffer;
    GMTextWriter writer(buffer, true, L"\r\n");
    for (; count != 0; --count)
        writer.WriteString(line, true, false);
    Use(buffer.m_data);
}

void MeasureBufferWriter(Report & report)
{
    constexpr std::size_t count = 400000;
    GMString const line = MakeText(38);
    report.Measure({"text file: write 400,000 lines of UTF-16 to a buffer",
                    count,
                    "lines",
                    [&] { WriteLines(line, count); },
                    {{"linear: eight buffers of an eighth",
                      [&]
                      {
                          for (int i = 0; i < 8; ++i)
                              WriteLines(line, count / 8);
                      },
                      Bar::RateAtLeast(0.8)},
                     {"std::vector of bytes",
                      [&]
                      {
                          std::vector<unsigned char> bytes;
                          for (std::size_t i = 0; i < count; ++i)
                          {
                              for (GMString const & text : {line, GMString(L"\r\n")})
                              {
                                  auto const * begin =
                                      reinterpret_cast<unsigned char const *>(text.data());
                                  bytes.insert(bytes.end(), begin, begin + text.size() * 2);
                              }
                          }
                          Use(bytes.data());
                      },
                      Bar::None()}}});
}

} // namespace

void MeasureTextFiles(Report & report)
{
    GMStringConvert::SetDefaultCodePage(simplifiedChinese);
    for (Encoding const & encoding : encodings)
        MeasureLoad(report, encoding);
    GMStringConvert::SetDefaultCodePage(0);
    MeasureBufferWriter(report);
}

} // namespace Velmora::Benchmarks
