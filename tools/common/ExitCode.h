// How every tool ends, so that a script can tell without reading the tool's words.
#pragma once

namespace Tools
{

enum ExitCode
{
    done = 0,           // all that was asked for
    notAll = 1,         // done in part, or the answer to the question is "no"
    wrongArguments = 2, // the command line isn't understood; nothing was done
    failed = 3,         // couldn't be done at all
    stopped = 4         // by Ctrl+C
};

} // namespace Tools
