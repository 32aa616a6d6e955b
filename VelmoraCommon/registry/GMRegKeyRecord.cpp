#include <algorithm>
#include <cstddef>
#include <vector>

#include "VelmoraCommon/registry/GMRegKey.h"
#include "VelmoraCommon/registry/internal/RecordBytes.h"

// A record nests as deep as its tree, and a hostile one deeper than any stack. So the keys on the way
// down are kept in a vector and not in the frames of a recursion.

namespace Velmora
{

namespace
{

using NumberField = unsigned int; // lengths, sizes and counts
using TypeField = unsigned short;

constexpr std::size_t smallestKey = 3 * sizeof(NumberField);
constexpr std::size_t smallestValue = 2 * sizeof(NumberField) + sizeof(TypeField);

} // namespace

/// What a record holds of one key, its sub-keys left out.
class GMRegKey::Record
{
public:
    /// A key whose record is being written.
    struct Written
    {
        GMRegKey const * key;
        std::size_t nextSubKey;
        unsigned char * sizeField; // null for the outermost, which has none
    };

    /// A key whose record is being read.
    struct Read
    {
        GMRegKey * key;
        RecordReader in;
        NumberField subKeysLeft;
    };

    // \p path is room for the full path, used for one key after the other.

    static unsigned __int64 Size(GMRegKey const & key, GMString & path)
    {
        unsigned __int64 size = smallestKey + FullPath(key, path).size() * sizeof(wchar_t);
        for (GMRegValue const & each : key.m_values)
            size += smallestValue + each.m_name.size() * sizeof(wchar_t) + each.DataSize();
        return size;
    }

    static void WriteHead(GMRegKey const & key, GMString & path, RecordWriter & out)
    {
        out.WriteText(FullPath(key, path));
        out.WriteNumber(static_cast<NumberField>(key.m_subKeys.size()));
    }

    static void WriteValues(GMRegKey const & key, RecordWriter & out)
    {
        out.WriteNumber(static_cast<NumberField>(key.m_values.size()));
        for (GMRegValue const & each : key.m_values)
        {
            out.WriteText(each.m_name);
            out.WriteNumber(static_cast<TypeField>(each.m_removeFlag ? GMRegValue::smc_removedType
                                                                     : each.m_type));
            out.WriteNumber(static_cast<NumberField>(each.DataSize()));
            out.SetPosition(each.WriteData(out.Position()));
        }
    }

    static bool ReadHead(Read & open, GMString & path)
    {
        return open.in.ReadText(path) && open.key->ParseRegFullPath(path) &&
               open.in.ReadNumber(open.subKeysLeft);
    }

    static bool ReadValues(Read & open)
    {
        NumberField count = 0;
        if (!open.in.ReadNumber(count))
            return false;
        std::vector<GMRegValue> & values = open.key->m_values;
        // No more than there can be: the number may be any.
        values.reserve(values.size() +
                       std::min<std::size_t>(count, open.in.Left() / smallestValue));
        for (; count != 0; --count)
        {
            if (ReadValue(values.emplace_back(), open.in))
                continue;
            values.pop_back();
            return false;
        }
        return true;
    }

    /// Reads the first of \p open and what is below it. On failure the keys that aren't whole are
    /// left in \p open.
    static bool ReadTree(std::vector<Read> & open)
    {
        GMString path;
        if (!ReadHead(open.back(), path))
            return false;
        while (!open.empty())
        {
            Read & current = open.back();
            if (current.subKeysLeft == 0)
            {
                if (!ReadValues(current))
                    return false;
                open.pop_back();
                continue;
            }
            --current.subKeysLeft;
            unsigned char const * entry = nullptr;
            NumberField size = 0;
            if (!current.in.ReadBytes(entry, size))
                return false;
            // No room is made ahead for sub-keys: every level of a deep record could ask for some.
            open.push_back({&current.key->m_subKeys.emplace_back(), RecordReader(entry, size), 0});
            if (!ReadHead(open.back(), path))
                return false;
        }
        return true;
    }

private:
    static GMString const & FullPath(GMRegKey const & key, GMString & path)
    {
        path.clear();
        key.AppendFullPath(path, true);
        return path;
    }

    static bool ReadValue(GMRegValue & value, RecordReader & in)
    {
        TypeField type = 0;
        unsigned char const * data = nullptr;
        NumberField size = 0;
        if (!in.ReadText(value.m_name) || !in.ReadNumber(type) || !in.ReadBytes(data, size))
            return false;
        value.m_type = type;
        return value.ParseValue(data, size);
    }
};

unsigned int GMRegKey::SerialSize() const
{
    GMString path;
    unsigned __int64 size = 0;
    std::vector<GMRegKey const *> pending{this};
    while (!pending.empty())
    {
        GMRegKey const & key = *pending.back();
        pending.pop_back();
        size += Record::Size(key, path) + key.m_subKeys.size() * sizeof(NumberField);
        for (GMRegKey const & each : key.m_subKeys)
            pending.push_back(&each);
    }
    return BufferLength(size);
}

GMBuffer<unsigned char> GMRegKey::Serial() const
{
    GMBuffer<unsigned char> buffer(SerialSize());
    RecordWriter out(buffer.m_data);
    GMString path;
    std::vector<Record::Written> open{{this, 0, nullptr}};
    Record::WriteHead(*this, path, out);
    while (!open.empty())
    {
        Record::Written & current = open.back();
        if (current.nextSubKey < current.key->m_subKeys.size())
        {
            GMRegKey const & subKey = current.key->m_subKeys[current.nextSubKey++];
            open.push_back({&subKey, 0, out.Position()});
            out.WriteNumber(NumberField{0});
            Record::WriteHead(subKey, path, out);
            continue;
        }
        Record::WriteValues(*current.key, out);
        if (current.sizeField != nullptr)
        {
            auto const size = static_cast<NumberField>(out.Position() - current.sizeField);
            RecordWriter(current.sizeField)
                .WriteNumber(size - static_cast<NumberField>(sizeof(NumberField)));
        }
        open.pop_back();
    }
    buffer.SetLength(static_cast<unsigned int>(out.Position() - buffer.m_data));
    return buffer;
}

bool GMRegKey::Deserial(unsigned char const * data, unsigned int size)
{
    std::vector<Record::Read> open{{this, RecordReader(data, size), 0}};
    if (Record::ReadTree(open))
        return true;
    // All that is open below this key hangs on its last sub-key.
    if (open.size() > 1)
        m_subKeys.pop_back();
    return false;
}

} // namespace Velmora
