#include "tests/support/RegistrySnapshot.h"

#include <map>
#include <set>
#include <vector>

#include "VelmoraCommon/frame/internal/ScopedHandle.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "tests/support/Hex.h"

namespace Velmora::Testing
{

namespace
{

void AppendValues(HKEY key, std::string & out)
{
    std::map<std::wstring, std::string> lines;
    static std::vector<wchar_t> name(16384);
    static std::vector<unsigned char> data(1 << 21);
    DWORD type = 0;
    for (DWORD index = 0;; ++index)
    {
        auto length = static_cast<DWORD>(name.size());
        auto size = static_cast<DWORD>(data.size());
        LSTATUS const code =
            RegEnumValueW(key, index, name.data(), &length, nullptr, &type, data.data(), &size);
        if (code == ERROR_NO_MORE_ITEMS)
            break;
        std::wstring const text(name.data(), length);
        lines[text] = code == 0 ? std::to_string(type) + ": " + Hex(data.data(), size) : "too long";
    }
    for (auto const & [text, line] : lines)
        out += "  \"" + GMStringConvert::GMStringToUtf8(text) + "\" type " + line + "\n";
}

void AppendKey(HKEY root, std::wstring const & path, std::wstring const & shown, REGSAM view,
               std::string & out)
{
    out += "[" + GMStringConvert::GMStringToUtf8(shown) + "]";
    ScopedRegKey key;
    LSTATUS const code = RegOpenKeyExW(root, path.c_str(), 0, KEY_READ | view, key.Receive());
    if (code != ERROR_SUCCESS)
    {
        out += code == ERROR_FILE_NOT_FOUND ? " (missing)\n"
                                            : " (error " + std::to_string(code) + ")\n";
        return;
    }
    out += "\n";
    AppendValues(key.Get(), out);

    std::set<std::wstring> names;
    wchar_t name[256];
    for (DWORD index = 0; RegEnumKeyW(key.Get(), index, name, 256) == ERROR_SUCCESS; ++index)
        names.insert(name);
    for (std::wstring const & each : names)
        AppendKey(key.Get(), each, shown + L"\\" + each, view, out);
}

} // namespace

std::string RegistrySnapshot(HKEY root, std::wstring const & path, REGSAM view)
{
    std::string text;
    AppendKey(root, path, L"", view, text);
    return text;
}

} // namespace Velmora::Testing
