#pragma once

#include <algorithm>
#include <vector>

#include "VelmoraCommon/frame/GMBuffer.h"
#include "VelmoraCommon/frame/GMString.h"
#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

/// What an open key holds, so that it can be enumerated. Lengths are in units without the NUL.
struct KeySizes
{
    DWORD subKeys = 0;
    DWORD longestSubKey = 0;
    DWORD values = 0;
    DWORD longestValueName = 0;
    DWORD largestData = 0; // bytes
};

LSTATUS QueryKeySizes(HKEY key, KeySizes & sizes);

// Each call of an enumeration that fails is passed over. The code of the last call is the result;
// nothing to enumerate is a success.

/// Puts the names in place of \p names, which stays as it is if there is nothing to list.
LSTATUS ListSubKeyNames(HKEY key, KeySizes const & sizes, std::vector<GMString> & names);
LSTATUS ListValueNames(HKEY key, KeySizes const & sizes, std::vector<GMString> & names);

/// The code that ListSubKeyNames would end with, in a single call, for callers without use for names.
LSTATUS CheckSubKeyNames(HKEY key, KeySizes const & sizes);

/// A value as its key's enumeration gives it.
struct EnumeratedValue
{
    GMString const & name;
    bool hasData; // false if the data are too large to be fetched beside the name
    DWORD type;
    unsigned char const * data; // null if there are none
    DWORD size;                 // bytes
};

/// Calls \p visit with each value and its data: one system call a value, where listing the names and
/// asking for each one takes two or three.
template <class Visit>
LSTATUS VisitValues(HKEY key, KeySizes const & sizes, Visit visit)
{
    // Larger data are rare, and a key may have many of them that nobody wants.
    constexpr DWORD largestFetched = 64 * 1024;

    GMString name(sizes.longestValueName, L'\0');
    GMBuffer<unsigned char> data(std::clamp(sizes.largestData, DWORD(1), largestFetched));
    LSTATUS code = ERROR_SUCCESS;
    for (DWORD index = 0; index < sizes.values; ++index)
    {
        name.resize(sizes.longestValueName);
        DWORD length = sizes.longestValueName + 1; // a text has room for its NUL
        DWORD type = REG_NONE;
        DWORD size = data.m_capacity;
        code = RegEnumValueW(key, index, name.data(), &length, nullptr, &type, data.m_data, &size);
        bool const hasData = code == ERROR_SUCCESS;
        if (code == ERROR_MORE_DATA)
        {
            length = sizes.longestValueName + 1;
            code =
                RegEnumValueW(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
        }
        if (code != ERROR_SUCCESS)
            continue;
        name.resize(length);
        visit(EnumeratedValue{name, hasData, type, size == 0 ? nullptr : data.m_data, size});
    }
    return code;
}

} // namespace Velmora
