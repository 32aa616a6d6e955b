#include "VelmoraCommon/files/GMTextReader.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "VelmoraCommon/files/internal/ByteOrderMarks.h"
#include "VelmoraCommon/text/GMStringConvert.h"

namespace Velmora
{
namespace
{

template <std::size_t Size>
bool StartsWith(unsigned char const * bytes, unsigned int count, unsigned char const (&mark)[Size])
{
    return count >= Size && std::equal(mark, mark + Size, bytes);
}

constexpr std::size_t pieceSize = std::size_t(256) * 1024; // bytes

/// Behind the last line end: in every code page that a text file has it is a character by itself, and those
/// that shift begin anew there. 0 if there is none.
std::size_t PlaceToCut(char const * bytes, std::size_t count)
{
    while (count != 0 && bytes[count - 1] != '\n')
        --count;
    return count;
}

} // namespace

GMTextReader::GMTextReader(GMString const & path)
    : m_file(nullptr),
      m_encoding(EncodingUndecided),
      m_ownsFile(true)
{
    auto file = std::make_unique<GMFile>();
    file->Create(path, FILE_GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL);
    m_file = file.release();
}

GMTextReader::GMTextReader(GMFile & file)
    : m_file(&file),
      m_encoding(EncodingUndecided),
      m_ownsFile(false)
{
}

GMTextReader::~GMTextReader()
{
    if (m_ownsFile)
        delete m_file;
}

bool GMTextReader::LoadContent(bool assumeUtf8)
{
    m_encoding = EncodingUndecided;
    unsigned long long size = 0;
    unsigned long long position = 0;
    unsigned int markSize = 0;
    if (!m_file->GetSize(size) || !FindEncoding(size, assumeUtf8, markSize) ||
        !m_file->Seek(markSize, FILE_BEGIN, position))
    {
        return false;
    }

    GMString text;
    size -= markSize;
    if (!(m_encoding == EncodingUtf16 ? ReadUtf16(size, text) : ReadMultiByte(size, text)))
        return false;
    m_content = std::move(text);
    return true;
}

bool GMTextReader::FindEncoding(unsigned long long fileSize, bool assumeUtf8,
                                unsigned int & markSize)
{
    // Longer files than the shortest mark are read as far as the longest reaches. That refuses a
    // file of 2 bytes.
    unsigned char start[sizeof(utf8Mark)];
    unsigned int read = 0;
    if (fileSize >= sizeof(utf16Mark) &&
        (!m_file->SeekBeginOfFile() || !m_file->Read(start, sizeof(start), read) ||
         read < sizeof(start)))
    {
        return false;
    }
    if (StartsWith(start, read, utf16BigEndianMark))
        return false;

    if (StartsWith(start, read, utf16Mark))
    {
        m_encoding = EncodingUtf16;
        markSize = sizeof(utf16Mark);
    }
    else if (StartsWith(start, read, utf8Mark))
    {
        m_encoding = EncodingUtf8;
        markSize = sizeof(utf8Mark);
    }
    else
    {
        m_encoding = assumeUtf8 ? EncodingAssumedUtf8 : EncodingDefault;
        markSize = 0;
    }
    return true;
}

// Both readers go by the count that was read: the file may have become shorter meanwhile.

bool GMTextReader::ReadUtf16(unsigned long long size, GMString & text)
{
    if (size > UINT_MAX)
        return false;
    unsigned int read = 0;
    text.resize(static_cast<std::size_t>(size / sizeof(wchar_t)));
    if (!m_file->Read(text.data(), static_cast<unsigned int>(text.size() * sizeof(wchar_t)), read))
        return false;
    text.resize(read / sizeof(wchar_t));
    return true;
}

bool GMTextReader::ReadMultiByte(unsigned long long size, GMString & text)
{
    if (size > INT_MAX)
        return false;
    // By pieces that stay in the cache: a block of the whole file would cost more than its conversion. A
    // file without a place to cut at is one piece, in the end.
    unsigned int const codePage = m_encoding == EncodingDefault ? CP_ACP : CP_UTF8;
    auto left = static_cast<std::size_t>(size);
    std::size_t kept = 0; // bytes at the start of the buffer that wait for what follows them
    std::vector<char> buffer(std::min<std::size_t>(left, pieceSize));
    for (bool isEnd = left == 0; !isEnd;)
    {
        unsigned int read = 0;
        auto const wanted = static_cast<unsigned int>(std::min(buffer.size() - kept, left));
        if (!m_file->Read(buffer.data() + kept, wanted, read))
            return false;
        left -= read;
        std::size_t const count = kept + read;
        isEnd = left == 0 || read < wanted;
        std::size_t const cut = isEnd ? count : PlaceToCut(buffer.data(), count);
        if (cut == 0)
        {
            kept = count;
            buffer.resize(std::min(2 * buffer.size(), kept + left));
            continue;
        }
        GMString const part = GMStringConvert::MultiByteToUnicodeString(
            buffer.data(), static_cast<int>(cut), codePage);
        if (text.empty())
            text.reserve(static_cast<std::size_t>(part.size() * (size / cut + 1)));
        text += part;
        isEnd = isEnd || std::memchr(buffer.data(), 0, cut) != nullptr; // the text ends there
        kept = count - cut;
        std::memmove(buffer.data(), buffer.data() + cut, kept);
    }
    return true;
}

GMString const & GMTextReader::GetFileContent() const { return m_content; }

bool GMTextReader::LoadContentFromFileBuffer(GMBuffer<unsigned char> const & buffer,
                                             GMString & text)
{
    unsigned char const * const bytes = buffer.m_data;
    unsigned int const count = buffer.m_length;
    if (StartsWith(bytes, count, utf16Mark))
    {
        text.resize((count - sizeof(utf16Mark)) / sizeof(wchar_t));
        std::memcpy(text.data(), bytes + sizeof(utf16Mark), text.size() * sizeof(wchar_t));
        return true;
    }

    bool const utf8 = StartsWith(bytes, count, utf8Mark);
    if (!utf8 && count >= sizeof(utf16Mark) && bytes[0] >= 0x7F)
        return false;
    unsigned int const markSize = utf8 ? sizeof(utf8Mark) : 0;
    unsigned int const size = count - markSize;
    if (size > INT_MAX)
        return false;
    text =
        GMStringConvert::MultiByteToUnicodeString(reinterpret_cast<char const *>(bytes) + markSize,
                                                  static_cast<int>(size), utf8 ? CP_UTF8 : CP_ACP);
    return true;
}

} // namespace Velmora
