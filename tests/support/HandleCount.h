#pragma once

#include <map>
#include <string>

namespace Velmora::Testing
{

/// The handles that this process holds, counted by the kind of object: "Key", "File", "Event".
/// Exact, also under Wine, where `GetProcessHandleCount` always answers 0.
std::map<std::string, unsigned int> HandlesByKind();

/// The sum of them.
unsigned int HandleCount();

/// The objects of GDI that this process holds: bitmaps, device contexts and so on. 0 where nobody
/// tells, as in a 32-bit process of a 64-bit Wine.
unsigned int GdiObjectCount();

} // namespace Velmora::Testing
