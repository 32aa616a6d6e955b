#pragma once

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Writes texts to a file or to the end of a buffer, as UTF-16 little endian with a byte-order mark
/// or in a multi-byte code page.
///
/// The target stays the caller's and must outlive the writer; a copy writes to the same target.
/// Nothing is held back, so there is nothing to flush. What was written before a failure stays
/// written. Use from one thread at a time.
class VELMORA_API GMTextWriter
{
public:
    /// Writes to the open \p file at its position, in \p unicode starting with the mark.
    /// \param lineEnd the text of one line end
    /// \throws std::runtime_error (a GBK text) when the mark can't be written
    GMTextWriter(GMFile & file, bool unicode, GMString const & lineEnd);

    /// Writes to the end of \p buffer. In \p unicode the mark takes the place of what it held.
    GMTextWriter(GMBuffer<unsigned char> & buffer, bool unicode, GMString const & lineEnd);

    /// Writes \p text, then a line end if \p appendLineEnd says so. But in UTF-16, a text ends at its
    /// first NUL.
    /// \param utf8 write UTF-8 in place of the default code page; it counts neither for UTF-16 nor
    ///     for the line end
    /// \throws std::runtime_error (a GBK text) when the file refuses, when the buffer would pass
    ///     4 GB, and for a text of 2^31 units or more
    void WriteString(GMString const & text, bool appendLineEnd, bool utf8);

    /// Writes the two units of a line end.
    void WriteLineEnd();

private:
    void WriteBytes(void const * bytes, unsigned int count);
    void AppendBytes(void const * bytes, unsigned int count);

    GMFile * m_file; // null when writing to a buffer
    bool m_unicode;
    GMString m_lineEnd;
    bool m_toBuffer;
    GMBuffer<unsigned char> * m_buffer; // null when writing to a file
};

} // namespace Velmora
