#pragma once

#include <utility>
#include <vector>

#include "VelmoraCommon/executable/GMFileCertificate.h"
#include "VelmoraCommon/executable/GMIconExtract.h"
#include "tools/peinspect/Tree.h"

namespace Tools
{

/// What a file says about itself; what it doesn't say is empty.
struct Imprint
{
    explicit Imprint(Velmora::GMString const & path);

    Velmora::GMString fileVersion; // the numbers; what the texts say may differ
    Velmora::GMString productVersion;
    std::vector<std::pair<Velmora::GMString, Velmora::GMString>> texts;
    Velmora::GMFileCertificate::SignerInfo signer;
};

/// The groups of icons; a number stands for one without a name.
std::vector<Velmora::GMString> IconGroups(Velmora::GMIconExtract & icons);

/// All that is told of a file.
struct Report
{
    Velmora::GMString const & path;
    Image const & image;
    Search const & search;
    Tree const & tree;
    Imprint const & imprint;
    std::vector<Velmora::GMString> icons; // the groups
};

/// What is missing comes first, with the way that leads to it. Then come version, icons, signer and
/// the tree of libraries with their files.
void Tell(Report const & report);
void TellAsJson(Report const & report);

} // namespace Tools
