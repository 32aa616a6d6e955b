#include "VelmoraCommon/registry/GMRegParser.h"

#include <cstddef>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/files/GMTextReader.h"
#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/frame/internal/MessageException.h"
#include "VelmoraCommon/registry/GMRegFileParser.h"
#include "VelmoraCommon/registry/GMRegFileWriter.h"
#include "VelmoraCommon/registry/internal/EscapedText.h"
#include "VelmoraCommon/registry/internal/RegFileHeader.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Velmora
{

namespace
{

/// Zeroes behind the content of a file, so that it can be read as a text of either width, even if
/// it ends in half a unit.
constexpr unsigned int terminatorSize = 3;

/// The value's name, as the registry knows it, from what stands left of the `=`.
GMString ValueName(wchar_t const * begin, wchar_t const * end)
{
    GMString name(begin, end);
    GMStringUtils::RemoveQuote(name);
    if (name == L"@")
        return GMString(); // a key's default value has no name
    Unescape(name);
    return name;
}

} // namespace

GMRegParser::GMRegParser() = default;
GMRegParser::~GMRegParser() = default;
GMRegParser::GMRegParser(GMRegParser const & other) = default;
GMRegParser & GMRegParser::operator=(GMRegParser const & other) = default;

bool GMRegParser::ReadFile(GMString const & path, GMBuffer<unsigned char> & buffer)
{
    GMFile file;
    unsigned long long size = 0;
    if (!file.Create(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL) ||
        !file.GetSize(size) || size == 0 ||
        size > std::numeric_limits<unsigned int>::max() - terminatorSize)
    {
        return false;
    }

    auto const length = static_cast<unsigned int>(size);
    GMBuffer<unsigned char> content(length + terminatorSize);
    unsigned int read = 0;
    if (!file.Read(content.m_data, length, read) || read != length)
        return false;
    std::memset(content.m_data + length, 0, terminatorSize);
    content.SetLength(length);
    buffer = std::move(content);
    return true;
}

int GMRegParser::GetRegVersion(GMBuffer<unsigned char> const & buffer, GMString & text)
{
    if (!GMTextReader::LoadContentFromFileBuffer(buffer, text))
        return 0;

    struct Header
    {
        std::wstring_view text;
        GMRegFileType version;
    };
    constexpr Header headers[] = {{regedit4Header, GMRegFileTypeRegedit4},
                                  {version5Header, GMRegFileTypeVersion5}};
    text.erase(0, text.find_first_not_of(L" \t"));
    for (Header const & header : headers)
    {
        if (text.compare(0, header.text.size(), header.text) != 0)
            continue;
        text.erase(0, header.text.size());
        return header.version;
    }
    return 0;
}

bool GMRegParser::Load(GMString const & path)
{
    if (!ReadFile(path, m_buffer))
        throw std::runtime_error("Load file failed");
    return Load(m_buffer);
}

bool GMRegParser::Load(GMBuffer<unsigned char> const & buffer)
{
    m_buffer = buffer;
    GMString text;
    if (GetRegVersion(m_buffer, text) == 0)
        throw std::runtime_error("Wrong file format");
    return GMRegFileParser(this).Parse(text.c_str());
}

std::deque<GMRegKey> const & GMRegParser::GetRegList() const { return m_regList; }

std::deque<GMRegKey> & GMRegParser::GetRegList() { return m_regList; }

void GMRegParser::OnKeyFound(wchar_t const * begin, wchar_t const * end)
{
    GMRegKey key;
    key.ParseRegFullPath(GMString(begin, end)); // a path that can't be read is kept as the root
    m_regList.push_back(std::move(key));
}

void GMRegParser::OnValueFound(wchar_t const * nameBegin, wchar_t const * nameEnd,
                               wchar_t const * dataBegin, wchar_t const * dataEnd)
{
    if (m_regList.empty())
        throw MessageException("Keys list is empty");

    GMRegValue value; // an empty REG_SZ
    value.SetName(ValueName(nameBegin, nameEnd));
    // Data that can't be read leaves it so.
    value.ParseText({dataBegin, static_cast<std::size_t>(dataEnd - dataBegin)});
    m_regList.back().GetValues().push_back(std::move(value));
}

} // namespace Velmora
