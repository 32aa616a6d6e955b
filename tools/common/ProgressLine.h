#pragma once

#include <cstddef>

#include "VelmoraCommon/text/GMStringUtils.h"

namespace Tools
{

/// The last line of a console, rewritten again and again; nothing where there is no console.
///
/// Clear it before anything else is printed. Use from one thread at a time.
class ProgressLine
{
public:
    ~ProgressLine() { Clear(); }
    /// \p line is cut where the console ends.
    void Show(Velmora::GMString line);
    void Clear();

private:
    std::size_t m_width = 0; // of what stands there now
};

} // namespace Tools
