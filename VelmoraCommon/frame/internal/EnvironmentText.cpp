#include "VelmoraCommon/frame/internal/EnvironmentText.h"

#include <cwchar>

#include "VelmoraCommon/frame/WindowsApi.h"

namespace Velmora
{

GMString ExpandEnvironmentText(GMString const & text)
{
    if (text.find(L'%') == GMString::npos)
        return text;

    DWORD const size = ExpandEnvironmentStringsW(text.c_str(), nullptr, 0);
    if (size == 0)
        return text;
    GMString expanded(static_cast<GMString::size_type>(size) + 2, L'\0');
    DWORD const written = ExpandEnvironmentStringsW(text.c_str(), expanded.data(), size + 2);
    // A variable may have grown since it was measured: then the text isn't whole.
    if (written == 0 || written > size)
        return text;
    expanded.resize(std::wcslen(expanded.c_str()));
    return expanded;
}

} // namespace Velmora
