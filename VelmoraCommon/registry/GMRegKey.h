#pragma once

#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/registry/GMRegValue.h"

namespace Velmora
{

/// One registry key in memory with its values and sub-keys: what `.reg` text is read into, what
/// installs work on and what undo records are made of.
///
/// It knows nothing of the store. A sub-key carries its own root and its whole path from there, not
/// one relative to its parent. Full paths begin with one of the names of GMRegKey's own table of
/// roots, which has the current user, the current configuration, users, the local machine,
/// performance data and dynamic data, and the short names `HKCU` and `HKLM`; `HKEY_CLASSES_ROOT` isn't
/// among them. A copy is independent. Trees may be of any depth: no operation needs more stack for a
/// deeper one. Use an object from one thread at a time.
class VELMORA_API GMRegKey
{
public:
    /// Takes both as they are, without a test.
    GMRegKey(HKEY root = HKEY_CURRENT_USER, GMString const & subPath = GMString());

    /// ParseRegFullPath of \p fullPath; on its failure the root of the current user.
    explicit GMRegKey(GMString const & fullPath);

    /// Copies the key with its values and all that is below it.
    GMRegKey(GMRegKey const & other);
    GMRegKey(GMRegKey && other) noexcept;
    ~GMRegKey();

    /// Copies likewise. \p other may be a key of this key's own tree.
    GMRegKey & operator=(GMRegKey const & other);

    /// \p other may be a key of this key's own tree.
    GMRegKey & operator=(GMRegKey && other) noexcept;

    // The setters change the one field; values and sub-keys don't follow.

    HKEY GetRoot() const;
    void SetRoot(HKEY root);

    /// The path below the root; empty for the root itself.
    GMString GetSubPath() const;
    void SetSubPath(GMString const & subPath);

    /// Whether an install removes the key from the store.
    bool GetRemoveFlag() const;
    void SetRemoveFlag(bool removeFlag);

    std::vector<GMRegValue> const & GetValues() const;
    std::vector<GMRegValue> & GetValues();
    std::vector<GMRegKey> const & GetSubKeys() const;
    std::vector<GMRegKey> & GetSubKeys();

    /// The long name of a root; empty for one that the table doesn't have.
    static GMString HKEYToString(HKEY root);

    /// The root of a long or short name, whose case doesn't count. On failure \p root is untouched.
    static bool StringToHKEY(GMString const & text, HKEY & root);

    /// Takes a full path apart. The name of the root counts with its case. The unit behind it is
    /// passed over, whatever it is, and the rest is the path below. On failure \p root and \p subPath
    /// are untouched.
    static bool SplitRegKey(GMString const & fullPath, HKEY & root, GMString & subPath);

    /// Sets root, path and remove flag from a full path; a leading `-` sets the flag.
    /// \return false if no root fits. Root and path are untouched then, but the flag is set or cleared
    ///     in any case.
    bool ParseRegFullPath(GMString const & text);

    /// Long name of the root and path below it; in front a `-` if \p withRemoveMark and the remove
    /// flag are set. Empty if the table doesn't have the root.
    GMString GetRegFullPath(bool withRemoveMark) const;

    /// Moves the whole tree: every sub-key comes to lie below its parent's new path, under the last
    /// component of its old one. A leading `-` marks the whole tree for removal.
    /// \return false, and moves nothing, if \p fullPath is empty or no root fits. Unless it is empty
    ///     the remove flag of this key is set or cleared in any case.
    bool SetFullPath(GMString const & fullPath);

    /// \p left and \p right with one backslash between them, unless \p left ends in one. An empty
    /// \p left gives a leading backslash.
    static GMString JoinPath(GMString const & left, GMString const & right);

    /// Length in bytes of the record that Serial makes.
    /// \throws std::length_error if it comes to 4 GB or more
    unsigned int SerialSize() const;

    /// The tree as a binary record:
    ///
    ///     path       4 bytes number of units, then the units of GetRegFullPath(true)
    ///     sub-keys   4 bytes their number; each one 4 bytes size and a record like this one
    ///     values     4 bytes their number; each one
    ///                4 bytes number of units of the name, then the units,
    ///                2 bytes type, 255 for a value to remove,
    ///                4 bytes size of the data, then the data as in GMRegValue::ValueSerial
    ///
    /// Numbers and units are little endian, nothing is aligned, no text has a terminator.
    /// \throws std::length_error if it comes to 4 GB or more
    GMBuffer<unsigned char> Serial() const;

    /// Reads a record into this key, which has to be empty. Bytes behind the record, or behind that of
    /// a sub-key inside its size, are passed over. A value to remove comes back without data.
    /// \return false if the record reaches past \p size bytes, a path has no known root, or a value is
    ///     of a type or size that GMRegValue::ParseValue refuses. The key then holds what was read
    ///     before: whole values and whole sub-keys. What stands behind is lost; of a sub-key that
    ///     can't be read that is all of it, and all values of the keys above.
    bool Deserial(unsigned char const * data, unsigned int size);

private:
    class Record;

    void SwapWith(GMRegKey & other) noexcept;
    void AppendFullPath(GMString & text, bool withRemoveMark) const;

    std::vector<GMRegValue> m_values;
    std::vector<GMRegKey> m_subKeys;
    HKEY m_root;
    GMString m_subPath;
    bool m_removeFlag;
};

} // namespace Velmora
