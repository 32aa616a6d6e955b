#pragma once

#include <deque>

#include "VelmoraCommon/frame/Export.h"
#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/registry/GMRegException.h"
#include "VelmoraCommon/registry/GMRegKey.h"

namespace Velmora
{

/// The registry views that an operation works in.
enum GMRegInstallType : int
{
    GMRegInstallDefaultView = 0, ///< the view of this process
    GMRegInstall64BitView = 1,   ///< the 64-bit view, also from a 32-bit process
    GMRegInstallBothViews = 2,   ///< the default view, then the 64-bit view
};

/// Installs keys into the registry in a way that can be taken back.
///
/// Before a key is changed, an undo record is made of it: a GMRegKey with remove flags where something
/// has to go and with old values where something has to come back. So undoing means to install the
/// records, in the order in which they were made. What the keys don't name is neither recorded nor
/// touched.
///
/// The key of `HKEY_CURRENT_USER` itself without values stands where no record could be made;
/// installing it changes nothing. Where both views are one and the same, a record for both views holds
/// the new values behind the old ones and brings back the new ones: choose one view there. For both
/// views a key's sub-keys are gone through in each pass of the key, so work and records double with
/// every level: 20 levels take a million times the work of one.
///
/// Keys may nest to any depth; none of these operations needs more stack for it.
///
/// A copy has records of its own. Use an object from one thread at a time; nothing guards the
/// registry against others that change the same keys meanwhile.
class VELMORA_API GMRegInstall
{
public:
    /// \param type the views that Install changes
    explicit GMRegInstall(GMRegInstallType type = GMRegInstallDefaultView);

    /// Installs \p keys in their order and makes their undo records, in place of those of the run
    /// before. A key that is removed goes if it has no sub-keys. Single values that can't be written
    /// aren't reported.
    /// \param ignoreErrors passes over keys that can't be opened. A key that can't be listed counts
    ///     as empty and *is* changed: its old values are lost, and the undo removes the new ones.
    ///     Without it, too, those keys are passed over that the user mustn't open.
    /// \return false if a key failed. The records made so far have been installed again, the failing
    ///     key keeps what was changed in it, and GetLastExcption tells which one it was.
    bool Install(std::deque<GMRegKey> const & keys, bool ignoreErrors);

    /// Writes the undo records of the last Install as in SerialRegToBuffer.
    void GetUninstallData(GMBuffer<unsigned char> & buffer) const;

    /// The last failure of Install; one without a code before the first.
    GMRegException GetLastExcption() const;

    /// Writes a key to the registry, without a record: makes it if it is missing, removes it if it has
    /// the remove flag and no sub-keys, then sets and removes values. Single values that can't be
    /// written aren't reported.
    /// \param recursive does the same for the sub-keys
    /// \param ignoreErrors leaves out a key that can't be opened, with its sub-keys. Without it, too,
    ///     those are left out that the user mustn't open.
    /// \throws GMRegException if a key can't be opened
    static void Install(GMRegKey const & key, bool recursive, bool ignoreErrors,
                        GMRegInstallType type);

    /// Appends the values and sub-keys that the registry has to those of \p key, with all that is below
    /// them. For both views each level is read once per view, so what exists in both comes repeatedly.
    /// \param ignoreErrors takes a key that can't be opened or listed for an empty one
    /// \throws GMRegException if a key can't be opened or listed
    static void UpdateFromSystem(GMRegKey & key, bool ignoreErrors, GMRegInstallType type);

    /// Makes the undo record of \p key.
    /// \param apply installs the key as well; without it nothing changes
    /// \param ignoreErrors as in the Install of many keys: a key that can't be listed counts as empty,
    ///     and what it held isn't in the record
    /// \throws GMRegException if a key can't be opened or listed; what was changed until then stays
    static GMRegKey GenerateAntiReg(GMRegKey const & key, bool apply, bool ignoreErrors,
                                    GMRegInstallType type);

    /// Installs the undo records of a buffer, in the default view whatever view they were made in.
    /// \return false, without a change, if DeserialRegFromBuffer fails
    /// \throws GMRegException as Install; the records before have been installed then
    static bool Uninstall(GMBuffer<unsigned char> const & buffer);

    /// Puts \p keys in place of the content of \p buffer:
    ///
    ///     4 bytes number of keys, 4 bytes length of what follows;
    ///     for each key 4 bytes size and the record of GMRegKey::Serial
    ///
    /// Numbers are little endian.
    /// \throws std::length_error if it comes to 4 GB or more; the content is not whole then
    static void SerialRegToBuffer(std::deque<GMRegKey> const & keys,
                                  GMBuffer<unsigned char> & buffer);

    /// Reads keys from the content of \p buffer in place of \p keys. A record that can't be read whole
    /// comes as far as it could be read: a value of a type that records can't bring back costs all that
    /// stands behind it in its record, and nothing tells. GMRegKey::Deserial does.
    /// \return false if there is no header or a record reaches past the content; the keys before it are
    ///     in \p keys
    static bool DeserialRegFromBuffer(GMBuffer<unsigned char> const & buffer,
                                      std::deque<GMRegKey> & keys);

    /// Puts the undo records of \p left in front of those of \p right.
    /// \throws std::length_error if they come to 4 GB or more; \p right is untouched then
    static void MergeRegListBuffer(GMBuffer<unsigned char> const & left,
                                   GMBuffer<unsigned char> & right);

    /// Puts the keys of the `.reg` text \p left behind those of the `.reg` text \p right, and writes all
    /// as text of version 5. An empty buffer counts as a text without keys; then the other one is taken
    /// as it is.
    /// \throws what GMRegParser::Load and GMRegFileWriter throw; \p right is untouched then
    static void MergeRegContentBuffer(GMBuffer<unsigned char> const & left,
                                      GMBuffer<unsigned char> & right);

private:
    std::deque<GMRegKey> m_uninstallList; // in the order of the keys
    GMRegException m_lastException;
    GMRegInstallType m_installType;
};

} // namespace Velmora
