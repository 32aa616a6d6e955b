#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "VelmoraCommon/registry/GMRegKey.h"
#include "benchmarks/Families.h"

namespace Velmora::Benchmarks
{

namespace
{

/// What a record holds, in the plainest form that keeps every name and every datum.
struct PlainValue
{
    std::uint16_t type;
    std::wstring name;
    std::wstring text;
    std::uint32_t number;
    std::vector<unsigned char> bytes;
};

struct PlainKey
{
    std::wstring path;
    std::vector<PlainKey> subKeys;
    std::vector<PlainValue> values;
};

/// The record in one straight pass over the bytes that trusts them.
class PlainReader
{
public:
    explicit PlainReader(unsigned char const * at) : m_at(at) {}

    PlainKey Key()
    {
        PlainKey key;
        key.path = Units(Number());
        for (std::uint32_t count = Number(); count != 0; --count)
        {
            Number();
            key.subKeys.push_back(Key());
        }
        for (std::uint32_t count = Number(); count != 0; --count)
            key.values.push_back(Value());
        return key;
    }

private:
    template <class T = std::uint32_t>
    T Number()
    {
        T number;
        std::memcpy(&number, m_at, sizeof number);
        m_at += sizeof number;
        return number;
    }

    std::wstring Units(std::size_t count)
    {
        std::wstring text(count, L'\0');
        std::memcpy(text.data(), m_at, count * sizeof(wchar_t));
        m_at += count * sizeof(wchar_t);
        return text;
    }

    PlainValue Value()
    {
        PlainValue value{};
        value.name = Units(Number());
        value.type = Number<std::uint16_t>();
        std::uint32_t const size = Number();
        if (value.type == REG_DWORD)
        {
            value.number = Number();
        }
        else if (value.type == REG_BINARY)
        {
            value.bytes.assign(m_at, m_at + size);
            m_at += size;
        }
        else
        {
            value.text = Units(size / sizeof(wchar_t) - 1);
            m_at += sizeof(wchar_t);
        }
        return value;
    }

    unsigned char const * m_at;
};

/// The record in one straight pass over the keys, into a buffer that grows.
class PlainWriter
{
public:
    void Key(PlainKey const & key)
    {
        Text(key.path);
        Number(key.subKeys.size());
        for (PlainKey const & each : key.subKeys)
        {
            std::size_t const at = record.size();
            Number(0);
            Key(each);
            auto const size =
                static_cast<std::uint32_t>(record.size() - at - sizeof(std::uint32_t));
            std::memcpy(&record[at], &size, sizeof size);
        }
        Number(key.values.size());
        for (PlainValue const & each : key.values)
            Value(each);
    }

    std::string record;

private:
    void Bytes(void const * bytes, std::size_t size)
    {
        record.append(static_cast<char const *>(bytes), size);
    }

    void Number(std::size_t number)
    {
        auto const field = static_cast<std::uint32_t>(number);
        Bytes(&field, sizeof field);
    }

    void Text(std::wstring const & text)
    {
        Number(text.size());
        Bytes(text.data(), text.size() * sizeof(wchar_t));
    }

    void Value(PlainValue const & value)
    {
        Text(value.name);
        Bytes(&value.type, sizeof value.type);
        if (value.type == REG_DWORD)
        {
            Number(sizeof value.number);
            Number(value.number);
        }
        else if (value.type == REG_BINARY)
        {
            Number(value.bytes.size());
            Bytes(value.bytes.data(), value.bytes.size());
        }
        else
        {
            Number((value.text.size() + 1) * sizeof(wchar_t));
            Bytes(value.text.c_str(), (value.text.size() + 1) * sizeof(wchar_t));
        }
    }
};

constexpr unsigned int keyCount = 2'000;
constexpr unsigned int valuesOfKey = 10;

GMRegValue MakeValue(std::mt19937 & random, unsigned int index)
{
    GMString const name = L"Value name " + std::to_wstring(index);
    GMString const text(8 + random() % 60, L't');
    switch (random() % 4)
    {
    case 0:
        return GMRegValue(name, static_cast<unsigned int>(random()));
    case 1:
    {
        GMRegValue value(REG_BINARY, name);
        value.ParseValue(reinterpret_cast<unsigned char const *>(text.data()),
                         static_cast<unsigned int>(text.size() * sizeof(wchar_t)));
        return value;
    }
    case 2:
    {
        GMRegValue value(REG_SZ, name);
        value.SetString(text, true);
        return value;
    }
    default:
        return GMRegValue(name, text);
    }
}

/// One key with all others below it, as an undo record of a product has them.
GMRegKey MakeTree()
{
    std::mt19937 random(7);
    GMRegKey root(HKEY_CURRENT_USER, L"Software\\Product");
    for (unsigned int i = 0; i < keyCount; ++i)
    {
        GMRegKey key(HKEY_CURRENT_USER, L"Software\\Product\\Settings\\Key " + std::to_wstring(i));
        for (unsigned int value = 0; value < valuesOfKey; ++value)
            key.GetValues().push_back(MakeValue(random, value));
        root.GetSubKeys().push_back(std::move(key));
    }
    return root;
}

GMRegKey MakeChain(unsigned int levels)
{
    GMRegKey chain;
    while (--levels != 0)
    {
        GMRegKey above(HKEY_CURRENT_USER, L"Software\\Product\\Settings");
        above.GetValues().emplace_back(L"Name", levels);
        above.GetSubKeys().push_back(std::move(chain));
        chain = std::move(above);
    }
    return chain;
}

GMRegKey ReadKey(GMBuffer<unsigned char> const & record)
{
    GMRegKey key;
    if (!key.Deserial(record.m_data, record.m_length))
        std::abort();
    return key;
}

void MeasureDepth(Report & report)
{
    constexpr unsigned int deep = 10'000;
    constexpr unsigned int shallow = 1'000;
    GMRegKey const deepKey = MakeChain(deep);
    GMRegKey const shallowKey = MakeChain(shallow);
    auto const roundTrip = [](GMRegKey const & key, unsigned int rounds)
    {
        for (; rounds != 0; --rounds)
        {
            GMRegKey const back = ReadKey(key.Serial());
            Use(&back);
        }
    };
    // Work that grew with the square of the depth would come to 0.1.
    report.Measure({"key record: 10,000 levels, write and read",
                    deep,
                    "levels",
                    [&] { roundTrip(deepKey, 1); },
                    {{"ten times 1,000 levels", [&] { roundTrip(shallowKey, deep / shallow); },
                      Bar::RateAtLeast(0.4)}}});
}

} // namespace

void MeasureRegRecords(Report & report)
{
    GMRegKey const tree = MakeTree();
    GMBuffer<unsigned char> const record = tree.Serial();
    PlainKey const plainTree = PlainReader(record.m_data).Key();
    constexpr double values = keyCount * valuesOfKey;

    report.Measure({"key record: write 2,000 keys x 10 values",
                    values,
                    "values",
                    [&]
                    {
                        GMBuffer<unsigned char> const written = tree.Serial();
                        Use(written.m_data);
                    },
                    {{"one plain pass",
                      [&]
                      {
                          PlainWriter writer;
                          writer.Key(plainTree);
                          Use(writer.record.data());
                      },
                      Bar::RateAtLeast(0.8)}}});
    report.Measure({"key record: read 2,000 keys x 10 values",
                    values,
                    "values",
                    [&]
                    {
                        GMRegKey const read = ReadKey(record);
                        Use(&read);
                    },
                    {{"one plain pass",
                      [&]
                      {
                          PlainKey const read = PlainReader(record.m_data).Key();
                          Use(&read);
                      },
                      Bar::RateAtLeast(0.8)}}});
    report.Measure({"key record: copy the tree",
                    values,
                    "values",
                    [&]
                    {
                        GMRegKey const copy(tree);
                        Use(&copy);
                    },
                    {{"plain structures",
                      [&]
                      {
                          PlainKey const copy(plainTree);
                          Use(&copy);
                      },
                      Bar::None()}}});
    MeasureDepth(report);
}

} // namespace Velmora::Benchmarks
