// What a game needs, read from a file, and what of it the machine has.
#pragma once

#include <vector>

#include "tools/readiness/Prerequisites.h"

namespace Tools
{

/// One thing that a game needs, and what was found. Whether it is there at all stands in the record.
struct Need
{
    Prerequisite prerequisite;
    Velmora::GMString minimum; // empty: any version
    Velmora::GMString found;   // empty if it isn't there or its version can't be told
    bool isOk;
};

struct Readiness
{
    Velmora::GMString game; // empty if the file doesn't tell
    std::vector<Need> needs;

    bool IsReady() const;
};

/// Reads the file and asks the machine.
/// \throws Failure for a file that can't be read, is damaged or asks for nothing
Readiness CheckReadiness(Velmora::GMString const & path);

} // namespace Tools
