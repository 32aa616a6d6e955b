#include "tools/reginstall/RegText.h"

#include <algorithm>
#include <cstring>
#include <cwctype>
#include <utility>

#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/registry/GMRegFileWriter.h"
#include "VelmoraCommon/registry/GMRegParser.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "tools/common/Messages.h"
#include "tools/common/WholeFile.h"

using namespace Velmora;

namespace Tools
{
namespace
{

constexpr wchar_t blanks[] = L" \t";

/// The text with its terminator, as the registry stores it.
Bytes TextBytes(GMString const & text)
{
    auto const * begin = reinterpret_cast<unsigned char const *>(text.c_str());
    return Bytes(begin, begin + (text.size() + 1) * sizeof(wchar_t));
}

/// The number of all of \p text; false unless it is one of that many digits at most.
bool ReadHex(GMString const & text, std::size_t most, unsigned int & number)
{
    number = GMStringUtils::ConvertHexToUInt32(text);
    return !text.empty() && text.size() <= most &&
           std::all_of(text.begin(), text.end(),
                       [](wchar_t unit) { return unit < 0x80 && std::iswxdigit(unit); });
}

/// One pass over the text behind the header.
///
/// The library's own parser takes anything and keeps what it can't understand in a harmless form.
/// An installer has to say so instead.
class Reader
{
public:
    Reader(GMString const & text, bool isVersion4) : m_text(text), m_isVersion4(isVersion4) {}

    Keys Read()
    {
        while (NextLine())
        {
            m_firstLine = m_line;
            if (IsNothing(0))
                continue;
            if (m_firstLine == 1)
                Refuse(L"more than the header");
            if (m_content.find(L'\0') != GMString::npos)
                Refuse(L"a NUL, at which the system would end the line");
            if (m_content[0] == L'[')
                ReadKey();
            else
                ReadValue();
        }
        if (m_keys.empty())
            throw Failure{L"holds no keys"};
        return std::move(m_keys);
    }

private:
    [[noreturn]] void Refuse(wchar_t const * what) const
    {
        throw Failure{GMStringUtils::FormatResult(L"line %u: ", m_firstLine) + what + L": " +
                      m_content.substr(0, 60)};
    }

    /// Takes the next line, which ends at CR, LF or both, without the blanks around it.
    bool NextLine()
    {
        if (m_next > m_text.size())
            return false;
        std::size_t const end = std::min(m_text.find_first_of(L"\r\n", m_next), m_text.size());
        m_content.assign(m_text, m_next, end - m_next);
        GMStringUtils::TrimRight(m_content, blanks);
        GMStringUtils::TrimLeft(m_content, blanks);
        m_next = end + (m_text.compare(end, 2, L"\r\n") == 0 ? 2 : 1);
        ++m_line;
        return true;
    }

    /// Whether there is nothing from there on, or a comment.
    bool IsNothing(std::size_t at) const
    {
        at = m_content.find_first_not_of(blanks, at);
        return at == GMString::npos || m_content[at] == L';';
    }

    void ReadKey()
    {
        std::size_t const end = m_content.rfind(L']');
        if (end == GMString::npos || !IsNothing(end + 1))
            Refuse(L"a key without its end");
        std::size_t const begin = m_content[1] == L'-' ? 2 : 1;
        GMString const path(m_content, begin, end - begin);
        GMString const below = path.substr(std::min(path.find(L'\\'), path.size()));
        HKEY root = nullptr;
        if (!GMRegKey::StringToHKEY(path.substr(0, path.size() - below.size()), root))
            Refuse(L"unknown root");
        if (begin == 2 && below.empty())
            Refuse(L"a whole root can't be removed");
        if (below.find(L"\\\\") != GMString::npos || GMStringUtils::EndWith(below, L"\\"))
            Refuse(L"a key without a name");
        m_keys.emplace_back(root, below.substr(below.empty() ? 0 : 1));
        m_keys.back().SetRemoveFlag(begin == 2);
    }

    void ReadValue()
    {
        std::size_t at = 1;
        GMString name;
        if (m_content[0] == L'"')
            name = ReadQuoted(at);
        else if (m_content[0] != L'@')
            Refuse(L"neither a key nor a value");
        if (m_keys.empty() || m_keys.back().GetRemoveFlag())
            Refuse(L"a value without a key");
        at = m_content.find_first_not_of(blanks, at);
        if (at == GMString::npos || m_content[at] != L'=')
            Refuse(L"a value without data");
        at = std::min(m_content.find_first_not_of(blanks, at + 1), m_content.size());
        ReadData(name, at);
    }

    /// The text up to the quote that ends it, with which \p at goes on.
    GMString ReadQuoted(std::size_t & at) const
    {
        GMString text;
        for (; at < m_content.size() && m_content[at] != L'"'; ++at)
        {
            if (m_content[at] == L'\\' && ++at < m_content.size() && m_content[at] != L'\\' &&
                m_content[at] != L'"')
                Refuse(L"only \\\\ and \\\" may stand for others");
            text.append(m_content, at, 1);
        }
        if (at >= m_content.size())
            Refuse(L"no quote at the end");
        ++at;
        return text;
    }

    void ReadData(GMString const & name, std::size_t at)
    {
        wchar_t const * const data = m_content.c_str() + at;
        if (*data == L'-' && IsNothing(at + 1))
            m_keys.back().GetValues().emplace_back(name, true);
        else if (*data == L'"')
        {
            GMString const text = ReadQuoted(++at);
            if (!IsNothing(at))
                Refuse(L"more than a text");
            Add(name, REG_SZ, TextBytes(text));
        }
        else if (std::wcsncmp(data, L"dword:", 6) == 0)
        {
            unsigned int number = 0;
            if (!ReadHex(WithoutComment(at + 6), 8, number))
                Refuse(L"no number");
            auto const * bytes = reinterpret_cast<unsigned char const *>(&number);
            Add(name, REG_DWORD, Bytes(bytes, bytes + sizeof(number)));
        }
        else if (std::wcsncmp(data, L"hex:", 4) == 0)
            Add(name, REG_BINARY, ReadBytes(at + 4));
        else if (std::wcsncmp(data, L"hex(", 4) == 0)
        {
            std::size_t const end = std::min(m_content.find(L"):", at), m_content.size());
            unsigned int type = 0;
            if (!ReadHex(m_content.substr(at + 4, end - std::min(end, at + 4)), 8, type))
                Refuse(L"no type");
            Bytes const bytes = ReadBytes(end + 2);
            bool const isText = type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
            Add(name, type, isText && m_isVersion4 ? Widened(bytes) : bytes);
        }
        else
            Refuse(L"data of no known form");
    }

    GMString WithoutComment(std::size_t at) const
    {
        GMString text(m_content, at, m_content.find(L';', at) - at);
        GMStringUtils::TrimRight(text, blanks);
        return text;
    }

    /// The numbers between commas. A backslash at its end has a line go on in the next one.
    Bytes ReadBytes(std::size_t at)
    {
        GMString list = WithoutComment(at);
        while (GMStringUtils::EndWith(list, L"\\") && NextLine())
        {
            list.pop_back();
            list += WithoutComment(0);
        }
        Bytes bytes;
        for (std::size_t begin = 0, end = 0; end < list.size(); begin = end + 1)
        {
            end = std::min(list.find(L',', begin), list.size());
            GMString digits(list, begin, end - begin);
            GMStringUtils::TrimLeft(digits, blanks);
            GMStringUtils::TrimRight(digits, blanks);
            unsigned int byte = 0;
            if (!ReadHex(digits, 2, byte))
                Refuse(L"no list of bytes");
            bytes.push_back(static_cast<unsigned char>(byte));
        }
        return bytes;
    }

    /// Files of version 4 hold the bytes of texts in the default code page.
    static Bytes Widened(Bytes const & bytes)
    {
        GMString const text = GMStringConvert::MultiByteToUnicodeString(
            std::string(bytes.begin(), bytes.end()), CP_ACP);
        Bytes wide = TextBytes(text);
        wide.resize(text.size() * sizeof(wchar_t));
        return wide;
    }

    void Add(GMString const & name, unsigned int type, Bytes bytes)
    {
        GMRegValue value(type, name);
        bytes.reserve(1); // null would say that there are no data
        if (!value.ParseValue(bytes.data(), static_cast<unsigned int>(bytes.size())) ||
            value.GetRemoveFlag() || BytesOf(value) != bytes)
            Refuse(L"data that can't be installed as they stand");
        m_keys.back().GetValues().push_back(std::move(value));
    }

    GMString const & m_text;
    bool m_isVersion4;
    Keys m_keys;
    std::size_t m_next = 0; // where the next line begins
    GMString m_content;     // of the line at hand
    unsigned int m_line = 0;
    unsigned int m_firstLine = 0; // of the value at hand
};

/// \p text in quotes.
GMString Quoted(GMString const & text)
{
    GMString quoted = L"\"";
    for (wchar_t const unit : text)
        quoted += unit == L'"' || unit == L'\\' ? GMString{L'\\', unit} : GMString(1, unit);
    return quoted + L"\"";
}

GMString DataText(GMRegValue const & value)
{
    if (value.GetRemoveFlag())
        return L"-";
    if (value.GetType() == REG_DWORD)
        return GMStringUtils::FormatResult(L"dword:%08x", value.GetDoubleWord());
    GMString const text = value.GetExpandString(false);
    if (value.GetType() == REG_SZ && text.find_first_of(GMString(L"\0\r\n", 3)) == GMString::npos)
        return Quoted(text);
    GMString list = GMStringUtils::FormatResult(L"hex(%x):", value.GetType());
    for (unsigned char const byte : BytesOf(value))
        list += GMStringUtils::FormatResult(L"%02x,", byte);
    GMStringUtils::TrimRight(list, L",");
    return list;
}

} // namespace

Bytes BytesOf(GMRegValue const & value)
{
    GMBuffer<unsigned char> buffer;
    value.ValueSerial(buffer);
    return Bytes(buffer.m_data, buffer.m_data + buffer.m_length);
}

Keys ReadRegFile(GMString const & path)
{
    GMBuffer<unsigned char> buffer;
    GMString text;
    if (!GMRegParser::ReadFile(path, buffer))
        throw Failure{path + L": can't be read, or is empty"};
    int const version = GMRegParser::GetRegVersion(buffer, text);
    if (version == 0)
        throw Failure{path + L": isn't a registry file"};
    try
    {
        return Reader(text, version == GMRegFileTypeRegedit4).Read();
    }
    catch (Failure const & failure)
    {
        throw Failure{path + L": " + failure.text};
    }
}

void WriteRegFile(GMString const & path, Keys const & keys)
{
    GMString text = L"\xFEFFWindows Registry Editor Version 5.00\r\n";
    for (GMRegKey const & key : keys)
    {
        text += L"\r\n[" + key.GetRegFullPath(true) + L"]\r\n";
        for (GMRegValue const & value : key.GetValues())
            text += (value.GetName().empty() ? L"@" : Quoted(value.GetName())) + L"=" +
                    DataText(value) + L"\r\n";
    }
    WriteWholeFile(path, text.data(), text.size() * sizeof(wchar_t), true);
}

} // namespace Tools
