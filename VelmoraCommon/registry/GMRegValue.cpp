#include "VelmoraCommon/registry/GMRegValue.h"

#include <algorithm>
#include <cstring>

#include "VelmoraCommon/frame/internal/EnvironmentText.h"
#include "VelmoraCommon/registry/internal/RecordBytes.h"

namespace Velmora
{

namespace
{

unsigned int SwapBytes(unsigned int number)
{
    return number >> 24 | (number >> 8 & 0xFF00) | (number & 0xFF00) << 8 | number << 24;
}

unsigned char * WriteBytes(unsigned char * out, void const * bytes, std::size_t size)
{
    if (size != 0)
        std::memcpy(out, bytes, size);
    return out + size;
}

/// The text and its terminator.
unsigned char * WriteText(unsigned char * out, GMString const & text)
{
    return WriteBytes(out, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

void AppendUnits(GMString & text, unsigned char const * data, std::size_t count)
{
    std::size_t const length = text.size();
    text.resize(length + count);
    WriteBytes(reinterpret_cast<unsigned char *>(text.data() + length), data,
               count * sizeof(wchar_t));
}

void ReadBytes(GMBuffer<unsigned char> & bytes, unsigned char const * data, unsigned int size)
{
    bytes.Resize(size);
    std::copy_n(data, size, bytes.m_data);
    bytes.SetLength(size);
}

/// Strings that end at zeros; one zero more ends the list and is no string.
std::vector<GMString> ReadStrings(unsigned char const * data, unsigned int size)
{
    GMString units;
    AppendUnits(units, data, size / sizeof(wchar_t));

    std::vector<GMString> strings;
    strings.reserve(static_cast<std::size_t>(std::count(units.begin(), units.end(), L'\0')));
    GMString::size_type begin = 0;
    for (GMString::size_type zero = units.find(L'\0');
         zero != GMString::npos && zero + 1 != units.size(); zero = units.find(L'\0', begin))
    {
        strings.emplace_back(units, begin, zero - begin);
        begin = zero + 1;
    }
    return strings;
}

unsigned __int64 ReadQuardWord(unsigned char const * data, unsigned int size)
{
    unsigned __int64 number = 0;
    std::memcpy(&number, data, std::min<std::size_t>(size, sizeof number));
    return number;
}

} // namespace

GMRegValue::GMRegValue(unsigned int type, GMString const & name)
    : m_type(type),
      m_name(name),
      m_doubleWord(0),
      m_quardWord(0),
      m_removeFlag(false)
{
}

GMRegValue::GMRegValue(GMString const & name, GMString const & text) : GMRegValue(REG_SZ, name)
{
    m_string = text;
}

GMRegValue::GMRegValue(GMString const & name, GMBuffer<unsigned char> const & bytes)
    : GMRegValue(REG_BINARY, name)
{
    m_binary = bytes;
}

GMRegValue::GMRegValue(GMString const & name, unsigned int number) : GMRegValue(REG_DWORD, name)
{
    m_doubleWord = number;
}

GMRegValue::GMRegValue(GMString const & name, unsigned __int64 number) : GMRegValue(REG_QWORD, name)
{
    m_quardWord = number;
}

GMString GMRegValue::GetName() const { return m_name; }
void GMRegValue::SetName(GMString const & name) { m_name = name; }

GMString GMRegValue::GetKeyPath() const { return m_keyPath; }
void GMRegValue::SetKeyPath(GMString const & keyPath) { m_keyPath = keyPath; }

unsigned int GMRegValue::GetType() const { return m_type; }
void GMRegValue::SetType(unsigned int type) { m_type = type; }

bool GMRegValue::GetRemoveFlag() const { return m_removeFlag; }
void GMRegValue::SetRemoveFlag(bool removeFlag) { m_removeFlag = removeFlag; }

unsigned int GMRegValue::GetDoubleWord() const { return m_doubleWord; }

void GMRegValue::SetDoubleWord(unsigned int number)
{
    m_doubleWord = number;
    m_type = REG_DWORD;
}

unsigned __int64 GMRegValue::GetQuardWord() const { return m_quardWord; }

void GMRegValue::SetQuardWord(unsigned __int64 number)
{
    m_quardWord = number;
    m_type = REG_QWORD;
}

GMString GMRegValue::GetString() const { return GetExpandString(m_type == REG_EXPAND_SZ); }

GMString GMRegValue::GetExpandString(bool expand) const
{
    return expand ? ExpandEnvironmentText(m_string) : m_string;
}

void GMRegValue::SetString(GMString const & text, bool expand)
{
    m_string = text;
    m_type = expand ? REG_EXPAND_SZ : REG_SZ;
}

std::vector<GMString> GMRegValue::GetMutiString() const { return m_mutiString; }

GMBuffer<unsigned char> const & GMRegValue::GetBinary() const { return m_binary; }
GMBuffer<unsigned char> & GMRegValue::GetBinary() { return m_binary; }

bool GMRegValue::ParseValue(unsigned char const * data, unsigned int size)
{
    if (data == nullptr)
        return true;
    switch (m_type)
    {
    case REG_NONE:
    case REG_BINARY:
        ReadBytes(m_binary, data, size);
        return true;
    case REG_SZ:
    case REG_EXPAND_SZ:
        if (size >= sizeof(wchar_t))
            AppendUnits(m_string, data, size / sizeof(wchar_t) - 1);
        return true;
    case REG_DWORD:
    case REG_DWORD_BIG_ENDIAN:
        if (size != sizeof m_doubleWord)
            return false;
        std::memcpy(&m_doubleWord, data, sizeof m_doubleWord);
        if (m_type == REG_DWORD_BIG_ENDIAN)
            m_doubleWord = SwapBytes(m_doubleWord);
        return true;
    case REG_MULTI_SZ:
        m_mutiString = ReadStrings(data, size);
        return true;
    case REG_QWORD:
        m_quardWord = ReadQuardWord(data, size);
        return true;
    case smc_removedType:
        m_removeFlag = true;
        return true;
    default:
        ReadBytes(m_binary, data, size);
        return false;
    }
}

unsigned __int64 GMRegValue::DataSize() const
{
    switch (m_type)
    {
    case REG_SZ:
    case REG_EXPAND_SZ:
        return (m_string.size() + 1ull) * sizeof(wchar_t);
    case REG_DWORD:
    case REG_DWORD_BIG_ENDIAN:
        return sizeof m_doubleWord;
    case REG_MULTI_SZ:
    {
        unsigned __int64 units = 1;
        for (GMString const & each : m_mutiString)
            units += each.size() + 1;
        return units * sizeof(wchar_t);
    }
    case REG_QWORD:
        return sizeof m_quardWord;
    default:
        return m_binary.m_length;
    }
}

unsigned char * GMRegValue::WriteData(unsigned char * out) const
{
    switch (m_type)
    {
    case REG_SZ:
    case REG_EXPAND_SZ:
        return WriteText(out, m_string);
    case REG_DWORD:
        return WriteBytes(out, &m_doubleWord, sizeof m_doubleWord);
    case REG_DWORD_BIG_ENDIAN:
    {
        unsigned int const swapped = SwapBytes(m_doubleWord);
        return WriteBytes(out, &swapped, sizeof swapped);
    }
    case REG_MULTI_SZ:
        for (GMString const & each : m_mutiString)
            out = WriteText(out, each);
        return WriteText(out, GMString());
    case REG_QWORD:
        return WriteBytes(out, &m_quardWord, sizeof m_quardWord);
    default:
        return WriteBytes(out, m_binary.m_data, m_binary.m_length);
    }
}

bool GMRegValue::ValueSerial(GMBuffer<unsigned char> & buffer) const
{
    unsigned int const size = BufferLength(DataSize());
    if (buffer.m_capacity < size)
        buffer.Resize(size);
    WriteData(buffer.m_data);
    buffer.SetLength(size);
    return true;
}

} // namespace Velmora
