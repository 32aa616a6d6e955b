#include "VelmoraCommon/registry/GMRegInstall.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <optional>
#include <stack>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "VelmoraCommon/registry/GMRegFile.h"
#include "VelmoraCommon/registry/GMRegFileWriter.h"
#include "VelmoraCommon/registry/GMRegParser.h"
#include "VelmoraCommon/registry/internal/KeyEnumeration.h"
#include "VelmoraCommon/registry/internal/RecordBytes.h"

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

/// Appends to \p key what the registry has in one view: its values, and its sub-keys by their paths
/// alone.
void ReadPass(GMRegKey & key, View const & view, bool ignoreErrors)
{
    GMRegFile file;
    GMString const keyPath = GMRegFile::CombineKeyPath(key.GetRoot(), key.GetSubPath());
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
            return;
        throw GMRegException(file.LastError(), false, key.GetRegFullPath(false));
    }
    for (GMString const & name : subKeyNames)
        key.GetSubKeys().emplace_back(key.GetRoot(), GMRegKey::JoinPath(key.GetSubPath(), name));
    std::move(values.begin(), values.end(), std::back_inserter(key.GetValues()));
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

/// How GenerateAntiReg is to go about it.
struct RecordOptions
{
    bool apply;
    bool ignoreErrors;
    GMRegInstallType type;
};

/// One view of a key that an instruction is for, and what it holds there for the values that the
/// instruction names.
class OpenView
{
public:
    OpenView(GMRegKey const & key, RecordOptions const & options)
        : m_key(key),
          m_keyPath(GMRegFile::CombineKeyPath(key.GetRoot(), key.GetSubPath())),
          m_apply(options.apply),
          // No write before the last look can hit a value that is still to be looked at.
          m_dataStay(!options.apply || (key.GetSubKeys().empty() && NamesDiffer(key.GetValues())))
    {
        m_entries.reserve(key.GetValues().size());
        for (GMRegValue const & value : key.GetValues())
            m_entries.try_emplace(value.GetName());
    }

    /// Opens the key and finds out which values it has; false if it is to be passed over.
    bool Open(View const & view, bool ignoreErrors)
    {
        if (!OpenForChange(m_file, m_key, view, false, ignoreErrors))
            return false;
        LSTATUS const code = ListKey(m_file.GetKey(), &CheckSubKeyNames,
                                     [this](EnumeratedValue const & found) { Note(found); });
        if (code == ERROR_SUCCESS)
            return true;
        if (!ignoreErrors)
            throw GMRegException(static_cast<unsigned long>(code), false,
                                 m_key.GetRegFullPath(false));
        m_entries.clear(); // it counts as empty
        return true;
    }

    /// Adds the records of the values to \p anti, and writes the values if that is wanted.
    void RecordValues(GMRegKey & anti)
    {
        for (GMRegValue const & value : m_key.GetValues())
        {
            anti.GetValues().push_back(OldValue(value.GetName()));
            if (m_apply)
                ApplyValue(m_file, value);
        }
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

    /// The record of a value that was found under exactly this name; for any other, whose removal
    /// brings the old state back, a value to remove.
    GMRegValue OldValue(GMString const & name)
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

    GMRegFile m_file;
    GMRegKey const & m_key;
    GMString m_keyPath;
    bool m_apply;
    bool m_dataStay;
    std::unordered_map<GMString, Entry> m_entries; // by the names in the instruction
};

/// Makes the undo record of one key. It stops wherever a sub-key's turn comes, so that whoever uses
/// it needs no recursion: keys nest deeper than the stack goes.
class Recorder
{
public:
    Recorder(GMRegKey const & key, RecordOptions const & options)
        : m_key(key),
          m_options(options),
          m_anti(key.GetRoot(), key.GetSubPath()),
          m_passes(options.type),
          m_view(m_passes.end())
    {
        bool exists = false;
        if (!GMRegFile::IsExist(key.GetRoot(), key.GetSubPath(), exists))
            m_anti = Placeholder();
        else if (key.GetRemoveFlag())
            RecordRemoval(exists);
        else if (exists)
            m_view = m_passes.begin();
        else
            RecordMaking();
    }

    /// The sub-key whose record is to be added next; null when the record is whole.
    GMRegKey const * NextSubKey()
    {
        for (; m_view != m_passes.end(); ++m_view)
        {
            if (!m_open && !StartPass())
                break;
            if (m_nextSubKey != m_key.GetSubKeys().size())
                return &m_key.GetSubKeys()[m_nextSubKey++];
            m_open->RecordValues(m_anti);
            m_open.reset();
        }
        return nullptr;
    }

    void Add(GMRegKey && record) { m_anti.GetSubKeys().push_back(std::move(record)); }
    GMRegKey Take() { return std::move(m_anti); }

private:
    void RecordRemoval(bool exists)
    {
        if (!exists)
            return;
        GMRegInstall::UpdateFromSystem(m_anti, m_options.ignoreErrors, m_options.type);
        if (m_options.apply)
            GMRegFile::DeleteKey(m_key.GetRoot(), m_key.GetSubPath()); // not with sub-keys
    }

    void RecordMaking()
    {
        m_anti.SetRemoveFlag(true);
        if (m_options.apply)
            GMRegInstall::Install(m_key, true, m_options.ignoreErrors, m_options.type);
    }

    /// False, with a record that changes nothing, if the key is to be passed over.
    bool StartPass()
    {
        m_nextSubKey = 0;
        if (m_open.emplace(m_key, m_options).Open(*m_view, m_options.ignoreErrors))
            return true;
        m_open.reset();
        m_view = m_passes.end();
        m_anti = Placeholder();
        return false;
    }

    GMRegKey const & m_key;
    RecordOptions m_options;
    GMRegKey m_anti;
    Passes m_passes;
    View const * m_view;
    std::optional<OpenView> m_open; // none between two passes
    std::size_t m_nextSubKey = 0;
};

// The undo buffer: number of keys and length of the entries behind, 4 bytes each; an entry is the
// size of a key's record in 4 bytes and the record.
using NumberField = unsigned int;
constexpr unsigned int headerSize = 2 * sizeof(NumberField);
constexpr unsigned __int64 largestBuffer = std::numeric_limits<NumberField>::max();

void AppendRecord(GMBuffer<unsigned char> & buffer, GMBuffer<unsigned char> const & record)
{
    unsigned __int64 const entrySize = record.m_length + 0ull + sizeof(NumberField);
    unsigned int const length = BufferLength(buffer.m_length + entrySize);
    if (length > buffer.m_capacity)
    {
        unsigned __int64 const capacity = buffer.m_capacity;
        unsigned __int64 const wanted = std::max(capacity + capacity / 2, capacity + 4 * entrySize);
        buffer.Resize(static_cast<unsigned int>(std::min(wanted, largestBuffer)));
    }
    RecordWriter entry(buffer.m_data + buffer.m_length);
    entry.WriteNumber(record.m_length);
    std::copy_n(record.m_data, record.m_length, entry.Position());
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
    // A list instead of a recursion: the registry may nest deeper than the stack goes.
    std::vector<GMRegKey *> pending = {&key};
    while (!pending.empty())
    {
        GMRegKey & current = *pending.back();
        pending.pop_back();
        std::vector<GMRegKey> & subKeys = current.GetSubKeys();
        std::size_t const old = subKeys.size();
        for (View const & view : Passes(type))
            ReadPass(current, view, ignoreErrors);
        for (std::size_t i = subKeys.size(); i != old; --i) // the first one is the next
            pending.push_back(&subKeys[i - 1]);
    }
}

GMRegKey GMRegInstall::GenerateAntiReg(GMRegKey const & key, bool apply, bool ignoreErrors,
                                       GMRegInstallType type)
{
    RecordOptions const options = {apply, ignoreErrors, type};
    std::stack<Recorder> open; // the keys on the way down
    open.emplace(key, options);
    for (;;)
    {
        if (GMRegKey const * const subKey = open.top().NextSubKey())
        {
            open.emplace(*subKey, options);
            continue;
        }
        GMRegKey record = open.top().Take();
        open.pop();
        if (open.empty())
            return record;
        open.top().Add(std::move(record));
    }
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
    for (GMRegKey const & key : keys)
        AppendRecord(buffer, key.Serial());
    RecordWriter header(buffer.m_data);
    header.WriteNumber(BufferLength(keys.size()));
    header.WriteNumber(buffer.m_length - headerSize);
}

bool GMRegInstall::DeserialRegFromBuffer(GMBuffer<unsigned char> const & buffer,
                                         std::deque<GMRegKey> & keys)
{
    keys.clear();
    RecordReader in(buffer.m_data, buffer.m_length);
    NumberField keyCount = 0;
    NumberField payloadSize = 0;
    if (!in.ReadNumber(keyCount) || !in.ReadNumber(payloadSize) ||
        (keyCount != 0 && payloadSize > in.Left()))
        return false;
    for (; keyCount != 0; --keyCount)
    {
        unsigned char const * record = nullptr;
        NumberField size = 0;
        if (!in.ReadBytes(record, size))
            return false;
        keys.emplace_back().Deserial(record, size);
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

    GMBuffer<unsigned char> merged(BufferLength(left.m_length + 0ull + right.m_length));
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
