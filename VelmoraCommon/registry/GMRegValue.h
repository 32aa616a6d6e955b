#pragma once

#include <string_view>
#include <type_traits>
#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// One registry value in memory: a name, a type (`REG_...`) and the data in the field that suits the
/// type.
///
/// It knows nothing of the store. It converts between the data text of `.reg` files, a short text
/// for display, and the bytes that the store and the key record hold. Texts are in `REG_SZ` and
/// `REG_EXPAND_SZ`, strings in `REG_MULTI_SZ`, 32-bit numbers in `REG_DWORD` and
/// `REG_DWORD_BIG_ENDIAN` (both in host order here), 64-bit numbers in `REG_QWORD`; the data of every
/// other type are plain bytes. Fields that don't suit the type are left alone and mean nothing. A
/// copy is independent; use an object from one thread at a time.
class VELMORA_API GMRegValue
{
public:
    /// A value without data, of a type of the system.
    GMRegValue(unsigned int type = REG_SZ, GMString const & name = GMString());

    /// A text value that an install removes from its key if \p removeFlag is set.
    ///
    /// Only a true bool gets here: a pointer would turn into one more readily than into a text, so
    /// that a literal as second argument would mark the value for removal.
    template <class Flag, std::enable_if_t<std::is_same_v<Flag, bool>, int> = 0>
    GMRegValue(GMString const & name, Flag removeFlag) : GMRegValue(REG_SZ, name)
    {
        m_removeFlag = removeFlag;
    }

    GMRegValue(GMString const & name, GMString const & text);                 ///< `REG_SZ`
    GMRegValue(GMString const & name, GMBuffer<unsigned char> const & bytes); ///< `REG_BINARY`
    GMRegValue(GMString const & name, unsigned int number);                   ///< `REG_DWORD`
    GMRegValue(GMString const & name, unsigned __int64 number);               ///< `REG_QWORD`

    /// Empty for the default value of a key.
    GMString GetName() const;
    void SetName(GMString const & name);

    /// The owner's path, for the caller's use: no operation here reads it.
    GMString GetKeyPath() const;
    void SetKeyPath(GMString const & keyPath);

    /// One of the system's types, such as `REG_SZ`.
    unsigned int GetType() const;
    /// Changes the type alone; the data stay in the field where they are.
    void SetType(unsigned int type);

    /// Whether an install removes the value from its key.
    bool GetRemoveFlag() const;
    void SetRemoveFlag(bool removeFlag);

    /// The number of a `REG_DWORD`; of others what was set last, at first 0.
    unsigned int GetDoubleWord() const;
    /// Makes it a `REG_DWORD`.
    void SetDoubleWord(unsigned int number);

    /// The number of a `REG_QWORD`; of others what was set last, at first 0.
    unsigned __int64 GetQuardWord() const;
    /// Makes it a `REG_QWORD`.
    void SetQuardWord(unsigned __int64 number);

    /// The text; that of a `REG_EXPAND_SZ` with its environment references expanded.
    GMString GetString() const;
    /// The text, with its environment references expanded if \p expand is set, whatever the type.
    GMString GetExpandString(bool expand) const;
    /// Makes it a `REG_SZ`, or a `REG_EXPAND_SZ` if \p expand is set.
    void SetString(GMString const & text, bool expand);

    /// The texts of a `REG_MULTI_SZ`.
    std::vector<GMString> GetMutiString() const;

    /// The bytes of `REG_BINARY` and of the types that have no form of their own.
    GMBuffer<unsigned char> const & GetBinary() const;
    GMBuffer<unsigned char> & GetBinary();

    /// Reads the data text that stands right of the `=` in a `.reg` file: `-` (sets the remove flag
    /// alone), `"text"`, `dword:`, `hex:`, `hex(b):`, `hex(2):`, `hex(7):` or `hex(type):` with the
    /// type in decimal.
    ///
    /// Prefixes count with their case. Byte lists are read over line breaks and blanks; a bad or
    /// empty byte is 0. `hex(2)` and `hex(7)` add to text and strings that are there already, so give
    /// it a fresh value. Text after `hex(type)` without a colon counts for nothing.
    /// \return false if the text has none of these forms; the value is untouched then
    bool ParseValue(GMString const & text);

    /// Reads \p size bytes as the store holds them, into the field that suits the type set before.
    ///
    /// Texts are added to the text that is there already and lose their last unit, the terminator.
    /// A `REG_QWORD` may have any length; bytes past the eighth add nothing. Null \p data changes
    /// nothing and gives true.
    /// \return false for a 32-bit number of another size than 4, which isn't stored, and for a type
    ///     without a form of its own, whose bytes are stored all the same
    bool ParseValue(unsigned char const * data, unsigned int size);

    /// Adds the data text of a `.reg` file to \p text, on one line however long. A text holding a
    /// quote comes out in the form that ParseValue takes.
    /// \return false, and adds nothing, for `REG_DWORD_BIG_ENDIAN`
    bool SaveValueToLiteral(GMString & text) const;

    /// Makes a short text for display; give it an empty \p text. Of a `REG_QWORD` it shows the low 32
    /// bits.
    /// \return false, and leaves \p text alone, for `REG_DWORD_BIG_ENDIAN`
    bool SaveValueToString(GMString & text) const;

    /// Puts the bytes that the store takes into \p buffer in place of its content, texts with their
    /// terminator. The capacity grows if need be and never shrinks.
    /// \return true
    /// \throws std::length_error if they come to 4 GB or more
    bool ValueSerial(GMBuffer<unsigned char> & buffer) const;

private:
    friend class GMRegKey;
    friend class GMRegParser;

    /// Stands in a key record for the type of a value to remove.
    static constexpr unsigned int smc_removedType = 255;

    /// ParseValue for data text that stands inside a larger one, so that no copy of it is made.
    bool ParseText(std::wstring_view text);

    /// Number of bytes that WriteData writes.
    unsigned __int64 DataSize() const;
    /// Writes what ValueSerial gives to \p out and answers the position behind it.
    unsigned char * WriteData(unsigned char * out) const;

    GMString m_keyPath;
    unsigned int m_type;
    GMString m_name;
    unsigned int m_doubleWord;
    std::vector<GMString> m_mutiString;
    GMString m_string;
    unsigned __int64 m_quardWord;
    GMBuffer<unsigned char> m_binary;
    bool m_removeFlag;
};

} // namespace Velmora
