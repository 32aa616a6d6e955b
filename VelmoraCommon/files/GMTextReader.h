#pragma once

#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Velmora
{

/// Reads a whole text file, or a buffer with the bytes of one, into one text.
///
/// The byte-order mark at its start decides about the encoding: UTF-8, UTF-16 little endian, or,
/// without a mark, the system's code page (GMStringConvert may have another default for it).
/// In the latter and in UTF-8 the text ends at its first NUL.
///
/// A copy refers to the same file; a reader that opened its file itself must not be copied. Use from
/// one thread at a time.
class VELMORA_API GMTextReader
{
public:
    /// Opens \p path for reading; a file that can't be opened makes LoadContent fail.
    explicit GMTextReader(GMString const & path);

    /// Reads from \p file, which stays the caller's and must outlive the reader.
    explicit GMTextReader(GMFile & file);

    /// Closes the file if the reader opened it.
    ~GMTextReader();

    /// Reads the file from its start, wherever its position is. At the peak the bytes and the text
    /// are both in memory; UTF-16 goes into the text at once.
    /// \param assumeUtf8 whether a file without a mark is UTF-8
    /// \return false for a file that can't be read, for one of just 2 bytes, for UTF-16 big endian
    ///     and for a file too large for one read or conversion (4 GB of UTF-16, 2 GB of others); the
    ///     content so far is then kept
    bool LoadContent(bool assumeUtf8);

    /// The text of the last LoadContent that succeeded.
    GMString const & GetFileContent() const;

    /// Decodes the content of \p buffer into \p text. It takes no more than a `.reg` file may start
    /// with: a mark, or a byte below 0x7F; a text of 2 bytes is fine here.
    /// \return false for any other start and for more than 2 GB in a multi-byte encoding; \p text is
    ///     then left alone
    static bool LoadContentFromFileBuffer(GMBuffer<unsigned char> const & buffer, GMString & text);

private:
    enum Encoding : int
    {
        EncodingUndecided = 0,
        EncodingDefault = 1,     // no mark: the default code page
        EncodingAssumedUtf8 = 2, // no mark: UTF-8, because the caller says so
        EncodingUtf8 = 3,
        EncodingUtf16 = 4, // little endian
    };

    bool FindEncoding(unsigned long long fileSize, bool assumeUtf8, unsigned int & markSize);
    bool ReadUtf16(unsigned long long size, GMString & text);
    bool ReadMultiByte(unsigned long long size, GMString & text);

    GMFile * m_file;
    Encoding m_encoding; // what LoadContent found
    GMString m_content;
    bool m_ownsFile;
};

} // namespace Velmora
