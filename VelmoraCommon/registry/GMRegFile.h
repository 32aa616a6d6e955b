#pragma once

#include <vector>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

class GMRegValue;

/// The door to the system registry: one open key with the path it was opened by and the last error.
///
/// An operation that gives `bool` keeps the system's code for LastError when it fails and leaves the
/// code of an earlier failure alone when it succeeds; opening and closing clear it. The object owns
/// its key and closes it. A copy shares the handle without counting, so don't copy an object while
/// its key is open. Use it from one thread at a time. Nothing here throws of itself.
///
/// Access arguments go to the system unchanged; `KEY_WOW64_64KEY` or `KEY_WOW64_32KEY` in them picks
/// the view. A full path begins with `HKEY_LOCAL_MACHINE`, `HKLM`, `HKEY_CLASSES_ROOT`, `HKCR`,
/// `HKEY_CURRENT_USER`, `HKCU`, `HKEY_USERS` or `HKEY_CURRENT_CONFIG` in exactly this case; any other
/// path counts as one below the local machine. An empty value name is the default value.
class VELMORA_API GMRegFile
{
public:
    /// `RegDeleteKeyExW`, which the oldest systems lack.
    using KeyDeleter = decltype(::RegDeleteKeyExW);

    GMRegFile();
    ~GMRegFile();

    /// Opens a key in place of the one open so far.
    /// \param create makes a missing key, with the keys above it. A key made here is open with all
    ///     access whatever \p access says, and in the 64-bit or the default view: the 32-bit view
    ///     isn't passed on.
    bool OpenKey(HKEY root, GMString const & subKey, REGSAM access, bool create);

    /// The same by full path. An empty path fails with the code 0.
    bool OpenKey(GMString const & fullPath, REGSAM access, bool create);

    /// Opens a key with all access in place of the one open so far, and makes it if it is missing.
    bool CreateKey(HKEY root, GMString const & subKey, bool use64BitView);

    /// Closes what is open and clears the error.
    void CloseKey();

    /// Null when no key is open. It stays owned by this object.
    HKEY GetKey() const;

    /// The code of the last failure; 0 for none.
    unsigned long LastError() const;

    /// Keeps a \p code that isn't 0 as the last error, and gives it back.
    LSTATUS Check(LSTATUS code);

    /// Reads a value of any type and size: type, name, key path and data. A text is added to the one
    /// that \p value holds, so give it a fresh one.
    /// \return false if the value can't be read, or if its type has no form of its own, as
    ///     GMRegValue::ParseValue tells; its bytes are in \p value then all the same
    bool GetValue(GMString const & name, GMRegValue * value);

    /// Reads a value of at most 4 bytes of any type; 0 on failure.
    bool GetValue(GMString const & name, unsigned long & number);

    /// Reads a value of at most 8 bytes of any type; 0 on failure.
    bool GetValue(GMString const & name, unsigned __int64 & number);

    /// Reads a value of at most 1024 bytes of any type as text, up to its first NUL; empty on failure.
    /// A longer one fails with `ERROR_MORE_DATA`: use the form for GMRegValue.
    bool GetValue(GMString const & name, GMString & text);

    /// A value of at most 4 bytes, \p defaultValue on failure.
    unsigned long GetUInt32Value(GMString const & name, unsigned long defaultValue);

    /// A value of at most 1024 bytes as text, \p defaultValue on failure.
    GMString GetStringValue(GMString const & name, GMString const & defaultValue);

    /// Stores data and type of \p value as \p name. Name and remove flag of \p value don't count.
    bool SetValue(GMString const & name, GMRegValue const * value);

    /// Stores a `REG_DWORD`.
    bool SetValue(GMString const & name, unsigned long number);

    /// Stores a `REG_SZ` without its terminator. Reading it as GMRegValue then loses the last unit;
    /// the other readers give the whole text.
    bool SetValue(GMString const & name, wchar_t const * text);

    /// Deletes a value; one that is missing counts as deleted and clears the error.
    bool DeleteValue(GMString const & name);

    /// Puts the names of all values, with the spelling of the store, in place of \p names. A key that
    /// has none leaves \p names alone, and so does one that the user mustn't read, which is no
    /// failure. Names found before a failure stay in \p names.
    bool EnumValueNames(std::vector<GMString> & names);

    /// The same for the names of the sub-keys.
    bool EnumSubKeys(std::vector<GMString> & names);

    /// Both, sub-keys first; each list by itself is left alone as told above.
    bool EnumKeyValueName(std::vector<GMString> & subKeys, std::vector<GMString> & valueNames);

    /// Whether a key is there and can be read.
    /// \return false, and leaves \p exists alone, if the system doesn't tell
    static bool IsExist(HKEY root, GMString const & subKey, bool & exists);

    // The next five give the system's code, 0 for success.

    /// Deletes a key that has no sub-keys, in the default view.
    static LSTATUS DeleteKey(HKEY root, GMString const & subKey);

    /// Deletes a key with all its sub-keys in the view that \p samDesired names; in the default view
    /// on a system that can't choose. Stops at the first key that can't be deleted.
    static LSTATUS DeleteKeyEx(HKEY root, GMString const & subKey, REGSAM samDesired);

    /// The same by full path; an empty one gives 0.
    static LSTATUS DeleteKeyEx(GMString const & fullPath, REGSAM samDesired);

    /// The same with a given \p deleter for the single key; null stands for `RegDeleteKeyW`.
    static LSTATUS DeleteKeyExHelper(HKEY root, GMString const & subKey, REGSAM samDesired,
                                     KeyDeleter * deleter);

    /// Deletes a value; one that is missing counts as deleted, but a missing key doesn't. Empty
    /// arguments give 0, so the default value can't be deleted here.
    static LSTATUS DeleteValueEx(GMString const & fullPath, GMString const & name, REGSAM access);

    /// Loads a hive file as a key below \p root. Takes the privileges to restore and to back up.
    bool LoadKey(HKEY root, GMString const & subKey, GMString const & file);

    /// Replaces the open key by the content of a hive file. Takes the same privileges.
    bool RestoreKey(GMString const & file, unsigned long flags);

    /// Writes the open key to a new hive file. Takes the privilege to back up.
    bool SaveKey(GMString const & file);

    /// Takes a full path apart. If nothing follows the root's name, \p subPath is left alone.
    static void SplitKeyPath(GMString const & fullPath, GMString & subPath, HKEY & root);

    /// Full path of a key below \p root.
    static GMString CombineKeyPath(HKEY root, GMString const & subKey);

    /// The long name of a predefined root; of any other key the kernel's path, which begins with
    /// `\REGISTRY\`. Empty for null and on failure.
    static GMString GetKeyPathFromHKEY(HKEY key);

    /// Grants the current user full control of a key and of what will be made below it.
    /// \param fullPath begins with the long name of a root
    /// \return 0, or -1 on failure
    static int ModifyRegAccess(GMString const & fullPath);

private:
    bool Succeeded(LSTATUS code);

    GMString m_keyPath;        // with the root's long name
    HKEY m_key;                // null when none is open
    unsigned long m_lastError; // 0 when none
};

} // namespace Velmora
