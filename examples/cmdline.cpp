// cmdline: shows how a command line is parsed, asked and built again. Try
//     cmdline -name="John Doe" /port:8080 -verbose readme.txt

#include <cstdio>
#include <string>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/GMCmdLineParser.h"
#include "VelmoraCommon/text/GMStringConvert.h"

using namespace Velmora;

namespace
{

void Print(GMString const & line) { std::puts(GMStringConvert::GMStringToUtf8(line).c_str()); }

} // namespace

int wmain(int, wchar_t **)
{
    // The parser wants the arguments alone, but with their quotes: so not those of wmain. The first
    // blank outside quotes ends the program's name, whatever the name looks like.
    wchar_t const * arguments = GetCommandLineW();
    for (bool isQuoted = false; *arguments != L'\0' && (isQuoted || *arguments > L' '); ++arguments)
        isQuoted = isQuoted != (*arguments == L'"');
    GMCmdLineParser commandLine(arguments);

    Print(L"All of it, in order:");
    for (auto const & [key, value] : commandLine.GetKeyValues())
        Print(L"  " + key + (value.empty() ? L"" : L" = " + value));

    // Keys may be spelled as on the command line, and their case doesn't count.
    Print(L"Questions:");
    if (commandLine.HasKey(L"-Verbose"))
        Print(L"  there is a key \"verbose\"");
    if (commandLine.HasValue(L"name"))
        Print(L"  the name is " + commandLine.GetValue(L"name"));
    if (unsigned int const port = commandLine.GetIntValue(L"/port:"); port != 0)
        Print(L"  the port after this one is " + std::to_wstring(port + 1));

    // Built lines have no delimiters, so they are read back without any. Their keys have the case
    // that they need.
    commandLine.SetKeyValue(L"by", L"the example");
    GMString const line = commandLine.Build();
    Print(L"With a key more:\n  " + line);
    GMCmdLineParser again(nullptr, true);
    again.Parse(line.c_str(), L"", nullptr, nullptr);
    Print(again.Build() == line ? L"It reads back as it is." : L"It reads back in another way.");
    return 0;
}
