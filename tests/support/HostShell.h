#pragma once

#include <optional>
#include <string>

namespace Velmora::Testing
{

/// The path of the system below Wine for a file that is there; empty on a real Windows.
std::string HostPath(std::wstring const & path);

/// Runs a line of the shell of the system below Wine, to ask tools that aren't made for Windows.
/// \return what it wrote to its standard output, if it ended with 0
std::optional<std::string> RunOnHost(std::string const & command);

} // namespace Velmora::Testing
