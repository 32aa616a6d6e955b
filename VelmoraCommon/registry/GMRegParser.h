#pragma once

#include <deque>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/registry/GMRegFileObserver.h"
#include "VelmoraCommon/registry/GMRegKey.h"

namespace Velmora
{

/// Reads `.reg` text into a flat list of keys with their values, in the order of the text.
///
/// A key has no sub-keys here; a path that occurs twice gives two keys. What can't be understood is
/// kept in a harmless form: a value with unknown data as an empty `REG_SZ`, a key with an unknown
/// root as the root of `HKEY_CURRENT_USER`, and values below it go there. Whoever installs foreign
/// text checks the roots first.
///
/// A copy has a list of its own and goes on by itself. Use from one thread at a time.
class VELMORA_API GMRegParser : public GMRegFileObserver
{
public:
    GMRegParser();
    ~GMRegParser() override;

    /// Copies the keys that were read.
    GMRegParser(GMRegParser const & other);
    GMRegParser & operator=(GMRegParser const & other);

    /// Reads a whole file into \p buffer, with three zero bytes behind the content.
    /// \return false if the file can't be read whole, is empty or passes 4 GB; \p buffer is then
    ///     left alone
    static bool ReadFile(GMString const & path, GMBuffer<unsigned char> & buffer);

    /// Decodes \p buffer, takes the blanks and tabs off the front of the text and then the header.
    /// \return 1 for "REGEDIT4", 2 for "Windows Registry Editor Version 5.00", in exactly this case;
    ///     0 for any other start, which stays in \p text, and for bytes that can't be decoded
    static int GetRegVersion(GMBuffer<unsigned char> const & buffer, GMString & text);

    /// Appends the keys of a file to the list.
    /// \throws std::runtime_error "Load file failed" when ReadFile fails; else as the other form
    bool Load(GMString const & path);

    /// Appends the keys of a `.reg` text to the list. What came before a failure stays there.
    /// \param buffer UTF-16 with its mark, UTF-8 with its mark, or the default code page
    /// \return true
    /// \throws std::runtime_error "Wrong file format" without a known encoding and header
    /// \throws std::exception "Keys list is empty" for a value line in front of all keys
    /// \throws what GMRegFileParser::Parse throws
    bool Load(GMBuffer<unsigned char> const & buffer);

    /// The keys in the order of the text; empty before Load.
    std::deque<GMRegKey> const & GetRegList() const;
    std::deque<GMRegKey> & GetRegList();

    /// Appends the key.
    void OnKeyFound(wchar_t const * begin, wchar_t const * end) override;

    /// Appends the value to the last key in the list.
    void OnValueFound(wchar_t const * nameBegin, wchar_t const * nameEnd, wchar_t const * dataBegin,
                      wchar_t const * dataEnd) override;

private:
    GMBuffer<unsigned char> m_buffer; // the content of the file loaded last
    std::deque<GMRegKey> m_regList;   // values go to its last key
};

} // namespace Velmora
