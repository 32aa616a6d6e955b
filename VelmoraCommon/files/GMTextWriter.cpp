#include "VelmoraCommon/files/GMTextWriter.h"

#include <algorithm>
#include <climits>
#include <stdexcept>

#include "VelmoraCommon/files/internal/ByteOrderMarks.h"
#include "VelmoraCommon/text/GMStringConvert.h"

namespace Velmora
{
namespace
{

// GBK texts.
constexpr char markFailed[] =
    "\xd0\xb4\xc8\xebUnicode\xcd\xb7\xb2\xbf\xb3\xf6\xb4\xed"; // 写入Unicode头部出错
constexpr char writeFailed[] = "\xd0\xb4\xc8\xeb\xce\xc4\xbc\xfe\xb3\xf6\xb4\xed"; // 写入文件出错

/// The capacity for a content of \p length bytes: half as much again, so that a long run of small
/// texts doesn't move the buffer for each.
unsigned int GrownCapacity(unsigned int length)
{
    return length + std::min(length / 2, UINT_MAX - length);
}

} // namespace

GMTextWriter::GMTextWriter(GMFile & file, bool unicode, GMString const & lineEnd)
    : m_file(&file),
      m_unicode(unicode),
      m_lineEnd(lineEnd),
      m_toBuffer(false),
      m_buffer(nullptr)
{
    unsigned int written = 0;
    if (m_unicode && !m_file->Write(utf16Mark, sizeof(utf16Mark), written))
        throw std::runtime_error(markFailed);
}

GMTextWriter::GMTextWriter(GMBuffer<unsigned char> & buffer, bool unicode, GMString const & lineEnd)
    : m_file(nullptr),
      m_unicode(unicode),
      m_lineEnd(lineEnd),
      m_toBuffer(true),
      m_buffer(&buffer)
{
    if (!m_unicode)
        return;
    m_buffer->Resize(sizeof(utf16Mark));
    m_buffer->SetLength(sizeof(utf16Mark));
    std::copy(std::begin(utf16Mark), std::end(utf16Mark), m_buffer->m_data);
}

void GMTextWriter::WriteString(GMString const & text, bool appendLineEnd, bool utf8)
{
    // So many units go into one call of the system, whether as UTF-16 or for conversion.
    if (text.size() > INT_MAX)
        throw std::runtime_error(writeFailed);
    if (m_unicode)
    {
        WriteBytes(text.data(), static_cast<unsigned int>(text.size() * sizeof(wchar_t)));
    }
    else
    {
        GMStringA const bytes =
            GMStringConvert::UnicodeStringToMultiByte(text, utf8 ? CP_UTF8 : CP_ACP);
        WriteBytes(bytes.data(), static_cast<unsigned int>(bytes.size()));
    }
    if (appendLineEnd)
        WriteLineEnd();
}

void GMTextWriter::WriteLineEnd() { WriteString(m_lineEnd, false, false); }

void GMTextWriter::WriteBytes(void const * bytes, unsigned int count)
{
    unsigned int written = 0;
    if (m_toBuffer)
        AppendBytes(bytes, count);
    else if (!m_file->Write(bytes, count, written))
        throw std::runtime_error(writeFailed);
}

void GMTextWriter::AppendBytes(void const * bytes, unsigned int count)
{
    unsigned int const length = m_buffer->m_length;
    if (count > UINT_MAX - length)
        throw std::runtime_error(writeFailed);
    unsigned int const newLength = length + count;
    if (newLength >= m_buffer->m_capacity)
        m_buffer->Resize(GrownCapacity(newLength));
    std::copy_n(static_cast<unsigned char const *>(bytes), count, m_buffer->m_data + length);
    m_buffer->SetLength(newLength);
}

} // namespace Velmora
