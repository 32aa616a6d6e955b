#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "VelmoraCommon/registry/GMRegKey.h"
#include "tests/support/Hex.h"

namespace Velmora::Testing
{

/// What a value holds, field by field, with the text as it is stored.
struct RegValueFields
{
    RegValueFields() = default;
    explicit RegValueFields(GMRegValue const & value)
        : type(value.GetType()),
          removed(value.GetRemoveFlag()),
          doubleWord(value.GetDoubleWord()),
          quardWord(value.GetQuardWord()),
          text(value.GetExpandString(false)),
          strings(value.GetMutiString()),
          bytes(value.GetBinary().m_data, value.GetBinary().m_data + value.GetBinary().m_length)
    {
    }

    unsigned int type = REG_SZ;
    bool removed = false;
    unsigned int doubleWord = 0;
    unsigned long long quardWord = 0;
    GMString text;
    std::vector<GMString> strings;
    std::vector<unsigned char> bytes;
};

/// Printable ASCII as it is, other units as "{d6}".
inline std::string Show(GMString const & text)
{
    std::string shown = "<";
    for (wchar_t const unit : text)
    {
        char code[8] = {static_cast<char>(unit)};
        if (unit < L' ' || unit > L'~')
            std::snprintf(code, sizeof code, "{%x}", static_cast<unsigned int>(unit));
        shown += code;
    }
    return shown + ">";
}

/// The fields that aren't empty: "type 7 text <a{0}> strings <a>".
inline std::string ShowFields(RegValueFields const & fields)
{
    char numbers[64];
    std::string shown = "type " + std::to_string(fields.type) + (fields.removed ? " removed" : "");
    std::snprintf(numbers, sizeof numbers, " dword %x", fields.doubleWord);
    if (fields.doubleWord != 0)
        shown += numbers;
    std::snprintf(numbers, sizeof numbers, " qword %llx", fields.quardWord);
    if (fields.quardWord != 0)
        shown += numbers;
    if (!fields.text.empty())
        shown += " text " + Show(fields.text);
    if (!fields.strings.empty())
        shown += " strings";
    for (GMString const & each : fields.strings)
        shown += " " + Show(each);
    if (!fields.bytes.empty())
        shown += " bytes " + Hex(fields.bytes);
    return shown;
}

inline std::string ShowFields(GMRegValue const & value)
{
    return ShowFields(RegValueFields(value));
}

/// A whole tree, a line for every key and value.
inline std::string ShowTree(GMRegKey const & key, std::string const & indent = "")
{
    std::string shown = indent + Show(key.GetRegFullPath(true)) + "\n";
    for (GMRegValue const & each : key.GetValues())
        shown += indent + "  " + Show(each.GetName()) + " = " + ShowFields(each) + "\n";
    for (GMRegKey const & each : key.GetSubKeys())
        shown += ShowTree(each, indent + "    ");
    return shown;
}

} // namespace Velmora::Testing
