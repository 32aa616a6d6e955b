// Leaves a dump of a crash and starts a reporter, which is this program again.
//
//   crash_report crash        crashes
//   crash_report overflow     the same by a stack that is used up
//   crash_report -module=...  as the reporter: tells what it got, and where the dump is
//
// Ends with the exception's code, 0 as the reporter, and with 2 if it was called wrongly.
#include <cstdio>

#include "VelmoraCommon/diagnostics/GMMemDumperSingleton.h"
#include "VelmoraCommon/files/GMFile.h"
#include "VelmoraCommon/text/GMCmdLineParser.h"
#include "VelmoraCommon/text/GMStringConvert.h"

using namespace Velmora;

namespace
{

/// Tells it on the console, which the reporter has for itself, and in a file beside the dump.
int Report(wchar_t const * line)
{
    GMCmdLineParser const options(line);
    GMString const path = options.GetValue(L"dumpFile");
    GMString text;
    for (wchar_t const * key : {L"module", L"caption", L"version", L"dumpFile", L"arguments"})
        text += GMString(key) + L": " + options.GetValue(key) + L"\r\n";
    GMFile dump;
    unsigned long long size = 0;
    bool const isThere =
        dump.Create(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL) &&
        dump.GetSize(size);
    text += isThere ? L"The dump has " + std::to_wstring(size) + L" bytes.\r\n" : L"No dump.\r\n";
    GMStringA const bytes = GMStringConvert::GMStringToUtf8(text);
    std::fputs(bytes.c_str(), stdout);
    GMFile told;
    unsigned int written = 0;
    bool const isTold =
        told.Create(path + L".txt", GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL) &&
        told.Write(bytes.data(), static_cast<unsigned int>(bytes.size()), written);
    return isThere && isTold ? 0 : 1;
}

// Runs until the stack is used up. Its numbers keep the compiler from turning it into a loop.
int Overflow(int volatile const * above)
{
    int volatile here[1024] = {*above};
    return here[0] == -1 ? 0 : Overflow(here) + here[0];
}

int Crash(bool isOverflow)
{
    wchar_t own[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, own, MAX_PATH);
    GMMemDumperSingleton::Instance().Install(own, 7, L"Crash", L"1.2.3", L"", false,
                                             &GMMemDumper::DefaultExceptHanler);
    int volatile number = 0;
    if (isOverflow)
        return Overflow(&number);
    int volatile * volatile nowhere = nullptr;
    *nowhere = number;
    return 0;
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    GMString const first = argc > 1 ? argv[1] : L"";
    if (first.compare(0, 8, L"-module=") == 0)
    {
        GMString const line = GetCommandLineW();
        return Report(line.c_str() + line.find(L"-module="));
    }
    if (argc == 2 && (first == L"crash" || first == L"overflow"))
        return Crash(first == L"overflow");
    std::fputs("usage: crash_report crash|overflow\n", stderr);
    return 2;
}
