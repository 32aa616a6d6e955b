// readiness: tells whether a machine has what a game needs.
//
// A file says what that is, a line each:
//
//     game = Star Raiders        # its name, for the page
//     needs = A1,17              # a set of prerequisites by their ids, as GMDependSoftLib reads it
//     vc14-x64 = 14.28           # one more by its word, with the least version
//     java                       # or without
//
// The tests are the library's, and some of our own (Prerequisites.cpp), bound to ids and names in a
// table as any client makes one. Libraries of a width are looked for where programs of this
// program's width look, but for those with "x64", so the 32-bit build is the one for both widths.

#include <algorithm>

#include <nlohmann/json.hpp>

#include "VelmoraCommon/text/GMStringConvert.h"
#include "tools/common/CommandLine.h"
#include "tools/common/Messages.h"
#include "tools/common/WholeFile.h"
#include "tools/readiness/Page.h"
#include "tools/readiness/Readiness.h"

using namespace Velmora;
using namespace Tools;

namespace
{

using Json = nlohmann::ordered_json;

struct Options
{
    GMString file;
    GMString page;
    bool asJson = false;
    bool list = false;
};

std::string Utf8(GMString const & text) { return GMStringConvert::GMStringToUtf8(text); }

void TellAsJson(Readiness const & readiness)
{
    Json needs = Json::array();
    for (Need const & need : readiness.needs)
    {
        GMSoftwareDetect const & record = need.prerequisite.record;
        needs.push_back({{"name", Utf8(record.m_name)},
                         {"id", record.m_number1},
                         {"title", Utf8(need.prerequisite.title)},
                         {"minimum", Utf8(need.minimum)},
                         {"installed", record.m_paramIsInstalled},
                         {"version", Utf8(need.found)},
                         {"ok", need.isOk}});
    }
    Json const whole = {
        {"game", Utf8(readiness.game)}, {"ready", readiness.IsReady()}, {"needs", needs}};
    Write(stdout, GMStringConvert::Utf8ToGMString(
                      (whole.dump(2, ' ', false, Json::error_handler_t::replace) + "\n").c_str()));
}

void Tell(Readiness const & readiness)
{
    std::size_t width = 0;
    for (Need const & need : readiness.needs)
        width = std::max(width, GMString(need.prerequisite.title).size());
    auto const line = [width](GMString name, GMString needed, GMString found, wchar_t const * ok)
    {
        name.resize(std::max(width, name.size()), L' ');
        needed.resize(std::max<std::size_t>(10, needed.size()), L' ');
        found.resize(std::max<std::size_t>(18, found.size()), L' ');
        return name + L"  " + needed + L"  " + found + L"  " + ok;
    };
    Print(stdout, line(L"", L"needed", L"found", L"ok"));
    for (Need const & need : readiness.needs)
    {
        bool const isThere = need.prerequisite.record.m_paramIsInstalled;
        Print(stdout,
              line(need.prerequisite.title, need.minimum.empty() ? L"any" : need.minimum,
                   !need.found.empty() ? OnOneLine(need.found)
                   : isThere           ? L"there"
                                       : L"missing",
                   need.isOk ? L"yes" : L"NO"),
              need.isOk ? Tone::plain : Tone::bad);
    }
    Print(stdout, readiness.IsReady() ? L"ready" : L"not ready",
          readiness.IsReady() ? Tone::good : Tone::bad);
}

ExitCode List()
{
    for (Prerequisite const & each : KnownPrerequisites())
        Print(stdout, GMStringUtils::FormatResult(L"%2X  %-20s %s", each.record.m_number1,
                                                  each.record.m_name.c_str(), each.title));
    return done;
}

ExitCode Check(Options const & options)
{
    Readiness const readiness = CheckReadiness(options.file);
    if (options.asJson)
        TellAsJson(readiness);
    else
        Tell(readiness);
    if (!options.page.empty())
    {
        std::string const page = Utf8(MakePage(readiness));
        WriteWholeFile(options.page, page.data(), page.size(), true);
    }
    return readiness.IsReady() ? done : notAll;
}

} // namespace

int wmain(int argc, wchar_t ** argv)
{
    Options options;
    CommandLine line(
        "readiness",
        "Tells whether this machine has what a game needs: ends with 0 if so, else 1.");
    auto * const file = AddText(line, "FILE", options.file, "Says what the game needs");
    line.add_flag("--json", options.asJson, "Tells it as JSON");
    AddText(line, "--html", options.page, "Makes a page for the player as well, at this path");
    file->excludes(line.add_flag("--list", options.list, "Lists what a FILE may ask for"));
    return line.Run(argc, argv,
                    [&]
                    {
                        if (options.list)
                            return List();
                        if (options.file.empty())
                            throw CLI::RequiredError("FILE");
                        return Check(options);
                    });
}
