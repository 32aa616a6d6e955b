#pragma once

#include <memory>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/registry/GMRegKey.h"

namespace Velmora
{

/// Header and encoding of written `.reg` text. Any other number gives no header, just its line end,
/// and the default code page.
enum GMRegFileType : int
{
    GMRegFileTypeRegedit4 = 1, ///< "REGEDIT4" in the default code page, which can lose characters
    GMRegFileTypeVersion5 = 2, ///< "Windows Registry Editor Version 5.00", UTF-16 with its mark
};

/// Writes keys as `.reg` text to a file or a buffer. Lines aren't wrapped, however long.
///
/// Owns the file that it makes and closes it in the destructor; a buffer stays the caller's and must
/// outlive the writer. Can't be copied: two writers would mix their lines in one file, and each
/// would close it. What was written before a failure stays written. Use from one thread at a time.
class VELMORA_API GMRegFileWriter
{
public:
    /// Makes or replaces the file \p path, and the folders missing above it if the path is complete;
    /// then writes the header.
    /// \param lineEnd the text of one line end; reading takes CR LF alone
    /// \throws std::runtime_error (GBK texts) if the file can't be made or written
    GMRegFileWriter(GMString const & path, GMRegFileType type, GMString const & lineEnd);

    /// Writes the header behind the content of \p buffer; with version 5 in place of it.
    /// \throws std::runtime_error (a GBK text) if the text passes 4 GB
    GMRegFileWriter(GMBuffer<unsigned char> & buffer, GMRegFileType type, GMString const & lineEnd);

    ~GMRegFileWriter();
    GMRegFileWriter(GMRegFileWriter const &) = delete;
    GMRegFileWriter & operator=(GMRegFileWriter const &) = delete;

    /// Writes \p key with its values, a blank line, and then all its sub-keys. A key to be removed
    /// is its `[-...]` line alone.
    /// \throws std::invalid_argument (a GBK text) for a value of type `REG_DWORD_BIG_ENDIAN`, which
    ///     `.reg` text has no form for here
    /// \throws std::runtime_error (a GBK text) if the text can't be written
    void WriteRegKey(GMRegKey const & key);

private:
    class State;
    std::unique_ptr<State> m_state;
};

} // namespace Velmora
