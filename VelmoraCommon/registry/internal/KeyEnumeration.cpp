#include "VelmoraCommon/registry/internal/KeyEnumeration.h"

#include <cstddef>
#include <iterator>

namespace Velmora
{

namespace
{

/// \p next fetches the name at an index into a buffer, whose size and then length it gets by pointer.
template <class Next>
LSTATUS ListNames(DWORD count, DWORD longest, std::vector<GMString> & names, Next next)
{
    if (count == 0)
        return ERROR_SUCCESS;

    names.clear();
    names.reserve(count);
    std::vector<wchar_t> buffer(static_cast<std::size_t>(longest) + 1);
    LSTATUS code = ERROR_SUCCESS;
    for (DWORD index = 0; index < count; ++index)
    {
        DWORD length = longest + 1;
        code = next(index, buffer.data(), &length);
        if (code == ERROR_SUCCESS)
            names.emplace_back(buffer.data(), length);
    }
    return code;
}

} // namespace

LSTATUS QueryKeySizes(HKEY key, KeySizes & sizes)
{
    // Room for the class of nearly every key. Nobody wants it, but a longer one is a failure.
    wchar_t className[260];
    DWORD classLength = static_cast<DWORD>(std::size(className));
    return RegQueryInfoKeyW(key, className, &classLength, nullptr, &sizes.subKeys,
                            &sizes.longestSubKey, nullptr, &sizes.values, &sizes.longestValueName,
                            &sizes.largestData, nullptr, nullptr);
}

LSTATUS ListSubKeyNames(HKEY key, KeySizes const & sizes, std::vector<GMString> & names)
{
    return ListNames(
        sizes.subKeys, sizes.longestSubKey, names,
        [key](DWORD index, wchar_t * name, DWORD * length)
        { return RegEnumKeyExW(key, index, name, length, nullptr, nullptr, nullptr, nullptr); });
}

LSTATUS CheckSubKeyNames(HKEY key, KeySizes const & sizes)
{
    if (sizes.subKeys == 0)
        return ERROR_SUCCESS;
    DWORD length = sizes.longestSubKey + 1;
    GMString name(sizes.longestSubKey, L'\0'); // a text has room for its NUL
    return RegEnumKeyExW(key, sizes.subKeys - 1, name.data(), &length, nullptr, nullptr, nullptr,
                         nullptr);
}

LSTATUS ListValueNames(HKEY key, KeySizes const & sizes, std::vector<GMString> & names)
{
    return ListNames(
        sizes.values, sizes.longestValueName, names,
        [key](DWORD index, wchar_t * name, DWORD * length)
        { return RegEnumValueW(key, index, name, length, nullptr, nullptr, nullptr, nullptr); });
}

} // namespace Velmora
