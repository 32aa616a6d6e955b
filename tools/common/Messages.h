// How the tools talk to their user.
#pragma once

#include <cstdio>

#include "VelmoraCommon/frame/WindowsApi.h"
#include "VelmoraCommon/text/GMStringUtils.h"

namespace Tools
{

/// Ends an operation; its text is what the user reads.
struct Failure
{
    Velmora::GMString text;
};

/// How a line stands out on a console; elsewhere there are no colours.
enum class Tone
{
    plain,
    good,
    warning,
    bad
};

/// Whether \p stream (stdout or stderr) is shown to someone right now.
bool IsConsole(FILE * stream);

/// Writes \p text as it is: to a console in its own encoding, whatever its code page; else as UTF-8.
void Write(FILE * stream, Velmora::GMString const & text, Tone tone = Tone::plain);

/// The same, and the line ends behind it.
void Print(FILE * stream, Velmora::GMString const & text, Tone tone = Tone::plain);

/// Of names and texts that come from elsewhere and mustn't break the lines: units that steer a
/// console become blanks.
Velmora::GMString OnOneLine(Velmora::GMString text);

/// The system's text for an error code.
Velmora::GMString SystemMessage(unsigned long code);

/// \throws Failure with \p what and the system's reason, the thread's last error, unless \p isDone
void Require(bool isDone, Velmora::GMString const & what);

} // namespace Tools
