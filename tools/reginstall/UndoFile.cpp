#include "tools/reginstall/UndoFile.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "VelmoraCommon/registry/GMRegParser.h"
#include "tools/common/Messages.h"
#include "tools/common/WholeFile.h"

using namespace Velmora;

namespace Tools
{
namespace
{

// The file begins with its mark and the sum of all that follows. Then comes, for each view, a header
// and an undo buffer of the library of the size that it tells. Numbers are little endian.
struct FileHeader
{
    char mark[8];
    unsigned __int64 sum;
};
constexpr FileHeader emptyHeader = {{'R', 'G', 'U', 'N', 'D', 'O', '2', '\n'}, 0};
struct PartHeader
{
    unsigned int view; // index into the table of views
    unsigned int size; // bytes
};

/// FNV-1a: tells damage, not forgery.
unsigned __int64 SumOf(unsigned char const * begin, unsigned char const * end)
{
    unsigned __int64 sum = 0xCBF29CE484222325;
    for (; begin != end; ++begin)
        sum = (sum ^ *begin) * 0x100000001B3;
    return sum;
}

void Append(Bytes & bytes, void const * data, std::size_t size)
{
    auto const * begin = static_cast<unsigned char const *>(data);
    bytes.insert(bytes.end(), begin, begin + size);
}

/// Takes the next object off the bytes; false if there are too few.
template <class T>
bool Take(unsigned char const *& begin, unsigned char const * end, T & value)
{
    if (static_cast<std::size_t>(end - begin) < sizeof(value))
        return false;
    std::memcpy(&value, begin, sizeof(value));
    begin += sizeof(value);
    return true;
}

/// Whether the records are read as they were written: of one that can't be read whole the library
/// takes a part.
bool ReadRecords(GMBuffer<unsigned char> const & part, Keys & records)
{
    GMBuffer<unsigned char> again;
    if (!GMRegInstall::DeserialRegFromBuffer(part, records))
        return false;
    GMRegInstall::SerialRegToBuffer(records, again);
    return std::equal(part.m_data, part.m_data + part.m_length, again.m_data,
                      again.m_data + again.m_length);
}

bool ReadHistories(unsigned char const * at, unsigned char const * end, Histories & histories)
{
    FileHeader header = {};
    if (!Take(at, end, header) ||
        std::memcmp(header.mark, emptyHeader.mark, sizeof(header.mark)) != 0 ||
        header.sum != SumOf(at, end))
        return false;
    while (at != end)
    {
        PartHeader part = {};
        if (!Take(at, end, part) || part.view >= std::size(views) ||
            part.size > static_cast<std::size_t>(end - at))
            return false;
        GMBuffer<unsigned char> buffer(part.size);
        std::copy_n(at, part.size, buffer.m_data);
        buffer.SetLength(part.size);
        at += part.size;
        histories.emplace_back(views[part.view]);
        if (!ReadRecords(buffer, histories.back().records))
            return false;
    }
    return true;
}

} // namespace

void SaveUndoFile(GMString const & path, Histories const & histories)
{
    Bytes bytes;
    Append(bytes, &emptyHeader, sizeof(emptyHeader));
    for (History const & history : histories)
    {
        GMBuffer<unsigned char> buffer;
        GMRegInstall::SerialRegToBuffer(history.records, buffer);
        PartHeader const part = {history.view.type == GMRegInstall64BitView ? 1u : 0u,
                                 buffer.m_length};
        Append(bytes, &part, sizeof(part));
        Append(bytes, buffer.m_data, buffer.m_length);
    }
    FileHeader header = emptyHeader;
    header.sum = SumOf(bytes.data() + sizeof(header), bytes.data() + bytes.size());
    std::memcpy(bytes.data(), &header, sizeof(header));
    WriteWholeFile(path, bytes.data(), bytes.size(), false);
}

Histories LoadUndoFile(GMString const & path)
{
    GMBuffer<unsigned char> file;
    Histories histories;
    if (!GMRegParser::ReadFile(path, file))
        throw Failure{path + L": can't be read, or is empty"};
    if (!ReadHistories(file.m_data, file.m_data + file.m_length, histories))
        throw Failure{path + L": isn't an undo file, or is damaged; nothing was changed"};
    return histories;
}

} // namespace Tools
