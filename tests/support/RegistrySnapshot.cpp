#include "tests/support/RegistrySnapshot.h"

#include <algorithm>
#include <map>
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
    std::vector<wchar_t> name(16384);
    std::vector<unsigned char> data(1 << 16);
    for (DWORD index = 0;;)
    {
        DWORD nameLength = static_cast<DWORD>(name.size());
        DWORD size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        LSTATUS const code =
            RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &type, data.data(), &size);
        if (code == ERROR_MORE_DATA)
        {
            data.resize(data.size() * 2);
            continue;
        }
        if (code != ERROR_SUCCESS)
            break;
        std::wstring const text(name.data(), nameLength);
        lines[text] = "  \"" + GMStringConvert::GMStringToUtf8(text) + "\" type " +
                      std::to_string(type) + ": " + Hex(data.data(), size) + "\n";
        ++index;
    }
    for (auto const & [text, line] : lines)
        out += line;
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

    std::vector<std::wstring> names;
    wchar_t name[256];
    for (DWORD index = 0;; ++index)
    {
        DWORD length = 256;
        if (RegEnumKeyExW(key.Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
        {
            break;
        }
        names.emplace_back(name, length);
    }
    std::sort(names.begin(), names.end());
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
