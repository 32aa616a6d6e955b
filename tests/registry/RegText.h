#pragma once

#include <stdexcept>
#include <string>

#include "VelmoraCommon/registry/GMRegKey.h"
#include "tests/registry/RegModelText.h"

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
    auto const bytes = reinterpret_cast<char const *>(text.data());
    return "\xFF\xFE" + std::string(bytes, text.size() * sizeof(wchar_t));
}

/// Keys with their values, a line each.
template <class Keys>
std::string Describe(Keys const & keys)
{
    std::string text;
    for (GMRegKey const & key : keys)
    {
        text += Show(key.GetRegFullPath(true));
        for (GMRegValue const & value : key.GetValues())
            text += " " + Show(value.GetName()) + (value.GetRemoveFlag() ? "-" : ShowFields(value));
        text += "\n";
    }
    return text;
}

/// How \p run ends: "none", or the exception's message, with its kind in front if that isn't plain.
template <class Run>
std::string Failure(Run run)
{
    try
    {
        run();
        return "none";
    }
    catch (std::exception const & failure)
    {
        char const * const kind =
            dynamic_cast<std::runtime_error const *>(&failure)      ? "runtime_error: "
            : dynamic_cast<std::invalid_argument const *>(&failure) ? "invalid_argument: "
                                                                    : "";
        bool const isRange = dynamic_cast<std::out_of_range const *>(&failure) != nullptr;
        return isRange ? "out_of_range" : std::string(kind) + failure.what();
    }
}

constexpr char noDataFailure[] = "Value data not found for founded value name";

} // namespace Velmora::Testing
