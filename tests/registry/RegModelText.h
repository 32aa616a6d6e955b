#pragma once

#include <cstdio>
#include <sstream>
#include <string>

#include "VelmoraCommon/registry/GMRegKey.h"
#include "tests/support/Hex.h"

namespace Velmora::Testing
{

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

/// The fields of a value that aren't empty: "type 7 text <a{0}> strings <a>".
inline std::string ShowFields(GMRegValue const & value)
{
    std::ostringstream shown;
    shown << "type " << value.GetType() << (value.GetRemoveFlag() ? " removed" : "") << std::hex;
    if (value.GetDoubleWord() != 0)
        shown << " dword " << value.GetDoubleWord();
    if (value.GetQuardWord() != 0)
        shown << " qword " << value.GetQuardWord();
    if (GMString const text = value.GetExpandString(false); !text.empty())
        shown << " text " << Show(text);
    if (!value.GetMutiString().empty())
        shown << " strings";
    for (GMString const & each : value.GetMutiString())
        shown << " " << Show(each);
    if (value.GetBinary().m_length != 0)
        shown << " bytes " << Hex(value.GetBinary().m_data, value.GetBinary().m_length);
    return shown.str();
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
