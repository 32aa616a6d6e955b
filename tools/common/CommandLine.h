// The command line of a tool, by CLI11.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "VelmoraCommon/text/GMStringUtils.h"
#include "tools/common/ExitCode.h"

namespace Tools
{

/// A tool's options: `--help` and `--version` are there. Texts for the user are UTF-8.
///
/// A name that begins with a hyphen is given behind `--`.
class CommandLine : public CLI::App
{
public:
    CommandLine(std::string const & name, std::string const & description);

    /// Reads wmain's arguments and does \p work. Each failure is told, on standard error.
    /// \return what the program ends with
    int Run(int argc, wchar_t ** argv, std::function<ExitCode()> const & work);
};

/// Adds an option, or an argument by its place, whose value is text.
CLI::Option * AddText(CLI::App & app, std::string const & name, Velmora::GMString & value,
                      std::string const & description);

} // namespace Tools
