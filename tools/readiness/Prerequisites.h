// What a game may need: a client's own list of records, each with its flag, its test and its names.
#pragma once

#include <vector>

#include "VelmoraCommon/detect/software/GMSoftwareDetect.h"
#include "VelmoraCommon/frame/GMString.h"

namespace Tools
{

/// One prerequisite. Of the record the first number is the id of the flag, and the name is the word
/// that stands for it in a file.
struct Prerequisite
{
    Velmora::GMSoftwareDetect record;
    wchar_t const * title;
    wchar_t const * titleChinese;
    Velmora::GMString (*version)(); // what is there; null if that can't be told
};

/// All that this program knows, in the order in which they are shown.
std::vector<Prerequisite> KnownPrerequisites();

} // namespace Tools
