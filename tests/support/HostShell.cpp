#include "tests/support/HostShell.h"

#include "VelmoraCommon/frame/internal/SystemFunction.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace Velmora::Testing
{

namespace
{

// A function of Wine; the text is one of the process heap.
using UnixFileName = char * CDECL(wchar_t const * path);

constexpr unsigned int patience = 60000; // milliseconds

} // namespace

std::string HostPath(std::wstring const & path)
{
    SystemFunction<UnixFileName> const convert(L"kernel32.dll", "wine_get_unix_file_name");
    char * const text = convert ? convert(path.c_str()) : nullptr;
    std::string const result(text == nullptr ? "" : text);
    HeapFree(GetProcessHeap(), 0, text);
    return result;
}

std::optional<std::string> RunOnHost(std::string const & command)
{
    TemporaryFolder const folder;
    std::string const place = HostPath(folder.Path());
    if (place.empty())
        return std::nullopt;
    folder.Write(L"script", "cd '" + place + "' && (" + command +
                                ") >output 2>/dev/null && mv output good || mv output bad\n");
    // Started directly, the shell would cost this process a handle for good.
    std::string const line = "start.exe /unix /bin/sh " + place + "/script";
    if (RunProgram(std::wstring(line.begin(), line.end())) != 0)
        return std::nullopt;
    // Nobody can wait for the shell. The last thing that it does is to give a file its name.
    auto const isThere = [&](wchar_t const * name)
    { return GetFileAttributesW(folder.File(name).c_str()) != INVALID_FILE_ATTRIBUTES; };
    for (unsigned int waited = 0; waited != patience && !isThere(L"bad"); ++waited)
    {
        if (isThere(L"good"))
            return ReadBytes(folder.File(L"good"));
        Sleep(1);
    }
    return std::nullopt;
}

} // namespace Velmora::Testing
