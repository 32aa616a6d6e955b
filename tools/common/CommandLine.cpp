#include "tools/common/CommandLine.h"

#include <algorithm>
#include <exception>
#include <vector>

#include "VelmoraCommon/text/GMStringConvert.h"
#include "tools/common/Messages.h"

using namespace Velmora;

namespace Tools
{
namespace
{

constexpr char exitCodes[] =
    "Ends with 0 when all was done, 1 when only a part was or the answer is no,\n"
    "2 for a wrong command line, 3 when it couldn't be done, 4 when stopped by Ctrl+C.";

void PrintUtf8(FILE * stream, std::string const & text, Tone tone = Tone::plain)
{
    Print(stream, GMStringConvert::Utf8ToGMString(text.c_str()), tone);
}

} // namespace

CommandLine::CommandLine(std::string const & name, std::string const & description)
    : App(description, name)
{
    allow_windows_style_options(false); // a path may begin with a slash
    set_version_flag("--version", name + " " VELMORA_TOOLS_VERSION);
    footer(exitCodes);
}

int CommandLine::Run(int argc, wchar_t ** argv, std::function<ExitCode()> const & work)
{
    std::vector<std::string> arguments; // CLI11 takes them from the end
    for (int i = argc - 1; i > 0; --i)
        arguments.push_back(GMStringConvert::GMStringToUtf8(argv[i]));
    try
    {
        parse(arguments);
        return work();
    }
    catch (CLI::CallForHelp const &)
    {
        PrintUtf8(stdout, help());
        return done;
    }
    catch (CLI::CallForVersion const & version)
    {
        PrintUtf8(stdout, version.what());
        return done;
    }
    catch (CLI::ParseError const & error)
    {
        // What isn't known is told rather than what is missing: it may be a slip in its name.
        std::vector<std::string> const unknown = remaining(true);
        PrintUtf8(stderr,
                  get_name() + ": " +
                      (unknown.empty() ? error.what() : "not understood: " + unknown.front()),
                  Tone::bad);
        PrintUtf8(stderr, help());
        return wrongArguments;
    }
    catch (Failure const & failure)
    {
        Print(stderr, OnOneLine(failure.text), Tone::bad);
    }
    catch (std::exception const & error) // some of the library's texts are Chinese, in GBK
    {
        Print(stderr, GMStringConvert::CharToGMString(error.what(), 936), Tone::bad);
    }
    return failed;
}

CLI::Option * AddText(CLI::App & app, std::string const & name, GMString & value,
                      std::string const & description)
{
    return app.add_option_function<std::string>(
        name,
        [&value](std::string const & text)
        { value = GMStringConvert::Utf8ToGMString(text.c_str()); },
        description);
}

} // namespace Tools
