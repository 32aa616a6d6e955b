#pragma once

#include <cstddef>

namespace Velmora::Testing
{

/// Puts every block of `new`, of the library and of the tests, at the end of pages of its own, with
/// an unreadable page behind it; released blocks become unreadable and stay so. An overrun or a use
/// after release then faults where it happens, and a write into the last bytes that alignment
/// leaves free shows at the release. Stays in force to the end of the process.
///
/// Does nothing in a build without run-time checks: each block costs two system calls and 8 KiB of
/// address space.
void InstallGuardHeap();

/// True when the guard heap is in force.
bool IsGuardHeapInstalled();

/// Size of a block of the guard heap as it was asked for; 0 if the block isn't from there.
std::size_t GuardHeapBlockSize(void const * block);

} // namespace Velmora::Testing
