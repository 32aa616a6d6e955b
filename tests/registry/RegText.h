#pragma once

#include <string>

#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/registry/GMRegKey.h"
#include "tests/support/Hex.h"

namespace Velmora::Testing
{

inline GMBuffer<unsigned char> ToBuffer(std::string const & bytes)
{
    GMBuffer<unsigned char> buffer(static_cast<unsigned int>(bytes.size()));
    buffer.SetLength(buffer.m_capacity);
    bytes.copy(reinterpret_cast<char *>(buffer.m_data), bytes.size());
    return buffer;
}

/// The bytes of UTF-16 text, with its mark in front.
inline std::string Utf16Bytes(std::wstring const & text)
{
    return "\xFF\xFE" +
           std::string(reinterpret_cast<char const *>(text.data()), text.size() * sizeof(wchar_t));
}

/// What a value holds: `-`, or its type and what it would put into the registry, texts as they are.
inline std::wstring Describe(GMRegValue const & value)
{
    if (value.GetRemoveFlag())
        return L"-";
    std::wstring const type = std::to_wstring(value.GetType()) + L":";
    if (value.GetType() == REG_SZ || value.GetType() == REG_EXPAND_SZ)
        return type + value.GetExpandString(false);
    GMBuffer<unsigned char> data;
    value.ValueSerial(data);
    std::string const hex = Hex(data.m_data, data.m_length);
    return type + std::wstring(hex.begin(), hex.end());
}

/// Keys with their values, as text for comparison.
template <class Keys>
std::wstring Describe(Keys const & keys)
{
    std::wstring text;
    for (GMRegKey const & key : keys)
    {
        text += L"[" + key.GetRegFullPath(true) + L"]";
        for (GMRegValue const & value : key.GetValues())
            text += L" " + value.GetName() + L"=" + Describe(value);
        text += L"\n";
    }
    return text;
}

} // namespace Velmora::Testing
