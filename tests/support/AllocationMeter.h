#pragma once

#include <cstddef>

#include "tests/support/ImportHook.h"

namespace Velmora::Testing
{

/// Counts what `new` takes in the whole process, the library included, while it lives: containers
/// and strings get their memory in the shared C++ run time, whose heap calls are watched. One at a
/// time, and on one thread.
class AllocationMeter
{
public:
    AllocationMeter();

    /// The most bytes held at one time since construction, over what was held then.
    std::size_t Peak() const;

    /// Counts the peak anew from here.
    void Restart();

private:
    ImportHook m_allocate;
    ImportHook m_release;
};

} // namespace Velmora::Testing
