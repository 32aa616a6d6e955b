// copy_tree: copies a directory tree while the program goes on, and counts what came over. Try
//     copy_tree C:\Games\old C:\Games\new
// For a program that copies with several workers and never leaves a torn file see the tool treecopy.

#include <cstdio>

#include "VelmoraCommon/files/GMFilePathUtils.h"
#include "VelmoraCommon/files/GMFileSystemUtils.h"
#include "VelmoraCommon/files/GMFindFile.h"
#include "VelmoraCommon/text/GMStringConvert.h"
#include "VelmoraCommon/text/GMStringUtils.h"
#include "VelmoraCommon/threads/GMBaseEvent.h"
#include "VelmoraCommon/threads/GMFuncTaskList.h"

using namespace Velmora;

namespace
{

void Print(GMString const & line) { std::puts(GMStringConvert::GMStringToUtf8(line).c_str()); }

/// One copy on its way; the task list hands it to the worker.
struct Copy
{
    GMString from;
    GMString to;
    bool isWhole = false;
    GMBaseEvent finished;
};

void Run(void * argument)
{
    Copy & copy = *static_cast<Copy *>(argument);
    copy.isWhole = GMFileSystemUtils::MyCopyDirectory(copy.from, copy.to);
    copy.finished.Set();
}

bool CountFile(GMString const &, void * count)
{
    ++*static_cast<unsigned int *>(count);
    return true; // go on
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    if (argc != 3)
    {
        std::fputs("copy_tree SOURCE DESTINATION\n", stderr);
        return 2;
    }
    Copy copy;
    copy.from = argv[1];
    copy.to = argv[2];
    copy.finished.Create(true, false, nullptr, nullptr);
    if (!GMFilePathUtils::IsDirectory(copy.from))
    {
        Print(copy.from + L" isn't a directory");
        return 1;
    }

    // The list is behind the copy, so it ends first and no worker outlives what it works on.
    GMFuncTaskList tasks(1);
    tasks.AddFunc(&Run, &copy);
    // To close the list wouldn't drain it: wait for the work itself.
    while (copy.finished.TimeLock(500) != WAIT_OBJECT_0)
        Print(GMStringUtils::GetFormatSize(GMFilePathUtils::FileSizeRecursive(copy.to), true) +
              L" so far");
    tasks.CloseTaskThread(INFINITE);

    unsigned int files = 0;
    GMFindFile::FindFilesRecursive(copy.to, &CountFile, &files);
    Print(GMStringUtils::FormatResult(L"%u files, ", files) +
          GMStringUtils::GetFormatSize(GMFilePathUtils::FileSizeRecursive(copy.to), true));
    Print(copy.isWhole ? L"All of it came over." : L"Something didn't come over.");
    return copy.isWhole ? 0 : 1;
}
