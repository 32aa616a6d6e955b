#include "VelmoraCommon/registry/GMRegInstall.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/registry/GMRegFileWriter.h"
#include "VelmoraCommon/registry/GMRegParser.h"
#include "VelmoraCommon/registry/internal/KeyEnumeration.h"

namespace Velmora
{

namespace
{

struct View
{
    REGSAM readAccess;
    REGSAM writeAccess;
};

constexpr View defaultView = {KEY_READ, KEY_READ | KEY_WRITE};
constexpr View views[] = {
    defaultView,
    {defaultView.readAccess | KEY_WOW64_64KEY, defaultView.writeAccess | KEY_WOW64_64KEY},
};

/// The views that an operation passes through, in their order.
class Passes
{
public:
    explicit Passes(GMRegInstallType type)
        : m_begin(type == GMRegInstall64BitView ? views + 1 : views),
          m_end(type == GMRegInstall64BitView || type == GMRegInstallBothViews ? views + 2
                                                                               : views + 1)
    {
    }

    View const * begin() const { return m_begin; }
    View const * end() const { return m_end; }

private:
    View const * m_begin;
    View const * m_end;
};

/// Stands where no record could be made: installing it opens the root and changes nothing.
GMRegKey Placeholder() { return GMRegKey(HKEY_CURRENT_USER); }

/// False if the key can't be opened and is to be passed over.
bool OpenForChange(GMRegFile & file, GMRegKey const & key, View const & view, bool create,
                   bool ignoreErrors)
{
    if (file.OpenKey(key.GetRoot(), key.GetSubPath(), view.writeAccess, create))
        return true;
    if (ignoreErrors || file.LastError() == ERROR_ACCESS_DENIED)
        return false;
    throw GMRegException(file.LastError(), true, key.GetRegFullPath(false));
}

/// A failure isn't reported: the other values are to get their chance.
void ApplyValue(GMRegFile & file, GMRegValue const & value)
{
    if (value.GetRemoveFlag())
        file.DeleteValue(value.GetName());
    else
        file.SetValue(value.GetName(), &value);
}

/// Carries out one pass of an install for the key alone; false if it is to be passed over.
bool InstallPass(GMRegKey const & key, View const & view, bool ignoreErrors)
{
    GMRegFile file;
    if (!OpenForChange(file, key, view, true, ignoreErrors))
        return false;
    if (key.GetRemoveFlag())
        GMRegFile::DeleteKey(key.GetRoot(), key.GetSubPath());
    for (GMRegValue const & value : key.GetValues())
        ApplyValue(file, value);
    return true;
}

/// Lists an open key: \p listSubKeys its sub-keys, and a call of \p visit for each value. A key that
/// the user mustn't read counts as empty.
template <class ListSubKeys, class Visit>
LSTATUS ListKey(HKEY key, ListSubKeys listSubKeys, Visit visit)
{
    KeySizes sizes;
    LSTATUS code = QueryKeySizes(key, sizes);
    if (code == ERROR_ACCESS_DENIED)
        return ERROR_SUCCESS;
    if (code == ERROR_SUCCESS)
        code = listSubKeys(key, sizes);
    if (code == ERROR_SUCCESS)
        code = VisitValues(key, sizes, visit);
    return code;
}

/// What GMRegFile::GetValue gives for a value that an enumeration has found.
GMRegValue ReadValue(GMRegFile & file, GMString const & keyPath, EnumeratedValue const & found)
{
    GMRegValue value(REG_SZ, found.name);
    if (!found.hasData)
    {
        file.GetValue(found.name, &value);
        return value;
    }
    value.SetType(found.type);
    value.SetKeyPath(keyPath);
    value.ParseValue(found.data, found.size);
    return value;
}

/// True if no two names are one for the registry, which doesn't look at case.
bool NamesDiffer(std::vector<GMRegValue> const & values)
{
    std::unordered_set<GMString> names;
    for (GMRegValue const & value : values)
    {
        GMString name = value.GetName();
        int const length = static_cast<int>(name.size());
        LCMapStringW(LOCALE_INVARIANT, LCMAP_UPPERCASE, name.data(), length, name.data(), length);
        if (!names.insert(std::move(name)).second)
            return false;
    }
    return true;
}

/// What an open key holds for the values that an instruction names, before it is carried out.
class OldValues
{
public:
    /// \p apply: the instruction's sub-keys and values are written between two calls of Get.
    OldValues(GMRegFile & file, GMRegKey const & key, bool apply)
        : m_file(file),
          m_keyPath(GMRegFile::CombineKeyPath(key.GetRoot(), key.GetSubPath())),
          m_dataStay(!apply || (key.GetSubKeys().empty() && NamesDiffer(key.GetValues())))
    {
        m_entries.reserve(key.GetValues().size());
        for (GMRegValue const & value : key.GetValues())
            m_entries.try_emplace(value.GetName());
    }

    /// Finds out which values the key has. On failure it counts as empty.
    LSTATUS Find()
    {
        LSTATUS const code = ListKey(m_file.GetKey(), &CheckSubKeyNames,
                                     [this](EnumeratedValue const & found) { Note(found); });
        if (code != ERROR_SUCCESS)
            m_entries.clear();
        return code;
    }

    /// The record of a value that Find has seen under exactly this name; for any other, whose removal
    /// brings the old state back, a value to remove.
    GMRegValue Get(GMString const & name)
    {
        GMRegValue old(REG_SZ, name);
        auto const entry = m_entries.find(name);
        if (entry == m_entries.end() || !entry->second.exists)
        {
            old.SetRemoveFlag(true);
            return old;
        }
        if (entry->second.value)
            return *entry->second.value;
        m_file.GetValue(name, &old);
        return old;
    }

private:
    struct Entry
    {
        bool exists = false;
        std::optional<GMRegValue> value; // none: to be read when it is asked for
    };

    void Note(EnumeratedValue const & found)
    {
        auto const entry = m_entries.find(found.name);
        if (entry == m_entries.end())
            return;
        entry->second.exists = true;
        if (m_dataStay)
            entry->second.value = ReadValue(m_file, m_keyPath, found);
    }

    GMRegFile & m_file;
    GMString m_keyPath;
    bool m_dataStay; // no write before the last Get can hit a value that Get is still to give
    std::unordered_map<GMString, Entry> m_entries; // by the names in the instruction
};

/// One pass of GenerateAntiReg for a key that exists; false if it is to be passed over.
bool RecordPass(GMRegKey const & key, GMRegKey & anti, View const & view, bool apply,
                bool ignoreErrors, GMRegInstallType type)
{
    GMRegFile file;
    if (!OpenForChange(file, key, view, false, ignoreErrors))
        return false;
    OldValues oldValues(file, key, apply);
    LSTATUS const code = oldValues.Find();
    if (code != ERROR_SUCCESS && !ignoreErrors)
        throw GMRegException(static_cast<unsigned long>(code), false, key.GetRegFullPath(false));

    for (GMRegKey const & subKey : key.GetSubKeys())
        anti.GetSubKeys().push_back(
            GMRegInstall::GenerateAntiReg(subKey, apply, ignoreErrors, type));
    for (GMRegValue const & value : key.GetValues())
    {
        anti.GetValues().push_back(oldValues.Get(value.GetName()));
        if (apply)
            ApplyValue(file, value);
    }
    return true;
}

// The undo buffer: number of keys and length of the entries behind, 4 bytes each; an entry is the
// size of a key's record in 4 bytes and the record.
constexpr unsigned int numberSize = 4;
constexpr unsigned int headerSize = 2 * numberSize;
constexpr unsigned __int64 largestBuffer = 0xFFFFFFFF;

unsigned int GetNumber(unsigned char const * from)
{
    unsigned int number;
    std::memcpy(&number, from, numberSize);
    return number;
}

void PutNumber(unsigned char * to, unsigned int number) { std::memcpy(to, &number, numberSize); }

/// A size that the 32-bit fields of the buffer can take.
unsigned int BufferSize(unsigned __int64 size)
{
    if (size > largestBuffer)
        throw std::length_error("The undo records are too long for a buffer");
    return static_cast<unsigned int>(size);
}

void AppendRecord(GMBuffer<unsigned char> & buffer, GMBuffer<unsigned char> const & record)
{
    unsigned int const entrySize = BufferSize(record.m_length + 0ull + numberSize);
    unsigned int const length = BufferSize(buffer.m_length + 0ull + entrySize);
    if (length > buffer.m_capacity)
    {
        unsigned __int64 const capacity = buffer.m_capacity;
        unsigned __int64 const wanted =
            std::max(capacity + capacity / 2, capacity + 4ull * entrySize);
        buffer.Resize(static_cast<unsigned int>(std::min(wanted, largestBuffer)));
    }
    unsigned char * const entry = buffer.m_data + buffer.m_length;
    PutNumber(entry, record.m_length);
    std::copy_n(record.m_data, record.m_length, entry + numberSize);
    buffer.SetLength(length);
}

/// Writes all keys of a `.reg` text.
void WriteKeys(GMBuffer<unsigned char> const & content, GMRegFileWriter & writer)
{
    GMRegParser parser;
    parser.Load(content);
    for (GMRegKey const & key : parser.GetRegList())
        writer.WriteRegKey(key);
}

} // namespace

GMRegInstall::GMRegInstall(GMRegInstallType type) : m_installType(type) {}

bool GMRegInstall::Install(std::deque<GMRegKey> const & keys, bool ignoreErrors)
{
    m_uninstallList.clear();
    try
    {
        for (GMRegKey const & key : keys)
            m_uninstallList.push_back(GenerateAntiReg(key, true, ignoreErrors, m_installType));
        return true;
    }
    catch (GMRegException const & exception)
    {
        m_lastException = exception;
    }
    catch (...)
    {
        // Rolled back like any other failure; only the registry's are kept.
    }

    try
    {
        for (GMRegKey const & record : m_uninstallList)
            Install(record, true, false, GMRegInstallDefaultView);
    }
    catch (...)
    {
        // What can't be taken back stays; the failure to tell is the first one.
    }
    return false;
}

void GMRegInstall::GetUninstallData(GMBuffer<unsigned char> & buffer) const
{
    SerialRegToBuffer(m_uninstallList, buffer);
}

GMRegException GMRegInstall::GetLastExcption() const { return m_lastException; }

void GMRegInstall::Install(GMRegKey const & key, bool recursive, bool ignoreErrors,
                           GMRegInstallType type)
{
    struct Task
    {
        GMRegKey const * key;
        View const * view;
    };

    // A list instead of a recursion: keys from an undo buffer may nest deeper than the stack goes.
    Passes const passes(type);
    std::vector<Task> tasks = {{&key, passes.begin()}};
    while (!tasks.empty())
    {
        Task const task = tasks.back();
        tasks.pop_back();
        if (!InstallPass(*task.key, *task.view, ignoreErrors))
            continue; // its other pass and its sub-keys are left out, too
        if (task.view + 1 != passes.end())
            tasks.push_back({task.key, task.view + 1});
        if (!recursive)
            continue;
        std::vector<GMRegKey> const & subKeys = task.key->GetSubKeys();
        for (auto subKey = subKeys.rbegin(); subKey != subKeys.rend(); ++subKey)
            tasks.push_back({&*subKey, passes.begin()});
    }
}

void GMRegInstall::UpdateFromSystem(GMRegKey & key, bool ignoreErrors, GMRegInstallType type)
{
    GMString const keyPath = GMRegFile::CombineKeyPath(key.GetRoot(), key.GetSubPath());
    for (View const & view : Passes(type))
    {
        GMRegFile file;
        std::vector<GMString> subKeyNames;
        std::vector<GMRegValue> values;
        auto const list = [&]
        {
            return ListKey(
                file.GetKey(),
                [&](HKEY opened, KeySizes const & sizes)
                { return ListSubKeyNames(opened, sizes, subKeyNames); },
                [&](EnumeratedValue const & found)
                { values.push_back(ReadValue(file, keyPath, found)); });
        };
        if (!file.OpenKey(key.GetRoot(), key.GetSubPath(), view.readAccess, false) ||
            file.Check(list()) != ERROR_SUCCESS)
        {
            if (ignoreErrors)
                continue;
            throw GMRegException(file.LastError(), false, key.GetRegFullPath(false));
        }

        for (GMString const & name : subKeyNames)
        {
            GMRegKey subKey(key.GetRoot(), GMRegKey::JoinPath(key.GetSubPath(), name));
            UpdateFromSystem(subKey, ignoreErrors, type);
            key.GetSubKeys().push_back(std::move(subKey));
        }
        std::move(values.begin(), values.end(), std::back_inserter(key.GetValues()));
    }
}

GMRegKey GMRegInstall::GenerateAntiReg(GMRegKey const & key, bool apply, bool ignoreErrors,
                                       GMRegInstallType type)
{
    bool exists = false;
    if (!GMRegFile::IsExist(key.GetRoot(), key.GetSubPath(), exists))
        return Placeholder();

    GMRegKey anti(key.GetRoot(), key.GetSubPath());
    if (key.GetRemoveFlag())
    {
        if (!exists)
            return anti;
        UpdateFromSystem(anti, ignoreErrors, type);
        if (apply)
            GMRegFile::DeleteKey(key.GetRoot(), key.GetSubPath()); // stays if it has sub-keys
        return anti;
    }
    if (!exists)
    {
        anti.SetRemoveFlag(true);
        if (apply)
            Install(key, true, ignoreErrors, type);
        return anti;
    }
    for (View const & view : Passes(type))
    {
        if (!RecordPass(key, anti, view, apply, ignoreErrors, type))
            return Placeholder();
    }
    return anti;
}

bool GMRegInstall::Uninstall(GMBuffer<unsigned char> const & buffer)
{
    std::deque<GMRegKey> records;
    if (!DeserialRegFromBuffer(buffer, records))
        return false;
    for (GMRegKey const & record : records)
        Install(record, true, false, GMRegInstallDefaultView);
    return true;
}

void GMRegInstall::SerialRegToBuffer(std::deque<GMRegKey> const & keys,
                                     GMBuffer<unsigned char> & buffer)
{
    if (buffer.m_capacity < headerSize)
        buffer.Resize(headerSize);
    buffer.SetLength(headerSize);
    PutNumber(buffer.m_data, BufferSize(keys.size()));
    PutNumber(buffer.m_data + numberSize, 0);
    for (GMRegKey const & key : keys)
        AppendRecord(buffer, key.Serial());
    PutNumber(buffer.m_data + numberSize, buffer.m_length - headerSize);
}

bool GMRegInstall::DeserialRegFromBuffer(GMBuffer<unsigned char> const & buffer,
                                         std::deque<GMRegKey> & keys)
{
    keys.clear();
    if (buffer.m_length < headerSize)
        return false;
    unsigned int const keyCount = GetNumber(buffer.m_data);
    unsigned int const payloadSize = GetNumber(buffer.m_data + numberSize);
    unsigned char const * entry = buffer.m_data + headerSize;
    unsigned int left = buffer.m_length - headerSize;
    if (keyCount != 0 && payloadSize > left)
        return false;

    for (unsigned int i = 0; i < keyCount; ++i)
    {
        if (left < numberSize)
            return false;
        unsigned int const keySize = GetNumber(entry);
        left -= numberSize;
        if (keySize > left)
            return false;
        GMRegKey key;
        key.Deserial(entry + numberSize, keySize);
        keys.push_back(std::move(key));
        entry += numberSize + keySize;
        left -= keySize;
    }
    return true;
}

void GMRegInstall::MergeRegListBuffer(GMBuffer<unsigned char> const & left,
                                      GMBuffer<unsigned char> & right)
{
    std::deque<GMRegKey> keys;
    std::deque<GMRegKey> rightKeys;
    DeserialRegFromBuffer(left, keys);
    DeserialRegFromBuffer(right, rightKeys);
    std::move(rightKeys.begin(), rightKeys.end(), std::back_inserter(keys));

    GMBuffer<unsigned char> merged(BufferSize(left.m_length + 0ull + right.m_length));
    std::fill_n(merged.m_data, merged.m_capacity, static_cast<unsigned char>(0));
    SerialRegToBuffer(keys, merged);
    right = std::move(merged);
}

void GMRegInstall::MergeRegContentBuffer(GMBuffer<unsigned char> const & left,
                                         GMBuffer<unsigned char> & right)
{
    if (left.m_length == 0)
        return;
    if (right.m_length == 0)
    {
        right = left;
        return;
    }

    GMBuffer<unsigned char> merged;
    {
        GMRegFileWriter writer(merged, GMRegFileTypeVersion5, L"\r\n");
        WriteKeys(right, writer);
        WriteKeys(left, writer);
    }
    right = std::move(merged);
}

} // namespace Velmora
